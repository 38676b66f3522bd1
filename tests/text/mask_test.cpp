// Glyph masks and outlines, against FreeType asked directly; the cache's key and statistics.
#include <fstream>
#include <iterator>

#include <ft2build.h>
#include <gtest/gtest.h>
#include FT_OUTLINE_H
#include <unistd.h>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/KFTCache.h"
#include "kalvora/text/glyphmask.h"

#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"
#include "tests/text/calls.h"
#include "tests/text/fonts.h"
#include "tests/text/reference.h"

namespace {

constexpr std::int32_t kIdentity[] = {0x10000, 0, 0, 0x10000};
constexpr std::int32_t kTurned[] = {0xC000, -0x9000, 0x9000, 0xC000};
constexpr std::int32_t kSkewed[] = {0x10000, 0x5000, 0, 0x18000};
constexpr std::int32_t kFlat[] = {0x10000, 0, 0, 0};

KSoftMatrix3D Matrix(const std::int32_t (&m)[4]) {
  KSoftMatrix3D result;
  result.Set(KFixed::FromRaw(m[0]), KFixed::FromRaw(m[1]), KFixed::FromRaw(m[2]),
             KFixed::FromRaw(m[3]), Px(100), Px(200));
  return result;
}

// FreeType's own rendering of a glyph.
struct Rendered : Reference {
  unsigned width = 0;
  std::vector<std::uint8_t> bytes;
  KVertex2D origin = KVertex2D::Origin;
  KVertex2D advance;

