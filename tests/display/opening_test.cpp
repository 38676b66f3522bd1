// Binding a display: the system calls, what a driver may answer, and every failure.
#include <cerrno>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "kalvora/display/KLinuxFb.h"

#include "tests/common/Allocations.h"
#include "tests/display/rig.h"

namespace {

const std::string kOpenMover = kMover ? "open /dev/msm_adm 2\n" : "";
const std::string kCloseMover = kMover ? "close mover\n" : "";

const std::string kOpen = "open /dev/fb0 2\nget\n";
const std::string kShow = "get\npan 0,0\n";

std::string Put(int depth, int rows) {
  return Text("put 20x12x%d virtual 20x%d at 0,0\nfix\n", depth, rows);
}
std::string Map(int bytes) { return Text("mmap %d fb\n", bytes); }

// On a device that has the depth already, with room for three buffers.
const std::string kMapped = kOpen + "fix\n" + Put(32, 36) + Map(2880);

struct Case {
  const char* name;
  KFormat format;
  unsigned buffers;
  KErrorCode code;
  std::string calls;  ///< up to the data mover
  void (*shape)(sim::Settings&) = nullptr;
  void (*driver)(Rig&) = nullptr;
};

const Case kCases[] = {
    {"three buffers", KFormat8888PM, 3, KErrorNone, kMapped + kShow + "thread\n"},
    {"one buffer", KFormat0888PM, 1, KErrorNone, kMapped + kShow},
    {"16 bits", KFormat16, 2, KErrorNone, kOpen + Put(16, 12) + Put(16, 72) + Map(2880) + kShow},
    {"24 bits", KFormat24, 2, KErrorNone, kOpen + Put(24, 12) + Put(24, 48) + Map(2880) + kShow},
    {"8 bits", KFormatMask8, 1, KErrorNone, kOpen + Put(8, 12) + Put(8, 144) + Map(2880) + kShow},
    {"the device's own depth", KFormat16Alpha, 2, KErrorNone,
     kOpen + "fix\n" + Put(16, 72) + Map(2880) + kShow, [](sim::Settings& s) { s.bpp = 16; }},
    {"rows without bytes", KFormat16Alpha, 1, KErrorFormat, kOpen,
     [](sim::Settings& s) { s.bpp = 4; }},
    {"one too many", KFormat8888PM, 3, KErrorBuffers, kOpen + "fix\n" + Put(32, 24) + Map(1920),
     [](sim::Settings& s) { s.buffers = 2; }},
    {"rows with gaps", KFormat16Alpha, 1, KErrorRows, kOpen + "fix\n" + Put(32, 36),
     [](sim::Settings& s) { s.linePadding = 16; }},
    {"no panning", KFormat8888PM, 1, KErrorNone, kOpen + "fix\n" + Map(2880) + kShow,
     [](sim::Settings& s) { s.panning = false; }},
    {"the driver refuses to pan", KFormat8888PM, 2, KErrorNone, kMapped + kShow + "get\n", nullptr,
     [](Rig& r) { r.onPan = [](auto&) { return EIO; }; }},
    {"the driver stays where it was", KFormat8888PM, 1, KErrorDevice, kMapped + kShow, nullptr,
     [](Rig& r) {
       r.onPan = [](fb_var_screeninfo& v) {
         v.yoffset = 12;
         return 0;
       };
     }},
    {"the driver refuses the depth silently", KFormat16, 1, KErrorFormat,
     kOpen + "put 20x12x16 virtual 20x12 at 0,0\n", nullptr,
     [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.bits_per_pixel = 32; }; }},
    {"the driver grants fewer rows", KFormat8888PM, 3, KErrorBuffers, kMapped, nullptr,
     [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.yres_virtual = 24; }; }},
    {"no rows", KFormat16, 1, KErrorFormat, kOpen + "put 20x12x16 virtual 20x12 at 0,0\n", nullptr,
     [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.yres = 0; }; }},
};

TEST(Opening, MakesTheAgreedCalls) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    sim::Settings settings = Rig::Tiny();
    if (c.shape != nullptr) c.shape(settings);
    Rig rig(settings);
    if (c.driver != nullptr) c.driver(rig);
    KLinuxFb fb;
    void* const buffer = fb.SetDisplay(KDisplayFramebuffer, 0, c.format, c.buffers);
    const bool works = c.code == KErrorNone;
    EXPECT_EQ(buffer != nullptr, works);
    EXPECT_EQ(fb.LastError().code, c.code) << fb.LastError().text;
    EXPECT_EQ(fb.DisplayKind(), works ? KDisplayFramebuffer : KDisplayNone);
    std::string expected = c.calls + (works ? kOpenMover + kCloseMover : "");
    if (c.calls.find("mmap") != std::string::npos) expected += "munmap\n";
    fb.Close();
    EXPECT_EQ(rig.Take(), expected + "close fb\n");
    EXPECT_EQ(rig.Take(Rig::kWorker), "");
    EXPECT_EQ(fb.Flip(true, nullptr), nullptr);
  }
}

