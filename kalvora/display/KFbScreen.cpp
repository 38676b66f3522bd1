// Opening a display, and the steps of showing a frame on it.
#include "kalvora/display/KFbScreen.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

#include "kalvora/display/KShmem.h"
#include "kalvora/display/digits.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/support/KMem.h"

namespace {

// A wait that ends sooner than this caught a vertical sync that was under way when the pan came.
constexpr int kLateSyncUs = 500;

}  // namespace

bool KFbScreen::Open(unsigned index, unsigned bitsPerPixel) {
  char path[256];
  std::snprintf(path, sizeof path, "/dev/fb%d", static_cast<int>(index));
  fd = open(path, O_RDWR);
  if (fd < 0) return false;

  fb_var_screeninfo mode{};
  if (ioctl(fd, FBIOGET_VSCREENINFO, &mode) < 0) return false;
  if (bitsPerPixel != 0 && mode.bits_per_pixel != bitsPerPixel) {
    mode.bits_per_pixel = bitsPerPixel;
    if (ioctl(fd, FBIOPUT_VSCREENINFO, &mode) < 0) return false;
  }
  fb_fix_screeninfo memory{};
  if (!TakeMode(mode, bitsPerPixel) || !TakeMemory(memory)) return false;

  if (memory.ypanstep != 0) {
    mode.xres_virtual = width;
    mode.yres_virtual = height * available;
    mode.xoffset = mode.yoffset = 0;
    // Drivers answer with what they made of the request, and the memory may have moved or shrunk.
    if (ioctl(fd, FBIOPUT_VSCREENINFO, &mode) < 0) return false;
    if (!TakeMode(mode, bitsPerPixel) || !TakeMemory(memory)) return false;
    available = std::min(available, mode.yres_virtual / height);
  }
  // Rows are taken to follow each other without gaps; a driver that pads them cannot be served.
  if (memory.line_length != 0 && memory.line_length != stride) return false;

  mappingSize = memory.smem_len;
  void* const p = mmap(nullptr, mappingSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (p == MAP_FAILED) return false;
  mapping = static_cast<std::uint8_t*>(p);
  isDevice = true;
  displayKind = KDisplayFramebuffer;
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

bool KFbScreen::OpenShared() {
  mapping = static_cast<std::uint8_t*>(KShmem::Get());
  if (mapping == nullptr) return false;
  isDevice = false;
  displayKind = KDisplayShared;
  available = 1;
  width = KShmem::kWidth;
  height = KShmem::kHeight;
  bpp = 32;
  stride = KShmem::kStride;
  return true;
}

bool KFbScreen::MakeBuffers(unsigned count) {
  if (isDevice) return true;
  for (unsigned i = 1; i < count; ++i) {
    // One row more than the picture, like the surface itself: the renderer's coverage row.
    sysBuffers[i] = static_cast<std::uint8_t*>(std::calloc(std::size_t{height} + 1, stride));
    if (sysBuffers[i] == nullptr) return false;
  }
  return true;
}

void KFbScreen::Close() {
  if (mapping != nullptr) {
    if (isDevice) {
      munmap(mapping, mappingSize);
    } else {
      KShmem::Release(mapping);
    }
  }
  if (fd >= 0) close(fd);
  for (std::uint8_t*& buffer : sysBuffers) {
    std::free(buffer);
    buffer = nullptr;
  }
  mapping = nullptr;
  fd = -1;
  isDevice = false;
  displayKind = KDisplayNone;
  width = height = stride = bpp = mappingSize = available = bufferCount = 0;
  frontIndex = 0;
}

std::uint8_t* KFbScreen::Address(unsigned index) const {
  if (index < 3 && sysBuffers[index] != nullptr) return sysBuffers[index];
  if (index < available) return mapping + std::size_t{stride} * height * index;
  return nullptr;
}

bool KFbScreen::IsMapped(unsigned index) const {
  return index < available && (index >= 3 || sysBuffers[index] == nullptr);
}

KRect KFbScreen::Clip(const KRect& rect) const {
  const auto clamp = [](std::int16_t v, std::uint32_t size) {
    const int end = static_cast<int>(std::min<std::uint32_t>(size, INT16_MAX));
    return static_cast<std::int16_t>(std::clamp<int>(v, 0, end));
  };
  const KRect clipped{clamp(rect.left, width), clamp(rect.top, height), clamp(rect.right, width),
                      clamp(rect.bottom, height)};
  return clipped.IsEmpty() ? KRect{0, 0, 0, 0} : clipped;
}

bool KFbScreen::DisplayBuffer(unsigned index, const KRect* dirty, bool force,
                              const std::atomic<bool>& cancelled) {
  if (!isDevice || index >= available) return true;
  fb_var_screeninfo mode{};
  if (ioctl(fd, FBIOGET_VSCREENINFO, &mode) < 0) return false;
  const std::uint32_t top = height * index;
  if (!force && mode.xoffset == 0 && mode.yoffset == top) return true;
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
  if (cancelled) return true;
  // Some drivers refuse to pan, some say yes and stay where they were: their answer has the truth.
  const bool panned = ioctl(fd, FBIOPAN_DISPLAY, &mode) == 0;
  if (!panned && ioctl(fd, FBIOGET_VSCREENINFO, &mode) < 0) return false;
  return mode.xoffset == 0 && mode.yoffset == top;
}

int KFbScreen::WaitForVsync() {
  if (!isDevice) return 0;
  const auto now = [] {
    timeval t{};
    gettimeofday(&t, nullptr);
    return std::int64_t{t.tv_sec} * 1000000 + t.tv_usec;
  };
  std::uint32_t zero = 0;
  const std::int64_t start = now();
  if (ioctl(fd, FBIO_WAITFORVSYNC, &zero) < 0) return 0;
  return static_cast<int>(std::clamp<std::int64_t>(now() - start, 0, INT_MAX));
}

void KFbScreen::CopyRect(unsigned dst, unsigned src, const KRect* rect) {
  char* to = reinterpret_cast<char*>(Address(dst));
  const char* from = reinterpret_cast<const char*>(Address(src));
  if (to == nullptr || from == nullptr) return;
  if (rect == nullptr) {
    KMem::Memcpy(to, from, stride * height);
    return;
  }
  const std::uint32_t pixel = bpp >> 3;
  const std::size_t offset = std::size_t{pixel} * static_cast<unsigned>(rect->left);
  const unsigned rowBytes = pixel * static_cast<unsigned>(rect->right - rect->left);
  for (std::size_t y = static_cast<std::size_t>(rect->top);
       y < static_cast<std::size_t>(rect->bottom); ++y) {
    const std::size_t at = offset + stride * y;
    KMem::Memcpy(to + at, from + at, rowBytes);
  }
}

void KFbScreen::DrawFps(unsigned index) {
  int rate = 0;
  {
    const std::lock_guard<std::mutex> lock(fpsLock);
    rate = fps.Flip();
  }
  if (!Flags.DisplayFps || bufferCount == 0) return;
  std::uint8_t* const pixels = Address(index);
  if (pixels != nullptr) kalvora::DrawNumber({pixels, width, height, stride, bpp >> 3}, rate);
}

void KFbScreen::BeginFlip(unsigned back) {
  if (isDevice) DrawFps(back);
}

void KFbScreen::EndFlip(unsigned front, unsigned back, const KRect* dirty,
                        const std::atomic<bool>& cancelled) {
  if (!isDevice) {
    if (cancelled) return;
    CopyRect(front, back, dirty);
    DrawFps(front);
    return;
  }
  const bool panned = DisplayBuffer(back, dirty, false, cancelled);
  if (cancelled) return;
  if (WaitForVsync() < kLateSyncUs && !cancelled) WaitForVsync();
  if (cancelled) return;
  if (panned) {
    frontIndex.store(back, std::memory_order_relaxed);
  } else {
    CopyRect(front, back, Flags.DisplayFps ? nullptr : dirty);
  }
}

void KFbScreen::ResetFps(int capacity) {
  const std::lock_guard<std::mutex> lock(fpsLock);
  fps.Reset(capacity);
}

void KFbScreen::DumpFps() {
  const std::lock_guard<std::mutex> lock(fpsLock);
  fps.Dump();
}

void KFbScreen::SetFpsInterval(int milliseconds) {
  const std::lock_guard<std::mutex> lock(fpsLock);
  fps.intervalMs = milliseconds;
}
