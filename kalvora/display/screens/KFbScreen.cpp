// Opening a framebuffer device, and panning.
#include "kalvora/display/screens/KFbScreen.h"

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

namespace {

bool IsField(const fb_bitfield& f) { return f.length != 0 && f.offset < 32; }

KPixelLayout::Channel ChannelOf(const fb_bitfield& f) {
  return {static_cast<std::uint8_t>(f.offset), static_cast<std::uint8_t>(f.length)};
}

/// What the driver's bit fields tell; the usual layout where they tell nothing.
KPixelLayout LayoutOf(const fb_var_screeninfo& mode) {
  if (!IsField(mode.red) || !IsField(mode.green) || !IsField(mode.blue)) {
    return mode.bits_per_pixel == 16 ? KPixelLayout::Rgb565() : KPixelLayout{};
  }
  KPixelLayout layout{ChannelOf(mode.red), ChannelOf(mode.green), ChannelOf(mode.blue), 0};
  if (IsField(mode.transp)) {
    layout.ones = (0xFFFFFFFFu >> (32 - std::min(mode.transp.length, 32u))) << mode.transp.offset;
  }
  return layout;
}

}  // namespace

bool KFbScreen::Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) {
  if (!OpenDevice(index, error)) return false;
  fb_var_screeninfo mode{};
  fb_fix_screeninfo memory{};
  if (!SetMode(mode, bitsPerPixel, orSimilar, error) || !TakeMemory(memory, orSimilar, error)) {
    return false;
  }
  if (memory.ypanstep != 0) {
    mode.xres_virtual = width;
    mode.yres_virtual = height * available_;
    mode.xoffset = mode.yoffset = 0;
    // Drivers answer with what they made of the request, and the memory may have moved or shrunk.
    if (ioctl(fd_, FBIOPUT_VSCREENINFO, &mode) < 0) return Refused("make room to pan", error);
    if (!TakeMode(mode, orSimilar ? 0 : bitsPerPixel, error)) return false;
    if (!TakeMemory(memory, orSimilar, error)) return false;
    available_ = std::min(available_, mode.yres_virtual / height);
  }
  if (!TakeRows(mode, memory, orSimilar, error)) return false;
  mappingSize_ = memory.smem_len;
  void* const p = mmap(nullptr, mappingSize_, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
  if (p == MAP_FAILED) return Refused("map the memory", error);
  mapping_ = static_cast<std::uint8_t*>(p);
  return true;
}

bool KFbScreen::Look(unsigned index, KDisplayFacts& facts, KError& error) {
  if (!OpenDevice(index, error)) return false;
  fb_var_screeninfo mode{};
  fb_fix_screeninfo memory{};
  if (ioctl(fd_, FBIOGET_VSCREENINFO, &mode) < 0) return Refused("read the mode", error);
  facts.width = mode.xres;
  facts.height = mode.yres;
  facts.bpp = mode.bits_per_pixel;
  if (!TakeMode(mode, 0, error) || !TakeMemory(memory, true, error)) return false;
  std::snprintf(facts.driver, sizeof facts.driver, "%.16s", memory.id);
  facts.buffers = std::min(available_, 3u);
  facts.flips = memory.ypanstep != 0 && available_ > 1;
  const bool fits = TakeRows(mode, memory, true, error);
  facts.hasShadow = wantsShadow;
  return fits && MakeBuffers(1, error);
}

bool KFbScreen::OpenDevice(unsigned index, KError& error) {
  std::snprintf(path_, sizeof path_, "/dev/fb%d", static_cast<int>(index));
  fd_ = open(path_, O_RDWR | O_CLOEXEC);
  return fd_ >= 0 || Fail(error, ReasonOf(errno, KErrorDevice), errno, "cannot open %s", path_);
}

/// A request that the driver has refused, by errno.
bool KFbScreen::Refused(const char* what, KError& error) const {
  return Fail(error, ReasonOf(errno, KErrorDevice), errno, "%s: cannot %s", path_, what);
}

bool KFbScreen::SetMode(fb_var_screeninfo& mode, unsigned bitsPerPixel, bool orSimilar,
                        KError& error) {
  if (ioctl(fd_, FBIOGET_VSCREENINFO, &mode) < 0) return Refused("read the mode", error);
  if (bitsPerPixel != 0 && mode.bits_per_pixel != bitsPerPixel) {
    fb_var_screeninfo changed = mode;
    changed.bits_per_pixel = bitsPerPixel;
    const bool granted = ioctl(fd_, FBIOPUT_VSCREENINFO, &changed) == 0;
    if (!granted && !orSimilar) {
      return Fail(error, KErrorFormat, errno, "%s: cannot set %u bits a pixel", path_,
                  bitsPerPixel);
    }
    if (granted) mode = changed;
  }
  return TakeMode(mode, orSimilar ? 0 : bitsPerPixel, error);
}

bool KFbScreen::TakeMode(const fb_var_screeninfo& mode, unsigned bitsPerPixel, KError& error) {
  if (bitsPerPixel != 0 && mode.bits_per_pixel != bitsPerPixel) {
    return Fail(error, KErrorFormat, 0, "%s stays at %u bits a pixel", path_, mode.bits_per_pixel);
  }
  const std::uint64_t rowBytes = std::uint64_t{mode.xres} * (mode.bits_per_pixel >> 3);
  if (rowBytes == 0 || rowBytes > UINT32_MAX || mode.yres == 0) {
    return Fail(error, KErrorFormat, 0, "%s: %u x %u pixels of %u bits are no picture", path_,
                mode.xres, mode.yres, mode.bits_per_pixel);
  }
  width = mode.xres;
  height = mode.yres;
  bpp = mode.bits_per_pixel;
  stride = static_cast<std::uint32_t>(rowBytes);
  return true;
}

bool KFbScreen::TakeMemory(fb_fix_screeninfo& memory, bool orSimilar, KError& error) {
  if (ioctl(fd_, FBIOGET_FSCREENINFO, &memory) < 0) return Refused("read the layout", error);
  if (orSimilar) stride = std::max(stride, memory.line_length);
  available_ = static_cast<std::uint32_t>(memory.smem_len / (std::uint64_t{stride} * height));
  return true;
}

/// Rows are taken to follow each other without gaps; a driver that pads them gets a shadow, if it
/// may.
bool KFbScreen::TakeRows(const fb_var_screeninfo& mode, const fb_fix_screeninfo& memory,
                         bool orSimilar, KError& error) {
  const std::uint32_t rowBytes = width * (bpp >> 3);
  const std::uint32_t line = memory.line_length != 0 ? memory.line_length : rowBytes;
  if (line < rowBytes || (line != rowBytes && !orSimilar)) {
    return Fail(error, KErrorRows, 0, "%s: rows are %u bytes apart instead of %u", path_, line,
                rowBytes);
  }
  if (!orSimilar) return true;
  layout = LayoutOf(mode);
  wantsShadow = bpp != 32 || line != rowBytes || !layout.IsOurs();
  const bool hasColours =
      memory.visual == FB_VISUAL_TRUECOLOR || memory.visual == FB_VISUAL_DIRECTCOLOR;
  if (bpp != 32 && (!hasColours || memory.type != FB_TYPE_PACKED_PIXELS)) {
    return Fail(error, KErrorFormat, 0, "%s: its pixels of %u bits are no colours", path_, bpp);
  }
  return true;
}

bool KFbScreen::MakeBuffers(unsigned count, KError& error) {
  if (count <= available_) return true;
  return Fail(error, KErrorBuffers, 0, "%s has memory for %u buffers, not for %u", path_,
              available_, count);
}

KFbScreen::~KFbScreen() {
  if (mapping_ != nullptr) munmap(mapping_, mappingSize_);
  if (fd_ >= 0) close(fd_);
}

std::uint8_t* KFbScreen::Address(unsigned index) const {
  return index < available_ ? mapping_ + std::size_t{stride} * height * index : nullptr;
}

KShown KFbScreen::Show(unsigned index, const KRect* dirty, bool force,
                       const std::atomic<bool>& cancelled) {
  if (index >= available_) return KShown::kFlipped;
  fb_var_screeninfo mode{};
  if (ioctl(fd_, FBIOGET_VSCREENINFO, &mode) < 0) return KShown::kNot;
  const std::uint32_t top = height * index;
  if (!force && mode.xoffset == 0 && mode.yoffset == top) return KShown::kFlipped;
  mode.xoffset = 0;
  mode.yoffset = top;
  wanted_ = index;
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
  const bool shown = Pan(mode);
  // Whoever comes back from the driver too late may have panned away from a newer frame.
  for (unsigned latest = wanted_; cancelled && latest != index; index = latest, latest = wanted_) {
    mode.yoffset = height * latest;
    mode.reserved[0] = 0;
    Pan(mode);
  }
  return shown ? KShown::kFlipped : KShown::kNot;
}

/// Some drivers refuse to pan, some say yes and stay where they were: their answer has the truth.
bool KFbScreen::Pan(fb_var_screeninfo& mode) {
  const std::uint32_t top = mode.yoffset;
  const bool panned = ioctl(fd_, FBIOPAN_DISPLAY, &mode) == 0;
  if (!panned && ioctl(fd_, FBIOGET_VSCREENINFO, &mode) < 0) return false;
  return mode.xoffset == 0 && mode.yoffset == top;
}

int KFbScreen::WaitForVsync() {
  std::uint32_t zero = 0;
  const std::int64_t start = kalvora::MicrosecondsNow();
  if (ioctl(fd_, FBIO_WAITFORVSYNC, &zero) < 0) return 0;
  return static_cast<int>(std::clamp<std::int64_t>(kalvora::MicrosecondsNow() - start, 0, INT_MAX));
}
