// KFbScreen: an open display: its memory, its shape, and the steps of showing a frame.
#ifndef KALVORA_DISPLAY_KFBSCREEN_H
#define KALVORA_DISPLAY_KFBSCREEN_H

#include <atomic>
#include <cstdint>
#include <mutex>

#include "kalvora/core/KRect.h"
#include "kalvora/display/KDisplay.h"
#include "kalvora/support/KFpsHistory.h"

struct fb_fix_screeninfo;
struct fb_var_screeninfo;

/// All that a flip touches, in one object, so that a flip thread that is stuck in the driver can
/// keep it when the display is closed over its head.
///
/// The shape is written while nobody else can see the screen. After that two threads may use it:
/// `frontIndex` and the frame-rate history look after themselves, and who may touch which buffer is
/// the flip protocol's affair (KFbThread).
struct KFbScreen {
  bool isDevice = false;  ///< a framebuffer device, not shared memory
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t stride = 0;  ///< bytes from row to row: width x bytes of a pixel
  std::uint32_t bpp = 0;     ///< bits of a pixel
  int fd = -1;
  std::uint8_t* mapping = nullptr;  ///< buffer 0; further device buffers follow
  std::uint32_t mappingSize = 0;
  std::uint32_t available = 0;    ///< whole buffers in the mapping
  std::uint32_t bufferCount = 0;  ///< buffers in use
  KDisplay displayKind = KDisplayNone;
  std::uint8_t* sysBuffers[3]{};  ///< heap back buffers of shared memory; entry 0 stays unused
  std::atomic<std::uint32_t> frontIndex{0};  ///< the buffer on screen

  KFbScreen() = default;
  ~KFbScreen() { Close(); }
  KFbScreen(const KFbScreen&) = delete;
  KFbScreen& operator=(const KFbScreen&) = delete;

  /// Opens and maps "/dev/fb<index>" and takes its mode, with `bitsPerPixel` unless that is 0.
  /// After false the screen wants a Close.
  bool Open(unsigned index, unsigned bitsPerPixel);
  /// Attaches the shared-memory surface.
  bool OpenShared();
  /// Gives `count` buffers to the display; shared memory allocates those behind the first.
  bool MakeBuffers(unsigned count);
  /// Releases everything; the frame-rate history stays.
  void Close();

  /// First pixel of a buffer, or null when there is no such buffer.
  std::uint8_t* Address(unsigned index) const;
  /// True when the buffer lies in the mapping, where the data mover can reach it.
  bool IsMapped(unsigned index) const;
  KRect Clip(const KRect& rect) const;

  /// Pans to a device buffer, unless it is shown already and `force` is false, or `cancelled` says
  /// so at the last moment. False when the driver says that it shows something else all the same.
  bool DisplayBuffer(unsigned index, const KRect* dirty, bool force,
                     const std::atomic<bool>& cancelled);
  /// Waits for the vertical sync and returns the microseconds that took; 0 when there is none.
  int WaitForVsync();
  /// Copies a rectangle, or everything when `rect` is null, by the processor.
  void CopyRect(unsigned dst, unsigned src, const KRect* rect);
  /// Counts a frame and, when the flag DisplayFps is set, draws the frame rate into the buffer.
  void DrawFps(unsigned index);

  /// The first half of a flip, which still writes to the back buffer.
  void BeginFlip(unsigned back);
  /// The second half, which only shows it: by panning, and where that does nothing (or in shared
  /// memory) by copying to the front buffer. Before every step that a user could see or feel it
  /// looks whether the flip was cancelled.
  void EndFlip(unsigned front, unsigned back, const KRect* dirty,
               const std::atomic<bool>& cancelled);

  /// The frame-rate history, locked because the flip thread counts while the renderer asks.
  void ResetFps(int capacity);
  void DumpFps();
  void SetFpsInterval(int milliseconds);

 private:
  bool TakeMode(const fb_var_screeninfo& mode, unsigned bitsPerPixel);
  bool TakeMemory(fb_fix_screeninfo& memory);

  std::mutex fpsLock;
  KFpsHistory fps;
};

#endif
