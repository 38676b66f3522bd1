// DrawText: placement, transforms, paints, clips, and what it asks of FreeType and the heap.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/KFTCache.h"

#include "tests/common/Hash.h"
#include "tests/common/Random.h"
#include "tests/context/Target.h"
#include "tests/text/calls.h"
#include "tests/text/fonts.h"

namespace {

constexpr KColor32 kWhite = {255, 255, 255, 255};
constexpr KColor32 kBlack = {0, 0, 0, 255};
const std::u16string kMixed = u"Ag \u56FD\u2705 j\u0416\uE123.";

// A target with fonts, white on black.
struct Page : Fonts, Target {
  FontList fallbacks{&cjk, &symbols};

  explicit Page(unsigned width = 220, unsigned height = 200) : Target(width, height) { Use(); }
  void Use() {
    context.SetFont(&latin);
    context.SetFallbackFonts(&fallbacks.array, nullptr);
    context.SetFillColor(kWhite);
    context.Clear(kBlack);
  }
  void Draw(const std::u16string& text, KVertex2D origin, const KVertex2D* positions = nullptr) {
    context.DrawText(Codes(text.data()), static_cast<unsigned>(text.size()), origin, positions);
  }
  void DrawOutlines(const std::u16string& text, KVertex2D origin) {
    context.DrawTextWithPaths(Codes(text.data()), static_cast<unsigned>(text.size()), origin,
                              nullptr);
  }
  // How light a pixel is, 0..255.
  int Light(unsigned x, unsigned y) const { return static_cast<int>(At(x, y) & 255); }
  std::uint64_t Ink() const {
    std::uint64_t sum = 0;
    for (unsigned y = 0; y < pixmap.height; ++y) {
      for (unsigned x = 0; x < pixmap.width; ++x) sum += static_cast<unsigned>(Light(x, y));
    }
    return sum;
  }
  std::uint64_t Picture() const {
    Hash hash;
    hash.AddBytes(buffer.data(), buffer.size());
    return hash.Value();
  }
};

KSoftMatrix3D Affine(double a, double b, double c, double d, double x, double y) {
  KSoftMatrix3D m;
  m.Set(Px(a), Px(b), Px(c), Px(d), Px(x), Px(y));
  return m;
}

const KSoftMatrix3D kTransforms[] = {
    KSoftMatrix3D(),
    Affine(1, 0, 0, 1, 60, 110),          // moved
    Affine(2.5, 0, 0, 1.5, 40, 110),      // scaled
    Affine(-1, 0, 0, 1, 150, 110),        // mirrored
    Affine(0, 1, -1, 0, 60, 40),          // quarter turn
    Affine(0.8, 0.6, -0.6, 0.8, 60, 60),  // turned
    Affine(1, 0, -0.5, 1, 60, 110),       // skewed in x
    Affine(1, 0.5, 0, 1, 40, 60),         // skewed in y
    Affine(1.6, 1.2, -0.3, 0.4, 60, 60),  // turned with unequal scales
    Affine(1.2, 0.4, 0.7, -0.9, 60, 60),
};

TEST(DrawText, ShowsGlyphsAsTheTransformWould) {
  Page masks, outlines;
  masks.latin.SetFontSize(Px(40));
  outlines.latin.SetFontSize(Px(40));
  const KFixed quality = KStroker::GeoQuality;
  KStroker::GeoQuality = Px(0.02);  // flatten the outlines as finely as FreeType does
  for (const KSoftMatrix3D& m : kTransforms) {
    if (m.identity) continue;
    for (const char16_t* glyph : {u"R", u"g", u"&"}) {
      for (Page* page : {&masks, &outlines}) {
        page->context.Clear(kBlack);
        page->context.SetTransform(m);
      }
      masks.Draw(glyph, P(0, 0));
      outlines.DrawOutlines(glyph, P(0, 0));
      ASSERT_GT(masks.Ink(), 20000u);
      std::uint64_t difference = 0;
      for (unsigned y = 0; y < masks.pixmap.height; ++y) {
        for (unsigned x = 0; x < masks.pixmap.width; ++x) {
          difference += static_cast<unsigned>(std::abs(masks.Light(x, y) - outlines.Light(x, y)));
        }
      }
      EXPECT_LT(difference * 40, masks.Ink()) << m.m0.raw << ' ' << m.m1.raw << ' ' << m.m3.raw;
    }
  }
  KStroker::GeoQuality = quality;
}

// The pen of glyph i, from FreeType's unhinted advances, mapped exactly.
TEST(DrawText, SetsGlyphsOnTheTransformedBaseline) {
  const std::u16string text = u"HHHHHH";
  for (const KSoftMatrix3D& m : kTransforms) {
    Page all, one;
    for (Page* page : {&all, &one}) {
      page->latin.SetFontSize(Px(14));
      page->context.SetTransform(m);
    }
    all.Draw(text, P(3.25, 14.5));
    KVertex2D advance = KVertex2D::Origin;
    all.latin.AdvancePen(&advance, 'H', 0, static_cast<KFTFont*>(nullptr));
    for (std::size_t i = 0; i < text.size(); ++i) {
      // In the device the glyphs stand on whole pixels, so that each is within one of its place.
      const double along = 3.25 + advance.x.raw / 65536.0 * static_cast<double>(i);
      const KVertex2D pen = P(along, 14.5);
      one.context.Clear(kBlack);
      one.Draw(u"H", P(-1000, -1000), &pen);
      const auto near = [&](unsigned x, unsigned y) {
        for (int dy = -1; dy <= 1; ++dy) {
          for (int dx = -1; dx <= 1; ++dx) {
            const unsigned px = x + static_cast<unsigned>(dx), py = y + static_cast<unsigned>(dy);
            if (px < 220 && py < 200 && all.Light(px, py) >= one.Light(x, y)) return true;
          }
        }
        return false;
      };
      for (unsigned y = 1; y < 199; ++y) {
        for (unsigned x = 1; x < 219; ++x) ASSERT_TRUE(near(x, y)) << i << ' ' << m.m1.raw;
      }
      ASSERT_GT(one.Ink(), 5000u);
    }
  }
}

TEST(DrawText, RoundsPensALittleUnderHalfAPixel) {
  Page page(64, 40), moved(64, 40);
  const auto at = [](std::int32_t x, std::int32_t y) {
    return KVertex2D{KFixed::FromRaw(x), KFixed::FromRaw(y)};
  };
  struct Case {
    std::int32_t raw, whole;
  };
  const Case cases[] = {{20 << 16, 20},
                        {(20 << 16) + 0x80FF, 20},
                        {(20 << 16) + 0x8100, 21},
                        {(20 << 16) - 0x7F00, 20},
                        {(20 << 16) - 0x7F01, 19}};
  for (const Case& c : cases) {
    page.context.Clear(kBlack);
    moved.context.Clear(kBlack);
    page.Draw(u"a", at(c.raw, c.raw));
    const KVertex2D whole = at(c.whole << 16, c.whole << 16);
    moved.Draw(u"a", P(0, 0), &whole);
    EXPECT_EQ(page, moved) << c.raw;
  }
}

TEST(DrawText, DrawsNothingWithoutATarget) {
  KSoftContext2D unbound;
  KFTFont font, empty;
  ASSERT_TRUE(font.LoadFont(kLatin, 0));
  unbound.SetFont(&font);
  unbound.DrawText(Codes(u"A"), 1, P(0, 0));
  unbound.DrawTextWithMasks(Codes(u"A"), 1, P(0, 0), nullptr);
  unbound.DrawTextWithPaths(Codes(u"A"), 1, P(0, 0), nullptr);
  Page page(40, 40);
  const std::uint64_t blank = page.Picture();
  page.context.DrawText(nullptr, 3, P(0, 20));
  page.context.DrawText(Codes(u"A"), 0, P(0, 20));
  page.context.DrawTextWithPixmaps(Codes(u"A"), 1, P(0, 20), nullptr);
  page.context.SetNoFill();
  page.Draw(u"A", P(0, 20));
  page.context.SetFillColor(kWhite);
  for (KFTFont* none : {&empty, static_cast<KFTFont*>(nullptr)}) {
    page.context.SetFont(none);
    page.Draw(u"A", P(0, 20));
    page.context.DrawTextWithMasks(Codes(u"A"), 1, P(0, 20), nullptr);
    page.DrawOutlines(u"A", P(0, 20));
  }
  EXPECT_EQ(page.Picture(), blank);
  page.context.SetFont(&page.latin);
  page.Draw(u"A", P(0, 20));
  EXPECT_NE(page.Picture(), blank);
  // A bind forgets the fonts.
  page.context.RenderToTexture(&page.pixmap);
  EXPECT_EQ(page.context.font, nullptr);
  EXPECT_EQ(page.context.fallback, nullptr);
  EXPECT_EQ(page.context.fallbackFonts.count, 0u);
}

TEST(DrawText, LeavesOutWhatLiesOutside) {
  Page page(100, 100);
  const KVertex2D outside[] = {P(300, 50), P(400, 50), P(300, 80), P(350, 60)};
  struct Case {
    double x, y;
    bool clipped;
  };
  // The line is 21 pixels high; "text" is taken to be 84 wide.
  const Case cases[] = {{10, 50, false},  {10, -21, false}, {10, -22, true},  {10, 121, false},
                        {10, 122, true},  {101, 50, true},  {100, 50, false}, {-85, 50, true},
                        {-84, 50, false}, {30000, 50, true}};
  for (const Case& c : cases) {
    OnThread([&] {
      KFTFont font;
      ASSERT_TRUE(font.LoadFont(kLatin, 0));
      page.context.SetFont(&font);
      page.context.SetFallbackFonts(nullptr, nullptr);
      const FreeTypeCalls calls;
      page.Draw(u"text", P(c.x, c.y));
      EXPECT_EQ(calls.loads == 0, c.clipped) << c.x << ' ' << c.y;
      EXPECT_EQ(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(c.x, c.y), nullptr), c.clipped);
      // Turned text never is.
      page.context.Transform().Rotate(Px(30));
      EXPECT_FALSE(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(c.x, c.y), nullptr));
      page.context.Transform().Identity();
    });
  }
  page.Use();
  EXPECT_TRUE(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(0, 50), outside));
  page.context.Transform().Translate(P(-280, 0));
  EXPECT_FALSE(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(0, 50), outside));
  page.context.SetClipRegion({0, 0, 100, 20});
  EXPECT_TRUE(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(0, 50), outside));
  // A million characters are wider than 16.16 can say.
  page.context.ResetClip();
  page.context.Transform().Identity();
  EXPECT_FALSE(page.context.IsRoughlyClipped(Codes(u""), 1000000, P(-30000, 50), nullptr));
}

