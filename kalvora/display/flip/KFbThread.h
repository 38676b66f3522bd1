// KFbThread: the thread that shows frames while the renderer draws the next one.
#ifndef KALVORA_DISPLAY_FLIP_KFBTHREAD_H
#define KALVORA_DISPLAY_FLIP_KFBTHREAD_H

#include <atomic>

#include <pthread.h>
#include <unistd.h>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/display/flip/KMailSlot.h"

/// A flip as it travels from the renderer to the flip thread.
struct KLinuxFb::KFlipData {
  unsigned back = 0;   ///< buffer to show
  unsigned front = 0;  ///< buffer on screen
  bool copyBack = false;
  const KRect* dirty = nullptr;  ///< null, or this object's own dirtyRect
  KRect dirtyRect{};

  KFlipData() = default;
  KFlipData(unsigned toShow, unsigned shown, bool keep, const KRect* rect)
      : back(toShow), front(shown), copyBack(keep) {
    SetDirty(rect);
  }
  KFlipData(const KFlipData& other)
      : KFlipData(other.back, other.front, other.copyBack, other.dirty) {}
  KFlipData& operator=(const KFlipData& other) {
    back = other.back;
    front = other.front;
    copyBack = other.copyBack;
    SetDirty(other.dirty);
    return *this;
  }

 private:
  void SetDirty(const KRect* rect) {
    if (rect != nullptr) dirtyRect = *rect;
    dirty = rect != nullptr ? &dirtyRect : nullptr;
  }
};

/// The flip thread and its two mailboxes. Locks are taken in the order flip slot, ack slot.
///
/// The thread holds the flip slot's lock from the moment a message wakes it until the frame is on
/// screen; so the renderer, which takes that lock to post the next message, waits for the previous
/// flip by taking it. The acknowledgement says that the flip has begun and that nobody writes to
/// the finished buffer any more. Nobody calls the driver under the ack slot's lock, so whoever
/// wants it gets it at once: under that lock the two agree, for every message, whether it is
/// flipped by the thread or given up by the renderer. Giving up is for good.
///
/// The thread is detached and deletes this object when it ends.
class KFbThread {
 public:
  static constexpr int kPatienceMs = 200;

  /// Starts the thread of a display; returns once the thread is independent of `fb`. Null when it
  /// could not be started.
  static KFbThread* Start(KLinuxFb& fb);
  /// Hands a flip over, after waiting for the previous one, and says which buffer that one has left
  /// on screen. False, with a line in the log, when the thread does not answer: it will then never
  /// flip again, and the caller has to.
  bool Send(bool copyBack, unsigned back, const KRect* dirty, unsigned& shown);
  /// Ends the thread, if there is one; the object must not be touched again. False when the thread
  /// is stuck in a flip: the screen is then the thread's, which deletes it when it comes back.
  bool Stop();

  KFbThread(const KFbThread&) = delete;
  KFbThread& operator=(const KFbThread&) = delete;

 private:
  enum class Outcome { kNext, kQuit, kQuitWithFlipper };

  KFbThread() : process_(getpid()) {}
  ~KFbThread() = default;
  static void* FlipThreadFunc(void* fb);
  /// A forked child has a copy of this object, and no thread: locks that the thread holds stay
  /// locked there.
  bool IsCopy() const { return process_ != getpid(); }
  Outcome Serve();
  bool AwaitAcknowledgement();
  void GiveUp();

  const pid_t process_;
  pthread_t thread_{};
  KFlipper* flipper_ = nullptr;
  bool quit_ = false;      ///< written under either lock, read under both
  bool flipping_ = false;  ///< guarded by the ack slot: the thread may be inside the driver
  std::atomic<bool> givenUp_{false};  ///< set under the ack slot's lock
  KMailSlot<KLinuxFb::KFlipData> flipSlot_;
  KMailSlot<int> ackSlot_;
};

#endif
