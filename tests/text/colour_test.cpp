// Fonts in colours: layers, bitmaps scaled to the size, and what they report and leave to others.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/text/glyphs/KFTCache.h"
#include "kalvora/text/glyphs/resample.h"

#include "tests/common/Random.h"
#include "tests/common/Target.h"
#include "tests/text/fonts.h"
#include "tests/text/tinyfonts.h"

namespace {

struct ColourPage : Target {
  KFTFont font;

  template <typename Bytes>
  ColourPage(const Bytes& bytes, double size) : Target(24, 24) {
    EXPECT_TRUE(font.LoadFontFromMemory(bytes.data(), bytes.size(), 0)) << font.LastError().text;
    font.SetFontSize(Px(size));
    Use();
  }
  void Use() {
    context.SetFont(&font);
    context.Clear({0, 0, 0, 255});
    context.SetFillColor({255, 255, 255, 255});
  }
  KGlyphExtents Extents(std::uint32_t code) {
    std::uint32_t index = 0;
    KGlyphExtents e = {};
    EXPECT_TRUE(font.GlyphIndex(code, index) && font.GetGlyphExtents(index, e));
    return e;
  }
  void ExpectBox(const KGlyphExtents& e, int left, int top, int right, int bottom) const {
    EXPECT_EQ((KRect{static_cast<std::int16_t>(e.left), static_cast<std::int16_t>(e.top),
                     static_cast<std::int16_t>(e.right), static_cast<std::int16_t>(e.bottom)}),
              (KRect{static_cast<std::int16_t>(left), static_cast<std::int16_t>(top),
                     static_cast<std::int16_t>(right), static_cast<std::int16_t>(bottom)}));
  }
};

TEST(Colours, LayersHaveThePaletteAndTheTextsColour) {
  ColourPage page(kLayers, 16);
  const auto draw = [&](KColor32 colour, int opacity) {
    page.context.Clear({0, 0, 0, 255});
    page.context.SetFillColor(colour);
    page.context.SetFillOpacity(opacity);
    page.context.DrawText("A", P(2, 20));
  };
  const auto expect = [&](std::uint32_t red, std::uint32_t ink) {
    EXPECT_EQ(page.At(3, 19), red);
    EXPECT_NEAR(page.At(7, 14) & 255, ink & 255, 1);  // where the layers overlap
    EXPECT_NEAR(page.At(13, 9) >> 8 & 255, ink >> 8 & 255, 1);
    EXPECT_EQ(page.At(13, 18), 0xFF000000u);
    EXPECT_EQ(page.At(3, 10), 0xFF000000u);
  };
  draw({10, 200, 30, 255}, 256);
  expect(0xFFFF0000, 0xFF1EC80A);
  draw({255, 255, 255, 255}, 128);
  expect(0xFF7F0000, 0xFF7F7F7F);
  draw({255, 255, 255, 127}, 256);  // the text's alpha counts for all of it
  expect(0xFF7E0000, 0xFF7E7E7E);
  page.ExpectBox(page.Extents('A'), 0, -12, 12, 0);
  page.ExpectBox(page.context.MeasureText("A", P(2, 20)), 2, 8, 14, 20);
  page.ExpectBox(page.Extents('B'), 0, -4, 8, 0);

  KSoftPixmap pattern;  // has no one colour: the text is black
  pattern.Create(1, 1, KFormat8888PM);
  *pattern.Row32(0) = 0xFFFFFFFF;
  page.context.SetFillOpacity(256);
  page.context.SetFillPixmap(&pattern);
  page.context.Clear({9, 9, 9, 255});
  page.context.DrawText("AB", P(2, 20));
  EXPECT_EQ(page.At(3, 19), 0xFFFF0000u);
  EXPECT_EQ(page.At(7, 14), 0xFF000000u);
  EXPECT_EQ(page.At(19, 18), 0xFFFFFFFFu);  // B

  // Picking and masks of the caller take the outline.
  bool hit = false;
  page.context.SetFillPick(P(3, 18), &hit);
  page.context.DrawText("A", P(2, 20));
  EXPECT_TRUE(hit);
  KVertex2D origin, advance;
  EXPECT_EQ(page.context.LoadMask(&origin, &advance, 'A')->width, 4u);
}

TEST(Colours, BitmapsAreScaledToTheSize) {
  ColourPage page(kBitmaps, 8);
  struct Case {
    double size;
    std::uint32_t opaque;
    int left, top, right, bottom;
  };
  // Between two sizes the nearer one, in the middle the larger one.
  const Case cases[] = {{8, 0xFF00FF00, 0, -4, 8, 0},    {11, 0xFF00FF00, 0, -6, 11, 0},
                        {12, 0xFF0000FF, 0, -6, 12, 0},  {16, 0xFF0000FF, 0, -8, 16, 0},
                        {20, 0xFF0000FF, 0, -10, 20, 0}, {4, 0xFF00FF00, 0, -2, 4, 0}};
  for (const Case& c : cases) {
    page.font.SetFontSize(Px(c.size));
    EXPECT_NEAR(page.font.GetAscend().raw / 65536.0, c.size, 0.01);
    EXPECT_NEAR(page.font.GetFontHeight().raw / 65536.0, 1.25 * c.size, 0.01);
    const KGlyphExtents e = page.Extents('A');
    page.ExpectBox(e, c.left, c.top, c.right, c.bottom);
    EXPECT_EQ(e.advance, P(c.size, 0));
    KVertex2D pen = KVertex2D::Origin;
    page.font.AdvancePen(&pen, 'A', 0, static_cast<KFTFont*>(nullptr));
    EXPECT_EQ(pen, e.advance);
    page.Use();
    page.context.DrawText("A", P(2, 22));
    const auto right = static_cast<unsigned>(c.size) * 3 / 4;
    EXPECT_EQ(page.At(2 + right, 20), c.opaque) << c.size;
    const std::uint32_t left = page.At(2 + right - static_cast<unsigned>(c.size) / 2, 20);
    EXPECT_NEAR(left >> (c.opaque & 255 ? 0 : 8) & 255, 128, 2);
    page.ExpectBox(page.context.MeasureText("A", P(2, 22)), 2, 22 + c.top, 2 + c.right, 22);
    bool hit = false;
    page.context.SetFillPick(P(3, 21), &hit);
    page.context.DrawText("A", P(2, 22));
    EXPECT_TRUE(hit);
    KSoftPath path;
    page.context.LoadChar(&path, 'A');
    EXPECT_EQ(path.first, nullptr);
  }
  // A quarter turn stands it up, and the clip cuts it.
  page.font.SetFontSize(Px(8));
  page.Use();
  KSoftMatrix3D m;
  m.Set(Px(0), Px(1), Px(-1), Px(0), Px(10), Px(4));
  page.context.SetTransform(m);
  page.context.SetClipRegion({0, 0, 24, 10});
  page.context.DrawText("A", P(0, 0));
  EXPECT_EQ(page.Count(0xFF00FF00), 8u);  // of 16
  EXPECT_EQ(page.At(13, 9), 0xFF00FF00u);
  EXPECT_EQ(page.Count(0xFF000000), 24u * 24 - 24);
}

// Against the same averages in floating point.
TEST(Colours, ResampledBitmapsAreAveragesOfWhatPixelsCover) {
  Random random(11);
  for (int round = 0; round < 300; ++round) {
    KSoftPixmap from, to;
    const bool colours = random.OneIn(2);
    from.Create(1 + random.Below(12), 1 + random.Below(12), colours ? KFormat8888PM : KFormatMask8);
    const unsigned channels = colours ? 4 : 1;
    for (unsigned i = 0; i < from.stride * from.height; ++i) {
      from.pixels[i] = static_cast<std::uint8_t>(random.Next());
    }
    const auto entry = [&] { return std::int64_t{random.Between(-0x18000, 0x18000)}; };
    const kalvora::GlyphMatrix2 m = {entry(), entry(), entry(), entry()};
    const std::int64_t left = random.Between(-20, 20), top = random.Between(-20, 20);
    const kalvora::GlyphBox box = {left, top, left + from.width, top + from.height};
    const double scale = 65536.0;
    const double determinant = (static_cast<double>(m.xx) * static_cast<double>(m.yy) -
                                static_cast<double>(m.xy) * static_cast<double>(m.yx)) /
                               scale / scale;
    if (std::abs(determinant) < 0.05) continue;
    kalvora::GlyphBox covers;
    ASSERT_TRUE(kalvora::Resample(from, box, m, to, covers));
    const auto over = [&](std::int64_t v) { return static_cast<double>(v) / scale / determinant; };
    const double ixx = over(m.yy), ixy = over(-m.xy), iyx = over(-m.yx), iyy = over(m.xx);
    const double hx = std::max(std::abs(ixx) + std::abs(ixy), 1.0) / 2;
    const double hy = std::max(std::abs(iyx) + std::abs(iyy), 1.0) / 2;
    const auto share = [](double centre, double half, double i) {
      return std::max(0.0, std::min(centre + half, i + 1) - std::max(centre - half, i)) / half / 2;
    };
    double ink = 0;
    for (unsigned y = 0; y < to.height; ++y) {
      for (unsigned x = 0; x < to.width; ++x) {
        const double px = static_cast<double>(covers.left) + x + 0.5;
        const double py = static_cast<double>(covers.top) + y + 0.5;
        const double u = px * ixx + py * ixy - static_cast<double>(left);
        const double v = px * iyx + py * iyy - static_cast<double>(top);
        for (unsigned c = 0; c < channels; ++c) {
          double sum = 0;
          for (unsigned row = 0; row < from.height; ++row) {
            for (unsigned column = 0; column < from.width; ++column) {
              sum += share(u, hx, column) * share(v, hy, row) *
                     from.pixels[row * from.stride + column * channels + c];
            }
          }
          ink += sum;
          ASSERT_NEAR(to.pixels[y * to.stride + x * channels + c], sum, 1.1) << round;
        }
      }
    }
    EXPECT_GT(ink, 0);
  }
  KSoftPixmap from, to;
  kalvora::GlyphBox covers;
  from.Create(4, 4, KFormatMask8);
  for (const kalvora::GlyphMatrix2& m :
       {kalvora::GlyphMatrix2{0, 0, 0, 0}, kalvora::GlyphMatrix2{65536, 65536, 65536, 65536},
        kalvora::GlyphMatrix2{INT32_MIN, 0, 0, 65536}, kalvora::GlyphMatrix2{1, 0, 0, 1},
        kalvora::GlyphMatrix2{1 << 29, 0, 0, 1 << 29}}) {
    ASSERT_TRUE(kalvora::Resample(from, {-2, -2, 2, 2}, m, to, covers));
    EXPECT_EQ(to.width, 0u);
  }
}

}  // namespace
