// Every public call, in any order, on small targets.
//
// Left out: displays (SetDisplay and KLinuxFb, which need a device; Flip is called without one),
// what writes logs (SetAttribute 2), and what is private.
#include <array>
#include <string>

#include "kalvora/text/glyphs/KFTCache.h"

#include "tests/fuzz/pieces.h"

namespace {

constexpr const char* kFontFiles[] = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf",
    "/no such file",
};
constexpr char16_t kText[] = u"Aj&\u00E5\u0416\u2705\uE123 .";
const auto* const kCodes = reinterpret_cast<const unsigned short*>(kText);
constexpr unsigned kCodeCount = std::size(kText) - 1;

/// Fallback tables are slow to build: those of the fonts below live as long as the process.
struct Fonts {
  std::array<KFTFont, 4> font;
  std::array<KFTFont*, 4> pointers{};
  KArray<KFTFont*> list;
  KFTFontRange ranges[2] = {{0x20, 0x2F, 1, 0}, {0x40, 0x416, 9, 0}};
  KArray<KFTFontRange> rangeList{2, ranges};

  Fonts() {
    for (std::size_t i = 0; i < font.size(); ++i) {
      font[i].LoadFont(kFontFiles[i % 3], 0);
      pointers[i] = &font[i];
    }
    list = {2, &pointers[0]};
    KFTFallback::Instance(&list, nullptr);
    KFTFallback::Instance(&list, &rangeList);
  }
  static Fonts& Get() {
    static Fonts& fonts = *new Fonts;
    return fonts;
  }
};

class Session {
 public:
  explicit Session(Bytes& bytes) : in(bytes) {
    for (KFTFont& shared : Fonts::Get().font) shared.SetFontSize(KFixed::FromInt(18));
    KFTFontContext::ResetCacheStats();
  }
  ~Session() {
    for (unsigned key = 0; key < 5; ++key) KSoftContext2D::SetGlobalAttribute(key, 0);
    KStroker::GeoQuality = quality;
  }

  void Run() {
    static constexpr void (Session::*kSteps[])() = {
        &Session::Bind,    &Session::State,   &Session::Clip,   &Session::Paint,   &Session::Paint,
        &Session::Pen,     &Session::Path,    &Session::Path,   &Session::Draw,    &Session::Draw,
        &Session::Draw,    &Session::Pixmap,  &Session::Blit,   &Session::Blit,    &Session::Text,
        &Session::Measure, &Session::Matrix3, &Session::Matrix, &Session::Numbers, &Session::Rings};
    for (int i = 0; i < 200 && !in.AtEnd() && effort + Now().Effort() < 40; ++i) {
      (this->*kSteps[in.Below(std::size(kSteps))])();
    }
  }

 private:
  KSoftContext2D& Context() { return Now().context; }
  Canvas& Now() { return canvases[current]; }
  Picture& AnyPicture() { return pictures[in.Below(3)]; }
  KSoftPath& AnyPath() { return paths[in.Below(2)]; }

  void Bind();
  void State();
  void Clip();
  void Paint();
  void Pen() { SetPen(in, Context()); }
  void Path();
  void Draw() { DrawShape(in, Now(), AnyPath()); }
  void Pixmap();
  void Import(KSoftPixmap& pixmap);
  void Blit() { DrawImage(in, Now(), AnyPicture().pixmap); }
  void Text();
  void Measure();
  void Fallbacks();
  void Matrix3();
  void Matrix();
  void Numbers();
  void Rings();

  Bytes& in;
  KSoftPath paths[2];
  Picture pictures[3];
  Ramp ramps[2];
  bool hit = false;
  KSoftMatrix3D matrices[2];
  KFTFont font;
  Canvas canvases[2];
  unsigned current = 0;
  int effort = 0;
  const KFixed quality = KStroker::GeoQuality;
};

