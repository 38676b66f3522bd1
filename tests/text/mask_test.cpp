// Glyph masks and outlines, against FreeType asked directly; the cache's key and statistics.
#include <filesystem>
#include <iterator>
#include <tuple>

#include <ft2build.h>
#include <gtest/gtest.h>
#include FT_OUTLINE_H

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/glyphs/KFTCache.h"
#include "kalvora/text/glyphs/glyphmask.h"

#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"
#include "tests/text/calls.h"
#include "tests/text/fonts.h"
#include "tests/text/reference.h"

namespace {

using LinearPart = std::int32_t[4];
constexpr LinearPart kMatrices[] = {{0x10000, 0, 0, 0x10000},
                                    {0xC000, -0x9000, 0x9000, 0xC000},  // turned
                                    {0x10000, 0x5000, 0, 0x18000},      // skewed
                                    {0x10000, 0, 0, 0}};                // flat
constexpr const LinearPart& kIdentity = kMatrices[0];
constexpr const LinearPart& kTurned = kMatrices[1];

void SetTransform(KFTFontContext& context, const LinearPart& m) {
  KSoftMatrix3D matrix;
  matrix.Set(KFixed::FromRaw(m[0]), KFixed::FromRaw(m[1]), KFixed::FromRaw(m[2]),
             KFixed::FromRaw(m[3]), Px(100), Px(200));
  context.SetTransform(&matrix);
}

// FreeType's own rendering of a glyph.
struct Rendered : Reference {
  unsigned width = 0;
  std::vector<std::uint8_t> bytes;
  KVertex2D origin = KVertex2D::Origin;
  KVertex2D advance;

  Rendered(const char* path, double pixels, const LinearPart& m, unsigned code, bool hinted = false)
      : Reference(path, pixels) {
    Transform(m);
    const FT_Int32 flags = FT_LOAD_NO_BITMAP | (hinted ? 0 : FT_LOAD_NO_HINTING);
    EXPECT_EQ(FT_Load_Char(face, code, flags), 0);
    advance = {Of(face->glyph->advance.x), Of(-face->glyph->advance.y)};
    EXPECT_EQ(FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL), 0);
    const FT_Bitmap& bitmap = face->glyph->bitmap;
    if (!bitmap.buffer) return;
    width = bitmap.width;
    origin = {KFixed::FromInt(face->glyph->bitmap_left), KFixed::FromInt(-face->glyph->bitmap_top)};
    for (unsigned y = 0; y < bitmap.rows; ++y) {
      const std::uint8_t* row = bitmap.buffer + static_cast<int>(y) * bitmap.pitch;
      bytes.insert(bytes.end(), row, row + width);
    }
  }
};

struct Loaded {
  KVertex2D origin = {Px(-1), Px(-1)};
  KVertex2D advance = {Px(-1), Px(-1)};
  KSoftPixmap* mask;

  Loaded(KFTFontContext& context, int ch) : mask(context.LoadMask(&origin, &advance, ch)) {}

  std::vector<std::uint8_t> Bytes() const {
    std::vector<std::uint8_t> bytes(std::size_t{mask->width} * mask->height);
    mask->Get(bytes.data());
    return bytes;
  }
};

void ExpectSame(const Loaded& loaded, const Rendered& rendered) {
  ASSERT_NE(loaded.mask, nullptr);
  EXPECT_EQ(loaded.mask->width, rendered.width);
  EXPECT_EQ(loaded.Bytes(), rendered.bytes);
  EXPECT_EQ(loaded.origin, rendered.origin);
  EXPECT_EQ(loaded.advance, rendered.advance);
}

struct Stats {
  int hits, misses, evictions, watermark, average;
  Stats() { KFTFontContext::GetCacheStats(&hits, &misses, &evictions, &watermark, &average); }
};

