// Page flips, their events, and what is done where they fail.
#include "kalvora/display/screens/KPageFlips.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include <poll.h>
#include <xf86drm.h>

#include "kalvora/display/clock.h"
#include "kalvora/support/KUtil.h"

namespace {

void OnFlip(int, unsigned, unsigned, unsigned, void* arrived) {
  static_cast<std::atomic<std::uint32_t>*>(arrived)->fetch_add(1);
}

/// Milliseconds of a frame; a sixtieth of a second where the mode does not tell.
int FrameMs(const drmModeModeInfo& mode) {
  const std::uint64_t pixels = std::uint64_t{mode.htotal} * mode.vtotal;
  const std::uint64_t ms = mode.clock != 0 ? pixels / mode.clock : 0;  // the clock is in kHz
  return ms == 0 ? 16 : static_cast<int>(std::min<std::uint64_t>(ms, 100));
}

}  // namespace

bool KPageFlips::SetMode(std::uint32_t framebuffer) {
  const int error = drmModeSetCrtc(fd, crtc, framebuffer, 0, 0, &connector, 1, &mode);
  if (error != 0) errno = -error;
  return error == 0;
}

bool KPageFlips::Flip(std::uint32_t framebuffer, const std::atomic<bool>& cancelled) {
  if (hasEvents_ && AskForFlip(framebuffer, cancelled)) return true;
  if (cancelled) return false;
  if (SetMode(framebuffer)) return true;
  PassAFrame();
  return false;
}

/// A driver has room for one flip at a time: the one before must be done.
bool KPageFlips::AskForFlip(std::uint32_t framebuffer, const std::atomic<bool>& cancelled) {
  const std::int64_t end = kalvora::MicrosecondsNow() + kPatienceMs * 1000;
  Wait();
  while (hasEvents_ && !cancelled) {
    sent_.fetch_add(1);
    const int error = drmModePageFlip(fd, crtc, framebuffer, DRM_MODE_PAGE_FLIP_EVENT, &arrived_);
    if (error == 0) return true;
    sent_.fetch_sub(1);
    // Somebody's flip is under way still: that of a thread that was given up, or of a driver that
    // sends events early.
    if (error != -EBUSY || kalvora::MicrosecondsNow() >= end) return false;
    poll(nullptr, 0, 1);
  }
  return false;
}

int KPageFlips::Wait() {
  if (arrived_ == sent_ || !hasEvents_) return 0;
  const std::int64_t start = kalvora::MicrosecondsNow();
  if (!AwaitEvents(kPatienceMs) && hasEvents_.exchange(false)) {
    KUtil::LogError("Page flip event missing, setting the mode for each frame.\n");
  }
  const std::int64_t took = kalvora::MicrosecondsNow() - start;
  return static_cast<int>(std::clamp<std::int64_t>(took, 0, INT_MAX));
}

bool KPageFlips::AwaitEvents(int timeoutMs) {
  const std::int64_t end = kalvora::MicrosecondsNow() + timeoutMs * 1000;
  drmEventContext context{};
  context.version = 2;
  context.page_flip_handler = OnFlip;
  while (arrived_ != sent_) {
    const std::int64_t left = (end - kalvora::MicrosecondsNow() + 999) / 1000;
    pollfd events{fd, POLLIN, 0};
    const int n = poll(&events, 1, static_cast<int>(std::clamp<std::int64_t>(left, 0, timeoutMs)));
    if (n > 0 && (events.revents & POLLIN) != 0) {
      drmHandleEvent(fd, &context);  // finds nothing when another thread was faster
    } else if (n > 0 || left <= 0 || (n < 0 && errno != EINTR)) {
      return false;
    }
  }
  return true;
}

void KPageFlips::PassAFrame() const { poll(nullptr, 0, FrameMs(mode)); }

void KPageFlips::MarkDirty(std::uint32_t framebuffer, const KRect& rect) {
  if (!wantsDirty_ || rect.IsEmpty()) return;
  drmModeClip clip{};
  clip.x1 = static_cast<std::uint16_t>(rect.left);
  clip.y1 = static_cast<std::uint16_t>(rect.top);
  clip.x2 = static_cast<std::uint16_t>(rect.right);
  clip.y2 = static_cast<std::uint16_t>(rect.bottom);
  const int error = drmModeDirtyFB(fd, framebuffer, &clip, 1);
  if (error == -ENOSYS || error == -EINVAL || error == -EOPNOTSUPP) wantsDirty_ = false;
}
