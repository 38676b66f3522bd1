// Scene: one draw of every kind with any paint, transform and clip path.
#include "tests/common/Scene.h"

#include "kalvora/kalvora.h"

#include "tests/common/Random.h"

namespace {

constexpr int kSize = static_cast<int>(kSceneSize);

}  // namespace

/// What a random scene is made of. Two with the same seed draw the same.
class Scene {
 public:
  Scene(KSoftContext2D& target, std::uint64_t seed) : context(target), random(seed) {}

  KSoftContext2D& context;
  Random random;

  KFixed Fixed(int low, int high) {
    const std::int32_t raw = random.Between(low * 0x10000, high * 0x10000);
    return KFixed::FromRaw(random.OneIn(4) ? raw & ~0x7FFF : raw);  // often on the grid
  }
  KVertex2D Point() { return {Fixed(-12, kSize + 12), Fixed(-12, kSize + 12)}; }
  KVertex2D Size(int most) { return {Fixed(0, most), Fixed(0, most)}; }
  KColor32 Color() {
    return {random.Below(256), random.Below(256), random.Below(256),
            random.OneIn(2) ? 255 : random.Below(256)};
  }

  /// Moved, scaled, turned, mirrored, skewed.
  void Turn(KSoftMatrix3D& m) {
    m.Identity();
    const unsigned kind = random.Below(6);
    if (kind == 1 || kind == 4) m.Scale({Fixed(-3, 3), Fixed(-3, 3)});
    if (kind == 2) m.Rotate(KFixed::FromInt(90 * random.Between(1, 3)));
    if (kind >= 3) m.Rotate(Fixed(0, 360));
    if (kind == 5) m.Skew({Fixed(-30, 30), Fixed(-30, 30)});
    if (kind >= 1 || random.OneIn(2)) m.Translate({Fixed(0, kSize), Fixed(0, kSize)});
  }

  const KSoftPath& Outline() {
    outline.Rewind();
    for (unsigned subpaths = 1 + random.Below(2); subpaths > 0; --subpaths) {
      outline.MoveTo(Point());
      for (unsigned pieces = 1 + random.Below(5); pieces > 0; --pieces) {
        const KVertex2D points[] = {Point(), Point(), Point()};
        outline.BezierTo(1 + random.Below(3), points, 1);
      }
      if (random.OneIn(2)) outline.Close();
    }
    return outline;
  }

  KSoftPixmap& Pixmap() {
    const bool opaque = random.OneIn(2);
    const unsigned width = 1 + random.Below(20), height = 1 + random.Below(20);
    pixmap.Create(width, height, opaque ? KFormat0888PM : KFormat8888PM);
    for (unsigned y = 0; pixmap.pixels && y < pixmap.height; ++y) {
      for (unsigned x = 0; x < pixmap.width; ++x) {
        KColor32 c = Color();
        if (opaque) c.alpha = 255;
        pixmap.Row32(y)[x] = c.PreMultiply().Word();
      }
    }
    pixmap.repeatRule = random.OneIn(2) ? KRepeatTile : KRepeatClamp;
    pixmap.SetQuality(static_cast<KSampling>(random.Below(3)));
    return pixmap;
  }

  /// Any paint for the fill, and the same for the stroke.
  void Paint() {
    context.SetFillColor(Color());
    context.SetStrokeColor(Color());
    const unsigned kind = random.Below(6);
    if (kind == 3) {
      Turn(Pixmap().transform);
      context.SetFillPixmap(&pixmap);
      context.SetStrokePixmap(&pixmap);
    }
    const KColorStop stops[] = {
        {kalvora::kZero, Color()}, {kalvora::kHalf, Color()}, {kalvora::kOne, Color()}};
    const KSpread spread = random.OneIn(2) ? KSpreadRepeat : KSpreadPad;
    if (kind == 4) {
      const KVertex2D from = Point();
      const KVertex2D to = random.OneIn(3) ? from + Size(5600) : Point();
      ramp.SetLinear(from, to, stops, 3, spread);
      context.SetFillLGrad(&ramp);
      context.SetStrokeLGrad(&ramp);
    }
    if (kind == 5) {
      // A radial ramp blends where the colour would; else a translucent one is stored as it is, in
      // the solid runs, and those depend on the clip.
      context.SetFillColor({0, 0, 0, 0});
      context.SetStrokeColor({0, 0, 0, 0});
      const KVertex2D centre = Point();
      const KFixed radius = random.OneIn(3) ? Fixed(1, 8000) : Fixed(20, 40);
      ramp.SetRadial(centre, radius, stops, 3, spread);
      context.SetFillRGrad(&ramp);
      context.SetStrokeRGrad(&ramp);
    }
    if (random.OneIn(2)) context.SetFillOpacity(random.Between(0, 256));
    if (random.OneIn(2)) context.SetStrokeOpacity(random.Between(0, 256));
  }

  void Pen() {
    context.SetLineWidth(Fixed(0, 9));
    const unsigned cap = random.Below(3);
    context.SetCaps(cap, random.Below(3));
    context.SetJoin(random.Below(3));
    const KFixed dashes[] = {Fixed(1, 9), Fixed(1, 9)};
    if (random.OneIn(2)) context.SetDashes(dashes, 2, Fixed(-9, 9));
  }

 private:
  KSoftPath outline;
  KSoftPixmap pixmap;
  KSoftColorRamp ramp;
};

