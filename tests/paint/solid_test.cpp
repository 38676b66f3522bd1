// Solid colours and picking: every filler against the plain pixel rules.
#include <algorithm>

#include <gtest/gtest.h>

#include "kalvora/core/channels.h"

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
  // A colour of alpha 0 leaves solid spans, whatever its channels hold.
  if (!aa && blend && c >> 24 == 0) return d;
  return reference::Composite(d, c, blend, aa ? w : 256);
}

TEST(SolidFillers, FollowTheRules) {
  Random random(1);
  for (int round = 0; round < 6000; ++round) {
    const auto edge = round % 2 ? GuardedBuffer::kAtEnd : GuardedBuffer::kAtStart;
    Span span(random, random.Between(1, round % 10 ? 40 : 700), edge);
    KPaint paint;
    paint.color = KColor32::FromWord(Span::Pixel(random));
    paint.translucent = random.OneIn(2);
    paint.opacity = random.OneIn(2) ? 256 : random.Between(-50, 300);
    span.style.paint = &paint;
    const int opacity = std::clamp(paint.opacity, 0, 256);
    const Word c = reference::Scale(paint.color.Word(), static_cast<Word>(opacity));
    const bool blend = opacity != 256 || paint.translucent, opaque = random.OneIn(2);

    const Fillers plain = Init(span.style, KPaintColor, opaque);
    Fillers masked;
    (opaque ? KStrips<KColor_0888_PM>::InitColorWithAaChecks
            : KStrips<KColor_8888_PM>::InitColorWithAaChecks)(&span.style, masked.solid,
                                                              masked.coverage);
    for (const bool aa : {false, true, false, true}) {
      span.Renew(random);
      const auto covered = [&](int x, Word d) {
        return Expected(aa, blend, d, c, reference::CoverageWeight(span.style.lineBuffer[x]));
      };
      ASSERT_TRUE(span.Check(aa ? plain.coverage : plain.solid, covered)) << std::hex << c;
      span.Renew(random);
      const auto behindMask = [&](int x, Word d) {
        return Expected(aa, blend, d, c, reference::MaskWeight(span.style.maskRow[x]));
      };
      ASSERT_TRUE(span.Check(aa ? masked.coverage : masked.solid, behindMask)) << std::hex << c;
    }
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
    span.SetSpan(10, 13, 3);
    span.style.lineBuffer[10] = span.style.lineBuffer[12] = 1;
    span.style.lineBuffer[11] = 0;
    const auto [solid, coverage] = Init(span.style, KPaintPick);
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
