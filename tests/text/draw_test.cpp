// DrawText: placement, transforms, paints, clips, and what it asks of FreeType and the heap.
#include <cmath>

#include <gtest/gtest.h>

#include "kalvora/paint/KSoftColorRamp.h"
#include "kalvora/support/KFlags.h"

#include "tests/common/Random.h"
#include "tests/common/Target.h"
#include "tests/text/fonts.h"

namespace {

constexpr KColor32 kWhite = {255, 255, 255, 255};
constexpr KColor32 kBlack = {0, 0, 0, 255};
const std::u16string kMixed = u"Ag \u56FD\u2705 j\u0416\uE123.";

// A target with fonts, white on black.
struct Page : Fonts, Target {
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
  void DrawOutlines(const std::u16string& text, KVertex2D origin,
                    const KVertex2D* positions = nullptr) {
    context.DrawTextWithPaths(Codes(text.data()), static_cast<unsigned>(text.size()), origin,
                              positions);
  }
  // How light a pixel is, counted row by row: 0..255.
  int Light(unsigned i) const { return static_cast<int>(buffer.As<std::uint32_t>()[i] & 255); }
  unsigned Size() const { return pixmap.width * pixmap.height; }
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

// Masks show what the outlines do, but that the glyphs of a line are moved to whole pixels.
TEST(DrawText, ShowsWhatItsOutlinesWould) {
  const KVertex2D spread[] = {P(0, 0), P(30, 22), P(-25, 40.5), P(3.75, 70)};
  struct Case {
    const char16_t* text;
    double size;
    KVertex2D origin;
    const KVertex2D* positions;
    double share;  // of the ink that may differ
  };
  const Case cases[] = {{u"R", 40, P(0, 0), nullptr, 0.0125},
                        {u"g", 40, P(0, 0), nullptr, 0.0125},
                        {u"&", 40, P(0, 0), nullptr, 0.0125},
                        {u"HH HHH", 30, P(-7.25, 3.5), nullptr, 0.3},
                        {u"EFTH", 30, P(1000, 1000), spread, 0.2}};
  Page masks, outlines;
  const KFixed quality = KStroker::GeoQuality;
  KStroker::GeoQuality = Px(0.02);  // flatten the outlines as finely as FreeType does
  for (const KSoftMatrix3D& m : kTransforms) {
    if (m.identity) continue;  // it would show the first line above the page
    for (const Case& c : cases) {
      for (Page* page : {&masks, &outlines}) {
        page->latin.SetFontSize(Px(c.size));
        page->context.Clear(kBlack);
        page->context.SetTransform(m);
      }
      masks.Draw(c.text, c.origin, c.positions);
      outlines.DrawOutlines(c.text, c.origin, c.positions);
      double ink = 0, difference = 0;
      for (unsigned i = 0; i < masks.Size(); ++i) {
        ink += masks.Light(i);
        difference += std::abs(masks.Light(i) - outlines.Light(i));
      }
      ASSERT_GT(ink, 20000);
      EXPECT_LT(difference / ink, c.share) << int{c.text[0]} << ' ' << m.m0.raw << ' ' << m.m1.raw;
    }
  }
  KStroker::GeoQuality = quality;
}

// The same glyphs by their codes and by their indices: an index never meets a code.
TEST(DrawGlyphs, ShowsWhatTheirCodesWould) {
  constexpr char16_t kText[] = u"A\u0192%gD$&";  // among the codes are indices of the others
  constexpr unsigned kCount = std::size(kText) - 1;
  std::uint32_t glyphs[kCount + 1];
  KVertex2D positions[kCount + 1];
  Page text, byIndex;
  for (unsigned i = 0; i < kCount; ++i) {
    ASSERT_TRUE(byIndex.latin.GlyphIndex(kText[i], glyphs[i]));
    positions[i] = P(19.7 * i, 3.1 * i);
  }
  glyphs[kCount] = 0xFFFFFF;  // no such glyph
  positions[kCount] = P(0, 0);
  byIndex.context.SetFont(&byIndex.cjk);
  for (const KSoftMatrix3D& m : kTransforms) {
    for (const bool outlines : {false, true}) {
      for (Page* page : {&text, &byIndex}) {
        page->latin.SetFontSize(Px(30));
        page->context.SetTransform(m);
        page->context.Clear(kBlack);
      }
      if (outlines) {
        text.context.DrawTextWithPaths(Codes(kText), kCount, P(0, 0), positions);
        byIndex.context.DrawGlyphPaths(&byIndex.latin, glyphs, positions, kCount + 1);
      } else {
        text.context.DrawText(Codes(kText), kCount, P(0, 0), positions);
        byIndex.context.DrawGlyphs(&byIndex.latin, glyphs, positions, kCount + 1);
      }
      EXPECT_EQ(text, byIndex) << m.m0.raw << ' ' << m.m1.raw << ' ' << outlines;
      EXPECT_EQ(byIndex.context.GetTransform().GetMatrixData(), m.GetMatrixData());
    }
    KVertex2D advance = KVertex2D::Origin;
    byIndex.latin.AdvancePen(&advance, 'A', 0, &byIndex.context);
    EXPECT_EQ(advance.y, Px(0));  // measured upright
  }
  byIndex.context.DrawGlyphs(&byIndex.latin, nullptr, positions, 1);
  byIndex.context.DrawGlyphs(&byIndex.latin, glyphs, nullptr, 1);
  byIndex.context.DrawGlyphPaths(nullptr, glyphs, positions, 1);
  EXPECT_EQ(text, byIndex);
}

// The same text in both encodings, with and without positions. The fonts of the list are asked for
// what lies beyond 16 bits too: emoji are the third font's, whose low 16 bits the second has.
TEST(DrawText, EncodingsShowTheSame) {
  struct Case {
    std::string_view utf8;
    std::u16string utf16;
  };
  const Case cases[] = {
      {"Ag \u0416\u56FD\u2705", u"Ag \u0416\u56FD\u2705"},
      {"a\U0001F4A9b\U0001F600", u"a\U0001F4A9b\U0001F600"},
      {"\x7F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF",
       u"\x7F\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"},
      // Broken, one U+FFFD for each longest beginning.
      {"a\x80"
       "b\xFF\xFE"
       "c",
       u"a\uFFFDb\uFFFD\uFFFDc"},
      {"\xC0\xAF\xE0\x80\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD"},  // longer forms
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},                      // a surrogate
      {"\xF4\x91\x92\x93\xFF"
       "A\x80\xBF"
       "B",
       u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA\uFFFD\uFFFDB"},
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF"
       "A",
       u"\uFFFD\uFFFD\uFFFD\uFFFDA"},
      {"A\xF0\x9F\x98", u"A\uFFFD"},
  };
  Page utf8, utf16;
  for (const Case& c : cases) {
    for (const bool spread : {false, true}) {
      KVertex2D places[16], units[16];
      for (unsigned i = 0, n = 0; i < 16; ++i) {
        places[i] = P(17.3 * i, 90 + 3.3 * i);
        // The second of a pair has a position that does not count.
        const bool second = i < c.utf16.size() && (c.utf16[i] & 0xFC00) == 0xDC00;
        units[i] = second ? P(5, 5) : places[n++];
      }
      utf8.context.Clear(kBlack);
      utf16.context.Clear(kBlack);
      utf8.context.DrawText(c.utf8, P(3, 100), spread ? places : nullptr);
      utf16.Draw(c.utf16, P(3, 100), spread ? units : nullptr);
      EXPECT_EQ(utf8, utf16) << c.utf8 << spread;
      KVertex2D pen = P(0, 0);
      utf8.context.AdvancePen(&pen, c.utf8);
      EXPECT_TRUE(spread || pen == utf8.context.MeasureText(c.utf8, P(3, 100)).advance);
    }
  }
  utf8.context.Clear(kBlack);
  utf16.context.Clear(kBlack);
  utf8.context.DrawText("\U0001F4A9", P(3, 100));
  utf16.context.SetFont(&utf16.symbols);
  utf16.context.DrawText("\U0001F4A9", P(3, 100));
  EXPECT_EQ(utf8, utf16);
  std::uint32_t index = 0;
  EXPECT_EQ(utf8.context.FindGlyph(0x1F4A9, index), &utf8.symbols);
  EXPECT_NE(index, 0u);
  EXPECT_EQ(utf8.context.FindGlyph(kNowhere, index), &utf8.latin);
  EXPECT_EQ(index, 0u);
  utf8.context.DrawText(std::string_view(), P(3, 100));
}

TEST(DrawText, RoundsPensALittleUnderHalfAPixel) {
  Page page(64, 40), whole(64, 40);
  constexpr int k20 = 20 << 16;
  const std::pair<int, int> cases[] = {
      {k20, 20}, {k20 + 0x80FF, 20}, {k20 + 0x8100, 21}, {k20 - 0x7F00, 20}, {k20 - 0x7F01, 19}};
  for (const auto& [raw, pixel] : cases) {
    page.context.Clear(kBlack);
    whole.context.Clear(kBlack);
    page.Draw(u"a", {KFixed::FromRaw(raw), KFixed::FromRaw(raw)});
    whole.Draw(u"a", P(pixel, pixel));
    EXPECT_EQ(page, whole) << raw;
  }
}

TEST(DrawText, StandsOnQuartersOfAPixel) {
  Page page(64, 40), other(64, 40);
  for (Page* p : {&page, &other}) p->latin.SetFontSize(Px(13));
  page.context.SetAttribute(6, 1);
  const KFixed quality = KStroker::GeoQuality;
  KStroker::GeoQuality = Px(0.02);
  const auto draw = [&](KFixed x, KFixed wholeX, bool outlines) {
    for (Page* p : {&page, &other}) p->context.Clear(kBlack);
    page.Draw(u"g", {x, Px(20)});
    if (outlines) other.DrawOutlines(u"g", {wholeX, Px(20)});
    if (!outlines) other.Draw(u"g", {wholeX, Px(20)});
  };
  for (const int quarter : {-1, 0, 1, 2, 3, 4}) {
    const KFixed at = Px(20 + quarter / 4.0);
    for (const int off : {-0x1FC0, 0, 0x203F}) {
      draw(at + KFixed::FromRaw(off), at, true);
      for (unsigned i = 0; i < page.Size(); ++i) ASSERT_NEAR(page.Light(i), other.Light(i), 16);
    }
    draw(at + KFixed::FromRaw(0x2040), at + Px(0.25), true);
    for (unsigned i = 0; i < page.Size(); ++i) ASSERT_NEAR(page.Light(i), other.Light(i), 16);
  }
  KStroker::GeoQuality = quality;
  for (Page* p : {&page, &other}) p->latin.SetHinting(KHintingFull);  // on whole pixels as ever
  draw(Px(20.25), Px(20), false);
  EXPECT_EQ(page, other);
  page.context.SetAttribute(6, 0);
  page.latin.SetHinting(KHintingNone);
  other.latin.SetHinting(KHintingDefault);
  draw(Px(20.25), Px(20), false);
  EXPECT_EQ(page, other);
}

TEST(DrawText, DrawsNothingWithoutFontFillOrText) {
  Page page(40, 40), blank(40, 40);
  KFTFont empty;
  for (KFTFont* none : {&empty, static_cast<KFTFont*>(nullptr)}) {
    page.context.SetFont(none);
    page.Draw(u"A", P(0, 20));
    page.context.DrawTextWithMasks(Codes(u"A"), 1, P(0, 20), nullptr);
    page.DrawOutlines(u"A", P(0, 20));
  }
  page.context.SetFont(&page.latin);
  page.context.DrawText(nullptr, 3, P(0, 20));
  page.context.DrawText(Codes(u"A"), 0, P(0, 20));
  page.context.DrawTextWithPixmaps(Codes(u"A"), 1, P(0, 20), nullptr);
  page.context.SetNoFill();
  page.Draw(u"A", P(0, 20));
  EXPECT_EQ(page, blank);
  page.context.RenderToTexture(&page.pixmap);  // forgets the fonts
  EXPECT_EQ(page.context.font, nullptr);
  EXPECT_EQ(page.context.fallback, nullptr);
  EXPECT_EQ(page.context.fallbackFonts.count, 0u);
}

TEST(DrawText, IsRoughlyClippedByAGuess) {
  Page page(100, 100);
  struct Case {
    double x, y;
    bool clipped;
  };
  // The line is 21 pixels high; "text" is taken to be 84 wide.
  const Case cases[] = {{10, -21, false}, {10, -22, true},  {10, 121, false}, {10, 122, true},
                        {100, 50, false}, {101, 50, true},  {-84, 50, false}, {-85, 50, true},
                        {10, 50, false},  {30000, 50, true}};
  page.context.SetFallbackFonts(nullptr, nullptr);
  for (const Case& c : cases) {
    EXPECT_EQ(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(c.x, c.y), nullptr), c.clipped)
        << c.x << ' ' << c.y;
    page.context.Transform().Rotate(Px(30));  // turned text never is
    EXPECT_FALSE(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(c.x, c.y), nullptr));
    page.context.Transform().Identity();
  }
  page.context.SetClipRegion({0, 0, 100, 20});
  EXPECT_TRUE(page.context.IsRoughlyClipped(Codes(u"text"), 4, P(0, 50), nullptr));
  page.context.ResetClip();
  // A million characters are wider than 16.16 can say.
  EXPECT_FALSE(page.context.IsRoughlyClipped(Codes(u""), 1000000, P(-30000, 50), nullptr));
}