TEST(DrawText, ApproximateBounds) {
  Page page;
  KFixed height, fallbackHeight;
  page.context.GetHeight(&height, &fallbackHeight);
  const int h = std::max(height, fallbackHeight).raw;
  const auto px = [](std::int64_t raw) { return static_cast<std::int16_t>(raw >> 16); };
  const KVertex2D positions[] = {P(10, 20), P(-5.5, 70), P(40, 3)};
  KRect r = {};
  const auto bounds = [&](unsigned count, const KVertex2D* at, const KSoftMatrix3D& m) {
    return page.context.GetApproxBounds(&r, count, P(7, 9), at, m);
  };
  const KSoftMatrix3D same;
  ASSERT_TRUE(bounds(5, nullptr, same));
  EXPECT_EQ(r, (KRect{7, px((9 << 16) - h), px((7 << 16) + 5 * h), px((9 << 16) + h)}));
  ASSERT_TRUE(bounds(3, positions, same));
  EXPECT_EQ(r, (KRect{-6, px((3 << 16) - h), px((40 << 16) + h), px((70 << 16) + h)}));
  ASSERT_TRUE(bounds(0, positions, same));  // the first alone
  EXPECT_EQ(r, (KRect{10, px((20 << 16) - h), px((10 << 16) + h), px((20 << 16) + h)}));
  ASSERT_TRUE(bounds(0, positions, Affine(1, 0, 0, 1, 100, -50)));
  EXPECT_EQ(r, (KRect{110, px((-30 << 16) - h), px((110 << 16) + h), px((-30 << 16) + h)}));
  ASSERT_TRUE(bounds(0, positions, Affine(-2, 0, 0, 1, 0, 0)));  // mirrored: ordered again
  EXPECT_EQ(r, (KRect{px((-20 << 16) - 2 * h), px((20 << 16) - h), -20, px((20 << 16) + h)}));
  ASSERT_TRUE(bounds(0, positions, Affine(0, 1, -1, 0, 0, 0)));
  EXPECT_EQ(r, (KRect{px((-20 << 16) - h), 10, px((-20 << 16) + h), px((10 << 16) + h)}));
  ASSERT_TRUE(bounds(100000, nullptr, same));
  EXPECT_EQ(r.right, INT16_MAX);
  EXPECT_FALSE(bounds(5, nullptr, Affine(0.8, 0.6, -0.6, 0.8, 0, 0)));
  EXPECT_FALSE(page.context.GetApproxBounds(nullptr, 1, P(0, 0), nullptr, same));
  Flags.IgnoreTransform = true;
  EXPECT_TRUE(bounds(0, positions, Affine(0.8, 0.6, -0.6, 0.8, 50, 50)));
  EXPECT_EQ(r.left, 10);
  Flags.IgnoreTransform = false;
}

