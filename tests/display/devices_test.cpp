// The small devices and the mailbox on their own.
#include <chrono>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

#include "kalvora/display/KMailSlot.h"
#include "kalvora/display/KMsmAdm.h"

#include "tests/display/rig.h"

namespace {

TEST(MsmAdm, IsClosedUntilItOpens) {
  Rig rig;
  KMsmAdm adm;
  rig.FailCall(0);
  EXPECT_FALSE(adm.Open());
  rig.Take();
  adm.Rectcpy32(0, 0, {0, 12, 5, 15}, {1, 2, 6, 5}, 80, 80);
  EXPECT_EQ(rig.Take(), "");
  EXPECT_TRUE(adm.Open());
  EXPECT_TRUE(adm.Open());
  adm.Close();
  adm.Close();
  EXPECT_EQ(rig.Take(), "open /dev/msm_adm 2\nclose mover\n");
}

TEST(Deadline, CarriesWholeSeconds) {
  struct Case {
    std::int64_t us;
    int timeoutMs;
    std::int64_t seconds, ns;
  };
  for (const Case& c : {Case{0, 200, 0, 200000000},
                        {799999, 200, 0, 999999000},
                        {800000, 200, 1, 0},
                        {800001, 200, 1, 1000},
                        {999999, 2147483647, 2147484, 646999000}}) {
    timeval now{};
    now.tv_sec = 100;
    now.tv_usec = static_cast<suseconds_t>(c.us);
    const timespec deadline = kalvora::DeadlineAfter(now, c.timeoutMs);
    EXPECT_EQ(deadline.tv_sec, 100 + c.seconds) << c.us;
    EXPECT_EQ(deadline.tv_nsec, c.ns) << c.us;
  }
}

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

// A wall clock that somebody sets forward ends a timed lock at once; the lock is waited for all the
// same.
TEST(MailSlot, TimesOutByTheMonotonicClockHoldingTheLock) {
  Rig rig;
  rig.clockOffsetUs = -10000000;
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