// What is left out would not have shown, and what lies far outside asks nothing of the cache.
// What is measured is drawn.
TEST(DrawText, LeavesOutOnlyWhatCannotBeSeenAndMeasuresWhatIs) {
  Page page(100, 60), whole(100, 60);
  page.context.SetFallbackFont(&page.symbols);
  whole.context.SetFallbackFont(&whole.symbols);
  const std::u16string kWide = u"i\uFDFA W\u2A74\u2705\u0321g";
  Random random(3);
  int leftOut = 0, shown = 0;
  for (int i = 0; i < 1200; ++i) {
    const auto any = [&](int reach) { return Px(random.Between(-reach * 64, reach * 64) / 64.0); };
    std::u16string text(1 + random.Below(3), u' ');
    for (char16_t& c : text) c = kWide[random.Below(static_cast<unsigned>(kWide.size()))];
    const auto count = static_cast<unsigned>(text.size());
    const KVertex2D origin = {any(140), any(100)};
    const KVertex2D spread[] = {origin, {any(140), any(100)}, {any(140), any(100)}};
    const KVertex2D* positions = random.OneIn(2) ? spread : nullptr;
    const KFixed size = Px(8 + random.Below(30));
    const KRect clip = {static_cast<std::int16_t>(random.Below(40)),
                        static_cast<std::int16_t>(random.Below(30)), 80, 50};
    const bool clips = random.OneIn(2), quarters = random.OneIn(2);
    const KSoftMatrix3D m =
        random.OneIn(2) ? KSoftMatrix3D() : kTransforms[random.Below(std::size(kTransforms))];
    for (Page* p : {&page, &whole}) {
      p->context.SetAttribute(6, quarters);
      p->latin.SetFontSize(size);
      p->context.SetTransform(m);
      p->context.ResetClip();
      p->context.Clear(kBlack);
      if (clips) p->context.SetClipRegion(clip);
    }
    const auto lookups = [] {
      int hits, misses;
      KFTFontContext::GetCacheStats(&hits, &misses, nullptr, nullptr, nullptr);
      return hits + misses;
    };
    const int before = lookups();
    page.Draw(text, origin, positions);
    leftOut += lookups() == before;
    whole.context.DrawTextWithMasks(Codes(text.data()), count, origin, positions);
    ASSERT_EQ(page, whole) << i;

    const KGlyphExtents box =
        page.context.MeasureText(Codes(text.data()), count, origin, positions);
    const KRect& within = clips ? clip : KRect{0, 0, 100, 60};
    for (int y = 0; y < 60; ++y) {
      for (int x = 0; x < 100; ++x) {
        if (page.Light(static_cast<unsigned>(100 * y + x)) == 0) continue;
        ASSERT_TRUE(box.left <= x && x < box.right && box.top <= y && y < box.bottom) << i;
        ASSERT_TRUE(within.left <= x && x < within.right);
        ++shown;
      }
    }
  }
  EXPECT_GT(leftOut, 100);
  EXPECT_GT(shown, 5000);
}

