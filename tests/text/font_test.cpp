// Fonts: loading, sharing, sizes and measures, against FreeType asked directly.
#include <cstdio>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kalvora/text/KFTCache.h"
#include "kalvora/text/KFTFont.h"

#include "tests/common/Random.h"
#include "tests/text/calls.h"
#include "tests/text/fonts.h"
#include "tests/text/reference.h"

namespace {

int FacesKnown() {
  int count = 0;
  for (const KFTFaceEntry* entry = KFTCache::Thread()->faces; entry; entry = entry->next) ++count;
  return count;
}

TEST(Font, MeasuresAreFreeTypesAtEverySize) {
  for (const char* path : {kLatin, kCjk, kSymbols}) {
    for (const double size : {18.0, 1.0, 9.5, 12.25, 24.0, 255.75, 512.0, 1000.0, 8000.0}) {
      SCOPED_TRACE(path + std::to_string(size));
      KFTFont font;
      ASSERT_TRUE(font.LoadFont(path, 0));
      EXPECT_EQ(font.size, Px(18));
      EXPECT_EQ(font.GetFontHeight(), Reference(path, 18).Height());
      font.SetFontSize(Px(size));
      const Reference reference(path, size);
      EXPECT_EQ(font.GetFontHeight(), reference.Height());
      EXPECT_EQ(font.GetAscend(), Reference::Of(reference.face->size->metrics.ascender));
      EXPECT_EQ(font.GetDescend(), Reference::Of(reference.face->size->metrics.descender));
      EXPECT_LT(font.GetDescend(), KVertex2D::Origin.y);
    }
  }
}

TEST(Font, SizesRoundALittleUnderHalfAStep) {
  KFTFont font;
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  struct Case {
    std::int32_t raw;
    int size;  // 26.6
  };
  const Case cases[] = {{18 << 16, 18 * 64},
                        {(18 << 16) + 515, 18 * 64},      // just below 0x103: down
                        {(18 << 16) + 516, 18 * 64 + 1},  // 516 * 64 + 0x7F00 = 0x10000
                        {(18 << 16) - 508, 18 * 64},
                        {(18 << 16) - 509, 18 * 64 - 1},
                        {600 << 16, 600 * 64}};
  for (const Case& c : cases) {
    font.SetFontSize(KFixed::FromRaw(c.raw));
    EXPECT_EQ(font.size.raw, c.raw);
    const Reference reference(kLatin, c.size / 64.0);
    EXPECT_EQ(font.face->size->metrics.x_scale, reference.face->size->metrics.x_scale) << c.raw;
  }
}

TEST(Font, LoadingAgain) {
  OnThread([] {
    KFTFont font;
    ASSERT_TRUE(font.LoadFont(kLatin, 0));
    EXPECT_EQ(font.cache, KFTCache::Existing());
    font.SetFontSize(Px(40));
    const void* mapping = font.file->file.data;
    {
      FreeTypeCalls calls;
      EXPECT_TRUE(font.LoadFont(kLatin, 0));  // already there: the size stays
      EXPECT_EQ(calls.opened + calls.closed + calls.sizes, 0);
    }
    EXPECT_EQ(font.size, Px(40));
    EXPECT_FALSE(font.LoadFont(kLatin, 7));  // no such face: empty, but the file stays mapped
    EXPECT_EQ(font.face, nullptr);
    EXPECT_EQ(font.GetFontHeight() + font.GetAscend() + font.GetDescend(), Px(0));
    EXPECT_EQ(font.file->file.data, mapping);
    EXPECT_FALSE(font.LoadFont(kLatin, -1));  // FreeType would take this for a question
    EXPECT_FALSE(font.LoadFont(font.file->file.path, 3));
    EXPECT_TRUE(font.LoadFont(font.file->file.path, 0));
    EXPECT_EQ(font.file->file.data, mapping);
    EXPECT_EQ(font.size, Px(18));
    EXPECT_EQ(font.GetFontHeight(), Reference(kLatin, 18).Height());
    EXPECT_EQ(FacesKnown(), 1);
    ASSERT_TRUE(font.LoadFont(kCjk, 0));  // the first file is forgotten
    EXPECT_EQ(FacesKnown(), 1);
    EXPECT_EQ(font.GetFontHeight(), Reference(kCjk, 18).Height());
    EXPECT_FALSE(font.LoadFont(nullptr, 0));
    EXPECT_NE(font.face, nullptr);
  });
}

TEST(Font, FilesAreSharedAndCounted) {
  OnThread([] {
    KFTFont latin;
    ASSERT_TRUE(latin.LoadFont(kLatin, 0));
    KFTSharedFile* file = latin.file;
    EXPECT_EQ(file->refCount, 2);
    {
      KFTFont again, serif;
      ASSERT_TRUE(again.LoadFont(kLatin, 0) && serif.LoadFont(kSerif, 0));
      EXPECT_EQ(again.file, file);
      EXPECT_EQ(file->refCount, 3);
      EXPECT_NE(again.face, latin.face);
      EXPECT_NE(serif.file->serial, file->serial);
      EXPECT_EQ(FacesKnown(), 2);
    }
    EXPECT_EQ(file->refCount, 2);
    EXPECT_EQ(FacesKnown(), 1);
    latin.~KFTFont();
    EXPECT_EQ(FacesKnown(), 0);
    new (&latin) KFTFont;
  });
}

// Paths of things that are no fonts, in a folder of their own.
class OddFiles : public testing::Test {
 protected:
  void SetUp() override {
    char name[] = "/tmp/kalvora-fonts-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    folder = name;
    Write("empty", "");
    Write("text", "no font at all");
    Write("shadowed", "secret");
    chmod(Path("shadowed").c_str(), 0);
    ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("loop", Path("loop").c_str()), 0);
    ASSERT_EQ(symlink(kLatin, Path("link").c_str()), 0);
  }
  void TearDown() override {
    for (const char* name : {"empty", "text", "shadowed", "pipe", "loop", "link"}) {
      unlink(Path(name).c_str());
    }
    rmdir(folder.c_str());
  }
  std::string Path(const char* name) const { return folder + "/" + name; }
  void Write(const char* name, const char* bytes) { std::ofstream(Path(name)) << bytes; }

