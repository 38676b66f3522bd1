// Threads that draw text at once, and what is left of them when they end.
#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>

#include "kalvora/text/KFTLib.h"
#include "kalvora/text/glyphs/KFTCache.h"

#include "tests/common/Hash.h"
#include "tests/common/Random.h"
#include "tests/common/Target.h"
#include "tests/text/fonts.h"

namespace {

// What the process holds on to.
struct Resources {
  std::ptrdiff_t mappings = 0, files = 0;

  Resources() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
      mappings += line.find(".ttf") != std::string::npos;
    }
    using Folder = std::filesystem::directory_iterator;
    files = std::distance(Folder("/proc/self/fd"), Folder());
  }
  bool operator==(const Resources&) const = default;
};

// Draws strings with a context, fonts and a cache of this thread's own; what comes out depends on
// the seed alone.
std::uint64_t DrawStrings(std::uint64_t seed) {
  Random random(seed);
  Fonts f;
  const FontList other{&f.symbols};
  Hash hash;
  Target target(160, 60);
  KSoftContext2D& context = target.context;
  context.SetFont(&f.latin);
  for (unsigned i = 0; i < 1500; ++i) {
    if (i % 100 == 0) {
      context.SetFallbackFonts(i % 200 == 0 ? &other.array : &f.fallbacks.array, nullptr);
    }
    char16_t text[12];
    for (char16_t& c : text) {
      constexpr char16_t kStarts[] = {u'A', u'\u0410', u'\u4E00', u'\u2700'};
      c = static_cast<char16_t>(kStarts[random.Below(4)] + random.Below(60));
    }
    f.latin.SetFontSize(Px(8 + random.Below(4) * 9));
    context.SetFillColor(KColor32::FromWord(random.Next()));
    context.Transform().Identity();
    if (random.OneIn(4)) context.Transform().Rotate(Px(random.Below(4) * 20));
    context.DrawText(Codes(text), 12, P(random.Below(160), random.Below(60)));
    KRect bound = {};
    f.latin.GetBound(bound, Codes(text), 12);
    hash.Add(std::int32_t{bound.right});
    if (i % 50 == 0) hash.AddBytes(target.buffer.data(), target.buffer.size());
  }
  return hash.Value();
}

TEST(Threads, DrawAtOnceWhatEachDrawsAlone) {
  constexpr std::uint64_t kThreads = 4;
  const Resources before;
  std::uint64_t alone[kThreads], together[kThreads];
  for (std::uint64_t t = 0; t < kThreads; ++t) OnThread([&] { alone[t] = DrawStrings(t); });
  std::vector<std::thread> threads;
  for (std::uint64_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&together, t] { together[t] = DrawStrings(t); });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::uint64_t t = 0; t < kThreads; ++t) EXPECT_EQ(together[t], alone[t]);
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
  EXPECT_EQ(Resources(), before);
}

// What a program keeps for a thread, which the thread's end destroys before or after ours.
struct Belongings {
  KFTFont latin, cjk;
  KSoftContext2D context;
};

void UseAtTheEnd(void* value) {
  auto* belongings = static_cast<Belongings*>(value);
  KVertex2D pen = KVertex2D::Origin;
  belongings->latin.AdvancePen(&pen, kOnlyCjk, 0, &belongings->cjk);
  belongings->context.LoadMask(&pen, &pen, 'A');
  EXPECT_TRUE(belongings->latin.LoadFont(kSerif, 0));  // a library and a cache again
  EXPECT_TRUE(belongings->latin.Exists('A'));
  EXPECT_NE(belongings->context.LoadMask(&pen, &pen, 'A'), nullptr);
  delete belongings;
}

// As if the cache of this thread had ended.
void EndCache() {
  KFTCache::TlsCacheDestructor(KFTCache::TlsCache.Get());
  KFTCache::TlsCache.Set(nullptr);
}

TEST(Threads, EndInAnyOrder) {
  const Resources before;
  for (int round = 0; round < 3; ++round) {
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key, UseAtTheEnd), 0);
    OnThread([&] {
      auto* belongings = new Belongings;
      if (round != 2) {  // else ours are not there yet
        ASSERT_TRUE(belongings->latin.LoadFont(kLatin, 0));
        ASSERT_TRUE(belongings->cjk.LoadFont(kCjk, 0));
      }
      belongings->context.SetFont(&belongings->latin);
      if (round == 1) {  // as if this thread's own had ended first
        KFTLib::TlsLibDestructor(KFTLib::TlsLib.Get());
        KFTLib::TlsLib.Set(nullptr);
        EndCache();
      }
      pthread_setspecific(key, belongings);
    });
    pthread_key_delete(key);
  }
  OnThread([] {
    KFTFont font;
    ASSERT_TRUE(font.LoadFont(kLatin, 0));
    EndCache();
    EXPECT_FALSE(font.Exists('A'));  // its file is in no list
    EXPECT_EQ(font.file->refCount, 1);
    EndCache();
    font.Release(nullptr);
    EXPECT_EQ(KFTCache::Existing(), nullptr);  // emptying a font makes no cache
  });
  EXPECT_EQ(Resources(), before);
  KFTLib::TlsLibDestructor(nullptr);
  KFTCache::TlsCacheDestructor(nullptr);
}

TEST(TlsItem, KeysAreMadeOnceAndStayDeleted) {
  static std::atomic<int> destroyed{0};
  static KTlsItem<int> item{[](void*) { ++destroyed; }};
  int here = 0, there = 0;
  std::atomic<int> ready{0};
  std::thread threads[4];
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      ready += item.Ready();
      EXPECT_EQ(item.Get(), nullptr);
      EXPECT_TRUE(item.Set(&there));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(ready, 4);
  EXPECT_EQ(destroyed, 4);
  EXPECT_TRUE(item.Set(&here));
  EXPECT_EQ(item.Get(), &here);
  item.Delete();  // destroys this thread's value
  EXPECT_EQ(destroyed, 5);
  EXPECT_EQ(item.Get(), nullptr);
  EXPECT_FALSE(item.Set(&here));
  item.Delete();
  EXPECT_EQ(destroyed, 5);
}

// A font and a context of the whole program, used before main and destroyed after it.
struct Statics {
  KFTFont font;
  KSoftContext2D context;
  const bool loaded = font.LoadFont(kLatin, 0);
} statics;

TEST(Threads, ProgramsMayKeepFontsInStatics) {
  ASSERT_TRUE(statics.loaded);
  const FontList list{&statics.font};
  statics.context.SetFont(&statics.font);
  statics.context.SetFallbackFonts(&list.array, nullptr);
  KVertex2D origin, advance;
  EXPECT_NE(statics.context.LoadMask(&origin, &advance, 'A'), nullptr);
  statics.context.SetFallbackFonts(nullptr, nullptr);  // other tests count the tables
}

}  // namespace
