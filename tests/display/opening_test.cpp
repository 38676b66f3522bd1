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
const std::string kClose = kCloseMover + "munmap\nclose fb\n";

const std::string kMapped =
    "open /dev/fb0 2\nget\nfix\nput 20x12x32 virtual 20x36 at 0,0\nfix\nmmap 2880 fb\n";

struct Case {
  const char* name;
  void (*shape)(sim::Settings&);
  void (*driver)(Rig&);
  KFormat format;
  unsigned buffers;
  bool works;
  std::string calls;  ///< up to the data mover
};

void Keep(sim::Settings&) {}
void Plain(Rig&) {}

const Case kCases[] = {
    {"three buffers", Keep, Plain, KFormat8888PM, 3, true, kMapped + "get\npan 0,0\nthread\n"},
    {"one buffer", Keep, Plain, KFormat0888PM, 1, true, kMapped + "get\npan 0,0\n"},
    {"no panning", [](sim::Settings& s) { s.panning = false; }, Plain, KFormat8888PM, 1, true,
     "open /dev/fb0 2\nget\nfix\nmmap 2880 fb\nget\npan 0,0\n"},
    {"the driver refuses to pan", Keep, [](Rig& r) { r.onPan = [](auto&) { return EIO; }; },
     KFormat8888PM, 2, true, kMapped + "get\npan 0,0\nget\n"},
    {"the driver stays where it was", Keep,
     [](Rig& r) {
       r.onPan = [](fb_var_screeninfo& v) {
         v.yoffset = 12;
         return 0;
       };
     },
     KFormat8888PM, 1, false, kMapped + "get\npan 0,0\n"},
    {"16 bits", Keep, Plain, KFormat16, 2, true,
     "open /dev/fb0 2\nget\nput 20x12x16 virtual 20x12 at 0,0\nfix\n"
     "put 20x12x16 virtual 20x72 at 0,0\nfix\nmmap 2880 fb\nget\npan 0,0\n"},
    {"24 bits", Keep, Plain, KFormat24, 2, true,
     "open /dev/fb0 2\nget\nput 20x12x24 virtual 20x12 at 0,0\nfix\n"
     "put 20x12x24 virtual 20x48 at 0,0\nfix\nmmap 2880 fb\nget\npan 0,0\n"},
    {"8 bits", Keep, Plain, KFormatMask8, 1, true,
     "open /dev/fb0 2\nget\nput 20x12x8 virtual 20x12 at 0,0\nfix\n"
     "put 20x12x8 virtual 20x144 at 0,0\nfix\nmmap 2880 fb\nget\npan 0,0\n"},
    {"the device's own depth", [](sim::Settings& s) { s.bpp = 16; }, Plain, KFormat16Alpha, 2, true,
     "open /dev/fb0 2\nget\nfix\nput 20x12x16 virtual 20x72 at 0,0\nfix\nmmap 2880 fb\nget\npan "
     "0,0\n"},
    {"two fit, two asked", [](sim::Settings& s) { s.buffers = 2; }, Plain, KFormat8888PM, 2, true,
     "open /dev/fb0 2\nget\nfix\nput 20x12x32 virtual 20x24 at 0,0\nfix\nmmap 1920 fb\nget\npan "
     "0,0\n"},
    {"two fit, three asked", [](sim::Settings& s) { s.buffers = 2; }, Plain, KFormat8888PM, 3,
     false, "open /dev/fb0 2\nget\nfix\nput 20x12x32 virtual 20x24 at 0,0\nfix\nmmap 1920 fb\n"},
    {"one fits, two asked", [](sim::Settings& s) { s.buffers = 1; }, Plain, KFormat8888PM, 2, false,
     "open /dev/fb0 2\nget\nfix\nput 20x12x32 virtual 20x12 at 0,0\nfix\nmmap 960 fb\n"},
    {"none fits", Keep, [](Rig& r) { r.afterFix = [](fb_fix_screeninfo& f) { f.smem_len = 959; }; },
     KFormat8888PM, 1, false,
     "open /dev/fb0 2\nget\nfix\nput 20x12x32 virtual 20x0 at 0,0\nfix\nmmap 959 fb\n"},
    {"the driver refuses the depth silently", Keep,
     [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.bits_per_pixel = 32; }; }, KFormat16, 1,
     false, "open /dev/fb0 2\nget\nput 20x12x16 virtual 20x12 at 0,0\n"},
    {"the driver grants fewer rows", Keep,
     [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.yres_virtual = 24; }; }, KFormat8888PM,
     3, false, kMapped},
    {"zero width", Keep, [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.xres = 0; }; },
     KFormat16, 1, false, "open /dev/fb0 2\nget\nput 20x12x16 virtual 20x12 at 0,0\n"},
    {"zero height", Keep, [](Rig& r) { r.afterPut = [](fb_var_screeninfo& v) { v.yres = 0; }; },
     KFormat16, 1, false, "open /dev/fb0 2\nget\nput 20x12x16 virtual 20x12 at 0,0\n"},
    {"a depth below a byte", [](sim::Settings& s) { s.bpp = 4; }, Plain, KFormat16Alpha, 1, false,
     "open /dev/fb0 2\nget\n"},
    {"rows with gaps", [](sim::Settings& s) { s.linePadding = 16; }, Plain, KFormat8888PM, 1, false,
     "open /dev/fb0 2\nget\nfix\nput 20x12x32 virtual 20x36 at 0,0\nfix\n"},
    {"no device", Keep, [](Rig& r) { r.hasFb = false; }, KFormat8888PM, 1, false,
     "open /dev/fb0 2\n"},
};