namespace {

void DrawPolygon(Scene& s) {
  KVertex2D points[7];
  for (KVertex2D& p : points) p = s.Point();
  s.context.DrawPolygon(points, 7, true);
}

void DrawPath(Scene& s) { s.context.DrawPath(&s.Outline()); }

void DrawStroke(Scene& s) {
  s.Pen();
  s.context.SetNoFill();
  const KVertex2D p = s.Point(), q = s.Point();
  if (s.random.OneIn(3)) return s.context.DrawLine(p, s.random.OneIn(2) ? q : KVertex2D{p.x, q.y});
  s.context.DrawPath(&s.Outline());
}

void DrawRectangle(Scene& s) {
  s.context.SetAttribute(0, !s.random.OneIn(4));
  const KVertex2D p = s.Point(), q = s.random.OneIn(4) ? p + s.Size(2) : s.Point();
  s.context.DrawRectangle(p, q);
}

void DrawRound(Scene& s) {
  const KVertex2D p = s.Point(), radii = s.Size(15);
  switch (s.random.Below(3)) {
    case 0:
      return s.context.DrawRectangle(p, s.Point(), radii);
    case 1:
      return s.context.DrawEllipticalRect(p, s.Size(25), radii);
    default:
      const KVertex2D size = s.Size(30);
      const KFixed start = s.Fixed(-400, 400);
      return s.context.DrawArc(p, size, start, s.Fixed(-400, 400));
  }
}

void DrawPixmap(Scene& s) {
  KSoftPixmap& pixmap = s.Pixmap();
  const KVertex2D a = s.Point();
  const KVertex2D own = {KFixed::FromInt(static_cast<int>(pixmap.width)),
                         KFixed::FromInt(static_cast<int>(pixmap.height))};
  const KVertex2D b = s.random.OneIn(3) ? a + own : s.Point();
  if (s.random.OneIn(2)) return s.context.DrawPixmap(&pixmap, a, b);
  const KVertex2D from = s.Size(10);
  s.context.DrawSubPixmap(&pixmap, a, b, from, from + s.Size(10));
}

// The quarter turns that have a path of their own, called directly.
void DrawTurned(Scene& s) {
  KSoftPixmap& pixmap = s.Pixmap();
  const int quarters = s.random.Between(1, 3);
  pixmap.transform.Identity();
  pixmap.transform.Rotate(KFixed::FromInt(90 * quarters));
  pixmap.transform.Translate({KFixed::FromInt(s.random.Between(-20, 60)), s.Fixed(-20, 60)});
  s.context.SetFillPixmap(&pixmap);
  const KVertex2D a = s.Point(), b = a + s.Size(50);
  s.context.DrawSimplePatternRectRotateNoScale(a, b, static_cast<unsigned>(90 * quarters));
}

void DrawMask(Scene& s) {
  KSoftPixmap mask;
  const unsigned columns = 1 + s.random.Below(40);
  mask.Create(columns, 1 + s.random.Below(40), KFormatMask8);
  for (unsigned i = 0; mask.pixels && i < mask.stride * mask.height; ++i) {
    mask.pixels[i] = static_cast<std::uint8_t>(s.random.OneIn(3) ? 255 : s.random.Below(256));
  }
  const int x = s.random.Between(-20, kSize), y = s.random.Between(-20, kSize);
  const int width = s.random.Between(0, 45), height = s.random.Between(0, 45);
  s.context.DrawAlphaMask(&mask, x, y, x + width, y + height);
}

// Debian package fonts-dejavu-core.
void DrawText(Scene& s) {
  static thread_local KFTFont font;
  if (!font.LoadFont("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", 0)) return;
  font.SetFontSize(KFixed::FromInt(s.random.Between(8, 40)));
  s.context.SetFont(&font);
  constexpr char16_t kText[] = u"Rg&j";
  const auto* text = reinterpret_cast<const unsigned short*>(kText);
  if (s.random.OneIn(2)) return s.context.DrawTextWithPaths(text, 4, s.Point(), nullptr);
  s.context.DrawTextWithMasks(text, 4, s.Point(), nullptr);
}

}  // namespace

const Family kFamilies[9] = {
    {"polygons", DrawPolygon},      {"paths", DrawPath},         {"strokes", DrawStroke},
    {"rectangles", DrawRectangle},  {"round shapes", DrawRound}, {"pixmaps", DrawPixmap},
    {"turned pixmaps", DrawTurned}, {"masks", DrawMask},         {"text", DrawText},
};

void PrintTo(const Family& family, std::ostream* out) { *out << family.name; }

// After the bind.
static void Compose(Scene& scene, const Family& family, const KRect* clip) {
  KSoftContext2D& context = scene.context;
  if (scene.random.OneIn(4)) {
    const KSoftPath& path = scene.Outline();
    context.SetClipPath(&path, scene.random.OneIn(2) ? KFillNonZero : KFillEvenOdd);
  }
  if (clip) context.SetClipRegion(*clip);
  context.SetFillRule(scene.random.OneIn(2) ? KFillNonZero : KFillEvenOdd);
  scene.Paint();
  scene.Turn(context.Transform());
  if (family.draw) family.draw(scene);
}

void DrawScene(KSoftContext2D& context, const Family& family, std::uint64_t seed) {
  Scene scene(context, seed);
  Compose(scene, family, nullptr);
}

void DrawScene(Target& t, const Family& family, std::uint64_t seed, const KRect* clip) {
  t.context.RenderToTexture(&t.pixmap);
  Scene scene(t.context, seed);
  for (unsigned i = 0; i < kSceneSize * kSceneSize; ++i) {
    t.buffer.As<std::uint32_t>()[i] = scene.random.Next() | 0xFF000000;
  }
  Compose(scene, family, clip);
}