// Rendered, and then from the cache. Four contexts share the faces, which have the matrix of
// another one each time.
TEST(Mask, IsWhatFreeTypeRenders) {
  Fonts f;
  KFTFontContext contexts[std::size(kMatrices)];
  for (std::size_t i = 0; i < std::size(contexts); ++i) {
    contexts[i].SetFont(&f.latin);
    contexts[i].SetFallbackFonts(&f.fallbacks.array, nullptr);
    SetTransform(contexts[i], kMatrices[i]);
  }
  const std::pair<char16_t, const char*> glyphs[] = {{'A', kLatin},     {'g', kLatin},
                                                     {' ', kLatin},     {u'\u0416', kLatin},
                                                     {kOnlyCjk, kCjk},  {kOnlySymbols, kSymbols},
                                                     {kNowhere, kLatin}};
  for (const double size : {8.0, 18.0, 31.5, 100.0}) {
    f.latin.SetFontSize(Px(size));
    for (const auto& [code, path] : glyphs) {
      for (std::size_t i = 0; i < std::size(contexts); ++i) {
        SCOPED_TRACE(testing::Message() << int{code} << " at " << size << ", matrix " << i);
        ExpectSame(Loaded(contexts[i], code), Rendered(path, size, kMatrices[i], code));
      }
    }
    const FreeTypeCalls calls;
    for (const auto& [code, path] : glyphs) {
      for (KFTFontContext& context : contexts) EXPECT_NE(Loaded(context, code).mask, nullptr);
    }
    EXPECT_EQ(calls.fallible + calls.lookups, 0);
  }
}

// What the process says is not, what the font says is.
TEST(Mask, HintingOfTheFontIsPartOfTheKey) {
  const Rendered plain(kLatin, 13, kIdentity, 'm'), hinted(kLatin, 13, kIdentity, 'm', true);
  ASSERT_NE(plain.bytes, hinted.bytes);
  for (const bool first : {true, false}) {
    OnThread([&] {
      Fonts f;
      f.latin.SetFontSize(Px(13));
      for (const bool hinting : {first, !first}) {
        KSoftContext2D::SetGlobalAttribute(4, hinting);
        ExpectSame(Loaded(f.setting, 'm'), first ? hinted : plain);  // the cached one
        f.latin.SetHinting(KHintingFull);
        ExpectSame(Loaded(f.setting, 'm'), hinted);
        f.latin.SetHinting(KHintingNone);
        ExpectSame(Loaded(f.setting, 'm'), plain);
        f.latin.SetHinting(KHintingLight);
        EXPECT_NE(Loaded(f.setting, 'm').Bytes(), plain.bytes);
        f.latin.SetHinting(KHintingDefault);
      }
    });
  }
  KSoftContext2D::SetGlobalAttribute(4, 0);
}

// Measured without being rendered, drawn upright, whatever the face was last seen through.
TEST(Mask, IsWhatWasMeasured) {
  Fonts f;
  for (const KHinting hinting : {KHintingNone, KHintingLight, KHintingFull}) {
    for (KFTFont* font : {&f.latin, &f.cjk, &f.symbols}) {
      font->SetHinting(hinting);
      f.setting.SetFont(font);
      for (const double size : {7.3, 13.0, 31.5}) {
        font->SetFontSize(Px(size));
        for (int code = 0x20; code < 0x17F; ++code) {
          std::uint32_t index = 0;
          KGlyphExtents e;
          SetTransform(f.setting, kIdentity);
          const Loaded loaded(f.setting, code);
          SetTransform(f.setting, kTurned);
          ASSERT_TRUE(font->GlyphIndex(static_cast<std::uint32_t>(code), index) &&
                      font->GetGlyphExtents(index, e));
          const auto at = [](int x, int y) {
            return KVertex2D{KFixed::FromInt(x), KFixed::FromInt(y)};
          };
          ASSERT_EQ(at(e.left, e.top), loaded.origin) << code << ' ' << hinting;
          ASSERT_EQ(static_cast<unsigned>(e.right - e.left), loaded.mask->width);
          ASSERT_EQ(static_cast<unsigned>(e.bottom - e.top), loaded.mask->height);
          ASSERT_EQ(e.advance, loaded.advance);
          ASSERT_EQ(font->GetGlyphAdvance(index), loaded.advance);
        }
      }
    }
  }
  KGlyphExtents e;
  EXPECT_FALSE(f.latin.GetGlyphExtents(0xFFFFFF, e));
  EXPECT_FALSE(KFTFont().GetGlyphExtents(1, e));
}

