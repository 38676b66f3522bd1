// Showing a frame, and counting it.
#include "kalvora/display/flip/KFlipper.h"

#include "kalvora/display/flip/digits.h"
#include "kalvora/support/KFlags.h"

namespace {

// A wait that ends sooner than this caught a vertical sync that was under way when the pan came.
constexpr int kLateSyncUs = 500;

}  // namespace

void KFlipper::Close() {
  delete screen;
  screen = nullptr;
  bufferCount = 0;
  frontIndex = 0;
}

void KFlipper::BeginFlip(unsigned back) {
  if (!screen->digitsLast) DrawFps(back);
}

void KFlipper::EndFlip(unsigned front, unsigned back, const KRect* dirty,
                       const std::atomic<bool>& cancelled) {
  const KShown shown = screen->Show(back, dirty, false, cancelled);
  if (cancelled) return;
  if (screen->WaitForVsync() < kLateSyncUs && !cancelled) screen->WaitForVsync();
  if (cancelled) return;
  if (shown == KShown::kFlipped) frontIndex.store(back, std::memory_order_relaxed);
  if (shown == KShown::kNot) {
    const KRect* const changed = Flags.DisplayFps ? nullptr : dirty;
    screen->CopyRect(front, back, changed, cancelled);
    screen->DrawnOver(front, changed);
  }
  if (screen->digitsLast) DrawFps(front);
}

void KFlipper::DrawFps(unsigned index) {
  int rate = 0;
  {
    const std::lock_guard<std::mutex> lock(fpsLock_);
    rate = fps_.Flip();
  }
  if (!Flags.DisplayFps || bufferCount == 0) return;
  std::uint8_t* const pixels = screen->Address(index);
  if (pixels == nullptr) return;
  kalvora::DrawNumber({pixels, screen->width, screen->height, screen->stride, screen->bpp >> 3},
                      rate);
}

void KFlipper::ResetFps(int capacity) {
  const std::lock_guard<std::mutex> lock(fpsLock_);
  fps_.Reset(capacity);
}

void KFlipper::DumpFps() {
  const std::lock_guard<std::mutex> lock(fpsLock_);
  fps_.Dump();
}

void KFlipper::SetFpsInterval(int milliseconds) {
  const std::lock_guard<std::mutex> lock(fpsLock_);
  fps_.intervalMs = milliseconds;
}
