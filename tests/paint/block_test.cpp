// Blocks and steps: what a paint's fillers of whole blocks, and of rows whose coverage they compute
// themselves, paint is what its fillers of rows paint.
#include <cstdlib>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/raster/KClipRings.h"
#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/ring.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using kalvora::CoverageMask;
using kalvora::KRowPainter;
using kalvora::PaintJob;
using kalvora::PixelBox;

constexpr int kWidth = 280, kHeight = 40;  // more columns and rows than are made at a time

/// A target with its style record; a picture and a mask to draw.
struct Board {
  explicit Board(Random& random) {
    for (auto* words : {&pixels, &picture}) {
      for (auto& p : *words) p = Span::Premultiplied(random.Next());
    }
    for (auto& m : mask)
      m = static_cast<std::uint8_t>(random.Next() >> (random.OneIn(2) ? 24 : 31));
    target.Create(kWidth, kHeight, KFormat8888PM, pixels.data());
    style.lineBuffer = line.data();
    style.clip = {0, 0, kWidth, kHeight};
  }

  std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(kWidth * kHeight);
  std::vector<std::uint32_t> picture = std::vector<std::uint32_t>(kWidth * kHeight);
  std::vector<std::uint8_t> mask = std::vector<std::uint8_t>(kWidth * kHeight);
  std::vector<std::int32_t> line = std::vector<std::int32_t>(kWidth);
  KSoftPixmap target;
  KStyleContext2D style;
};

/// The paint's own initialiser, without what it says of blocks and steps.
void InitRows(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  Strips(false).init[style->paint->type](style, solid, coverage);
  style->block = style->edged = nullptr;
  style->steps = nullptr;
  style->straight = nullptr;
}

/// Any colour, gradient, or picture that is moved or scaled, at any opacity.
KPaint AnyPaint(Random& random, KSoftPixmap& picture, KSoftColorRamp& ramp) {
  KPaint paint;
  paint.type = static_cast<KPaintType>(random.Between(KPaintColor, KPaintPixmap));
  paint.color = KColor32::FromWord(Span::Pixel(random));
  paint.translucent = random.OneIn(2);
  paint.opacity = random.OneIn(2) ? 256 : random.Between(0, 256);
  const auto number = [&](int most) { return Fixed(random.Between(-most << 16, most << 16)); };
  KColorStop stops[3];
  for (int i = 0; i < 3; ++i) {
    stops[i] = {Fixed(i * 0x8000), KColor32::FromWord(random.OneIn(3) ? 0 : random.Next())};
  }
  const KVertex2D from{number(100), number(9)};
  const KVertex2D to{random.OneIn(3) ? from.x : number(300), random.OneIn(3) ? from.y : number(9)};
  const auto spread = random.OneIn(2) ? KSpreadRepeat : KSpreadPad;
  if (random.OneIn(2)) {
    ramp.SetLinear(from, to, stops, 3, spread);
  } else {
    ramp.SetRadial(from, to.x, stops, 3, spread);
  }
  ramp.rampAlpha = random.OneIn(2);
  paint.linearRamp = paint.radialRamp = &ramp;
  paint.pixmap = &picture;
  picture.hasAlpha = random.OneIn(2);
  picture.repeatRule = random.OneIn(2) ? KRepeatTile : KRepeatClamp;
  picture.SetQuality(static_cast<KSampling>(random.Below(3)));
  picture.transform.Identity();
  if (random.OneIn(2)) {
    // Tiles are not that small: they may begin anew where coordinates wrap.
    const bool steep = picture.repeatRule == KRepeatClamp && random.OneIn(2);
    picture.transform.Scale(
        {Fixed(steep ? static_cast<int>(random.Next()) : random.Between(-0x28000, 0x28000)),
         Fixed(random.Between(-0x28000, 0x28000))});
  }
  if (random.OneIn(2)) picture.transform.Translate({number(60), number(20)});
  return paint;
}