// A collection of fonts: a header with the places of all, whose tables move along.
std::string Collection(std::initializer_list<const char*> paths) {
  const auto word = [](std::size_t v) {
    return std::string{static_cast<char>(v >> 24), static_cast<char>(v >> 16),
                       static_cast<char>(v >> 8), static_cast<char>(v)};
  };
  std::string head = "ttcf" + word(0x10000) + word(paths.size()), fonts;
  for (const char* path : paths) {
    std::string font = ReadFile(path);
    const std::size_t base = 12 + 4 * paths.size() + fonts.size();
    head += word(base);
    for (std::size_t at = 20; at < 20 + 16 * TableCount(font); at += 16) {
      font.replace(at, 4, word(WordAt(font, at) + base));
    }
    fonts += font;
  }
  return head + fonts;
}

TEST(Mask, CollectionsShowTheRightFace) {
  const MemoryFile file(Collection({kLatin, kSerif}));
  const char* const path = file.path.c_str();
  OnThread([&] {
    KFTFont sans, serif;
    ASSERT_TRUE(sans.LoadFont(path, 0) && serif.LoadFont(path, 1));
    EXPECT_EQ(sans.file, serif.file);
    EXPECT_FALSE(KFTFont().LoadFont(path, 2));
    KFTFontContext context;
    for (int round = 0; round < 2; ++round) {
      context.SetFont(&sans);
      ExpectSame(Loaded(context, 'a'), Rendered(kLatin, 18, kIdentity, 'a'));
      context.SetFont(&serif);
      ExpectSame(Loaded(context, 'a'), Rendered(kSerif, 18, kIdentity, 'a'));
      EXPECT_TRUE(sans.Exists(0x0628));
      EXPECT_FALSE(serif.Exists(0x0628));
    }
    ASSERT_TRUE(sans.LoadFont(path, 1));  // another face, from the same mapping
    EXPECT_FALSE(sans.Exists(0x0628));
    context.SetFont(&sans);
    ExpectSame(Loaded(context, 'a'), Rendered(kSerif, 18, kIdentity, 'a'));
  });
}

TEST(Mask, CountsHitsMissesAndReferencesAndTellsWhatIsMissing) {
  OnThread([] {
    Fonts f;
    KFTFontContext& context = f.setting;
    context.SetFallbackFont(&f.cjk);
    KFTSharedFile* const files[] = {f.latin.file, f.cjk.file};
    struct Case {
      char16_t code;
      int hits, misses, latinRefs, cjkRefs;
    };
    const Case cases[] = {
        {'A', 0, 1, 3, 2},      {'A', 1, 1, 3, 2}, {kOnlyCjk, 1, 3, 3, 3},  // missed in both fonts
        {kOnlyCjk, 2, 4, 3, 3},                                             // missed in one
        {kNowhere, 2, 6, 3, 4},  // the primary's box under the fallback's key
        {kNowhere, 3, 7, 3, 4}, {' ', 3, 8, 4, 4},
    };
    Flags.ShowMissingGlyphs = true;
    const std::string printed = Printed([&] {
      for (const Case& c : cases) {
        EXPECT_NE(Loaded(context, c.code).mask, nullptr);
        const Stats stats;
        EXPECT_EQ(std::tuple(stats.hits, stats.misses, files[0]->refCount, files[1]->refCount),
                  std::tuple(c.hits, c.misses, c.latinRefs, c.cjkRefs))
            << int{c.code};
      }
    });
    Flags.ShowMissingGlyphs = false;
    EXPECT_EQ(printed, std::string("Char 0xe123 not present in font ") + kLatin + " or fallback " +
                           kCjk + "\n");
    // Cached masks hold their file when the last font is gone.
    f.cjk.Release(nullptr);
    EXPECT_EQ(files[1]->refCount, 3);
    EXPECT_EQ(Loaded(context, kOnlyCjk).Bytes(), Loaded(context, kNowhere).Bytes());  // boxes
    EXPECT_EQ(context.LoadMask(nullptr, nullptr, 'A'), nullptr);
    context.SetFont(nullptr);
    EXPECT_EQ(Loaded(context, 'A').mask, nullptr);
  });
}

