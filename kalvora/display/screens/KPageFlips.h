// KPageFlips: framebuffers of a mode-setting driver brought on one output, by page flips.
#ifndef KALVORA_DISPLAY_SCREENS_KPAGEFLIPS_H
#define KALVORA_DISPLAY_SCREENS_KPAGEFLIPS_H

#include <atomic>
#include <cstdint>

#include <xf86drmMode.h>

#include "kalvora/core/KRect.h"

/// An output and what it shows. Once it is set up two threads may call at once.
///
/// A page flip is asked for with an event, which comes when the flip is done: with the vertical
/// sync. Where a flip is refused, or where its event stays away for 200 ms, the mode is set with
/// the framebuffer instead. While neither works, because the output was unplugged or because
/// somebody else controls it, frames pass unseen, no faster than the mode's rate.
class KPageFlips {
 public:
  static constexpr int kPatienceMs = 200;

  int fd = -1;
  std::uint32_t crtc = 0;
  std::uint32_t connector = 0;
  drmModeModeInfo mode{};

  /// Shows a framebuffer by setting the mode. False, with errno, when that fails.
  bool SetMode(std::uint32_t framebuffer);
  /// Shows a framebuffer with the next vertical sync. False when it does not come on screen, or
  /// when it was cancelled at the last moment.
  bool Flip(std::uint32_t framebuffer, const std::atomic<bool>& cancelled);
  /// Waits for the flip that is under way; the microseconds that took.
  int Wait();
  /// Tells drivers that want to know it that a part of what is on screen was drawn over.
  void MarkDirty(std::uint32_t framebuffer, const KRect& rect);

 private:
  bool AskForFlip(std::uint32_t framebuffer, const std::atomic<bool>& cancelled);
  bool AwaitEvents(int timeoutMs);
  void PassAFrame() const;

  std::atomic<std::uint32_t> sent_{0};     ///< flips asked for
  std::atomic<std::uint32_t> arrived_{0};  ///< their events
  std::atomic<bool> hasEvents_{true};      ///< events come in time
  std::atomic<bool> wantsDirty_{true};     ///< the driver knows such requests
};

#endif
