// A framebuffer device and a data mover in memory, which answer as real drivers do.
#ifndef KALVORA_TOOLS_SIM_DEVICE_H
#define KALVORA_TOOLS_SIM_DEVICE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>

#include <linux/fb.h>

namespace sim {

/// What the simulated board has.
struct Settings {
  unsigned width = 320;
  unsigned height = 480;
  unsigned bpp = 32;
  unsigned buffers = 3;      ///< whole pictures that the memory holds, at 32 bits a pixel
  unsigned linePadding = 0;  ///< bytes behind each row
  bool bgr = false;          ///< red in the lowest bits
  bool onlyDepth = false;    ///< other depths are refused
  bool panning = true;
  bool vsync = true;  ///< the driver knows FBIO_WAITFORVSYNC
  unsigned hz = 60;   ///< vertical syncs a second; 0: a new one whenever asked
};

/// A picture that comes on screen.
struct Frame {
  const std::uint8_t* pixels;
  unsigned width, height, stride, bpp;
  bool bgr = false;
};

/// True when both descriptors lead to the same file.
bool SameFile(int a, int b);

/// One framebuffer. Its memory is a memory file, so that programs can map, duplicate and close
/// descriptors of it without help. A pan takes effect at the next vertical sync. Any thread may
/// call.
class Framebuffer {
 public:
  explicit Framebuffer(const Settings& settings);
  ~Framebuffer();
  Framebuffer(const Framebuffer&) = delete;
  Framebuffer& operator=(const Framebuffer&) = delete;

  /// A descriptor as open would return it.
  int Open() const;
  /// True when the descriptor is one of this device.
  bool Owns(int descriptor) const;
  /// Answers a request: 0, or the error number.
  int Ioctl(unsigned request, void* argument);
  /// The data mover's request: ten words, source and destination.
  int CopyRect(const std::uint32_t* words);

  /// Called, under the device's lock, when a pan has taken effect.
  void OnFrame(std::function<void(const Frame&)> call);
  /// What is on screen now.
  Frame Shown();
  std::uint8_t* Memory() const { return memory; }
  std::size_t Size() const { return size; }

  /// Keeps every other thread out, for as long as the result lives.
  std::unique_lock<std::mutex> Hold() { return std::unique_lock(lock); }

 private:
  int GetVar(fb_var_screeninfo* var) const;
  int PutVar(fb_var_screeninfo* var);
  int GetFix(fb_fix_screeninfo* fix) const;
  int Pan(const fb_var_screeninfo& var);
  int WaitForVsync();
  unsigned LineLength() const;
  Frame FrameAt(unsigned yoffset) const;
  std::int64_t NextSync() const;
  void Latch(std::int64_t now);

  Settings settings;
  int fd = -1;
  std::uint8_t* memory = nullptr;
  std::size_t size = 0;
  std::mutex lock;
  fb_var_screeninfo mode{};
  unsigned shown = 0;        ///< first row on screen
  bool panPending = false;   ///< mode.yoffset comes on screen at latchAt
  std::int64_t latchAt = 0;  ///< nanoseconds of the monotonic clock
  std::function<void(const Frame&)> onFrame;
};

}  // namespace sim

#endif