TEST(Mask, OneLargerThanTheCacheIsReplacedByTheNext) {
  OnThread([] {
    Fonts f;
    KFTFontContext& context = f.setting;
    f.latin.SetFontSize(Px(900));
    for (int i = 0; i < 2; ++i) {
      const Loaded loaded(context, 'W');
      ASSERT_GT(loaded.mask->width * loaded.mask->height, 409600u);
      EXPECT_EQ(loaded.mask, &KFTCache::Existing()->spare->mask);
      ExpectSame(loaded, Rendered(kLatin, 900, kIdentity, 'W'));
    }
    EXPECT_EQ(Stats().misses, 2);
    EXPECT_EQ(KFTFontContext::GetCacheSize(), 0u);
    const KSoftPixmap* spare = &KFTCache::Existing()->spare->mask;
    EXPECT_EQ(Loaded(context, '.').mask, spare);
    EXPECT_EQ(KFTCache::Existing()->spare, nullptr);
    EXPECT_EQ(KFTCache::Existing()->items, 1u);
    for (const double size : {6000, 30000}) {  // so large that nobody could want it
      f.latin.SetFontSize(Px(size));
      EXPECT_EQ(Loaded(context, 'W').mask, nullptr);
    }
  });
}

// A file that is replaced by a rename is seen once no font, and no mask, has the old one.
TEST(Mask, TrimmingForgetsFilesAndTheBudgetIsKept) {
  const std::string path = testing::TempDir() + "kalvora-replaced.ttf";
  const auto replace = [&](const char* by) {
    std::filesystem::copy_file(by, path + "~", std::filesystem::copy_options::overwrite_existing);
    std::filesystem::rename(path + "~", path);
  };
  replace(kLatin);
  OnThread([&] {
    KFTFontContext context;
    const auto isSans = [&] {
      KFTFont font;
      EXPECT_TRUE(font.LoadFont(path.c_str(), 0));
      context.SetFont(&font);
      for (const int c : {'W', 'i', 'm'}) EXPECT_NE(Loaded(context, c).mask, nullptr);
      context.SetFont(nullptr);
      return font.Exists(0x0628);
    };
    EXPECT_TRUE(isSans());
    replace(kSerif);
    EXPECT_TRUE(isSans());  // from the mapping that the masks hold
    KFTFontContext::TrimCache();
    EXPECT_EQ(KFTFontContext::GetCacheSize(), 0u);
    EXPECT_EQ(KFTCache::Existing()->faces, nullptr);
    EXPECT_FALSE(isSans());
    const unsigned three = KFTFontContext::GetCacheSize();
    KFTFontContext::SetCacheBudget(three - 1);
    EXPECT_EQ(KFTCache::Existing()->items, 2u);
    EXPECT_FALSE(isSans());
    EXPECT_LT(KFTFontContext::GetCacheSize(), three);
    KFTFontContext::SetCacheBudget(0);
    EXPECT_FALSE(isSans());
    EXPECT_EQ(KFTFontContext::GetCacheSize(), 0u);
  });
  std::filesystem::remove(path);
}

// Two masks in a bucket, which shows the newer one first.
TEST(Mask, DumpsTheCache) {
  OnThread([] {
    Fonts f;
    std::string entries[2];
    unsigned total = 0;
    SetTransform(f.setting, kTurned);
    for (const int i : {0, 1}) {
      f.latin.SetFontSize(Px(12.5 + i));
      const KSoftPixmap* mask = Loaded(f.setting, 'k').mask;
      const unsigned size = mask->width * mask->height;
      total += size;
      entries[i] = "Size[" + std::to_string(size) + "]\tChar [107,'k'] PointSize [1" +
                   std::to_string(2 + i) + ".500000] Transform [49152,-36864,36864,49152] File[" +
                   kLatin + "] Hash[0x6b]\n";
    }
    const std::string head = "CacheSize: " + std::to_string(total) +
                             " bytes (MaxCacheSize 409600 bytes) Cached Items 2\n";
    std::string buckets;
    for (int b = 0; b < 128; ++b) {
      buckets += "EntryHash[" + std::to_string(b) + "]\n";
      if (b == 107) buckets += entries[1] + entries[0];
    }
    const std::string ages = "LRU->MRU\n" + entries[0] + entries[1];
    const KFTCache& cache = *KFTCache::Existing();
    EXPECT_EQ(Printed([&] { cache.Dump(true, false); }), head + buckets);
    EXPECT_EQ(Printed([&] { cache.Dump(false, true); }), head + ages);
    EXPECT_EQ(Printed([] { KFTFontContext::DumpFontCache(); }),
              head + buckets + ages + "FaceCache:\n'" + kSymbols + "' (count=2)\n'" + kCjk +
                  "' (count=2)\n'" + kLatin + "' (count=4)\n");
  });
}

