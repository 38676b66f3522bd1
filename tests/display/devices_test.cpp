// The small devices and the mailbox on their own.
#include <chrono>
#include <ctime>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include "kalvora/display/KMailSlot.h"
#include "kalvora/display/KMsmAdm.h"

#include "tests/display/rig.h"

namespace {

TEST(MsmAdm, OpensOnceAndCopiesOnlyWhenOpen) {
  Rig rig;
  const int fb = rig.fb.Open();
  {
    KMsmAdm adm;
    adm.Rectcpy32(fb, fb, {0, 12, 5, 15}, {1, 2, 6, 5}, 80, 80);
    EXPECT_EQ(rig.Take(), "");
    rig.FailCall(0);
    EXPECT_FALSE(adm.Open());
    EXPECT_TRUE(adm.Open());
    EXPECT_TRUE(adm.Open());
    rig.Take();
    adm.Rectcpy32(fb, fb, {0, 12, 5, 15}, {1, 2, 6, 5}, 80, 80);
    EXPECT_EQ(rig.Take(), "copy 3 5 80 164 fb to 3 5 80 960 fb\n");
    adm.Close();
    adm.Close();
    EXPECT_EQ(rig.Take(), "close mover\n");
    EXPECT_TRUE(adm.Open());
  }
  EXPECT_EQ(rig.Take(), "open /dev/msm_adm 2\nclose mover\n");
  close(fb);
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

TEST(MailSlot, TimesOutHoldingTheLock) {
  KMailSlot<int> slot;
  EXPECT_FALSE(slot.Wait(1));
  std::thread other([&] { EXPECT_FALSE(slot.TimedLock(1)); });
  other.join();
  slot.Unlock();
}

TEST(MailSlot, WakesItsReader) {
  KMailSlot<int> slot;
  std::thread reader([&] {
    for (int i = 0; i < 1000; ++i) {
      ASSERT_TRUE(slot.Wait(i % 2 == 0 ? 0 : 20000));
      EXPECT_EQ(slot.payload, i);
      slot.pending = false;
      slot.Unlock();
    }
  });
  for (int i = 0; i < 1000;) {
    if (slot.Post(i)) ++i;
  }
  reader.join();
}

// A wall clock that somebody sets forward ends a timed lock at once; the lock is waited for all the
// same.
TEST(MailSlot, BelievesNoTimeoutOfTheWallClockAlone) {
  Rig rig;
  rig.clockOffsetUs = -10000000;
  KMailSlot<int> slot;
  std::atomic<bool> locked{false};
  slot.Lock();
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