TEST(DrawText, ApproximateBounds) {
  Page page;
  KFixed height, fallbackHeight;
  page.context.GetHeight(&height, &fallbackHeight);
  const double h = std::max(height, fallbackHeight).raw / 65536.0;
  const KSoftMatrix3D same, turned = Affine(0.8, 0.6, -0.6, 0.8, 50, 50);
  const KVertex2D three[] = {P(10, 20), P(-5.5, 70), P(40, 3)};
  struct Case {
    unsigned count;
    const KVertex2D* positions;
    KSoftMatrix3D m;
    double left, top, right, bottom;
  };
  const Case cases[] = {
      {5, nullptr, same, 7, 9 - h, 7 + 5 * h, 9 + h},
      {3, three, same, -5.5, 3 - h, 40 + h, 70 + h},
      {0, three, same, 10, 20 - h, 10 + h, 20 + h},  // the first alone
      {0, three, Affine(1, 0, 0, 1, 100, -50), 110, -30 - h, 110 + h, -30 + h},
      {0, three, Affine(-2, 0, 0, 1, 0, 0), -20 - 2 * h, 20 - h, -20, 20 + h},  // ordered again
      {0, three, Affine(0, 1, -1, 0, 0, 0), -20 - h, 10, -20 + h, 10 + h},
      {100000, nullptr, same, 7, 9 - h, INT16_MAX, 9 + h},
  };
  const auto px = [](double v) { return static_cast<std::int16_t>(std::floor(v)); };
  KRect r = {};
  for (const Case& c : cases) {
    ASSERT_TRUE(page.context.GetApproxBounds(&r, c.count, P(7, 9), c.positions, c.m));
    EXPECT_EQ(r, (KRect{px(c.left), px(c.top), px(c.right), px(c.bottom)}));
  }
  EXPECT_FALSE(page.context.GetApproxBounds(&r, 5, P(7, 9), nullptr, turned));
  EXPECT_FALSE(page.context.GetApproxBounds(nullptr, 1, P(0, 0), nullptr, same));
  Flags.IgnoreTransform = true;
  EXPECT_TRUE(page.context.GetApproxBounds(&r, 0, P(7, 9), three, turned));
  EXPECT_EQ(r.left, 10);
  Flags.IgnoreTransform = false;
}

