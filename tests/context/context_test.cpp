// The drawing context: targets, clearing, attributes, state, picking, and calls before a bind.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/support/KFlags.h"

#include "tests/common/Random.h"
#include "tests/common/Target.h"

namespace {

TEST(Context, FormatsThatCanBeBound) {
  const bool accepted[] = {false, true, false, false, true, true, false, true};
  for (int format = 0; format < 8; ++format) {
    std::uint32_t words[64] = {};
    KSoftPixmap pixmap;
    pixmap.Create(4, 4, static_cast<KFormat>(format), words, 16);
    KSoftContext2D context;
    EXPECT_EQ(context.RenderToTexture(&pixmap), accepted[format]) << format;
    // Whatever was bound, drawing is safe.
    const KVertex2D square[] = {P(0, 0), P(9, 0), P(9, 9), P(0, 9)};
    context.DrawPolygon(square, 4, true);
    context.Clear({1, 2, 3, 255});
  }
}

TEST(Context, NothingIsDrawnWithoutATarget) {
  const KVertex2D square[] = {P(0, 0), P(9, 0), P(9, 9), P(0, 9)};
  KSoftContext2D context;
  const auto draw = [&] {
    KSoftPath* path = context.CreatePath();
    path->MoveTo(square[0]);
    path->BezierTo(1, square + 1, 3);
    context.DrawPath(path);
    context.DestroyPath(path);
    context.DrawPolygon(square, 4, true);
    context.Clear({255, 0, 0, 255});
    context.SetAttribute(1, 0xFF000000);
    context.Flip();
  };
  draw();
  EXPECT_TRUE(context.RenderToTexture(nullptr));
  draw();
  KSoftPixmap empty;
  context.RenderToTexture(&empty);
  draw();
  KSoftPixmap noPixels;
  noPixels.Create(8, 8, KFormat8888PM, nullptr, 0x10);
  noPixels.Create(0, 8, KFormat8888PM);
  EXPECT_TRUE(context.RenderToTexture(&noPixels));
  draw();
}

TEST(Context, ClearIsHeldToTheTarget) {
  struct Case {
    KRect rect;
    unsigned pixels;
  };
  const Case cases[] = {
      {{-5, -5, 3, 2}, 6},   {{0, 0, 100, 1}, 10},
      {{8, 5, 100, 100}, 2}, {{4, 4, 4, 6}, 0},
      {{6, 1, 2, 4}, 0},     {{1, 4, 5, 2}, 0},
      {{20, 0, 30, 5}, 0},   {{-32768, -32768, 32767, 32767}, 60},
  };
  for (const Case& c : cases) {
    Target t(10, 6);
    t.context.SetClipRegion({0, 0, 1, 1});  // the clip is not consulted
    t.context.Clear({255, 0, 0, 128}, &c.rect);
    EXPECT_EQ(t.Count(0x807F0000), c.pixels) << c.rect.left;
  }
}

TEST(Context, ClearFillsTheRowPaddingToo) {
  Target t(5, 3, KFormat0888PM, 12);
  t.context.Clear({1, 2, 3, 255});
  for (std::size_t i = 0; i < t.buffer.size() / 4; ++i) {
    EXPECT_EQ(t.buffer.As<std::uint32_t>()[i], 0xFF010203u) << i;
  }
}

TEST(Context, AttributeOneWritesOnePixel) {
  struct Case {
    unsigned x, y;
    bool written;
  };
  for (const Case c : {Case{2, 1, true}, Case{5, 3, true}, Case{6, 3, false}, Case{2, 0, false},
                       Case{1, 1, false}, Case{4095, 4095, false}}) {
    Target t(8, 5);
    t.context.SetClipRegion({2, 1, 6, 4});
    t.context.SetAttribute(1, c.x | c.y << 12 | 0u << 24 | 1u << 26 | 2u << 28 | 3u << 30);
    EXPECT_EQ(t.Count(0xFFBF3F00), c.written ? 1u : 0u);
    if (c.written) {
      EXPECT_EQ(t.At(c.x, c.y), 0xFFBF3F00u);
    }
  }
}

TEST(Context, GlobalAttributes) {
  const KFlag* flags[] = {&Flags.DisplayFps, &Flags.DrawColoredOutlines, &Flags.IgnoreAlpha,
                          &Flags.OnlyNearest, &Flags.UseFontHinting};
  for (unsigned key = 0; key < 7; ++key) {
    KSoftContext2D::SetGlobalAttribute(key, 7);
    for (unsigned i = 0; i < std::size(flags); ++i) EXPECT_EQ(bool(*flags[i]), i == key);
    KSoftContext2D::SetGlobalAttribute(key, 0);
  }
}

TEST(Context, ABindResetsTheState) {
  Target t(20, 20);
  const KVertex2D square[] = {P(0, 0), P(10, 0), P(10, 10), P(0, 10)};
  KSoftPath clip;
  clip.MoveTo(P(100, 100));
  clip.BezierTo(1, square, 4);
  t.context.SetFillColor({255, 0, 0, 255});
  t.context.SetFillOpacity(3);
  t.context.Transform().Translate(P(5, 5));
  t.context.SetClipRegion({3, 3, 4, 4});
  t.context.SetClipPath(&clip, KFillNonZero);
  t.context.SetFillRule(KFillEvenOdd);
  t.context.SetLineWidth(KFixed::FromInt(9));
  t.context.RenderToTexture(&t.pixmap);
  EXPECT_EQ(t.context.halfWidth.raw, 0x8000);
  EXPECT_EQ(t.context.limit.raw, 0x40000);
  EXPECT_EQ(t.context.limitWidth.raw, 0x20000);
  t.context.DrawPolygon(square, 4, true);
  EXPECT_EQ(t.Count(0xFF000000), 100u);
}

// A circle of radius 3 at the default loses a tenth of its area, at an eighth of a pixel 3 %.
TEST(Context, FlatnessIsTheContextsOwnUntilItIsZero) {
  Target t(8, 8), other(8, 8);
  const auto missing = [](Target& target) {
    target.context.Clear(KColor32(0, 0, 0, 0));
    target.context.DrawArc(P(4, 4), P(3, 3), kalvora::kZero, KFixed::FromInt(360));
    double sum = 0;
    for (unsigned i = 0; i < 64; ++i) sum += (target.At(i % 8, i / 8) >> 24) / 255.0;
    return 100 - 100 * sum / (9 * 3.14159265);
  };
  t.context.SetFlatness(KFixed(0.125f));
  t.context.RenderToTexture(&t.pixmap);
  EXPECT_NEAR(missing(t), 2.7, 0.3);
  EXPECT_NEAR(missing(other), 10.2, 0.3);
  KStroker::GeoQuality = KFixed(0.03125f);
  EXPECT_NEAR(missing(t), 2.7, 0.3);
  EXPECT_NEAR(missing(other), 0.8, 0.3);
  t.context.SetFlatness(kalvora::kZero);
  EXPECT_NEAR(missing(t), 0.8, 0.3);
  t.context.RenderToTexture(&t.pixmap);
  EXPECT_NEAR(missing(t), 10.2, 0.3);
}

TEST(Context, OpacityAndTranslucency) {
  const KVertex2D square[] = {P(0, 0), P(10, 0), P(10, 10), P(0, 10)};
  struct Case {
    KColor32 color;
    int opacity;
  };
  // over(d, s) = scale(d, 256 - alpha(s)) + s, weights truncated
  const Case cases[] = {{{255, 0, 0, 255}, 256}, {{255, 0, 0, 254}, 256}, {{0, 0, 0, 255}, 128},
                        {{0, 0, 0, 255}, 0},     {{9, 9, 9, 0}, 256},     {{90, 80, 200, 129}, 77}};
  for (const Case& c : cases) {
    Target t(10, 10);
    t.context.Clear({255, 255, 255, 255});
    t.context.SetFillColor(c.color);
    t.context.SetFillOpacity(c.opacity);
    t.context.DrawPolygon(square, 4, true);
    const KColor32 s =
        c.opacity == 256 ? c.color.PreMultiply() : c.color.PreMultiply().Weight(c.opacity);
    const std::uint32_t alpha = s.alpha + (s.alpha >> 7);
    const std::uint32_t expected =
        KColor32::FromWord(0xFFFFFFFF).Weight(256 - alpha).Word() + s.Word();
    EXPECT_EQ(t.At(5, 5), expected) << std::hex << t.At(5, 5);
  }
}

// A point is hit exactly when its pixel receives coverage; the flag is never cleared.
TEST(Context, PickingFindsWhatWouldBePainted) {
  Random random(21);
  for (int i = 0; i < 300; ++i) {
    KVertex2D shape[5];
    for (KVertex2D& v : shape)
      v = P(random.Between(-20, 60) * 0.37, random.Between(-20, 60) * 0.37);
    Target painted(20, 20), picked(20, 20);
    painted.context.Clear({0, 0, 0, 0});
    painted.context.SetFillColor({255, 255, 255, 255});
    painted.context.DrawPolygon(shape, 5, true);
    for (int k = 0; k < 60; ++k) {
      const int x = random.Between(-3, 23), y = random.Between(-3, 23);
      bool hit = false;
      picked.context.SetFillPick(P(x, y), &hit);
      picked.context.DrawPolygon(shape, 5, true);
      const bool inside = x >= 0 && x < 20 && y >= 0 && y < 20;
      const std::uint32_t pixel =
          inside ? painted.At(static_cast<unsigned>(x), static_cast<unsigned>(y)) : 0;
      if (pixel != 0) {
        EXPECT_TRUE(hit) << i << " " << x << "," << y;
      }
      // Coverage too faint for a visible pixel may still be a hit, but not outside the target.
      if (!inside) {
        EXPECT_FALSE(hit);
      }
    }
    EXPECT_EQ(picked.Count(0x11111111), 400u);
  }
}

TEST(Context, PolygonsAndPathsAgree) {
  Random random(22);
  for (int i = 0; i < 200; ++i) {
    KVertex2D shape[6];
    for (KVertex2D& v : shape)
      v = P(random.Between(-20, 120) * 0.23, random.Between(-20, 120) * 0.23);
    Target a(24, 24, KFormat0888PM), b(24, 24, KFormat0888PM);
    for (Target* t : {&a, &b}) {
      t->context.SetFillColor({200, 100, 50, 180});
      if (i % 3 == 1) t->context.Transform().Translate(P(1.5, -2.25));
      if (i % 3 == 2) t->context.Transform().Rotate(KFixed::FromInt(30));
    }
    KSoftPath path;
    path.MoveTo(shape[0]);
    for (int k = 1; k < 6; ++k) path.LineTo(shape[k]);
    path.Close();
    a.context.DrawPath(&path);
    b.context.DrawPolygon(shape, 6, true);
    EXPECT_TRUE(a == b);
  }
}

}  // namespace