void Session::Bind() {
  switch (in.Below(8)) {
    case 0:
      current = in.Below(2);
      break;
    case 1:
      Context().RenderToTexture(nullptr);
      break;
    case 2:
      Now().Rebind();
      break;
    case 3: {
      const KRect rect = in.Rect();
      Context().Flip(in.Flag(), in.Flag() ? &rect : nullptr);
      break;
    }
    case 4: {
      const KSoftPixmap& target = Context().GetTarget();
      const auto right = static_cast<std::int16_t>(target.width);
      const auto bottom = static_cast<std::int16_t>(target.height);
      if (!target.pixels || target.pixelShift != 2) break;
      GuardedBuffer out(std::size_t{4} * target.width * target.height);
      Context().GetPixels({0, 0, right, bottom}, out.data());
      break;
    }
    case 5: {
      const KRect rect = in.Rect();
      Context().Clear(in.Color(), &rect);
      break;
    }
    case 6:
      Context().Clear(in.Color());
      break;
    default:
      Now().Bind(in);
  }
}

void Session::State() {
  switch (in.Below(8)) {
    case 0:
      return Context().SetTransform(matrices[in.Below(2)]);
    case 1:
      Context().Transform() = in.Matrix();
      return;
    case 2:
      matrices[0] = Context().GetTransform();
      return Context().SetFillRule(in.Rule());
    case 3:
      return Context().SetAttribute(0, in.Below(2));
    case 4:  // not a Draw: where rows are padded it writes a pixel that is not the one clipped
      return Context().SetAttribute(1, in.Word());
    case 5:
      return Context().SetAttribute(3 + in.Below(9), in.Word());
    case 6: {
      const unsigned key = in.Below(7);
      return KSoftContext2D::SetGlobalAttribute(key, in.Below(2));
    }
    default:
      if (in.Flag())
        return Context().SetFlatness(KFixed::FromRaw(static_cast<std::int32_t>(in.Word())));
      KStroker::GeoQuality = KFixed::FromRaw(1024 + in.Byte() * 512);
  }
}

void Session::Clip() {
  switch (in.Below(4)) {
    case 0:
      return Now().ResetClip();
    case 1: {
      const KSoftPath& path = AnyPath();
      return Context().SetClipPath(&path, in.Rule());
    }
    case 2:
      return Context().SetClipPath(nullptr, KFillNonZero);
    default:
      Now().SetClip(in.Rect());
  }
}

void Session::Paint() {
  KSoftContext2D& c = Context();
  Ramp& ramp = ramps[in.Below(2)];
  switch (in.Below(8)) {
    case 0:
      return ramp.Set(in);
    case 1:
      return in.Flag() ? c.SetStrokePick(in.Point(), &hit) : c.SetFillPick(in.Point(), &hit);
    default:
      SetPaint(in, c, ramp, AnyPicture().pixmap);
  }
}

void Session::Path() {
  KSoftPath& path = AnyPath();
  switch (in.Below(8)) {
    case 0: {
      path = paths[in.Below(2)];
      break;
    }
    case 1: {
      KSoftPath copy(path);
      const KSoftMatrix3D m = in.Matrix();
      path.Reset();
      copy.Transform(&path, &m);
      break;
    }
    case 2: {
      KSoftPath* made = Context().CreatePath();
      Extend(in, *made);
      Context().DestroyPath(made);
      break;
    }
    default:
      Extend(in, path);
  }
}