TEST(Mask, DumpsStatisticsOnceASecond) {
  OnThread([] {
    Fonts f;
    for (const int c : {65, 66, 65, 65 + 128}) Loaded(f.setting, c);
    const std::string printed = Printed([] {
      KFTFontContext::DebugDumpStats();
      KFTFontContext::DebugDumpStats();
    });
    EXPECT_EQ(printed.find("Font cache [0x"), 0u);
    EXPECT_EQ(printed.substr(printed.find("] stats")),
              "] stats: Size [0 kb] Hits [1] Misses[3] Evictions[0] HashWatermark[2] "
              "AvgNonZeroHashCount[1]\n");
    EXPECT_EQ(Stats().hits + Stats().misses, 0);  // reset
    KFTFontContext::GetCacheStats(nullptr, nullptr, nullptr, nullptr, nullptr);
  });
}

// Bitmaps of every kind ---------------------------------------------------------------------------

TEST(GlyphMask, EveryPixelModeBecomesCoverage) {
  struct Case {
    unsigned char mode;
    unsigned bits;
    unsigned short greys;
    unsigned top;  // value of full coverage
  };
  const Case cases[] = {{FT_PIXEL_MODE_MONO, 1, 0, 1},    {FT_PIXEL_MODE_GRAY2, 2, 4, 3},
                        {FT_PIXEL_MODE_GRAY4, 4, 16, 15}, {FT_PIXEL_MODE_GRAY, 8, 256, 255},
                        {FT_PIXEL_MODE_GRAY, 8, 17, 16},  {FT_PIXEL_MODE_GRAY, 8, 0, 255},
                        {FT_PIXEL_MODE_GRAY, 8, 5, 4},    {FT_PIXEL_MODE_BGRA, 32, 256, 255}};
  Random random(7);
  for (int i = 0; i < 3000; ++i) {
    const Case& c = cases[random.Below(std::size(cases))];
    const unsigned width = random.Below(20), rows = random.Below(6);
    const unsigned rowBytes = (width * c.bits + 7) / 8;
    const unsigned pitch = rowBytes + random.Below(3);
    const std::size_t bytes = rows > 0 ? pitch * (rows - 1) + rowBytes : 0;
    GuardedBuffer buffer(bytes, random.OneIn(2) ? GuardedBuffer::kAtEnd : GuardedBuffer::kAtStart);
    for (std::uint8_t& byte : buffer) byte = static_cast<std::uint8_t>(random.Next());
    const bool up = random.OneIn(2);
    FT_Bitmap bitmap = {};
    bitmap.width = width;
    bitmap.rows = rows;
    bitmap.pitch = up ? -static_cast<int>(pitch) : static_cast<int>(pitch);
    bitmap.buffer = buffer.data();
    bitmap.num_grays = c.greys;
    bitmap.pixel_mode = c.mode;
    KSoftPixmap mask;
    ASSERT_TRUE(kalvora::CopyGlyph(bitmap, false, mask));
    ASSERT_TRUE(mask.width == width && mask.height == rows && mask.format == KFormatMask8);
    for (unsigned y = 0; y < rows; ++y) {
      const std::uint8_t* row = buffer.data() + pitch * (up ? rows - 1 - y : y);
      for (unsigned x = 0; x < width; ++x) {
        unsigned value = 0;
        for (unsigned bit = 0; bit < std::min(c.bits, 8u); ++bit) {
          const unsigned at = c.bits == 32 ? x * 32 + 24 + bit : x * c.bits + bit;
          value = value << 1 | (row[at / 8] >> (7 - at % 8) & 1);
        }
        const unsigned expected = std::min(value, c.top) * 255 / c.top;
        ASSERT_EQ(mask.pixels[mask.stride * y + x], expected) << "mode " << int{c.mode};
      }
    }
  }
}