TEST(DrawText, IgnoresTheTransformOnRequest) {
  Page plain, turned;
  plain.Draw(kMixed, P(10, 100));
  turned.context.SetTransform(kTransforms[5]);
  Flags.IgnoreTransform = true;
  FreeTypeCalls calls;
  turned.Draw(kMixed, P(10, 100));
  Flags.IgnoreTransform = false;
  EXPECT_EQ(plain, turned);
  EXPECT_TRUE(turned.context.GetTransform().identity);  // as it is left then
  EXPECT_EQ(calls.transforms, 0);                       // all masks were there
}

TEST(DrawText, RestoresTheTransform) {
  Page page;
  page.context.SetTransform(kTransforms[5]);
  page.Draw(kMixed, P(10, 10));
  page.DrawOutlines(u"abc", P(10, 10));
  page.context.DrawTextWithPixmaps(Codes(u"abc"), 3, P(0, 0), nullptr);
  EXPECT_EQ(page.context.GetTransform().GetMatrixData(), kTransforms[5].GetMatrixData());
  KVertex2D advance = KVertex2D::Origin;
  page.latin.AdvancePen(&advance, 'A', 0, &page.context);
  EXPECT_EQ(advance.y, Px(0));  // measured upright again
}

// A circle of device pixels.
KSoftPath Circle(double x, double y, double r) {
  KSoftPath path;
  path.MoveTo(P(x + r, y));
  for (int i = 1; i < 60; ++i) {
    const double t = i * 2 * 3.14159265 / 60;
    path.LineTo(P(x + r * std::cos(t), y + r * std::sin(t)));
  }
  path.Close();
  return path;
}

