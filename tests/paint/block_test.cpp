// Blocks: what a paint's fillers of whole blocks paint is what its fillers of rows paint.
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/paint/loops/loops.h"
#include "kalvora/raster/KRowPainter.h"

#include "tests/paint/span.h"

namespace {

using kalvora::CoverageMask;
using kalvora::KRowPainter;
using kalvora::PaintJob;
using kalvora::PixelBox;

constexpr int kWidth = 280, kHeight = 9;  // more columns than are made at a time

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

/// The paint's own initialiser, without what it says of blocks.
void InitRows(KStyleContext2D* style, KFiller& solid, KFiller& coverage) {
  Strips(false).init[style->paint->type](style, solid, coverage);
  style->block = style->edged = nullptr;
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
    picture.transform.Scale(
        {Fixed(random.Between(-0x28000, 0x28000)), Fixed(random.Between(-0x28000, 0x28000))});
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

}  // namespace
