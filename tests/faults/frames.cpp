// Frames: small pictures by every subsystem.
#include <cstring>
#include <iterator>

#include "tests/common/Scene.h"
#include "tests/faults/World.h"
#include "tests/text/tinyfonts.h"

namespace {

KFixed F(double v) { return KFixed(static_cast<float>(v)); }

constexpr KColor32 kInk{20, 60, 140, 200};

// A comb of so many teeth that merge nodes and active edges outgrow their first room.
void AddComb(KSoftPath& path, unsigned teeth) {
  KVertex2D points[800];
  for (unsigned i = 0; i < 2 * teeth; ++i) {
    points[i] = P(48.0 * (i + 1) / teeth, i % 2 == 0 ? 5 + i % 7 : 18 + i % 5);
  }
  path.MoveTo(P(0, 24));
  path.BezierTo(1, points, 2 * teeth);
  path.Close();
}

void AddLeaf(KSoftPath& path) {
  path.MoveTo(P(10, 40));
  path.CubicTo(P(30, -20), P(70, 100), P(86, 40));
  path.QuadTo(P(50, 90), P(10, 40));
  path.Close();
  path.MoveTo(P(48, 20));
  path.ArcTo(P(48, 20), P(48, 40), P(20, 20), true);
  path.Close();
}

void MakeTile(KSoftPixmap& tile) {
  tile.Create(9, 7, KFormat8888PM);
  for (unsigned i = 0; tile.pixels && i < 63; ++i) {
    tile.Row32(i / 9)[i % 9] = 0xFF000000 | i * 0x3A7F1u;
  }
}

void Paths(World& w) {
  KSoftPath* path = w.context.CreatePath();
  if (!path) return;
  AddComb(*path, 300);
  w.context.SetFillRule(KFillEvenOdd);
  w.context.DrawPath(path);
  KSoftMatrix3D m;
  m.Rotate(F(20));
  KSoftPath copy = *path, turned;
  copy.Transform(&turned, &m);
  w.context.SetFillColor({200, 0, 0, 90});
  w.context.DrawPath(&turned);
  w.context.DestroyPath(path);
}

// Any draw with any paint, pen, transform and clip path: 12 scenes of every family but text.
void Families(World& w) {
  for (unsigned family = 0; family < 8; ++family) {
    for (std::uint64_t seed = 1; seed <= 12; ++seed) {
      w.context.RenderToTexture(&w.target);
      DrawScene(w.context, kFamilies[family], seed);
    }
  }
}

// Long dashed outlines, and outlines on the heap.
void Strokes(World& w) {
  KSoftPath leaf;
  AddLeaf(leaf);
  const KFixed dashes[] = {F(7), F(3), F(1), F(3)};
  w.context.SetNoFill();
  w.context.SetStrokeColor(kInk);
  w.context.SetLineWidth(F(2.5));
  w.context.SetCaps(kRoundCap, kSquareCap);
  w.context.SetDashes(dashes, 4, F(2));
  w.context.DrawPath(&leaf);
  for (const bool flat : {false, true}) {  // outlines on the heap
    const KSoftMatrix3D& m = w.context.Transform();
    KVertex2D** rings = nullptr;
    const unsigned count = flat ? w.context.FlattenPath(rings, &leaf, &m, false)
                                : w.context.StrokePath(&leaf, rings, &m, false);
    w.context.FreeStroke(rings, count, false);
  }
}

void Filters(World& w) {
  KSoftPixmap tile, small;
  MakeTile(tile);
  small.Create(4, 3, KFormat8888PM);
  if (small.pixels) std::memset(small.pixels, 0, 48);
  KFilters::DownSample(&small, &tile);
  w.context.DrawPixmap(&small, P(0, 0), P(96, 80));
}

// A picture that another context draws.
void Offscreen(World& w) {
  KSoftPixmap picture;
  picture.Create(40, 30, KFormat0888PM);
  KSoftContext2D other;
  if (!other.RenderToTexture(&picture)) return;
  other.Clear({250, 240, 200, 255});
  other.SetFillColor(kInk);
  other.DrawEllipticalRect(P(20, 15), P(18, 12), P(18, 12));
  other.Flip();
  w.context.DrawPixmap(&picture, P(8, 8), P(88, 72));
}

// The context moves to another target and back, and makes room for frame times.
void Rebind(World& w) {
  KSoftPixmap wide;
  wide.Create(300, 20, KFormat0888PM);
  w.context.SetAttribute(2, 40);
  w.context.RenderToTexture(&wide);
  w.context.Clear({0, 0, 0, 255});
  w.context.DrawArc(P(150, 10), P(140, 9), F(0), F(360));
  w.context.RenderToTexture(&w.target);
  w.context.DrawArc(P(48, 40), P(40, 30), F(10), F(300));
}

template <std::size_t N>
void Write(World& w, const char16_t (&text)[N], double x, double y) {
  w.context.DrawText(reinterpret_cast<const unsigned short*>(text), N - 1, P(x, y));
}

void Glyphs(World& w) {
  w.LoadFonts();
  w.latin.SetFontSize(F(24));
  w.context.SetFont(&w.latin);
  Write(w, u"Ag\u00E9", 2, 25);
  w.context.Transform().Rotate(F(20));
  Write(w, u"Ag", 20, 50);
}

void Outlines(World& w) {
  constexpr char16_t kText[] = u"R\u00E9&";
  const auto* text = reinterpret_cast<const unsigned short*>(kText);
  w.LoadFonts();
  w.serif.SetFontSize(F(40));
  w.context.SetFont(&w.serif);
  w.context.DrawTextWithPaths(text, 3, P(2, 40), nullptr);
  KRect bound{};
  w.serif.GetBound(bound, text, 3);
  w.context.DrawRectangle(P(2, 60), P(2 + bound.right, 64));
}

void Fallbacks(World& w) {
  w.LoadFonts();
  w.serif.SetFontSize(F(22));
  KFTFont* list[] = {&w.latin, &w.symbols};
  KFTFontRange ranges[] = {{0x2700, 0x27BF, 1, 0}};
  const KArray<KFTFont*> fonts = {2, list};
  const KArray<KFTFontRange> forced = {1, ranges};
  w.context.SetFont(&w.serif);
  w.context.SetFallbackFonts(&fonts, &forced);
  Write(w, u"a\u2705\u05D0\uE123", 0, 30);  // symbols, latin, nobody
  w.context.SetFallbackFonts(nullptr, nullptr);
}

// Fonts in memory, colours, bitmaps that are scaled.
void Colours(World& w) {
  w.context.Transform().Scale(P(2.5, 3));
  const KVertex2D place = P(2, 20);
  w.latin.LoadFontFromMemory(kBitmaps.data(), kBitmaps.size(), 0);
  w.context.SetFont(&w.latin);
  w.context.DrawText("AB", place);
  w.serif.LoadFontFromMemory(kLayers.data(), kLayers.size(), 0);
  w.context.SetFont(&w.serif);
  w.context.DrawText("AB", P(20, 24));
  const std::uint32_t glyph = 1;
  w.context.DrawGlyphs(&w.serif, &glyph, &place, 1);
}

}  // namespace

const Frame kFrames[10] = {
    {"families", Families},   {"paths", Paths},         {"strokes", Strokes},
    {"filters", Filters},     {"offscreen", Offscreen}, {"rebind", Rebind},
    {"glyphs", Glyphs, true}, {"outlines", Outlines},   {"fallbacks", Fallbacks, true},
    {"colours", Colours},
};

void World::Draw(void (*scene)(World&)) {
  context.RenderToTexture(&target);
  context.Clear({230, 235, 240, 255});
  scene(*this);
  context.Flip();
}

// Debian packages fonts-dejavu-core and fonts-symbola.
void World::LoadFonts() {
  latin.LoadFont("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", 0);
  serif.LoadFont("/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf", 0);
  symbols.LoadFont("/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf", 0);
}
