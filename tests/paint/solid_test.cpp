// Solid colours and picking: every filler against the plain pixel rules.
#include <gtest/gtest.h>

#include "kalvora/paint/KColorStrip.h"
#include "kalvora/paint/KStrips.h"
#include "kalvora/paint/channels.h"
#include "kalvora/paint/picking.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using reference::Word;

TEST(Channels, StatedValues) {
  using namespace kalvora;
  const struct {
    const char* what;
    Word got, want;
  } rows[] = {
      {"scale", Scale(0xFFFFFFFF, 127), 0x7E7E7E7E},
      {"scale by 256", Scale(0x89ABCDEF, 256), 0x89ABCDEF},
      {"over", Over(0xFFFFFFFF, 0x80402010), 0xFEBE9E8E},
      {"over carries like an addition", Over(0xFFFFFFFF, 0x000000FF), 0x000000FE},
      {"lerp, full", Lerp(0x12345678, 0xFEDCBA98, 256), 0xFEDCBA98},
      {"lerp, none", Lerp(0x12345678, 0xFEDCBA98, 0), 0x12345678},
      {"lerp rounds down also when falling", Lerp(0xFFFFFFFF, 0xFE01FE01, 1), 0xFEFEFEFE},
      {"alpha 127", AlphaWeight(0x7F000000), 127},
      {"alpha 128", AlphaWeight(0x80000000), 129},
      {"alpha 255", AlphaWeight(0xFF000000), 256},
      {"mask 128", MaskWeight(128), 128},
      {"mask 129", MaskWeight(129), 130},
      {"mask 255", MaskWeight(255), 256},
  };
  for (const auto& row : rows) EXPECT_EQ(row.got, row.want) << row.what;
}

/// What a solid filler makes of a pixel d, by the weight of its coverage.
Word Expected(bool aa, bool blend, Word d, Word c, Word w) {
  if (!blend) return aa ? reference::Lerp(d, c, w) : c;
  if (aa) return c == 0 ? d : reference::Over(d, reference::Scale(c, w));
  const Word a = reference::AlphaWeight(c);
  return a == 0 ? d : a == 256 ? c : reference::Scale(d, 256 - a) + c;
}

Word ExpectedMask(bool aa, bool blend, Word d, Word c, Word w) {
  if (aa && (w == 0 || (blend && c == 0))) return d;
  if (aa && w == 256 && !blend) return c;
  return Expected(aa, blend, d, c, w);
}

template <typename F, bool AA, bool Blend>
void CompareWithRules(std::uint64_t seed) {
  Random random(seed);
  for (int round = 0; round < 300; ++round) {
    const auto edge = round % 2 ? GuardedBuffer::kAtEnd : GuardedBuffer::kAtStart;
    Span span(random, random.Between(1, round % 10 ? 40 : 700), edge);
    for (int i = 0; i < 10; ++i) {
      span.Renew(random);
      const Word c = Span::Pixel(random);
      span.style.color = KColor32::FromWord(c);
      ASSERT_TRUE(span.Check(KColorStrip<F, AA, Blend>::Draw,
                             [&](int x, Word d) {
                               return Expected(AA, Blend, d, c,
                                               reference::CoverageWeight(span.style.lineBuffer[x]));
                             }))
          << std::hex << c;
      span.Renew(random);
      ASSERT_TRUE(span.Check(KColorStrip<F, AA, Blend>::DrawWithAaChecks,
                             [&](int x, Word d) {
                               return ExpectedMask(AA, Blend, d, c,
                                                   reference::MaskWeight(span.style.maskRow[x]));
                             }))
          << std::hex << c;
    }
  }
}

template <typename F>
class SolidFillers : public ::testing::Test {};
using Layouts = ::testing::Types<KColor_0888_PM, KColor_8888_PM>;
TYPED_TEST_SUITE(SolidFillers, Layouts);

TYPED_TEST(SolidFillers, PaintByTheRules) {
  CompareWithRules<TypeParam, false, false>(1);
  CompareWithRules<TypeParam, true, false>(2);
  CompareWithRules<TypeParam, false, true>(3);
  CompareWithRules<TypeParam, true, true>(4);
}

