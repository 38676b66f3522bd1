// KMailSlot: a mailbox between two threads that holds one message.
#ifndef KALVORA_DISPLAY_FLIP_KMAILSLOT_H
#define KALVORA_DISPLAY_FLIP_KMAILSLOT_H

#include <cerrno>

#include <pthread.h>

#include "kalvora/display/clock.h"

/// One message and the lock that guards it. A message stays pending until its reader clears
/// `pending`. The lock is recursive: a thread that holds it may wait or post again.
template <typename T>
struct KMailSlot {
  T payload{};
  bool pending = false;  ///< a message is posted and not consumed yet
  pthread_mutexattr_t attribute;
  pthread_mutex_t mutex;
  pthread_cond_t condition;

  KMailSlot() {
    pthread_mutexattr_init(&attribute);
    pthread_mutexattr_settype(&attribute, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attribute);
    pthread_condattr_t monotonic;
    pthread_condattr_init(&monotonic);
    pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
    pthread_cond_init(&condition, &monotonic);
    pthread_condattr_destroy(&monotonic);
  }
  ~KMailSlot() {
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
    pthread_mutexattr_destroy(&attribute);
  }
  KMailSlot(const KMailSlot&) = delete;
  KMailSlot& operator=(const KMailSlot&) = delete;

  void Lock() { pthread_mutex_lock(&mutex); }
  void Unlock() { pthread_mutex_unlock(&mutex); }

  /// Locks within `timeoutMs`, or returns false.
  bool TimedLock(int timeoutMs) {
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 30) && !defined(__SANITIZE_THREAD__)
    const timespec deadline = kalvora::DeadlineIn(CLOCK_MONOTONIC, timeoutMs);
    return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &deadline) == 0;
#else
    // Older C libraries lock by the wall clock alone, and GCC's thread sanitizer knows no other
    // lock: when that clock is set, the wait has another length.
    const timespec deadline = kalvora::DeadlineIn(CLOCK_REALTIME, timeoutMs);
    return pthread_mutex_timedlock(&mutex, &deadline) == 0;
#endif
  }

  /// Waits for a message, for ever when `timeoutMs` is 0. True: a message is pending. True or
  /// false, the caller then holds the lock and gives it back.
  bool Wait(int timeoutMs) {
    const int error = pthread_mutex_lock(&mutex);
    if (error != 0) return error == EDEADLK;
    if (pending) return true;
    const timespec deadline = kalvora::DeadlineIn(CLOCK_MONOTONIC, timeoutMs);
    while (!pending) {
      const int failed = timeoutMs > 0 ? pthread_cond_timedwait(&condition, &mutex, &deadline)
                                       : pthread_cond_wait(&condition, &mutex);
      if (failed != 0) return false;
    }
    return true;
  }

  /// Puts a message into the slot and wakes its reader. False when one is pending still.
  bool Post(const T& message) {
    const int error = pthread_mutex_lock(&mutex);
    if (error != 0 && error != EDEADLK) return false;
    bool sent = false;
    if (!pending) {
      payload = message;
      pending = true;
      sent = pthread_cond_signal(&condition) == 0;
    }
    pthread_mutex_unlock(&mutex);
    return sent;
  }
};

#endif