  Rendered(const char* path, double pixels, const std::int32_t (&m)[4], unsigned code,
           bool hinted = false)
      : Reference(path, pixels) {
    FT_Matrix matrix = {m[0], m[1], m[2], m[3]};
    FT_Set_Transform(face, &matrix, nullptr);
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

// The Latin font and a context that shows it.
struct Latin {
  KFTFont font;
  KFTFontContext context;

  explicit Latin(double size = 18, const char* path = kLatin) {
    EXPECT_TRUE(font.LoadFont(path, 0));
    font.SetFontSize(Px(size));
    context.SetFont(&font);
  }
};

struct Stats {
  int hits, misses, evictions, watermark, average;
  Stats() { KFTFontContext::GetCacheStats(&hits, &misses, &evictions, &watermark, &average); }
};

TEST(Mask, IsWhatFreeTypeRenders) {
  Fonts f;
  auto& [latin, cjk, symbols] = f;
  KFTFontContext context;
  context.SetFont(&latin);
  const FontList list{&cjk, &symbols};
  context.SetFallbackFonts(&list.array, nullptr);
  struct Glyph {
    char16_t code;
    const char* from;
  };
  const Glyph glyphs[] = {{'A', kLatin},       {'g', kLatin},    {' ', kLatin},
                          {u'\u0416', kLatin}, {kOnlyCjk, kCjk}, {kOnlySymbols, kSymbols},
                          {kNowhere, kLatin}};
  for (int round = 0; round < 2; ++round) {  // rendered, then from the cache
    const FreeTypeCalls calls;
    for (const auto& m : {kIdentity, kTurned, kSkewed, kFlat}) {
      const std::int32_t matrix[4] = {m[0], m[1], m[2], m[3]};
      const KSoftMatrix3D transform = Matrix(matrix);
      for (const double size : {8.0, 18.0, 31.5, 100.0}) {
        latin.SetFontSize(Px(size));
        context.SetTransform(&transform);
        for (const Glyph& glyph : glyphs) {
          SCOPED_TRACE(testing::Message() << int{glyph.code} << " at " << size << ' ' << m[1]);
          const Loaded loaded(context, glyph.code);
          if (round == 0) ExpectSame(loaded, Rendered(glyph.from, size, matrix, glyph.code));
          ASSERT_NE(loaded.mask, nullptr);
        }
      }
    }
    EXPECT_EQ(calls.loads + calls.renders + calls.lookups > 0, round == 0);
  }
}

TEST(Mask, HintingIsNoPartOfTheKey) {
  Latin here(13);
  const Rendered plain(kLatin, 13, kIdentity, 'm'), hinted(kLatin, 13, kIdentity, 'm', true);
  ASSERT_NE(plain.bytes, hinted.bytes);
  OnThread([&] {
    Latin there(13);
    KSoftContext2D::SetGlobalAttribute(4, 1);
    ExpectSame(Loaded(there.context, 'm'), hinted);
    KSoftContext2D::SetGlobalAttribute(4, 0);
    ExpectSame(Loaded(there.context, 'm'), hinted);  // still the one that is cached
  });
  ExpectSame(Loaded(here.context, 'm'), plain);
}

TEST(Mask, SharedFacesShowEachContextItsOwnMatrix) {
  KFTFont font;
  ASSERT_TRUE(font.LoadFont(kSerif, 0));
  KFTFontContext plain, turned;
  plain.SetFont(&font);
  turned.SetFont(&font);
  const KSoftMatrix3D matrix = Matrix(kTurned);
  turned.SetTransform(&matrix);
  KSoftPath path, alone;
  plain.LoadChar(&alone, 'B');
  for (char c = 'B'; c < 'F'; ++c) {  // the face has the other's matrix each time
    ExpectSame(Loaded(plain, c), Rendered(kSerif, 18, kIdentity, static_cast<unsigned>(c)));
    ExpectSame(Loaded(turned, c), Rendered(kSerif, 18, kTurned, static_cast<unsigned>(c)));
  }
  plain.LoadChar(&path, 'B');
  EXPECT_EQ(path.current, alone.current);
  turned.LoadChar(&path, 'B');
  EXPECT_NE(path.current, alone.current);
}

// A collection of two fonts: a header with the places of both, whose tables move along.
std::string Collection(std::initializer_list<const char*> paths) {
  const auto word = [](std::uint32_t v) {
    return std::string{static_cast<char>(v >> 24), static_cast<char>(v >> 16),
                       static_cast<char>(v >> 8), static_cast<char>(v)};
  };
  const auto count = static_cast<std::uint32_t>(paths.size());
  std::string head = "ttcf" + word(0x10000) + word(count), fonts;
  for (const char* path : paths) {
    std::ifstream file(path, std::ios::binary);
    std::string font{std::istreambuf_iterator<char>(file), {}};
    const std::uint32_t base = 12 + 4 * count + static_cast<std::uint32_t>(fonts.size());
    head += word(base);
    for (int table = 0; table < font[5]; ++table) {
      std::uint32_t place = 0;
      const std::size_t at = 12 + 16 * static_cast<std::size_t>(table) + 8;
      for (std::size_t i = 0; i < 4; ++i)
        place = place << 8 | static_cast<unsigned char>(font[at + i]);
      font.replace(at, 4, word(place + base));
    }
    font.resize((font.size() + 3) & ~std::size_t{3});
    fonts += font;
  }
  return head + fonts;
}

TEST(Mask, CollectionsShowTheRightFace) {
  char path[] = "/tmp/kalvora-collection-XXXXXX";
  const int fd = mkstemp(path);
  const std::string bytes = Collection({kLatin, kSerif});
  ASSERT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
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
  close(fd);
  unlink(path);
}

TEST(Mask, CountsHitsMissesAndReferences) {
  OnThread([] {
    KFTFont latin, cjk;
    ASSERT_TRUE(latin.LoadFont(kLatin, 0) && cjk.LoadFont(kCjk, 0));
    KFTFontContext context;
    EXPECT_EQ(Loaded(context, 'A').mask, nullptr);  // no font
    context.SetFont(&latin);
    context.SetFallbackFont(&cjk);
    KFTSharedFile* const files[] = {latin.file, cjk.file};
    struct Case {
      char16_t code;
      int hits, misses, latinRefs, cjkRefs;
    };
    const Case cases[] = {{'A', 0, 1, 3, 2},      {'A', 1, 1, 3, 2},
                          {kOnlyCjk, 1, 3, 3, 3},  // missed in both fonts
                          {kOnlyCjk, 2, 4, 3, 3},  // missed in one
                          {kNowhere, 2, 6, 3, 4},  // the primary's box under the fallback's key
                          {kNowhere, 3, 7, 3, 4}, {' ', 3, 8, 4, 4}};
    for (const Case& c : cases) {
      EXPECT_NE(Loaded(context, c.code).mask, nullptr);
      const Stats stats;
      EXPECT_EQ(stats.hits, c.hits) << int{c.code};
      EXPECT_EQ(stats.misses, c.misses) << int{c.code};
      EXPECT_EQ(files[0]->refCount, c.latinRefs) << int{c.code};
      EXPECT_EQ(files[1]->refCount, c.cjkRefs) << int{c.code};
    }
    EXPECT_EQ(KFTCache::Existing()->items, 4u);
    unsigned size = 0;
    for (const KFTCache::Node* node = KFTCache::Existing()->lru; node; node = node->newer) {
      size += node->data->mask.width * node->data->mask.height;
      EXPECT_EQ(node->data->ByteSize() == 0, node->key.ch == ' ');
    }
    EXPECT_EQ(KFTFontContext::GetCacheSize(), size);
    // Cached masks hold their file when the last font is gone.
    cjk.Release(nullptr);
    EXPECT_EQ(files[1]->refCount, 3);
    EXPECT_EQ(Loaded(context, kOnlyCjk).Bytes(), Loaded(context, kNowhere).Bytes());  // boxes
    EXPECT_EQ(context.LoadMask(nullptr, nullptr, 'A'), nullptr);
    EXPECT_EQ(context.LoadPixmap(nullptr, nullptr, nullptr, 'A', KColor32(0, 0, 0, 0)), nullptr);
  });
}

TEST(Mask, OneLargerThanTheCacheIsReplacedByTheNext) {
  OnThread([] {
    Latin latin(900);
    auto& [font, context] = latin;
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
      font.SetFontSize(Px(size));
      EXPECT_EQ(Loaded(context, 'W').mask, nullptr);
    }
  });
}

TEST(Mask, TellsWhatIsMissing) {
  OnThread([] {
    KFTFont latin, cjk;
    ASSERT_TRUE(latin.LoadFont(kLatin, 0) && cjk.LoadFont(kCjk, 0));
    KFTFontContext context;
    context.SetFont(&latin);
    context.SetFallbackFont(&cjk);
    Flags.ShowMissingGlyphs = true;
    const std::string printed = Printed([&] {
      for (const char16_t code : {u'A', kOnlyCjk, kNowhere, kNowhere}) Loaded(context, code);
    });
    Flags.ShowMissingGlyphs = false;
    EXPECT_EQ(printed, std::string("Char 0xe123 not present in font ") + kLatin + " or fallback " +
                           kCjk + "\n");
  });
}

TEST(Mask, DumpsTheCache) {
  OnThread([] {
    Latin latin(12.5);
    KFTFontContext& context = latin.context;
    const KSoftMatrix3D matrix = Matrix(kTurned);
    context.SetTransform(&matrix);
    const Loaded loaded(context, 'k');
    const std::string printed = Printed([] { KFTFontContext::DumpFontCache(); });
    const std::string size = std::to_string(loaded.mask->width * loaded.mask->height);
    const std::string entry = "Size[" + size +
                              "]\tChar [107,'k'] PointSize [12.500000] Transform "
                              "[49152,-36864,36864,49152] File[" +
                              kLatin + "] Hash[0x6b]\n";
    EXPECT_EQ(printed.find("CacheSize: " + size + " bytes (MaxCacheSize 409600 bytes)"), 0u);
    EXPECT_NE(printed.find("EntryHash[107]\n" + entry + "EntryHash[108]\n"), std::string::npos);
    const std::string end = "LRU->MRU\n" + entry + "FaceCache:\n'" + kLatin + "' (count=3)\n";
    EXPECT_EQ(printed.substr(printed.size() - end.size()), end);
  });
}

TEST(Mask, DumpsStatisticsOnceASecond) {
  OnThread([] {
    Latin latin;
    for (const int c : {65, 66, 65, 65 + 128}) Loaded(latin.context, c);
    char head[64];
    std::snprintf(head, sizeof head,
                  "Font cache [%p] stats: ", static_cast<void*>(KFTCache::Existing()));
    EXPECT_EQ(Printed([] {
                KFTFontContext::DebugDumpStats();
                KFTFontContext::DebugDumpStats();
              }),
              head + std::string("Size [0 kb] Hits [1] Misses[3] Evictions[0] HashWatermark[2] "
                                 "AvgNonZeroHashCount[1]\n"));
    const Stats stats;
    EXPECT_EQ(stats.hits + stats.misses, 0);
    EXPECT_EQ(stats.watermark, 0);  // of bucket 0, until another one grows
    EXPECT_EQ(stats.average, 1);
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
    ASSERT_TRUE(kalvora::CopyGlyph(bitmap, mask));
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
  for (const int mode : {+FT_PIXEL_MODE_NONE, +FT_PIXEL_MODE_LCD, +FT_PIXEL_MODE_LCD_V, 99}) {
    FT_Bitmap bitmap = {};
    bitmap.width = bitmap.rows = 4;
    bitmap.pitch = 12;
    bitmap.buffer = bytes;
    bitmap.pixel_mode = static_cast<unsigned char>(mode);
    mask.Create(3, 3, KFormatMask8);
    EXPECT_TRUE(kalvora::CopyGlyph(bitmap, mask));
    EXPECT_EQ(mask.width + mask.height, 0u);
  }
  FT_Bitmap huge = {};
  huge.width = huge.rows = 0xFFFF;
  huge.buffer = bytes;
  huge.pixel_mode = FT_PIXEL_MODE_GRAY;
  EXPECT_FALSE(kalvora::CopyGlyph(huge, mask));
}

// Outlines ----------------------------------------------------------------------------------------

TEST(Outline, HasFreeTypesPointsUpsideDown) {
  KFTFont font;
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  KFTFontContext context;
  KSoftPath path;
  context.LoadChar(&path, 'A');
  EXPECT_EQ(path.first, nullptr);  // no font
  context.SetFont(&font);
  font.SetFontSize(Px(21));
  for (const char16_t code : {u'A', u'&', u'\u00E5', u'\u0416', kNowhere}) {
    // All points but those that TrueType implies lie on the outline as FreeType stores it.
    context.LoadChar(&path, code | 0x7FFF0000);
    ASSERT_EQ(FT_Load_Char(font.face, code, FT_LOAD_NO_HINTING), 0);
    const FT_Outline& outline = font.face->glyph->outline;
    EXPECT_EQ(path.subpathCount, static_cast<unsigned>(outline.n_contours));
    std::vector<std::pair<std::int32_t, std::int32_t>> points;
    unsigned orders = 0;
    for (const KSegment* segment = path.first; segment; segment = segment->next) {
      EXPECT_FALSE(segment->Closed());
      orders |= 1u << segment->Order();
      for (unsigned i = 0; i < segment->PointCount(); ++i) {
        points.emplace_back(segment->Start()[i].x.raw, segment->Start()[i].y.raw);
      }
    }
    for (int i = 0; i < outline.n_points; ++i) {
      const std::pair<std::int32_t, std::int32_t> point(outline.points[i].x * 1024,
                                                        outline.points[i].y * -1024);
      EXPECT_NE(std::find(points.begin(), points.end(), point), points.end()) << int{code};
    }
    EXPECT_EQ(orders & 8, 0u);  // TrueType has no cubics
    EXPECT_EQ(orders & 2, 2u);
  }
  context.LoadChar(&path, ' ');
  EXPECT_EQ(path.first, nullptr);
  context.LoadChar(nullptr, 'A');
}

}  // namespace