  std::string folder;
};

TEST_F(OddFiles, AreRefusedAndLeaveNothingBehind) {
  OnThread([this] {
    KFTFont font;
    const std::string endless(5000, 'x');
    for (const char* name :
         {"", "absent", "empty", "text", "shadowed", "pipe", "loop", endless.c_str()}) {
      ASSERT_TRUE(font.LoadFont(kSerif, 0));
      EXPECT_FALSE(font.LoadFont(Path(name).c_str(), 0)) << name;
      EXPECT_EQ(font.face, nullptr) << name;
      EXPECT_FALSE(font.Exists('a'));
    }
    EXPECT_FALSE(font.LoadFont("/dev/zero", 0));
    EXPECT_FALSE(font.LoadFont("", 0));
    EXPECT_EQ(FacesKnown(), 0);
    EXPECT_TRUE(font.LoadFont(Path("link").c_str(), 0));
  });
}

TEST_F(OddFiles, DescriptorZeroIsRefused) {
  const int kept = dup(0);
  close(0);
  KFTFontFile file;
  EXPECT_FALSE(file.Map(kLatin));
  EXPECT_EQ(file.fd, 0);
  file.Unmap();
  EXPECT_EQ(fcntl(0, F_GETFD), -1);  // given back
  dup2(kept, 0);
  close(kept);
  ASSERT_TRUE(file.Map(kLatin));
  EXPECT_TRUE(fcntl(file.fd, F_GETFD) & FD_CLOEXEC);
}

TEST(Font, PensAdvanceByTheGlyphOfWhoHasIt) {
  Fonts f;
  auto& [latin, cjk, symbols] = f;
  latin.SetFontSize(Px(30));
  KFTFontContext context;
  context.SetFont(&latin);
  const FontList list{&cjk, &symbols};
  context.SetFallbackFonts(&list.array, nullptr);

  const Reference inLatin(kLatin, 30), inCjk(kCjk, 30), inSymbols(kSymbols, 30);
  const auto advance = [&](char16_t c, auto* fallback) {
    KVertex2D pen = {Px(5), Px(7)};
    latin.AdvancePen(&pen, c, u'V', fallback);
    EXPECT_EQ(pen.y, Px(7));
    return pen.x - Px(5);
  };
  KFTFont* const none = nullptr;
  EXPECT_EQ(advance('A', none), inLatin.Advance('A'));  // A and V kern; it does not show
  EXPECT_EQ(advance(kOnlyCjk, none), inLatin.Advance(kNowhere));
  EXPECT_EQ(advance(kOnlyCjk, &cjk), inCjk.Advance(kOnlyCjk));
  EXPECT_EQ(cjk.size, Px(30));
  EXPECT_EQ(advance(kOnlyCjk, &context), inCjk.Advance(kOnlyCjk));
  EXPECT_EQ(advance(kOnlySymbols, &context), inSymbols.Advance(kOnlySymbols));
  EXPECT_NE(inCjk.Advance(kNowhere), inLatin.Advance(kNowhere));
  EXPECT_EQ(advance(kNowhere, &cjk), inCjk.Advance(kNowhere));

  KFTFont empty;
  EXPECT_EQ(advance(kOnlyCjk, &empty), inLatin.Advance(kNowhere));
  KVertex2D pen = KVertex2D::Origin;
  empty.AdvancePen(&pen, 'A', 0, none);
  EXPECT_EQ(pen, KVertex2D::Origin);
  EXPECT_TRUE(latin.Exists('A') && !latin.Exists(kOnlyCjk) && cjk.Exists(kOnlyCjk));
}