TEST(DrawText, LeavesTheTransformAsItWas) {
  Page plain, turned;
  plain.Draw(kMixed, P(10, 100));
  turned.context.SetTransform(kTransforms[5]);
  turned.Draw(kMixed, P(10, 10));
  turned.DrawOutlines(u"abc", P(10, 10));
  turned.context.DrawTextWithPixmaps(Codes(u"abc"), 3, P(0, 0), nullptr);
  EXPECT_EQ(turned.context.GetTransform().GetMatrixData(), kTransforms[5].GetMatrixData());
  KVertex2D advance = KVertex2D::Origin;
  turned.latin.AdvancePen(&advance, 'A', 0, &turned.context);
  EXPECT_EQ(advance.y, Px(0));  // measured upright again

  turned.context.Clear(kBlack);
  Flags.IgnoreTransform = true;
  turned.Draw(kMixed, P(10, 100));
  Flags.IgnoreTransform = false;
  EXPECT_EQ(plain, turned);
  EXPECT_TRUE(turned.context.GetTransform().identity);  // as it is left then
}

KSoftPath Rhombus(KVertex2D a, KVertex2D b, KVertex2D c, KVertex2D d) {
  KSoftPath path;
  path.MoveTo(a);
  for (const KVertex2D corner : {b, c, d}) path.LineTo(corner);
  path.Close();
  return path;
}