void Session::Pixmap() {
  Picture& picture = AnyPicture();
  KSoftPixmap& pixmap = picture.pixmap;
  switch (in.Below(8)) {
    case 0:
      pixmap.transform = in.Matrix();
      break;
    case 1:
      pixmap.SetQuality(static_cast<KSampling>(in.Below(7)));
      pixmap.repeatRule = static_cast<KRepeatRule>(in.Below(3));
      break;
    case 2: {
      const unsigned width = in.Below(20), height = in.Below(20), more = in.Below(3);
      GuardedBuffer mask(std::size_t{width + more} * height);
      const KColor32 color = in.Color();
      const KFormat format = in.Flag() ? KFormat8888PM : in.Format();
      pixmap.CreateFromAlphaMask(format, width, height, color, in.Flag() ? mask.data() : nullptr,
                                 width + more);
      pixmap.CreateAlphaMask(width, height, mask.data(), width);
      break;
    }
    case 3: {
      // Memory of its own; sizes whose product is too large have none.
      const unsigned width = in.Below(30), height = in.Below(4) ? in.Below(30) : ~0u / (1 + width);
      pixmap.Create(width, height, in.Format());
      if (!pixmap.pixels || width == 0) pixmap.Create(0, 0, KFormat8888PM);
      std::fill_n(pixmap.pixels, std::size_t{pixmap.height} * pixmap.stride, in.Byte());
      break;
    }
    case 4:
      KFilters::DownSample(&pixmap, &AnyPicture().pixmap);
      break;
    case 5:
      Import(pixmap);
      break;
    default:
      picture.Shape(in);
  }
}

// Imports and exports, whole and in part, with buffers of exactly the right size.
void Session::Import(KSoftPixmap& pixmap) {
  const unsigned kind = in.Below(6), more = 4 * in.Below(3);
  const std::size_t packed = (std::size_t{pixmap.width} << pixmap.pixelShift) * pixmap.height;
  if (!pixmap.pixels) return;
  if (kind < 2) {
    const unsigned x = in.Below(pixmap.width + 1), y = in.Below(pixmap.height + 1);
    const unsigned columns = in.Below(pixmap.width - x + 1), rows = in.Below(pixmap.height - y + 1);
    GuardedBuffer part((std::size_t{columns} << pixmap.pixelShift) * rows);
    const KRect rect = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                        static_cast<std::int16_t>(x + columns),
                        static_cast<std::int16_t>(y + rows)};
    return kind == 0 ? pixmap.Set(rect, part.data()) : pixmap.Get(rect, part.data());
  }
  if (kind == 2) {
    GuardedBuffer all(packed);
    return pixmap.Get(all.data());
  }
  // Where the formats differ, the larger pixel decides.
  const KFormat format = in.Format(), from = in.Format();
  const unsigned stride = pixmap.width * 4 + more;
  GuardedBuffer data(std::size_t{stride} * pixmap.height);
  const bool flag = in.Flag(), none = in.Below(8) == 0;
  if (kind == 3) {
    pixmap.Set(format, none ? nullptr : data.data(), stride, flag);
  } else {
    pixmap.Set(format, none ? nullptr : data.data(), from, stride, flag);
  }
  std::fill_n(pixmap.pixels, pixmap.pixels ? std::size_t{pixmap.height} * pixmap.stride : 0, 0x55);
}

void Session::Text() {
  effort += 8;  // as slow as a path for each glyph
  Fonts& fonts = Fonts::Get();
  KVertex2D positions[kCodeCount];
  const unsigned kind = in.Below(8), count = in.Below(Context().dashes ? 2 : kCodeCount + 1);
  const KVertex2D origin = in.Point();
  const bool placed = in.Below(4) == 0;
  if (placed) {
    for (KVertex2D& p : positions) p = in.Point();
  }
  const KVertex2D* at = placed ? positions : nullptr;
  Now().Draw([&](KSoftContext2D& c) {
    c.SetFont(in.Below(8) ? &fonts.font[3] : in.Flag() ? &font : nullptr);
    switch (kind) {
      case 0:
        c.IsRoughlyClipped(kCodes, count, origin, at);
        return c.DrawTextWithPixmaps(kCodes, count, origin, at);
      case 1:
        return c.DrawTextWithMasks(kCodes, count, origin, at);
      case 2:
        return c.DrawTextWithPaths(kCodes, count, origin, at);
      default:
        return c.DrawText(kCodes, count, origin, at);
    }
  });
}