TEST(GlyphMask, OtherKindsAreBlank) {
  std::uint8_t bytes[64] = {255};
  KSoftPixmap mask;
  FT_Bitmap bitmap = {};
  bitmap.width = bitmap.rows = 4;
  bitmap.pitch = 12;
  bitmap.buffer = bytes;
  for (const int mode : {+FT_PIXEL_MODE_NONE, +FT_PIXEL_MODE_LCD, +FT_PIXEL_MODE_LCD_V, 99}) {
    bitmap.pixel_mode = static_cast<unsigned char>(mode);
    mask.Create(3, 3, KFormatMask8);
    EXPECT_TRUE(kalvora::CopyGlyph(bitmap, false, mask));
    EXPECT_EQ(mask.width + mask.height, 0u);
  }
  bitmap.width = bitmap.rows = 0xFFFF;
  bitmap.pixel_mode = FT_PIXEL_MODE_GRAY;
  EXPECT_FALSE(kalvora::CopyGlyph(bitmap, false, mask));
}

// Outlines ----------------------------------------------------------------------------------------

std::vector<std::pair<std::uint32_t, std::vector<KVertex2D>>> Segments(const KSoftPath& path) {
  std::vector<std::pair<std::uint32_t, std::vector<KVertex2D>>> segments;
  for (const KSegment* s = path.first; s; s = s->next) {
    segments.emplace_back(s->header, std::vector(s->Start(), s->Start() + s->PointCount()));
  }
  return segments;
}

TEST(Outline, PiecesAreSetUpsideDown) {
  FT_Vector points[] = {{64, 128},  {192, -128},           // a line
                        {256, 192}, {257, 320},            // a parabola
                        {200, 300}, {100, 330},  {0, 1}};  // a cubic
  char tags[] = {1, 1, 0, 1, 2, 2, 1};
  short ends[] = {6};
  FT_Outline outline = {1, 7, points, tags, ends, 0};
  KSoftPath path, expected;
  ASSERT_EQ(FT_Outline_Decompose(&outline, &KFTFontContext::funcs, &path), 0);
  const auto at = [](double x, double y) { return KVertex2D{Px(x / 64), Px(-y / 64)}; };
  expected.MoveTo(at(64, 128));
  expected.LineTo(at(192, -128));
  expected.QuadTo(at(256, 192), at(257, 320));
  expected.CubicTo(at(200, 300), at(100, 330), at(0, 1));
  expected.LineTo(at(64, 128));
  EXPECT_EQ(Segments(path), Segments(expected));
}

TEST(Outline, IsFreeTypesUnderTheMatrix) {
  KSoftPath path, expected;
  KFTFontContext contexts[2];
  contexts[0].LoadChar(&path, 'A');
  EXPECT_EQ(path.first, nullptr);  // no font
  KFTFont font;
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  for (const int i : {0, 1}) {
    contexts[i].SetFont(&font);
    SetTransform(contexts[i], kMatrices[i]);
  }
  font.SetFontSize(Px(21));
  Reference reference(kLatin, 21);
  for (const char16_t code : {u'A', u'&', u'\u00E5', kNowhere, u' '}) {
    for (const int i : {0, 1}) {
      reference.Transform(kMatrices[i]);
      ASSERT_EQ(FT_Load_Char(reference.face, code, FT_LOAD_NO_HINTING), 0);
      FT_Outline* outline = &reference.face->glyph->outline;
      expected.Rewind();
      ASSERT_EQ(FT_Outline_Decompose(outline, &KFTFontContext::funcs, &expected), 0);
      for (KSegment* s = expected.first; s; s = s->next) s->header |= 2 * (s->header & 1);
      contexts[i].LoadChar(&path, code | 0x7FFF0000);
      EXPECT_EQ(Segments(path), Segments(expected)) << int{code};
      EXPECT_EQ(path.first == nullptr, code == ' ');
    }
  }
  contexts[0].LoadChar(nullptr, 'A');
}

}  // namespace