// The fill paints, each of which text is drawn in.
class Paints {
 public:
  static constexpr int kCount = 6;

  Paints() {
    EXPECT_TRUE(linear_.SetLinear(P(20, 20), P(180, 120), kStops, 2, KSpreadRepeat));
    EXPECT_TRUE(radial_.SetRadial(P(90, 90), Px(70), kStops, 2));
    pattern_.Create(8, 8, KFormat8888PM);
    for (unsigned i = 0; i < 64; ++i) pattern_.Row32(i / 8)[i % 8] = i * 0x03010204;
    pattern_.repeatRule = KRepeatTile;
  }
  void Set(KSoftContext2D& context, int paint, bool* hit = nullptr) {
    context.SetFillColor(paint == 1 ? KColor32(40, 250, 90, 130) : KColor32(255, 255, 255, 255));
    if (paint == 2) context.SetFillLGrad(&linear_);
    if (paint == 3) context.SetFillRGrad(&radial_);
    if (paint == 4) context.SetFillPixmap(&pattern_);
    if (paint == 5) context.SetFillPick(P(60, 96), hit ? hit : &unused_);
  }

 private:
  static constexpr KColorStop kStops[] = {{KFixed::FromRaw(0), {0, 0, 255, 255}},
                                          {KFixed::FromRaw(0x10000), {255, 128, 0, 96}}};
  KSoftColorRamp linear_, radial_;
  KSoftPixmap pattern_;
  bool unused_ = false;
};

const std::u16string kLine = u"Wide text \u56FD";

