// Pixmaps through the context: quarter turns, and the frames that show how a pattern is drawn.
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/support/KFlags.h"

#include "tests/common/Target.h"

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

// A pixmap that lies in the target is drawn as a copy of it would be.
TEST(Pixmaps, DrawnOntoThemselves) {
  using Draw = void (*)(KSoftContext2D&, KSoftPixmap&);
  const Draw draws[] = {
      [](KSoftContext2D& c, KSoftPixmap& p) { c.DrawPixmap(&p, P(1, 1), P(13, 13)); },
      [](KSoftContext2D& c, KSoftPixmap& p) { c.DrawPixmap(&p, P(2.25, 0.5), P(9, 14)); },
      [](KSoftContext2D& c, KSoftPixmap& p) {
        c.Transform().Rotate(KFixed(90.0f));
        c.Transform().Translate(P(13, 1));
        c.DrawPixmap(&p, P(0, 0), P(12, 12));
      },
      [](KSoftContext2D& c, KSoftPixmap& p) {
        const KVertex2D points[] = {P(1, 1), P(14, 3), P(8, 15)};
        p.transform.Identity();
        p.transform.Translate(P(-3, -2));
        c.SetFillPixmap(&p);
        c.SetFillOpacity(200);
        c.DrawPolygon(points, 3, true);
      },
      [](KSoftContext2D& c, KSoftPixmap& p) {
        KSoftPixmap mask;
        mask.Create(12, 12, KFormatMask8, p.pixels, p.stride);
        c.DrawAlphaMask(&mask, 1, 1, 13, 13);
      },
  };
  for (const Draw draw : draws) {
    Target onto(16, 16), from(16, 16);
    for (Target* t : {&onto, &from}) {
      for (unsigned i = 0; i < 256; ++i) t->pixmap.Row32(i / 16)[i % 16] = 0xFF000000 + i * 77773;
    }
    KSoftPixmap window, copy;
    window.Create(12, 12, KFormat8888PM, onto.pixmap.Row32(1) + 1, onto.pixmap.stride);
    copy.CopyFrom(window);
    draw(onto.context, window);
    draw(from.context, copy);
    EXPECT_TRUE(onto == from) << "draw " << &draw - draws;
  }
}

// Words at addresses that are none are neither drawn nor drawn into.
TEST(Pixmaps, OffTheGridOfWords) {
  const struct { unsigned offset, stride; } cases[] = {{1, 16}, {2, 16}, {0, 18}, {0, 17}};
  for (const auto& c : cases) {
    std::vector<std::uint8_t> bytes(128, 0x77);
    KSoftPixmap odd;
    odd.Create(4, 4, KFormat8888PM, bytes.data() + c.offset, c.stride);
    Target target(8, 8);
    target.context.DrawPixmap(&odd, P(0, 0), P(8, 8));
    EXPECT_EQ(target.Count(0x11111111), 64u) << c.offset << ", " << c.stride;
    EXPECT_FALSE(target.context.RenderToTexture(&odd));
    target.context.Clear({255, 0, 0, 255});
    target.context.DrawRectangle(P(0, 0), P(4, 4));
    EXPECT_EQ(bytes, std::vector<std::uint8_t>(128, 0x77));
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
