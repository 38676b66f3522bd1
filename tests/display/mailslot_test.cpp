// The mailbox on its own.
#include <atomic>
#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

#include "kalvora/display/flip/KMailSlot.h"

#include "tests/display/rig.h"

namespace {

TEST(MailSlot, HoldsOneMessage) {
  KMailSlot<int> slot;
  EXPECT_TRUE(slot.Post(1));
  EXPECT_FALSE(slot.Post(2));
  ASSERT_TRUE(slot.Wait(0));
  ASSERT_TRUE(slot.Wait(1));  // the lock is recursive, the message still there
  EXPECT_EQ(slot.payload, 1);
  slot.pending = false;
  EXPECT_TRUE(slot.Post(3));
  slot.Unlock();
  slot.Unlock();
  EXPECT_EQ(pthread_mutex_trylock(&slot.mutex), 0);
  slot.Unlock();
}

// Nobody who sets the wall clock makes a wait shorter or longer.
TEST(MailSlot, TimesOutByTheMonotonicClockHoldingTheLock) {
  Rig rig;
  rig.wallOffsetUs = -10000000;
  KMailSlot<int> slot;
  EXPECT_FALSE(slot.Wait(1));
  std::thread([&] { EXPECT_FALSE(slot.TimedLock(1)); }).join();
  std::atomic<bool> locked{false};
  std::thread other([&] {
    EXPECT_TRUE(slot.TimedLock(10000));
    locked = true;
    slot.Unlock();
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(locked);
  slot.Unlock();
  other.join();
  EXPECT_TRUE(locked);
}

}  // namespace