TEST(DrawText, ClipPathsWeighTheMasks) {
  constexpr KColorStop kStops[] = {{KFixed::FromRaw(0), {0, 0, 255, 255}},
                                   {KFixed::FromRaw(0x10000), {255, 128, 0, 96}}};
  KSoftColorRamp linear;
  ASSERT_TRUE(linear.SetLinear(P(20, 20), P(180, 120), kStops, 2, KSpreadRepeat));
  KSoftPixmap pattern;
  pattern.Create(8, 8, KFormat8888PM);
  for (unsigned i = 0; i < 64; ++i) pattern.Row32(i / 8)[i % 8] = i * 0x03010204;
  pattern.repeatRule = KRepeatTile;
  // From row to row the edges of a flat rhombus move by several pixels; the other one lets all
  // through.
  const KSoftPath flat = Rhombus(P(-20.3, 92.2), P(95.7, 61.1), P(230, 90.6), P(105.2, 126.4));
  const KSoftPath all = Rhombus(P(-900, 100), P(110, -900), P(900, 100), P(110, 900));
  enum { kColor, kTranslucent, kGradient, kPattern, kPick, kPaints };
  const auto draw = [&](Page& page, const KSoftMatrix3D& m, int paint, const KSoftPath* clip) {
    KSoftContext2D& context = page.context;
    bool hit = false;
    page.Use();
    page.latin.SetFontSize(Px(37));
    context.SetTransform(m);
    if (paint == kTranslucent) context.SetFillColor({40, 250, 90, 130});
    if (paint == kGradient) context.SetFillLGrad(&linear);
    if (paint == kPattern) context.SetFillPixmap(&pattern);
    if (paint == kPick) context.SetFillPick(P(60, 96), &hit);
    if (clip) context.SetClipPath(clip, clip == &all ? KFillEvenOdd : KFillNonZero);
    page.Draw(u"Wide text \u56FD", P(-15, 100));
    context.SetFillColor(kWhite);
    return hit;
  };
  Page page, clipped, inside, coverage;
  coverage.context.SetClipPath(&flat, KFillNonZero);
  coverage.context.DrawRectangle(P(0, 0), P(220, 200));
  for (const KSoftMatrix3D& m : {kTransforms[0], kTransforms[5], kTransforms[6]}) {
    for (int paint = 0; paint < kPaints; ++paint) {
      SCOPED_TRACE(testing::Message() << "paint " << paint << ' ' << m.m1.raw);
      const bool hit = draw(page, m, paint, nullptr);
      EXPECT_EQ(draw(clipped, m, paint, &flat), hit);
      EXPECT_EQ(draw(inside, m, paint, &all), hit);
      for (std::size_t i = 0; i < page.buffer.size(); ++i) {
        const int full = page.buffer.data()[i];
        // Gradients start anew where the clip cuts.
        ASSERT_NEAR(inside.buffer.data()[i], full, paint == kGradient ? 2 : 0) << i;
        ASSERT_NEAR(clipped.buffer.data()[i], full * coverage.buffer.data()[i] / 255, 3) << i;
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

}  // namespace
