// Pixmaps through the context: quarter turns, and the frames that show how a pattern is drawn.
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/support/KFlags.h"

#include "tests/context/Target.h"

namespace {

// 4 x 3 pixels, each of its own colour.
void Numbered(KSoftPixmap& pixmap, KFormat format) {
  pixmap.Create(4, 3, format);
  pixmap.SetQuality(KSamplingNearest);
  for (unsigned i = 0; i < 12; ++i) pixmap.Row32(i / 4)[i % 4] = 0xFF000010 + i;
}

// An opaque pixmap under a quarter turn is copied; one with an alpha channel is sampled.
TEST(Pixmaps, QuarterTurns) {
  struct Case {
    int degrees;
    KVertex2D move;  // brings the turned picture to (1, 1)
    unsigned width;
    unsigned (*source)(unsigned x, unsigned y);
  };
  const Case cases[] = {
      {90, P(1, 5), 3, [](unsigned x, unsigned y) { return x * 4 + (3 - y); }},
      {180, P(5, 4), 4, [](unsigned x, unsigned y) { return (2 - y) * 4 + (3 - x); }},
      {270, P(4, 1), 3, [](unsigned x, unsigned y) { return (2 - x) * 4 + y; }},
  };
  for (const KFormat format : {KFormat0888PM, KFormat8888PM}) {
    KSoftPixmap pixmap;
    Numbered(pixmap, format);
    for (const Case& c : cases) {
      Target target(6, 6);
      target.context.Transform().Rotate(KFixed(static_cast<float>(c.degrees)));
      target.context.Transform().Translate(c.move);
      target.context.DrawPixmap(&pixmap, P(0, 0), P(4, 3));
      for (unsigned i = 0; i < 36; ++i) {
        const unsigned x = i % 6 - 1, y = i / 6 - 1;
        const bool inside = x < c.width && y < 7 - c.width;
        EXPECT_EQ(target.At(i % 6, i / 6), inside ? 0xFF000010 + c.source(x, y) : 0x11111111)
            << c.degrees << " at " << x << ", " << y << ", format " << format;
      }
    }
  }
}

TEST(Pixmaps, ColoredOutlinesTellHowAPatternIsDrawn) {
  Flags.DrawColoredOutlines = true;
  for (const bool alpha : {false, true}) {
    for (const bool moved : {false, true}) {
      KSoftPixmap pixmap;
      Numbered(pixmap, alpha ? KFormat8888PM : KFormat0888PM);
      Target target(8, 8);
      // Twice as large, unless the pattern is only moved.
      target.context.DrawPixmap(&pixmap, P(1, 1), moved ? P(5, 4) : P(7, 7));
      const std::uint32_t frame = 0xFF000000 | (moved ? 0 : 0xFF0000) | (alpha ? 0xFF00 : 0);
      const unsigned outline = moved ? 10 : 20;
      EXPECT_EQ(target.Count(frame), frame == 0xFF000000 ? 0 : outline) << alpha << moved;
    }
  }
  Flags.DrawColoredOutlines = false;
}

}  // namespace