TEST(Opening, MakesTheAgreedCalls) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    sim::Settings settings = Rig::Tiny();
    c.shape(settings);
    Rig rig(settings);
    c.driver(rig);
    KLinuxFb fb;
    void* const buffer = fb.SetDisplay(KDisplayFramebuffer, 0, c.format, c.buffers);
    EXPECT_EQ(buffer != nullptr, c.works);
    EXPECT_EQ(fb.DisplayKind(), c.works ? KDisplayFramebuffer : KDisplayNone);
    std::string expected = c.calls;
    if (c.works) {
      expected += kOpenMover + kClose;
    } else {
      if (c.calls.find("mmap") != std::string::npos) expected += "munmap\n";
      if (rig.hasFb) expected += "close fb\n";
    }
    fb.Close();
    EXPECT_EQ(rig.Take(), expected);
    EXPECT_EQ(rig.Take(Rig::kWorker), "");
    EXPECT_EQ(fb.Flip(true, nullptr), nullptr);
  }
}

TEST(Opening, RefusesWithoutASystemCall) {
  Rig rig;
  KLinuxFb fb;
  EXPECT_EQ(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 0), nullptr);
  EXPECT_EQ(fb.SetDisplay(KDisplayFramebuffer, 0, KFormat8888PM, 4), nullptr);
  for (const int kind : {-1, 1, 2, 3, 4, 6}) {
    EXPECT_EQ(fb.SetDisplay(static_cast<KDisplay>(kind), 0, KFormat8888PM, 1), nullptr);
    EXPECT_FALSE(fb.Open(static_cast<KDisplay>(kind), 0, 32));
  }
  EXPECT_EQ(rig.Take(), "");
}

TEST(Opening, NamesTheDeviceByItsNumber) {
  Rig rig;
  KLinuxFb fb;
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
    EXPECT_EQ(fb.IsAsync(), buffers == 3);
    EXPECT_EQ(fb.WaitForVsync(), 0);
    fb.Close();
    EXPECT_EQ(rig.Take(), "shmget 4556 615680 932\nshmat 7\n" +
                              std::string(buffers == 3 ? "thread\n" : "") + kOpenMover +
                              kCloseMover + "shmdt\n");
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

/// Fails each call once, for every call. The display is then closed, and opens again.
TEST(Opening, SurvivesEveryFailedCallAndAllocation) {
  for (const bool memory : {false, true}) {
    for (const KDisplay kind : {KDisplayFramebuffer, KDisplayShared}) {
      for (unsigned buffers = 1; buffers <= 3; ++buffers) {
        bool met = true;
        for (int n = 0; met; ++n) {
          SCOPED_TRACE(testing::Message() << memory << " " << kind << " " << buffers << " " << n);
          Rig rig;
          KLinuxFb fb;
          const auto bind = [&] { return fb.SetDisplay(kind, 0, KFormat16, buffers); };
          void* first = nullptr;
          if (memory) {
            const Allocations failing(n + 1);
            first = bind();
            met = failing.Count() > n;
          } else {
            rig.FailCall(n);
            first = bind();
            met = rig.Failed();
            rig.FailCall(-1);
          }
          ASSERT_TRUE(met || memory || n > 0);
          if (first == nullptr) {
            EXPECT_TRUE(met);
            EXPECT_EQ(rig.Descriptors(), 0);
            EXPECT_EQ(fb.DisplayKind(), KDisplayNone);
            EXPECT_EQ(fb.Flip(true, nullptr), nullptr);
            EXPECT_TRUE(rig.ThreadsEnd());
          } else {
            // Only panning and the flip thread may fail without failing all.
            const std::string calls = rig.Take();
            EXPECT_TRUE(memory || !met || calls.find("pan 0,0 fails") != std::string::npos ||
                        calls.find("thread fails") != std::string::npos)
                << calls;
            EXPECT_NE(fb.Flip(true, nullptr), nullptr);
          }
          EXPECT_NE(bind(), nullptr);
          EXPECT_NE(fb.Flip(true, nullptr), nullptr);
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