void Session::Measure() {
  ++effort;
  Fonts& fonts = Fonts::Get();
  KFTFont& any = in.Flag() ? fonts.font[in.Below(4)] : font;
  KSoftContext2D& c = Context();
  const unsigned short ch = in.Flag() ? kCodes[in.Below(kCodeCount)] : in.Byte();
  KVertex2D a = in.Point(), b = a;
  KFixed height, other;
  switch (in.Below(12)) {
    case 0:
      font.LoadFont(kFontFiles[in.Below(3)], in.Below(3) - 1);
      break;
    case 1:
      font.Release(in.Flag() ? kFontFiles[0] : nullptr);
      break;
    case 2:
      // Any size is allowed; large glyphs are only slow.
      any.SetFontSize(in.Below(8) ? KFixed::FromRaw(in.Byte() << 14) : in.Fixed());
      any.GetFontHeight();
      any.GetAscend();
      any.GetDescend();
      break;
    case 3:
      in.Flag() ? any.AdvancePen(&a, ch, ch, &c) : any.AdvancePen(&a, ch, 0, &fonts.font[1]);
      any.Exists(ch);
      break;
    case 4: {
      KRect rect{};
      any.GetBound(rect, kCodes, kCodeCount);
      std::uint32_t index;
      any.GlyphIndex(in.Word(), index);
      break;
    }
    case 5:
      c.GetHeight(&height, &other);
      c.SetFallbackFont(in.Flag() ? &fonts.font[1] : nullptr);
      break;
    case 6:
      c.SetFallbackFonts(in.Flag() ? &fonts.list : nullptr, in.Flag() ? &fonts.rangeList : nullptr);
      c.GetFallback(ch);
      break;
    case 7: {
      const KSoftMatrix3D m = in.Matrix();
      static_cast<KFTFontContext&>(c).SetTransform(in.Flag() ? &m : nullptr);
      break;
    }
    case 8: {
      KSoftPath& path = AnyPath();
      c.LoadChar(&path, in.Flag() ? ch : static_cast<int>(in.Word()));
      c.LoadPixmap(nullptr, &a, &b, ch, {0, 0, 0, 255});
      break;
    }
    case 9:
      c.LoadMask(&a, &b, in.Flag() ? ch : static_cast<int>(in.Word()));
      c.ClearCache();
      break;
    case 10: {
      KRect rect;
      c.GetApproxBounds(&rect, in.Byte(), a, nullptr, in.Matrix());
      int stats[5];
      c.GetCacheStats(&stats[0], &stats[1], &stats[2], &stats[3], &stats[4]);
      Require(c.GetCacheSize() <= 400 * 1024, "the cache keeps its limit");
      break;
    }
    default:
      Fallbacks();
  }
}

void Session::Fallbacks() {
  Fonts& fonts = Fonts::Get();
  const KArray<KFTFontRange>* ranges = in.Flag() ? &fonts.rangeList : nullptr;
  KFTFallback* table = KFTFallback::Instance(&fonts.list, ranges);
  if (!table) return;
  const auto ch = static_cast<unsigned short>(in.Short());
  Require(table->BinarySearch(ch) == table->LinearSearch(ch), "both searches agree");
  table->GetFont(ch);
  table->GlyphExists(in.Below(2), ch);
  Require(table->Matches(&fonts.list, ranges), "a table matches what it was made for");
  KFTFallback::Release(table);
}

void Session::Matrix3() {
  KSoftMatrix3D& m = matrices[in.Below(2)];
  const KSoftMatrix3D& other = matrices[in.Below(2)];
  switch (in.Below(16)) {
    case 0:
      m *= &other;
      break;
    case 1:
      m.Combine(&other);
      break;
    case 2:
      m.Translate(in.Point());
      break;
    case 3:
      m.PreTranslate(in.Point());
      break;
    case 4:
      m.Scale(in.Point());
      break;
    case 5:
      m.PreScale(in.Point());
      break;
    case 6:
      m.Rotate(in.Fixed());
      break;
    case 7:
      m.PreRotate(in.Fixed());
      break;
    case 8:
      m.Skew(in.Point());
      break;
    case 9:
      m.PreSkew(in.Point());
      break;
    case 10:
      m *= in.Fixed();
      break;
    case 11:
      m += &other;
      break;
    case 12:
      m -= &other;
      break;
    case 13:
      -m;
      m.Determinant();
      break;
    case 14:
      in.Flag() ? m.Inverse() : ~m;
      m.IsOrth();
      m.GetMatrixData();
      m.Map(in.Point());
      break;
    default:
      m = in.Matrix();
  }
}

