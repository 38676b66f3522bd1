// The flip thread's life, and both sides of the hand-over.
#include "kalvora/display/flip/KFbThread.h"

#include <new>

#include <signal.h>
#include <unistd.h>

#include "kalvora/display/flip/KFlipper.h"
#include "kalvora/support/KUtil.h"

namespace {

/// Creates a detached thread that no signal of the application interrupts; faults of the thread
/// itself still reach the application's handlers.
bool CreateThread(pthread_t* thread, void* (*body)(void*), void* argument) {
  sigset_t blocked;
  sigset_t previous;
  sigfillset(&blocked);
  for (const int fault : {SIGBUS, SIGFPE, SIGILL, SIGSEGV}) sigdelset(&blocked, fault);
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_sigmask(SIG_SETMASK, &blocked, &previous);
  const bool created = pthread_create(thread, &attributes, body, argument) == 0;
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  pthread_attr_destroy(&attributes);
  return created;
}

}  // namespace

KFbThread* KFbThread::Start(KLinuxFb& fb) {
  auto* const worker = new (std::nothrow) KFbThread;
  if (worker == nullptr) return nullptr;
  fb.flipWorker_ = worker;
  if (!CreateThread(&worker->thread_, FlipThreadFunc, &fb)) {
    fb.flipWorker_ = nullptr;
    delete worker;
    return nullptr;
  }
  worker->ackSlot_.Wait(0);
  worker->ackSlot_.pending = false;
  worker->ackSlot_.Unlock();
  return worker;
}

void* KFbThread::FlipThreadFunc(void* fb) {
  const auto* const display = static_cast<const KLinuxFb*>(fb);
  KFbThread* const self = display->flipWorker_;
  self->flipper_ = display->flipper_;
  [[maybe_unused]] const int priority = nice(-2);
  self->ackSlot_.Post(0);  // started; from here on the display may go away

  Outcome outcome = Outcome::kNext;
  while (outcome == Outcome::kNext) {
    if (!self->flipSlot_.Wait(0)) return nullptr;
    outcome = self->Serve();
    self->flipSlot_.pending = false;
    self->flipSlot_.Unlock();
  }
  if (outcome == Outcome::kQuitWithFlipper) delete self->flipper_;
  delete self;
  return nullptr;
}

/// One message, under the flip slot's lock.
KFbThread::Outcome KFbThread::Serve() {
  const KLinuxFb::KFlipData& flip = flipSlot_.payload;
  ackSlot_.Lock();
  const bool leave = quit_;
  const bool accepted = !leave && !givenUp_;
  if (accepted) {
    flipper_->BeginFlip(flip.back);
    ackSlot_.Post(0);
    flipping_ = true;
  }
  ackSlot_.Unlock();
  if (!accepted) return leave ? Outcome::kQuit : Outcome::kNext;

  flipper_->EndFlip(flip.front, flip.back, flip.copyBack ? flip.dirty : nullptr, givenUp_);

  ackSlot_.Lock();
  flipping_ = false;
  const bool abandoned = quit_;  // only while `flipping` is set can Stop have said so meanwhile
  ackSlot_.Unlock();
  return abandoned ? Outcome::kQuitWithFlipper : Outcome::kNext;
}

bool KFbThread::Send(bool copyBack, unsigned back, const KRect* dirty, unsigned& shown) {
  bool sent = false;
  if (IsCopy()) return false;
  if (flipSlot_.TimedLock(kPatienceMs)) {
    shown = flipper_->frontIndex.load(std::memory_order_relaxed);
    sent = flipSlot_.Post({back, shown, copyBack, dirty});
    flipSlot_.Unlock();
    if (sent && AwaitAcknowledgement()) return true;
  }
  if (!sent) GiveUp();
  KUtil::LogError("Flip thread unresponsive, going synchronous.  FlipSent %d AckReceived %d\n",
                  sent ? 1 : 0, 0);
  return false;
}

/// Waits for the acknowledgement; when it does not come, the message is given up in the same
/// breath.
bool KFbThread::AwaitAcknowledgement() {
  ackSlot_.Wait(kPatienceMs);
  const bool received = ackSlot_.pending;
  if (!received) givenUp_ = true;
  ackSlot_.pending = false;
  ackSlot_.Unlock();
  return received;
}

void KFbThread::GiveUp() {
  ackSlot_.Lock();
  givenUp_ = true;
  ackSlot_.Unlock();
}

bool KFbThread::Stop() {
  if (IsCopy()) return true;
  for (;;) {
    if (flipSlot_.TimedLock(kPatienceMs)) {
      quit_ = true;
      flipSlot_.Post({});
      flipSlot_.Unlock();
      return true;
    }
    ackSlot_.Lock();
    const bool stuck = flipping_;
    if (stuck) {
      givenUp_ = true;
      quit_ = true;
    }
    ackSlot_.Unlock();
    if (stuck) return false;
    // The thread holds the lock but is not in the driver: it was merely not scheduled.
  }
}