TYPED_TEST(SolidFillers, AreChosenByOpacityAndTranslucency) {
  using Strips = KStrips<TypeParam>;
  const struct {
    bool translucent;
    int opacity;
    bool blend;
    Word color;
  } rows[] = {
      {false, 256, false, 0xFF804020},
      {true, 256, true, 0xFF804020},
      {false, 255, true, 0xFE7F3F1F},
      {false, 1000, false, 0xFF804020},
      {false, -5, true, 0},
  };
  for (const auto& row : rows) {
    KPaint paint;
    paint.type = KPaintColor;
    paint.translucent = row.translucent;
    paint.opacity = row.opacity;
    paint.color = KColor32::FromWord(0xFF804020);
    KStyleContext2D style;
    style.paint = &paint;
    KFiller solid = nullptr, coverage = nullptr;
    Strips::VTable.init[KPaintColor](&style, solid, coverage);
    EXPECT_EQ(style.blend != 0, row.blend);
    EXPECT_EQ(style.color.Word(), row.color);
    EXPECT_EQ(solid, row.blend ? (KColorStrip<TypeParam, false, true>::Draw)
                               : (KColorStrip<TypeParam, false, false>::Draw));
    EXPECT_EQ(coverage, row.blend ? (KColorStrip<TypeParam, true, true>::Draw)
                                  : (KColorStrip<TypeParam, true, false>::Draw));
    Strips::InitColorWithAaChecks(&style, solid, coverage);
    EXPECT_EQ(solid, row.blend ? (KColorStrip<TypeParam, false, true>::DrawWithAaChecks)
                               : (KColorStrip<TypeParam, false, false>::DrawWithAaChecks));
    EXPECT_EQ(coverage, row.blend ? (KColorStrip<TypeParam, true, true>::DrawWithAaChecks)
                                  : (KColorStrip<TypeParam, true, false>::DrawWithAaChecks));
  }
}

TEST(Picking, HitsWhereThePixelIsCovered) {
  const struct {
    std::int32_t x, y;  // 16.16
    bool solid, coverage;
  } rows[] = {
      {0xA8000, 0x30000, true, true},  // 10.5 rounds down to column 10
      {0xA80FF, 0x30000, true, true},
      {0xA8100, 0x30000, true, false},   // 10.504: column 11, whose coverage is 0
      {0xA0000, 0x280FF, false, false},  // row 2
      {0xA0000, 0x28100, true, true},    // row 3
      {0x90000, 0x30000, false, false},  // left of the span
      {0xD0000, 0x30000, false, false},  // its end
      {INT32_MIN, 0x30000, false, false},
      {INT32_MAX, 0x30000, false, false},
  };
  Random random(5);
  Span span(random, 13);
  for (const auto& row : rows) {
    bool hit = false;
    KPaint paint;
    paint.type = KPaintPick;
    paint.pickPoint = {KFixed::FromRaw(row.x), KFixed::FromRaw(row.y)};
    paint.pickHit = &hit;
    span.style.paint = &paint;
    span.style.y = 3;
    span.style.x0 = 10;
    span.style.x1 = 13;
    span.style.lineBuffer[10] = span.style.lineBuffer[12] = 1;
    span.style.lineBuffer[11] = 0;
    KFiller solid = nullptr, coverage = nullptr;
    KStrips<KColor_8888_PM>::VTable.init[KPaintPick](&span.style, solid, coverage);
    const auto unchanged = [](int, Word d) { return d; };
    EXPECT_TRUE(span.Check(solid, unchanged));
    EXPECT_EQ(hit, row.solid) << row.x << ", " << row.y;
    hit = false;
    EXPECT_TRUE(span.Check(coverage, unchanged));
    EXPECT_EQ(hit, row.coverage) << row.x << ", " << row.y;
    hit = true;
    span.style.lineBuffer[10] = 0;
    coverage(&span.style);
    EXPECT_TRUE(hit) << "a hit is never taken back";
  }
}

}  // namespace