TEST(Font, LookupsHappenOncePerCodeAndFace) {
  OnThread([] {
    KFTFont first, second;
    ASSERT_TRUE(first.LoadFont(kLatin, 0) && second.LoadFont(kLatin, 0));
    KVertex2D pen;
    FreeTypeCalls calls;
    for (unsigned short c = 0x20; c < 0x120; ++c) EXPECT_EQ(first.Exists(c), second.Exists(c));
    EXPECT_EQ(calls.lookups, 0x100);
    first.AdvancePen(&pen, 'A', 0x0416, static_cast<KFTFont*>(nullptr));
    EXPECT_EQ(calls.lookups, 0x101);  // `next` is readied
    EXPECT_TRUE(second.Exists(0x0416));
    EXPECT_EQ(calls.lookups, 0x101);
  });
}

TEST(Font, BoundsOfLines) {
  KFTFont font;
  KRect rect = {1, 2, 3, 4};
  font.GetBound(rect, Codes(u"Ag"), 2);
  EXPECT_EQ(rect, (KRect{1, 2, 3, 4}));  // without a face nothing happens
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  font.GetBound(rect, nullptr, 2);
  EXPECT_EQ(rect, (KRect{1, 2, 3, 4}));

  for (const char16_t* text : {u"", u" ", u"A", u"g", u"Ag", u"¨_", u"x中y", u"Twice as long"}) {
    for (const double size : {18.0, 10.5, 333.0}) {
      font.SetFontSize(Px(size));
      const Reference reference(kLatin, size);
      long x = 0, top = 0, bottom = 0;
      unsigned count = 0;
      for (; text[count]; ++count) {
        x += reference.Advance(text[count]).raw / 1024;
        const FT_Glyph_Metrics& metrics = reference.face->glyph->metrics;
        top = std::max(top, metrics.horiBearingY);
        bottom = std::min(bottom, metrics.horiBearingY - metrics.height);
      }
      font.GetBound(rect, Codes(text), count);
      EXPECT_EQ(rect, (KRect{0, 0, static_cast<std::int16_t>((x + 63) >> 6),
                             static_cast<std::int16_t>((top - bottom + 63) >> 6)}))
          << count << " at " << size;
    }
  }
  const FreeTypeCalls calls(2);  // the second glyph cannot be loaded: only its neighbours count
  KRect both, pair;
  font.GetBound(pair, Codes(u"iWi"), 3);
  font.GetBound(both, Codes(u"ii"), 2);
  EXPECT_EQ(pair, both);
}

TEST(Font, OtherThreadsHaveNoPartInIt) {
  KFTFont font;
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  OnThread([&] {
    KVertex2D pen = KVertex2D::Origin;
    font.AdvancePen(&pen, 'A', 'B', static_cast<KFTFont*>(nullptr));
    EXPECT_EQ(pen, KVertex2D::Origin);
    EXPECT_FALSE(font.Exists('A'));
  });
}

TEST(Font, OutlivesItsThread) {
  KFTFont font, failed, other;
  OnThread([&] {
    ASSERT_TRUE(font.LoadFont(kLatin, 0));
    ASSERT_TRUE(other.LoadFont(kLatin, 0));
    EXPECT_FALSE(failed.LoadFont(kLatin, 99));
    EXPECT_NE(failed.file, nullptr);
  });
  for (const KFTFont* f : {&font, &failed, &other}) {
    EXPECT_EQ(f->face, nullptr);
    EXPECT_EQ(f->file, nullptr);
  }
  EXPECT_EQ(font.GetFontHeight(), Px(0));
  ASSERT_TRUE(font.LoadFont(kLatin, 0));  // here, now
  EXPECT_TRUE(font.Exists('A'));
  OnThread([&] { failed.~KFTFont(); });
  new (&failed) KFTFont;
}

}  // namespace
