// Displays of mode-setting drivers: opening, what may go wrong with page flips, and going away.
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kalvora/display/KLinuxFb.h"

#include "tests/common/Allocations.h"
#include "tests/display/card.h"
#include "tests/display/rig.h"

namespace {

constexpr char kCreate[] = "create 20x12x32\naddfb xrgb\nmap\nmmap card\n";
constexpr char kFind[] = "open /dev/dri/card0 2050\ncap\nresources\nconnector\nencoder\ncrtc\n";
constexpr char kGone[] = "munmap\nrmfb\ndestroy\n";

/// A display of a card, whose frames are filled with their numbers.
struct Display {
  KLinuxFb fb;
  void* buffer;
  std::uint32_t frame = 0;

  explicit Display(unsigned buffers)
      : buffer(fb.SetDisplay(KDisplayKms, 0, KFormat8888PM, buffers)) {}
  void DrawAndFlip(const KRect* dirty = nullptr) {
    ASSERT_NE(buffer, nullptr);
    std::fill_n(static_cast<std::uint32_t*>(buffer), 20 * 12, ++frame);
    buffer = fb.Flip(true, dirty);
  }
};

std::uint32_t Number(Card& card) {
  std::uint32_t first = 0;
  const auto screen = card.Shown();
  if (!screen.empty()) std::memcpy(&first, screen.data(), 4);
  return first;
}

TEST(Kms, MakesTheAgreedCalls) {
  Rig rig;
  Card card;
  Display display(2);
  EXPECT_EQ(rig.Take(), std::string(kFind) + kCreate + kCreate + "mode\n");
  EXPECT_EQ(display.fb.DisplayKind(), KDisplayKms);
  EXPECT_EQ(display.fb.Stride(), 80u);
  display.DrawAndFlip();
  EXPECT_EQ(rig.Take(), "flip\n");
  EXPECT_EQ(Number(card), 1u);
  display.fb.Close();
  EXPECT_EQ(rig.Take(), std::string("console\n") + kGone + kGone + "close card\n");
  EXPECT_TRUE(card.ShowsConsole());
}

TEST(Kms, SaysWhyItCannotBeOpened) {
  const struct {
    const char* text;
    KErrorCode code;
    void (*shape)(Card::Settings&);
    KFormat format = KFormat8888PM;
    unsigned buffers = 2;
  } cases[] = {
      {"no buffers that a processor", KErrorDevice, [](Card::Settings& s) { s.hasDumb = false; }},
      {"no display is connected", KErrorNoDevice, [](Card::Settings& s) { s.connected = false; }},
      {"gives 2 buffers instead of 3", KErrorBuffers, [](Card::Settings& s) { s.buffers = 2; },
       KFormat8888PM, 3},
      {"takes no buffer of 32 bits", KErrorMemory, [](Card::Settings& s) { s.buffers = 0; }},
      {"takes no buffer of 24 bits", KErrorFormat, [](Card::Settings&) {}, KFormat24},
      {"", KErrorNone, [](Card::Settings& s) { s.hasPreferred = s.isLit = false; }},
      {"", KErrorNone, [](Card::Settings&) {}, KFormat16, 3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    Rig rig;
    Card::Settings settings;
    c.shape(settings);
    Card card(settings);
    KLinuxFb fb;
    EXPECT_EQ(fb.SetDisplay(KDisplayKms, 0, c.format, c.buffers) != nullptr, c.code == KErrorNone);
    EXPECT_EQ(fb.LastError().code, c.code);
    EXPECT_NE(std::string(fb.LastError().text).find(c.text), std::string::npos)
        << fb.LastError().text;
  }
  Rig rig;
  Card card;
  card.isMaster = false;
  KLinuxFb fb;
  EXPECT_EQ(fb.SetDisplay(KDisplayKms, 0, KFormat8888PM, 1), nullptr);
  EXPECT_STREQ(fb.LastError().text, "somebody else controls /dev/dri/card0");
  EXPECT_EQ(fb.LastError().code, KErrorBusy);
  EXPECT_EQ(fb.SetDisplay(KDisplayKms, 1, KFormat8888PM, 1), nullptr);
  EXPECT_STREQ(fb.LastError().text, "cannot open /dev/dri/card1: No such file or directory");
}

/// Each trouble comes after two good frames, stays for three, and goes away before the last.
TEST(Kms, ComesThroughTroubles) {
  const struct {
    const char* name;
    void (*begin)(Card&);
    void (*end)(Card&);
    bool isSeen;           ///< frames are shown meanwhile
    const char* log = "";  ///< what is logged
  } cases[] = {
      {"busy", [](Card& c) { c.busy = 5; }, [](Card&) {}, true},
      {"busy for long", [](Card& c) { c.busy = 500; }, [](Card& c) { c.busy = 0; }, true},
      {"events stay away", [](Card& c) { c.events = false; }, [](Card& c) { c.events = true; },
       true, "Page flip event missing, setting the mode for each frame.\n"},
      {"no flips", [](Card& c) { c.knowsFlips = false; }, [](Card&) {}, true},
      {"lost master", [](Card& c) { c.isMaster = false; }, [](Card& c) { c.isMaster = true; },
       false},
      {"unplugged", [](Card& c) { c.isPlugged = false; }, [](Card& c) { c.isPlugged = true; },
       false},
  };
  for (const auto& c : cases) {
    for (unsigned buffers = 1; buffers <= 3; ++buffers) {
      SCOPED_TRACE(testing::Message() << c.name << " " << buffers);
      Rig rig;
      Card card;
      rig.clockOffsetUs = 60000000;  // patient
      Display display(buffers);
      for (int i = 0; i < 2; ++i) display.DrawAndFlip();
      c.begin(card);
      for (int i = 0; i < 3; ++i) {
        display.DrawAndFlip();
        if (c.isSeen && buffers == 2) {
          EXPECT_EQ(Number(card), display.frame);
        }
      }
      c.end(card);
      for (int i = 0; i < 3; ++i) display.DrawAndFlip();
      if (buffers == 3) {
        EXPECT_GE(Number(card), display.frame - 1);
      } else {
        EXPECT_EQ(Number(card), display.frame);
      }
      display.fb.Close();
      EXPECT_TRUE(card.ShowsConsole());
      const std::string log = rig.TakeLog();
      EXPECT_EQ(log.empty() || buffers == 1 ? "" : log.substr(log.find("] ") + 2),
                buffers == 1 ? "" : c.log);
    }
  }
}

TEST(Kms, CanBeLookedAtWithoutShowingAnything) {
  const struct {
    KDisplay kind;
    bool works, hasShadow;
    unsigned bpp, buffers;
    const char* driver;
    void (*shape)(Card::Settings&, sim::Settings&);
  } cases[] = {
      {KDisplayKms, true, false, 32, 3, "card", [](Card::Settings&, sim::Settings&) {}},
      {KDisplayKms, true, true, 16, 2, "card",
       [](Card::Settings& s, sim::Settings&) {
         s.takesWords = false;
         s.buffers = 2;
       }},
      {KDisplayKms, false, false, 0, 0, "card",
       [](Card::Settings& s, sim::Settings&) { s.connected = false; }},
      {KDisplayFramebuffer, true, false, 32, 3, "kalvora-sim",
       [](Card::Settings&, sim::Settings&) {}},
      {KDisplayFramebuffer, true, true, 16, 3, "kalvora-sim",
       [](Card::Settings&, sim::Settings& s) { s.bpp = 16; }},
      {KDisplayFramebuffer, false, false, 4, 0, "",
       [](Card::Settings&, sim::Settings& s) { s.bpp = 4; }},
      {KDisplayShared, true, false, 32, 3, "", [](Card::Settings&, sim::Settings&) {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Card::Settings settings;
    sim::Settings board = Rig::Tiny();
    c.shape(settings, board);
    Rig rig(board);
    Card card(settings);
    KDisplayFacts facts;
    KError error;
    EXPECT_EQ(KLinuxFb::Look(c.kind, 0, facts, error), c.works) << error.text;
    EXPECT_EQ(error.code == KErrorNone, c.works);
    EXPECT_EQ(facts.bpp, c.bpp);
    EXPECT_EQ(facts.buffers, c.buffers);
    EXPECT_EQ(facts.hasShadow, c.hasShadow);
    EXPECT_STREQ(facts.driver, c.driver);
    EXPECT_TRUE(card.ShowsConsole());
    const std::string calls = rig.Take();
    for (const char* const call : {"pan", "mode", "put"}) {
      EXPECT_EQ(calls.find(call), std::string::npos) << calls;
    }
  }
}

TEST(Kms, HandsDirtyRectanglesToDriversThatWantThem) {
  for (const bool knows : {true, false}) {
    Rig rig;
    Card::Settings settings;
    settings.knowsDirty = knows;
    Card card(settings);
    Display display(1);
    rig.Take();
    const KRect part{-3, 2, 5, 99};
    const KRect none{4, 4, 4, 4};
    display.DrawAndFlip(&part);
    display.DrawAndFlip(&none);
    display.DrawAndFlip();
    EXPECT_EQ(rig.Take(), knows ? "dirty 0,2 5,12\ndirty 0,0 20,12\n" : "dirty 0,2 5,12\n");
    EXPECT_EQ(Number(card), 3u);
  }
}

/// Fails each call and each allocation of a bind and of some flips once.
TEST(Kms, SurvivesEveryFailure) {
  for (const bool memory : {false, true}) {
    for (unsigned buffers = 1; buffers <= 3; ++buffers) {
      bool met = true;
      for (int n = 0; met && !HasFailure(); ++n) {
        SCOPED_TRACE(testing::Message() << memory << " " << buffers << " " << n);
        Rig rig;
        Card card;
        rig.clockOffsetUs = 60000000;
        if (!memory) rig.FailCall(n);
        auto allocations = std::make_unique<Allocations>(memory ? n + 1 : 0);
        auto display = std::make_unique<Display>(buffers);
        const bool works = display->buffer != nullptr;
        EXPECT_EQ(works, display->fb.LastError().code == KErrorNone);
        for (int i = 0; works && i < 3; ++i) display->DrawAndFlip();
        met = memory ? allocations->Count() > n : rig.Failed();
        allocations.reset();
        rig.FailCall(-1);
        EXPECT_TRUE(works || met);
        if (works && buffers < 3) {
          display->DrawAndFlip();
          // Where a buffer of 32 bits was refused, the screen has 16.
          const bool hasWords = card.Shown().size() == 20 * 12 * 4;
          EXPECT_TRUE(!hasWords || Number(card) == display->frame);
        }
      }
    }
  }
}

// A child that was forked has the parent's descriptors, and no flip thread. It leaves the screen
// and the driver's buffers alone.
TEST(Kms, StaysOnScreenWhenAForkedChildEnds) {
  for (const KDisplay kind : {KDisplayKms, KDisplayFramebuffer}) {
    Rig rig;
    Card card;
    rig.clockOffsetUs = 60000000;
    KLinuxFb fb;
    ASSERT_NE(fb.SetDisplay(kind, 0, KFormat8888PM, 3), nullptr);
    fb.Flip(true, nullptr);
    pid_t child;
    {
      // What the flip thread holds at this moment the child would wait for.
      const std::lock_guard cards(card.lock);
      const auto calls = rig.Hold();
      const auto device = rig.fb.Hold();
      child = fork();
    }
    if (child == 0) {
      fb.Flip(true, nullptr);
      fb.Close();
      std::_Exit(card.framebuffers.size() == (kind == KDisplayKms ? 3 : 0) ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_NE(fb.Flip(true, nullptr), nullptr);
  }
}

}  // namespace