void Session::Matrix() {
  KMatrix2D a, b;
  a.Set(in.Fixed(), in.Fixed(), in.Fixed(), in.Fixed());
  a *= in.Fixed();
  a *= &b;
  b += &a;
  b -= &a;
  a.Combine(&b);
  -a;
  a.Determinant();
  a.Inverse();
  a.IsOrth();
  KFixed e[4];
  a.Get(e[0], e[1], e[2], e[3]);
  a.Identity();

  const KVertex3D v = {in.Fixed(), in.Fixed(), in.Fixed()};
  static constexpr void (KMatrix4D::*kByVector[])(KVertex3D) = {
      &KMatrix4D::Translate, &KMatrix4D::PreTranslate, &KMatrix4D::Scale,
      &KMatrix4D::PreScale,  &KMatrix4D::Skew,         &KMatrix4D::PreSkew};
  static constexpr void (KMatrix4D::*kByAngle[])(KFixed) = {
      &KMatrix4D::RotateX,    &KMatrix4D::RotateY,    &KMatrix4D::RotateZ,
      &KMatrix4D::PreRotateX, &KMatrix4D::PreRotateY, &KMatrix4D::PreRotateZ};
  KMatrix4D m, n;
  for (const auto change : kByVector) (m.*change)(v);
  for (const auto turn : kByAngle) (n.*turn)(v.x);
  m *= &n;
  m.Combine(&n);
  m *= v.y;
  m += &n;
  m -= &n;
  -m;
  m.Determinant();
  m.Inverse();
  m.Identity();
}

void Session::Numbers() {
  const KFixed a = in.Fixed(), b = in.Fixed(), c = in.Fixed();
  KFixed sink = a + b;
  sink += a / b;
  sink -= KFixed::MulDiv(a, b, c);
  sink *= KFixed::Inverse(a);
  for (const auto f : {KFixed::Sqrt, KFixed::Log2, KFixed::Pow2, KFixed::Sin, KFixed::Cos}) {
    sink += f(a);
  }
  sink += KFixed::ArcTan(a, b) + KVertex2D{a, b}.Norm();
  sink += KFixed(static_cast<float>(a) * static_cast<float>(b));
  const KDivMod d = DivMod(a.raw, b.raw);
  sink += KFixed::FromRaw(d.quotient);
  const KColor32 color = in.Color();
  KFixed r, g, blue, alpha;
  color.GetColor(r, g, blue, alpha);
  color.GetColor(r, g, blue);
  color.GetNormalizedColor(r, g, blue, alpha);
  color.Weight(in.Below(256) + 1);
  KGetDirtyRects(nullptr, 0, 0, 0);
}

void Session::Rings() {
  ++effort;
  KSoftContext2D& c = Context();
  const bool onStack = in.Flag();
  KVertex2D** rings = nullptr;
  KVertex2D points[3] = {in.Point(), in.Point(), in.Point()};
  const KSoftMatrix3D& m = matrices[in.Below(2)];
  if (in.Flag()) {
    const unsigned count = c.StrokePoly(points, in.Below(4), rings, &m, onStack, in.Flag());
    c.FreeStroke(rings, count, onStack);
  } else {
    const unsigned count = c.FlattenPath(rings, &AnyPath(), &m, onStack);
    c.FreeRings(rings, count, onStack);
  }
  rings = nullptr;
  c.FreeVertices(rings, 0, onStack);
  if (in.Flag()) c.ResetStroke();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes in(data, size);
  Session(in).Run();
  return 0;
}
