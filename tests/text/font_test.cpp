// Fonts: loading, sharing, sizes and measures, against FreeType asked directly.
#include <filesystem>
#include <fstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/glyphs/KFTCache.h"

#include "tests/text/calls.h"
#include "tests/text/fonts.h"
#include "tests/text/reference.h"

namespace {

int FacesKnown() {
  int count = 0;
  for (const KFTFaceEntry* entry = KFTCache::Thread()->faces; entry; entry = entry->next) ++count;
  return count;
}

// Sizes are 26.6, rounded a little under half a step.
TEST(Font, MeasuresAreFreeTypesAtEverySize) {
  struct Case {
    std::int32_t raw;
    int size;  // 26.6
  };
  const Case cases[] = {{18 << 16, 18 * 64},
                        {(18 << 16) + 515, 18 * 64},
                        {(18 << 16) + 516, 18 * 64 + 1},  // 516 * 64 + 0x7F00 = 0x10000
                        {(18 << 16) - 508, 18 * 64},
                        {(18 << 16) - 509, 18 * 64 - 1},
                        {1 << 16, 64},
                        {0x9C000, 624},
                        {512 << 16, 512 * 64},
                        {8000 << 16, 8000 * 64}};
  for (const char* path : {kLatin, kCjk, kSymbols}) {
    KFTFont font;
    ASSERT_TRUE(font.LoadFont(path, 0));
    EXPECT_EQ(font.size, Px(18));
    for (const Case& c : cases) {
      SCOPED_TRACE(path + std::to_string(c.raw));
      font.SetFontSize(KFixed::FromRaw(c.raw));
      EXPECT_EQ(font.size.raw, c.raw);
      const Reference reference(path, c.size / 64.0);
      const FT_Size_Metrics& metrics = reference.face->size->metrics;
      EXPECT_EQ(font.face->size->metrics.x_scale, metrics.x_scale);
      EXPECT_EQ(font.GetFontHeight(), Reference::Of(metrics.height));
      EXPECT_EQ(font.GetAscend(), Reference::Of(metrics.ascender));
      EXPECT_EQ(font.GetDescend(), Reference::Of(metrics.descender));
      EXPECT_LT(font.GetDescend(), Px(0));
    }
  }
}

TEST(Font, SizesThatCouldNotBeSetAreSetByTheNextCall) {
  KFTFont font;
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  for (const int failing : {1, 0}) {
    const FreeTypeCalls calls(failing);
    font.SetFontSize(Px(40));
    EXPECT_EQ(font.size, Px(failing ? 0 : 40));
    EXPECT_EQ(font.GetFontHeight(), Reference(kLatin, failing ? 18 : 40).Height());
  }
}

TEST(Font, LoadingAgain) {
  OnThread([] {
    KFTFont font;
    ASSERT_TRUE(font.LoadFont(kLatin, 0));
    EXPECT_EQ(font.cache, KFTCache::Existing());
    font.SetFontSize(Px(40));
    const void* mapping = font.file->file.data;
    const void* face = font.face;
    EXPECT_TRUE(font.LoadFont(kLatin, 0));  // already there
    EXPECT_EQ(font.face, face);
    EXPECT_EQ(font.size, Px(40));
    EXPECT_FALSE(font.LoadFont(kLatin, 7));  // no such face: empty, but the file stays mapped
    EXPECT_EQ(font.face, nullptr);
    EXPECT_EQ(font.GetFontHeight() + font.GetAscend() + font.GetDescend(), Px(0));
    EXPECT_FALSE(font.LoadFont(kLatin, -1));  // FreeType would take this for a question
    EXPECT_TRUE(font.LoadFont(font.file->file.path, 0));
    EXPECT_EQ(font.file->file.data, mapping);
    EXPECT_EQ(font.size, Px(18));
    EXPECT_EQ(font.GetFontHeight(), Reference(kLatin, 18).Height());
    ASSERT_TRUE(font.LoadFont(kCjk, 0));  // the first file is forgotten
    EXPECT_EQ(FacesKnown(), 1);
    EXPECT_EQ(font.GetFontHeight(), Reference(kCjk, 18).Height());
    EXPECT_FALSE(font.LoadFont(nullptr, 0));
    EXPECT_NE(font.face, nullptr);
  });
}

TEST(Font, WhatIsNoFontIsRefusedAndLeavesNothingBehind) {
  std::string folder = testing::TempDir() + "kalvora-fonts-XXXXXX";
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  const auto path = [&](const char* name) { return folder + "/" + name; };
  std::ofstream(path("empty"));
  std::ofstream(path("text")) << "no font at all";
  ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("loop", path("loop"));
  std::filesystem::create_symlink(kLatin, path("link"));
  OnThread([&] {
    KFTFont font;
    const std::pair<std::string, KErrorCode> refused[] = {
        {path(""), KErrorFile},
        {path("absent"), KErrorFile},
        {path("empty"), KErrorNotAFont},
        {path("text"), KErrorNotAFont},
        {path("pipe"), KErrorFile},
        {path("loop"), KErrorFile},
        {path(std::string(5000, 'x').c_str()), KErrorFile},
        {std::string(), KErrorFile},
        {std::string("/dev/zero"), KErrorFile}};
    for (const auto& [name, reason] : refused) {
      ASSERT_TRUE(font.LoadFont(kSerif, 0));
      EXPECT_EQ(font.LastError().code, KErrorNone);
      EXPECT_FALSE(font.LoadFont(name.c_str(), 0)) << name;
      EXPECT_EQ(font.LastError().code, reason) << name << font.LastError().text;
      EXPECT_EQ(font.face, nullptr) << name;
      EXPECT_FALSE(font.Exists('a'));
    }
    font.LoadFont(path("absent").c_str(), 0);
    EXPECT_EQ(font.LastError().systemError, ENOENT);
    EXPECT_EQ(font.LastError().text,
              "cannot open " + path("absent") + ": No such file or directory");
    font.LoadFont(kLatin, 3);
    EXPECT_EQ(font.LastError().text, std::string(kLatin) + " has no face 3");
    EXPECT_EQ(font.LastError().code, KErrorArgument);
    font.Release(nullptr);
    EXPECT_EQ(FacesKnown(), 0);
    EXPECT_TRUE(font.LoadFont(path("link").c_str(), 0));
  });
  std::filesystem::remove_all(folder);
}

TEST(Font, DescriptorZeroIsRefused) {
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
  f.latin.SetFontSize(Px(30));
  f.setting.SetFallbackFonts(&f.fallbacks.array, nullptr);
  const Reference inLatin(kLatin, 30), inCjk(kCjk, 30), inSymbols(kSymbols, 30);
  KFTFont empty;
  KFTFont* const none = nullptr;
  const auto advance = [&](char16_t c, auto* fallback) {
    KVertex2D pen = {Px(5), Px(7)};
    f.latin.AdvancePen(&pen, c, u'V', fallback);
    EXPECT_EQ(pen.y, Px(7));
    return pen.x - Px(5);
  };
  const KFixed box = inLatin.Advance(kNowhere);
  EXPECT_EQ(advance('A', none), inLatin.Advance('A'));  // A and V kern; it does not show
  EXPECT_EQ(advance(kOnlyCjk, none), box);
  EXPECT_EQ(advance(kOnlyCjk, &empty), box);
  EXPECT_EQ(advance(kOnlyCjk, &f.cjk), inCjk.Advance(kOnlyCjk));
  EXPECT_EQ(f.cjk.size, Px(30));
  EXPECT_EQ(advance(kOnlyCjk, &f.setting), inCjk.Advance(kOnlyCjk));
  EXPECT_EQ(advance(kOnlySymbols, &f.setting), inSymbols.Advance(kOnlySymbols));
  EXPECT_EQ(advance(kNowhere, &f.cjk), inCjk.Advance(kNowhere));
  EXPECT_NE(inCjk.Advance(kNowhere), box);

  KVertex2D pen = KVertex2D::Origin;
  empty.AdvancePen(&pen, 'A', 0, none);
  OnThread([&] {  // which has no part in the font
    f.latin.AdvancePen(&pen, 'A', 'B', none);
    EXPECT_FALSE(f.latin.Exists('A'));
  });
  EXPECT_EQ(pen, KVertex2D::Origin);
  EXPECT_TRUE(f.latin.Exists('A') && !f.latin.Exists(kOnlyCjk));
}

TEST(Font, LookupsHappenOncePerCodeAndFace) {
  OnThread([] {
    KFTFont first, second;
    ASSERT_TRUE(first.LoadFont(kLatin, 0) && second.LoadFont(kLatin, 0));
    EXPECT_EQ(first.file, second.file);
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

  for (const char16_t* text : {u"", u" ", u"g", u"¨_", u"x中y", u"Twice as long"}) {
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

TEST(Font, FromMemoryIsAsFromAFile) {
  OnThread([] {
    std::string bytes = ReadFile(kLatin);
    KFTFont font, first, second;
    ASSERT_TRUE(font.LoadFont(kLatin, 0));
    EXPECT_FALSE(first.LoadFontFromMemory(nullptr, 5, 0));
    EXPECT_FALSE(first.LoadFontFromMemory(bytes.data(), 0, 0));
    EXPECT_FALSE(first.LoadFontFromMemory(bytes.data(), 400, 0));
    EXPECT_FALSE(first.LoadFontFromMemory(bytes.data(), bytes.size(), 1));
    for (KFTFont* f : {&first, &second}) {
      ASSERT_TRUE(f->LoadFontFromMemory(bytes.data(), bytes.size(), 0));
    }
    EXPECT_EQ(first.file, second.file);
    EXPECT_EQ(FacesKnown(), 2);
    std::size_t size = 0;
    EXPECT_EQ(first.GetFontData(&size), bytes.data());
    EXPECT_EQ(size, bytes.size());
    EXPECT_EQ(first.GetUnitsPerEm(), 2048u);
    KFTFontContext context;
    KVertex2D origin, advance;
    for (KFTFont* f : {&font, &first, &second}) {
      context.SetFont(f);
      EXPECT_NE(context.LoadMask(&origin, &advance, 'A'), nullptr);
    }
    EXPECT_EQ(KFTCache::Existing()->items, 2u);
    KFTFontContext::DumpFontCache();
    // What other memory held there is forgotten with its last font, cached masks or not.
    EXPECT_FALSE(first.LoadFont("", 0));
    ASSERT_TRUE(second.LoadFont(kLatin, 0));
    ASSERT_TRUE(first.LoadFontFromMemory(bytes.data(), bytes.size(), 0));
    context.SetFont(&first);
    EXPECT_NE(context.LoadMask(&origin, &advance, 'A'), nullptr);
    EXPECT_EQ(KFTCache::Existing()->items, 3u);
  });
}

TEST(Font, OutlivesItsThread) {
  KFTFont font, failed;
  OnThread([&] {
    ASSERT_TRUE(font.LoadFont(kLatin, 0));
    EXPECT_FALSE(failed.LoadFont(kLatin, 99));
    EXPECT_NE(failed.file, nullptr);
  });
  for (const KFTFont* f : {&font, &failed}) {
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
