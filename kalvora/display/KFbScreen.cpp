// Opening a framebuffer device, and panning.
#include "kalvora/display/KFbScreen.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "kalvora/display/clock.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/support/failure.h"

using kalvora::Fail;
using kalvora::ReasonOf;

bool KFbScreen::Open(unsigned index, unsigned bitsPerPixel, KError& error) {
  std::snprintf(path, sizeof path, "/dev/fb%d", static_cast<int>(index));
  fd = open(path, O_RDWR | O_CLOEXEC);
  if (fd < 0) return Fail(error, ReasonOf(errno, KErrorDevice), errno, "cannot open %s", path);
  const auto refused = [&](const char* what) {
    return Fail(error, ReasonOf(errno, KErrorDevice), errno, "%s: cannot %s", path, what);
  };
  const auto odd = [&](KErrorCode code) {
    return Fail(error, code, 0, "%s answers with a mode that was not asked for", path);
  };

  fb_var_screeninfo mode{};
  if (ioctl(fd, FBIOGET_VSCREENINFO, &mode) < 0) return refused("read the mode");
  if (bitsPerPixel != 0 && mode.bits_per_pixel != bitsPerPixel) {
    mode.bits_per_pixel = bitsPerPixel;
    if (ioctl(fd, FBIOPUT_VSCREENINFO, &mode) < 0) {
      return Fail(error, KErrorFormat, errno, "%s: cannot set %u bits a pixel", path, bitsPerPixel);
    }
  }
  fb_fix_screeninfo memory{};
  if (!TakeMode(mode, bitsPerPixel)) return odd(KErrorFormat);
  if (!TakeMemory(memory)) return refused("read the layout");

  if (memory.ypanstep != 0) {
    mode.xres_virtual = width;
    mode.yres_virtual = height * available;
    mode.xoffset = mode.yoffset = 0;
    // Drivers answer with what they made of the request, and the memory may have moved or shrunk.
    if (ioctl(fd, FBIOPUT_VSCREENINFO, &mode) < 0) return refused("make room to pan");
    if (!TakeMode(mode, bitsPerPixel)) return odd(KErrorDevice);
    if (!TakeMemory(memory)) return refused("read the layout");
    available = std::min(available, mode.yres_virtual / height);
  }
  // Rows are taken to follow each other without gaps; a driver that pads them cannot be served.
  if (memory.line_length != 0 && memory.line_length != stride) {
    return Fail(error, KErrorRows, 0, "%s: rows are %u bytes apart instead of %u", path,
                memory.line_length, stride);
  }
  mappingSize = memory.smem_len;
  void* const p = mmap(nullptr, mappingSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (p == MAP_FAILED) return refused("map the memory");
  mapping = static_cast<std::uint8_t*>(p);
  return true;
}

bool KFbScreen::TakeMode(const fb_var_screeninfo& mode, unsigned bitsPerPixel) {
  if (bitsPerPixel != 0 && mode.bits_per_pixel != bitsPerPixel) return false;
  const std::uint64_t rowBytes = std::uint64_t{mode.xres} * (mode.bits_per_pixel >> 3);
  if (rowBytes == 0 || rowBytes > UINT32_MAX || mode.yres == 0) return false;
  width = mode.xres;
  height = mode.yres;
  bpp = mode.bits_per_pixel;
  stride = static_cast<std::uint32_t>(rowBytes);
  return true;
}

bool KFbScreen::TakeMemory(fb_fix_screeninfo& memory) {
  if (ioctl(fd, FBIOGET_FSCREENINFO, &memory) < 0) return false;
  available = static_cast<std::uint32_t>(memory.smem_len / (std::uint64_t{stride} * height));
  return true;
}

bool KFbScreen::MakeBuffers(unsigned count, KError& error) {
  if (count <= available) return true;
  return Fail(error, KErrorBuffers, 0, "%s has memory for %u buffers, not for %u", path, available,
              count);
}

KFbScreen::~KFbScreen() {
  if (mapping != nullptr) munmap(mapping, mappingSize);
  if (fd >= 0) close(fd);
}

std::uint8_t* KFbScreen::Address(unsigned index) const {
  return index < available ? mapping + std::size_t{stride} * height * index : nullptr;
}

KShown KFbScreen::Show(unsigned index, const KRect* dirty, bool force,
                       const std::atomic<bool>& cancelled) {
  if (index >= available) return KShown::kFlipped;
  fb_var_screeninfo mode{};
  if (ioctl(fd, FBIOGET_VSCREENINFO, &mode) < 0) return KShown::kNot;
  const std::uint32_t top = height * index;
  if (!force && mode.xoffset == 0 && mode.yoffset == top) return KShown::kFlipped;
  mode.xoffset = 0;
  mode.yoffset = top;
  if (dirty != nullptr && !Flags.DisplayFps) {
    // A hint for drivers that can refresh a part of the panel.
    const auto pair = [](std::int16_t low, std::int16_t high) {
      return std::uint32_t{static_cast<std::uint16_t>(low)} |
             std::uint32_t{static_cast<std::uint16_t>(high)} << 16;
    };
    std::memcpy(&mode.reserved[0], "UPDT", 4);
    mode.reserved[1] = pair(dirty->left, dirty->top);
    mode.reserved[2] = pair(dirty->right, dirty->bottom);
  } else {
    mode.reserved[0] = 0;
  }
  if (cancelled) return KShown::kNot;
  // Some drivers refuse to pan, some say yes and stay where they were: their answer has the truth.
  const bool panned = ioctl(fd, FBIOPAN_DISPLAY, &mode) == 0;
  if (!panned && ioctl(fd, FBIOGET_VSCREENINFO, &mode) < 0) return KShown::kNot;
  return mode.xoffset == 0 && mode.yoffset == top ? KShown::kFlipped : KShown::kNot;
}

int KFbScreen::WaitForVsync() {
  std::uint32_t zero = 0;
  const std::int64_t start = kalvora::MicrosecondsNow();
  if (ioctl(fd, FBIO_WAITFORVSYNC, &zero) < 0) return 0;
  return static_cast<int>(std::clamp<std::int64_t>(kalvora::MicrosecondsNow() - start, 0, INT_MAX));
}