TEST(DrawText, ClipPathsWeighTheMasks) {
  Page page, clipped, inside;
  Paints paints;
  // A flat rhombus: from row to row its edges move by several pixels.
  KSoftPath flat;
  flat.MoveTo(P(-20.3, 92.2));
  for (const KVertex2D corner : {P(95.7, 61.1), P(230, 90.6), P(105.2, 126.4)}) flat.LineTo(corner);
  flat.Close();
  const KSoftPath all = Circle(110, 100, 800);
  for (Page* p : {&page, &clipped, &inside}) p->latin.SetFontSize(Px(37));
  // Where it covers a pixel, and by how much.
  Page coverage;
  coverage.context.SetClipPath(&flat, KFillNonZero);
  coverage.context.DrawRectangle(P(0, 0), P(220, 200));
  for (const KSoftMatrix3D& m : {kTransforms[0], kTransforms[5], kTransforms[6]}) {
    for (int paint = 0; paint < Paints::kCount; ++paint) {
      SCOPED_TRACE(testing::Message() << "paint " << paint << ' ' << m.m1.raw);
      bool hit[3] = {};
      for (Page* p : {&page, &clipped, &inside}) {
        p->Use();
        p->context.SetTransform(m);
        paints.Set(p->context, paint, &hit[p == &page ? 0 : p == &clipped ? 1 : 2]);
      }
      clipped.context.SetClipPath(&flat, KFillNonZero);
      inside.context.SetClipPath(&all, KFillEvenOdd);
      for (Page* p : {&page, &clipped, &inside}) p->Draw(kLine, P(-15, 100));
      EXPECT_EQ(hit[0], hit[1]);
      EXPECT_EQ(hit[0], hit[2]);
      for (unsigned y = 0; y < 200; ++y) {
        for (unsigned x = 0; x < 220; ++x) {
          for (int shift = 0; shift < 24; shift += 8) {
            const int full = static_cast<int>(page.At(x, y) >> shift & 255);
            const int weighed = static_cast<int>(clipped.At(x, y) >> shift & 255);
            // A clip that lets everything through changes nothing, but that gradients start anew.
            const int through = static_cast<int>(inside.At(x, y) >> shift & 255);
            ASSERT_NEAR(through, full, paint == 2 || paint == 3 ? 2 : 0) << x << ' ' << y;
            ASSERT_NEAR(weighed, full * coverage.Light(x, y) / 255, 3) << x << ' ' << y;
          }
        }
      }
      // The coverage line is clear again: what is drawn next is not disturbed.
      for (Page* p : {&page, &clipped}) {
        p->context.ResetClip();
        p->context.Clear(kBlack);
        p->context.DrawPath(&flat);
      }
      EXPECT_EQ(page, clipped);
    }
  }
}

// A frame with text of all kinds.
void DrawFrame(Page& page, Paints& paints) {
  page.context.Clear(kBlack);
  for (int paint = 0; paint < Paints::kCount; ++paint) {
    paints.Set(page.context, paint);
    for (const KSoftMatrix3D& m : kTransforms) {
      page.context.SetTransform(m);
      page.Draw(kMixed, P(0, 12.25));
    }
    const KVertex2D spread[] = {P(0, 0), P(20, 20), P(30, 60), P(8, 99), P(70, 40),
                                P(5, 5), P(20, 70), P(90, 20), P(0, 0),  P(120, 0)};
    page.Draw(kMixed, P(0, 0), spread);
  }
  page.context.Flip();
}

TEST(DrawText, SurvivesEveryFailureOfFreeType) {
  std::uint64_t want = 0;
  const auto draw = [&](int failing) {
    bool failed = false;
    OnThread([&] {
      Page page(220, 130);
      Paints paints;
      page.latin.SetFontSize(Px(23));  // the fallback fonts follow
      {
        const FreeTypeCalls calls(failing);
        DrawFrame(page, paints);
        failed = calls.fallible >= failing;
      }
      DrawFrame(page, paints);
      if (want == 0) want = page.Picture();
      EXPECT_EQ(page.Picture(), want) << failing;
    });
    return failed;
  };
  EXPECT_FALSE(draw(1000000));
  for (int n = 1; draw(n); n += n < 50 ? 1 : 17) {
  }
}

}  // namespace