TEST(Blocks, AreWhatRowsPaint) {
  Random random(3);
  for (int round = 0; round < 3000; ++round) {
    Board blocks(random), rows(random);
    rows.pixels = blocks.pixels;
    const kalvora::Loops* const* width = kalvora::UsableLoops();
    for (int i = round % 3; i > 0 && width[1]; --i) ++width;
    blocks.style.loops = *width;
    KSoftPixmap picture;
    KSoftColorRamp ramp;
    const auto columns = static_cast<unsigned>(random.Between(1, random.OneIn(2) ? 9 : kWidth));
    picture.Create(columns, static_cast<unsigned>(random.Between(1, kHeight)), KFormat8888PM,
                   blocks.picture.data(), random.OneIn(2) ? 4 * columns : 4 * kWidth);
    const KPaint paint = AnyPaint(random, picture, ramp);
    const int x0 = random.Between(0, kWidth), y0 = random.Between(0, kHeight);
    const PixelBox box({0, 0, kWidth, kHeight}, x0, y0, random.Between(x0, kWidth),
                       random.Between(y0, kHeight));
    const auto edge = [&] {
      return random.OneIn(2) ? KRowBlock::kNoEdge : random.Between(0, 0x10000);
    };
    const std::int32_t left = edge(), right = edge(),
                       share = random.OneIn(2) ? 0x10000 : random.Between(0, 0x10000);
    const CoverageMask mask{blocks.mask.data(), kWidth, 0, 0};
    const bool masked = paint.type == KPaintColor && random.OneIn(3);

    for (Board* board : {&blocks, &rows}) {
      PaintJob job{.record = &board->style,
                   .style = &board->style,
                   .target = &board->target,
                   .paint = &paint,
                   .init = board == &rows ? InitRows : Strips(false).init[paint.type],
                   .mask = masked ? &mask : nullptr};
      if (masked && board == &blocks) job.init = KStrips<KColor_8888_PM>::InitColorWithAaChecks;
      KRowPainter painter(job);
      ASSERT_TRUE(painter.Bind(share));
      if (masked && board == &blocks) {
        painter.Masked(box);
      } else {
        painter.Box(box, masked ? KRowBlock::kNoEdge : left, masked ? KRowBlock::kNoEdge : right);
      }
      ASSERT_EQ(board->line, std::vector<std::int32_t>(kWidth)) << "coverage left behind";
    }
    ASSERT_EQ(blocks.pixels, rows.pixels) << (*width)->name << " in round " << round << ": paint "
                                          << paint.type << ", quality " << picture.quality;
  }
}

/// Two chains of edges from a top to a bottom: flat and steep ones, on and between borders of
/// pixels, that may cross, and sometimes more in one row than are collected.
std::vector<KVertex2D> TwoChains(Random& random) {
  const auto many = random.OneIn(4) ? 100u : 6u;
  const int low = random.OneIn(2) ? 1 : 300, high = random.OneIn(2) ? 0x1000 : 0x38000;
  const int wide = random.OneIn(3) ? kWidth : 12, spread = random.Between(0, wide) << 16;
  const int x = random.Between(-20 << 16, kWidth << 16), y = random.Between(-3 << 16, 7 << 16);
  std::vector<KVertex2D> ring{{}, {Fixed(x), Fixed(y)}}, back;
  for (auto* chain : {&ring, &back}) {
    int down = y;
    for (auto n = 1 + random.Below(many); n > 0; --n) {
      down += random.Between(low, high);
      const int at = x + random.Between(chain == &ring ? -spread : -1 << 15, spread);
      chain->push_back({Fixed(random.OneIn(4) ? at & -0x10000 : at), Fixed(down)});
    }
  }
  ring.insert(ring.end(), back.rbegin(), back.rend());
  ring.push_back({});
  kalvora::ring::Close(ring.data(), static_cast<unsigned>(ring.size() - kalvora::ring::kLinks));
  return ring;
}

/// Rings painted in a width, by all fillers that the colour has there and by those of rows.
void CheckRings(Random& random, const kalvora::Loops* loops, std::vector<KVertex2D*> rings) {
  static Board all(random), rows(random);
  rows.pixels = all.pixels;
  all.style.loops = loops;
  KPaint paint;
  paint.type = KPaintColor;
  paint.color = KColor32::FromWord(Span::Premultiplied(random.Next()));
  paint.translucent = random.OneIn(2);
  const auto column = [&] { return static_cast<std::int16_t>(random.Between(0, kWidth)); };
  const KClip clip{random.OneIn(2) ? column() : std::int16_t{0}, 0,
                   random.OneIn(2) ? column() : std::int16_t{kWidth}, kHeight};
  const KFillRule rule = random.OneIn(2) ? KFillEvenOdd : KFillNonZero;
  for (Board* board : {&all, &rows}) {
    board->style.clip = clip;
    KStack stack;
    const KClipRings noClip;
    const PaintJob job{.record = &board->style,
                       .style = &board->style,
                       .target = &board->target,
                       .paint = &paint,
                       .init = board == &rows ? InitRows : Strips(false).init[KPaintColor]};
    kalvora::RasterPolygon({job, &stack, rule, false, rule, &noClip}, rings.data(),
                           static_cast<unsigned>(rings.size()));
    ASSERT_EQ(board->line, std::vector<std::int32_t>(kWidth)) << "coverage left behind";
  }
  ASSERT_EQ(all.pixels, rows.pixels);
}

const kalvora::Loops* WidthOf(int round) {
  const kalvora::Loops* const* width = kalvora::UsableLoops();
  for (int i = round % 3; i > 0 && width[1]; --i) ++width;
  return *width;
}

