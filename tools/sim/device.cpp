// The simulated drivers.
#include "tools/sim/device.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sim {
namespace {

constexpr std::int64_t kSecond = 1000000000;

std::int64_t Now() {
  return std::chrono::nanoseconds(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void SleepUntil(std::int64_t ns) {
  timespec t{};
  t.tv_sec = static_cast<time_t>(ns / kSecond);
  t.tv_nsec = static_cast<decltype(t.tv_nsec)>(ns % kSecond);
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &t, nullptr) == EINTR) {
  }
}

[[noreturn]] void Die(const char* what) {
  std::perror(what);
  std::abort();
}

fb_bitfield Bits(unsigned offset, unsigned length) {
  fb_bitfield field{};
  field.offset = offset;
  field.length = length;
  return field;
}

void SetChannels(fb_var_screeninfo& mode, bool bgr) {
  const bool words = mode.bits_per_pixel >= 24;
  mode.red = words ? Bits(16, 8) : Bits(11, 5);
  mode.green = words ? Bits(8, 8) : Bits(5, 6);
  mode.blue = words ? Bits(0, 8) : Bits(0, 5);
  mode.transp = mode.bits_per_pixel == 32 ? Bits(24, 8) : Bits(0, 0);
  if (bgr) std::swap(mode.red, mode.blue);
}

}  // namespace

bool SameFile(int a, int b) {
  struct stat first {};
  struct stat second {};
  return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

Framebuffer::Framebuffer(const Settings& s) : settings(s) {
  mode.xres = mode.xres_virtual = s.width;
  mode.yres = mode.yres_virtual = s.height;
  mode.bits_per_pixel = s.bpp;
  SetChannels(mode, s.bgr);
  size = (std::size_t{s.width} * 4 + s.linePadding) * s.height * s.buffers;
  fd = memfd_create("kalvora-sim-fb", MFD_CLOEXEC);
  if (fd < 0 || ftruncate(fd, static_cast<off_t>(size)) != 0) Die("simulated framebuffer");
  void* const p = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (p == MAP_FAILED) Die("simulated framebuffer");
  memory = static_cast<std::uint8_t*>(p);
}

Framebuffer::~Framebuffer() {
  munmap(memory, size);
  close(fd);
}

int Framebuffer::Open() const { return fcntl(fd, F_DUPFD, 0); }

bool Framebuffer::Owns(int descriptor) const { return SameFile(fd, descriptor); }

int Framebuffer::Ioctl(unsigned request, void* argument) {
  if (request == FBIO_WAITFORVSYNC) return WaitForVsync();
  const std::lock_guard<std::mutex> guard(lock);
  Latch(Now());
  switch (request) {
    case FBIOGET_VSCREENINFO:
      return GetVar(static_cast<fb_var_screeninfo*>(argument));
    case FBIOPUT_VSCREENINFO:
      return PutVar(static_cast<fb_var_screeninfo*>(argument));
    case FBIOGET_FSCREENINFO:
      return GetFix(static_cast<fb_fix_screeninfo*>(argument));
    case FBIOPAN_DISPLAY:
      return Pan(*static_cast<const fb_var_screeninfo*>(argument));
    default:
      return ENOTTY;
  }
}

int Framebuffer::GetVar(fb_var_screeninfo* var) const {
  *var = mode;
  return 0;
}

int Framebuffer::PutVar(fb_var_screeninfo* var) {
  const unsigned bpp = var->bits_per_pixel;
  if (var->xres != settings.width || var->yres != settings.height) return EINVAL;
  if (settings.onlyDepth && bpp != settings.bpp) return EINVAL;
  if (bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32) return EINVAL;
  const std::size_t row = std::size_t{settings.width} * bpp / 8 + settings.linePadding;
  var->xres_virtual = var->xres;
  if (var->yres_virtual < var->yres) var->yres_virtual = var->yres;
  if (row * var->yres_virtual > size) return EINVAL;
  if (var->xoffset != 0 || var->yoffset + var->yres > var->yres_virtual) return EINVAL;
  SetChannels(*var, settings.bgr);
  mode = *var;
  shown = mode.yoffset;
  panPending = false;
  return 0;
}

int Framebuffer::GetFix(fb_fix_screeninfo* fix) const {
  *fix = fb_fix_screeninfo{};
  std::snprintf(fix->id, sizeof fix->id, "kalvora-sim");
  fix->smem_len = static_cast<std::uint32_t>(size);
  fix->type = FB_TYPE_PACKED_PIXELS;
  fix->visual = FB_VISUAL_TRUECOLOR;
  fix->ypanstep = settings.panning ? 1 : 0;
  fix->line_length = LineLength();
  return 0;
}

int Framebuffer::Pan(const fb_var_screeninfo& var) {
  if (var.xoffset != 0 || var.yoffset + mode.yres > mode.yres_virtual) return EINVAL;
  if (!settings.panning && var.yoffset != 0) return EINVAL;
  mode.yoffset = var.yoffset;
  std::memcpy(mode.reserved, var.reserved, sizeof mode.reserved);
  panPending = true;
  latchAt = settings.hz == 0 ? 0 : NextSync();
  if (settings.hz == 0) Latch(0);
  return 0;
}

int Framebuffer::WaitForVsync() {
  if (!settings.vsync) return ENOTTY;
  const std::int64_t sync = settings.hz == 0 ? Now() : NextSync();
  SleepUntil(sync);
  const std::lock_guard<std::mutex> guard(lock);
  Latch(sync);
  return 0;
}

int Framebuffer::CopyRect(const std::uint32_t* words) {
  struct Region {
    std::uint32_t height, width, stride, offset, descriptor;
  };
  Region from{};
  Region to{};
  std::memcpy(&from, words, sizeof from);
  std::memcpy(&to, words + 5, sizeof to);
  if (from.width != to.width || from.height != to.height) return EINVAL;
  for (const Region& r : {from, to}) {
    if (!Owns(static_cast<int>(r.descriptor)) || r.width == 0 || r.height == 0) return EINVAL;
    const std::uint64_t end =
        r.offset + std::uint64_t{r.stride} * (r.height - 1) + std::uint64_t{r.width} * 4;
    if (end > size) return EFAULT;
  }
  for (std::uint32_t y = 0; y < from.height; ++y) {
    std::memmove(memory + to.offset + std::size_t{to.stride} * y,
                 memory + from.offset + std::size_t{from.stride} * y, std::size_t{from.width} * 4);
  }
  return 0;
}

void Framebuffer::OnFrame(std::function<void(const Frame&)> call) {
  const std::lock_guard<std::mutex> guard(lock);
  onFrame = std::move(call);
}

Frame Framebuffer::Shown() {
  const std::lock_guard<std::mutex> guard(lock);
  Latch(Now());
  return FrameAt(shown);
}

unsigned Framebuffer::LineLength() const {
  return settings.width * mode.bits_per_pixel / 8 + settings.linePadding;
}

Frame Framebuffer::FrameAt(unsigned yoffset) const {
  return {memory + std::size_t{LineLength()} * yoffset,
          mode.xres,
          mode.yres,
          LineLength(),
          mode.bits_per_pixel,
          settings.bgr};
}

std::int64_t Framebuffer::NextSync() const {
  const std::int64_t period = kSecond / settings.hz;
  return (Now() / period + 1) * period;
}

/// Puts a pan on screen whose vertical sync has come.
void Framebuffer::Latch(std::int64_t now) {
  if (!panPending || now < latchAt) return;
  panPending = false;
  shown = mode.yoffset;
  if (onFrame) onFrame(FrameAt(shown));
}

}  // namespace sim
