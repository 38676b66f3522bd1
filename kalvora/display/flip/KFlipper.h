// KFlipper: the steps of showing a frame, on whatever kind of screen.
#ifndef KALVORA_DISPLAY_FLIP_KFLIPPER_H
#define KALVORA_DISPLAY_FLIP_KFLIPPER_H

#include <atomic>
#include <cstdint>
#include <mutex>

#include "kalvora/display/screens/KScreen.h"
#include "kalvora/support/KFpsHistory.h"

/// All that a flip touches, in one object, so that a flip thread that is stuck in the driver can
/// keep it when the display is closed over its head. Two threads may use it: `frontIndex` and the
/// frame-rate history look after themselves.
class KFlipper {
 public:
  KScreen* screen = nullptr;                 ///< owned; null while the display is closed
  std::uint32_t bufferCount = 0;             ///< buffers in use
  std::atomic<std::uint32_t> frontIndex{0};  ///< the buffer on screen

  KFlipper() = default;
  ~KFlipper() { Close(); }
  KFlipper(const KFlipper&) = delete;
  KFlipper& operator=(const KFlipper&) = delete;

  /// Releases the screen; the frame-rate history stays.
  void Close();

  /// The first half of a flip, which still writes to the back buffer.
  void BeginFlip(unsigned back);
  /// The second half, which only shows it. Where the screen shows something else all the same, the
  /// frame is copied there. Before every step that a user could see or feel it looks whether the
  /// flip was cancelled.
  void EndFlip(unsigned front, unsigned back, const KRect* dirty,
               const std::atomic<bool>& cancelled);
  /// Counts a frame and, when the flag DisplayFps is set, draws the frame rate into the buffer.
  void DrawFps(unsigned index);

  /// The frame-rate history, locked because the flip thread counts while the renderer asks.
  void ResetFps(int capacity);
  void DumpFps();
  void SetFpsInterval(int milliseconds);

 private:
  std::mutex fpsLock_;
  KFpsHistory fps_;
};

#endif