TEST(Opening, RefusesWhatThereIsNot) {
  Rig rig;
  KLinuxFb fb;
  EXPECT_EQ(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 0), nullptr);
  EXPECT_EQ(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 4), nullptr);
  for (const int kind : {-1, 1, 2, 3, 4, 7}) {
    EXPECT_EQ(fb.SetDisplay(static_cast<KDisplay>(kind), 0, KFormat8888PM, 1), nullptr);
    EXPECT_FALSE(fb.Open(static_cast<KDisplay>(kind), 0, 32));
  }
  EXPECT_EQ(rig.Take(), "");
  EXPECT_EQ(fb.SetDisplay(KDisplayFramebuffer, 31, KFormat8888PM, 1), nullptr);
  EXPECT_EQ(rig.Take(), "open /dev/fb31 2\n");
}

TEST(Opening, OfSharedMemory) {
  for (unsigned buffers = 1; buffers <= 3; ++buffers) {
    Rig rig;
    KLinuxFb fb;
    // Any format will do: the surface has its own.
    ASSERT_NE(fb.SetDisplay(KDisplayShared, 9, KFormat16, buffers), nullptr);
    EXPECT_EQ(fb.Width(), 320u);
    EXPECT_EQ(fb.Height(), 480u);
    EXPECT_EQ(fb.Stride(), 1280u);
    EXPECT_EQ(fb.DisplayKind(), KDisplayShared);
    EXPECT_EQ(fb.WaitForVsync(), 0);
    fb.Close();
    EXPECT_EQ(rig.Take(), "shmget 4556 615680 932\nshmat 7\n" +
                              std::string(buffers == 3 ? "thread\n" : "") + kOpenMover +
                              kCloseMover + "shmdt\n");
  }
}

/// A bind that fails takes away the segment that it made, and no other.
TEST(Opening, OfSharedMemoryLeavesNothingWhenItFails) {
  for (const bool ours : {true, false}) {
    for (const bool before : {true, false}) {
      for (int n = 0; n < 6; ++n) {
        SCOPED_TRACE(testing::Message() << ours << before << n);
        Rig rig;
        rig.segmentIsOurs = ours;
        KLinuxFb fb;
        if (before) fb.SetDisplay(KDisplayShared, 0, KFormat8888PM, 1);
        rig.FailCall(n);
        const bool works = fb.SetDisplay(KDisplayShared, 0, KFormat8888PM, 2) != nullptr;
        const bool stays = works || before || (!ours && n > 0);
        EXPECT_EQ(rig.hasSegment, stays);
      }
    }
  }
}

TEST(Opening, TheDeviceAloneCanBeOpened) {
  Rig rig;
  KLinuxFb fb;
  EXPECT_TRUE(fb.Open(KDisplayFramebuffer, 0, 0));
  EXPECT_TRUE(fb.Open(KDisplayFramebuffer, 0, 16));  // closes the first
  EXPECT_EQ(fb.Stride(), 40u);
  fb.Flip(true, nullptr);
  EXPECT_NE(fb.SetDisplay(KDisplayShared, 0, KFormat8888PM, 2), nullptr);
  EXPECT_TRUE(fb.Open(KDisplayFramebuffer, 0, 0));
}

/// Binds a display with the n-th call or allocation failing: it is then closed or works, and can
/// be bound again. Returns whether the failure was met.
bool BindWithFailure(bool memory, KDisplay kind, unsigned buffers, int n) {
  Rig rig;
  KLinuxFb fb;
  const auto bind = [&] { return fb.SetDisplay(kind, 0, KFormat16, buffers); };
  if (!memory) rig.FailCall(n);
  auto allocations = std::make_unique<Allocations>(memory ? n + 1 : 0);
  const bool works = bind() != nullptr;
  const bool met = memory ? allocations->Count() > n : rig.Failed();
  allocations.reset();
  rig.FailCall(-1);
  EXPECT_TRUE(works || met);
  if (works && met && !memory) {
    // Only panning and the flip thread may fail without failing all.
    const std::string calls = rig.Take();
    EXPECT_TRUE(calls.find("pan 0,0 fails") != std::string::npos ||
                calls.find("thread fails") != std::string::npos)
        << calls;
  }
  if (!works) {
    EXPECT_TRUE(rig.ThreadsEnd());
    EXPECT_EQ(rig.descriptors, 0);
    EXPECT_EQ(fb.DisplayKind(), KDisplayNone);
  }
  EXPECT_EQ(fb.Flip(true, nullptr) != nullptr, works);
  EXPECT_NE(bind(), nullptr);
  EXPECT_NE(fb.Flip(true, nullptr), nullptr);
  return met;
}

TEST(Opening, SurvivesEveryFailedCallAndAllocation) {
  for (const bool memory : {false, true}) {
    for (const KDisplay kind : {KDisplayFramebuffer, KDisplayShared}) {
      for (unsigned buffers = 1; buffers <= 3; ++buffers) {
        bool met = true;
        for (int n = 0; met && !HasFailure(); ++n) {
          SCOPED_TRACE(testing::Message() << memory << " " << kind << " " << buffers << " " << n);
          met = BindWithFailure(memory, kind, buffers, n);
        }
      }
    }
  }
}

TEST(Opening, WithoutMemoryForTheObjectItself) {
  Rig rig;
  auto none = std::make_unique<Allocations>(1);
  KLinuxFb fb;
  none.reset();
  EXPECT_EQ(fb.Flip(true, nullptr), nullptr);
  EXPECT_EQ(fb.Width() + fb.Height() + fb.Stride(), 0u);
  fb.DumpFps();
  fb.SetFpsInterval(7);
  EXPECT_NE(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 1), nullptr);
}

}  // namespace