TEST(Steps, AreWhatRowsPaint) {
  Random random(4);
  for (int round = 0; round < 20000; ++round) {
    std::vector<KVertex2D> ring = TwoChains(random);
    const kalvora::Loops* loops = WidthOf(round);
    ASSERT_NO_FATAL_FAILURE(CheckRings(random, loops, {ring.data()})) << loops->name << round;
  }
}

/// Triangles whose edges go through many rows: upright ones or nearly so, on borders of pixels too,
/// and flat ones.
TEST(StraightEdges, AreWhatRowsPaint) {
  Random random(6);
  for (int round = 0; round < 12000; ++round) {
    const int wide = random.OneIn(3) ? 1000 : 1 << random.Below(9);
    std::vector<KVertex2D> vertices;
    std::vector<KVertex2D*> rings;
    const int count = random.Between(2, 4);
    for (int i = 0; i < 5 * count; ++i) {
      const int x = random.Between(0, kWidth << 16) + random.Between(-wide, wide) * 0x8000;
      const int beyond = random.OneIn(2) ? 300 : 30;
      const int y = random.Between(-beyond << 16, (kHeight + beyond) << 16);
      vertices.push_back({Fixed(random.OneIn(4) ? x & -0x10000 : x), Fixed(y)});
      if (random.OneIn(4)) vertices[i].x.raw = vertices[i - i % 5].x.raw + random.Between(-2, 2);
    }
    for (int i = 0; i < count; ++i) {
      rings.push_back(&vertices[5 * i]);
      kalvora::ring::Close(rings.back(), 3);
    }
    const kalvora::Loops* loops = WidthOf(round);
    ASSERT_NO_FATAL_FAILURE(CheckRings(random, loops, rings)) << loops->name << round;
  }
}

// Also edges of slopes that do not fit them, as far away as there are any.
TEST(Steps, HaveTheCoverageOfTheirRows) {
  Random random(5);
  static Board steps(random), rows(random);
  for (int round = 0; round < 30000; ++round) {
    rows.pixels = steps.pixels;
    const kalvora::Loops* const* width = kalvora::UsableLoops();
    for (int i = round % 3; i > 0 && width[1]; --i) ++width;
    if (!(*width)->color.steps) continue;
    const int count = 1 + round / 3 % 3, first = random.Between(0, kWidth);
    KRowSteps row{};
    row.row[0] = {steps.pixels.data(), count};
    row.rows = 1, row.x0 = first, row.x1 = kWidth;
    KRowStyle& style = rows.style;
    style.clip = {static_cast<std::int16_t>(first), 0, kWidth, kHeight};
    style.StartRow();
    const auto x = [&] {
      return random.OneIn(4) ? random.Between(-(1 << 30) + 1, (1 << 30) - 1)
                             : random.Between(0, random.OneIn(2) ? 2 << 16 : kWidth << 16);
    };
    KFixed e[2][3];
    for (int i = 0; i < 2 * count; ++i) {
      KFixed(&edge)[3] = e[i & 1];
      row.height[i] = count == 1 ? 0x10000 : i & 1 ? row.height[i - 1] : random.Between(16, 21845);
      row.top[i] = x();
      row.bottom[i] = random.OneIn(3) ? row.top[i] + random.Between(-40000, 40000) : x();
      row.slope[i] = std::abs(random.Between(-INT32_MAX, INT32_MAX) >> random.Below(31));
      if (row.top[i] > row.bottom[i]) row.slope[i] = -row.slope[i];
      if (count > 1 && row.slope[i] == 0) row.bottom[i] = row.top[i];
      if (count == 1 && random.OneIn(4)) row.slope[i] = -row.slope[i];
      edge[0] = Fixed(row.top[i]), edge[1] = Fixed(row.bottom[i]), edge[2] = Fixed(row.slope[i]);
      if ((i & 1) == 0) continue;
      if (count == 1) {
        style.ComputeAA(e[0][0], e[0][1], e[0][2], e[1][0], e[1][1], e[1][2]);
        if (style.x0 < style.x1 && style.solidX0 < style.solidX1) style.solidHeight = 0x10000;
      } else {
        style.ComputeAA(e[0][0], e[0][1], e[0][2], e[1][0], e[1][1], e[1][2], Fixed(row.height[i]));
      }
    }
    style.SettleSolidRun();
    const std::uint32_t color = Span::Premultiplied(random.Next());
    (*width)->color.steps(row, color, false);
    for (std::size_t i = 0; i < kWidth; ++i) {
      rows.pixels[i] = reference::Lerp(rows.pixels[i], color,
                                       reference::CoverageWeight(std::exchange(rows.line[i], 0)));
    }
    ASSERT_EQ(steps.pixels, rows.pixels) << (*width)->name << " in round " << round;
  }
}

}  // namespace
