// Golden pictures: seeded random drawings, folded into hashes that hold on every processor.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/context/KSoftContext2D.h"

#include "tests/common/Random.h"

namespace {

constexpr unsigned kWidth = 96, kHeight = 80;

// FNV-1a over the words, whose byte order on the machine does not matter.
std::uint64_t Fold(std::uint64_t hash, const std::vector<std::uint32_t>& words) {
  for (const std::uint32_t word : words) hash = (hash ^ word) * 0x100000001B3u;
  return hash;
}

/// Draws one random picture after another: fills of paths and polygons, or every shape with strokes
/// too.
class Painter {
 public:
  Painter(KFormat format, bool strokes)
      : pixels_(kWidth * kHeight), random_(format), strokes_(strokes) {
    pixmap_.Create(kWidth, kHeight, format, pixels_.data());
  }

  const std::vector<std::uint32_t>& Picture() {
    context_.RenderToTexture(&pixmap_);
    context_.Clear(Color());
    for (unsigned shapes = 2 + random_.Below(6); shapes > 0; --shapes) Shape();
    return pixels_;
  }

 private:
  KFixed Fixed(std::int32_t low, std::int32_t high) {
    return KFixed::FromRaw(random_.Between(low * 0x10000, high * 0x10000));
  }
  KVertex2D Point() { return {Fixed(-30, 126), Fixed(-30, 110)}; }
  KColor32 Color() {
    return {random_.Below(256), random_.Below(256), random_.Below(256),
            random_.OneIn(2) ? 255 : random_.Below(256)};
  }

  void Transform() {
    KSoftMatrix3D& m = context_.Transform();
    m.Identity();
    const unsigned kind = random_.Below(4);
    if (kind >= 1) m.Translate({Fixed(-20, 20), Fixed(-20, 20)});
    if (kind >= 2) m.Rotate(KFixed::FromInt(random_.Between(0, 359)));
    if (kind == 3) m.PreScale({Fixed(-2, 3), Fixed(-2, 3)});
  }

  void Clip() {
    if (random_.OneIn(3)) {
      const auto edge = [&](int high) {
        return static_cast<std::int16_t>(random_.Between(-10, high));
      };
      context_.SetClipRegion({edge(40), edge(40), edge(120), edge(100)});
    }
    if (random_.OneIn(4)) {
      KSoftPath path;
      Outline(path);
      context_.SetClipPath(&path, random_.OneIn(2) ? KFillEvenOdd : KFillNonZero);
    }
    if (random_.OneIn(4)) context_.ResetClip();
  }

  void Outline(KSoftPath& path) {
    for (unsigned subpaths = 1 + random_.Below(3); subpaths > 0; --subpaths) {
      path.MoveTo(Point());
      for (unsigned pieces = 1 + random_.Below(6); pieces > 0; --pieces) {
        switch (random_.Below(3)) {
          case 0:
            path.LineTo(Point());
            break;
          case 1: {
            const KVertex2D control = Point();
            path.QuadTo(control, Point());
            break;
          }
          default: {
            const KVertex2D control1 = Point(), control2 = Point();
            path.CubicTo(control1, control2, Point());
          }
        }
      }
      if (random_.OneIn(2)) path.Close();
    }
  }

  void Shape() {
    Transform();
    Clip();
    context_.SetFillRule(random_.OneIn(2) ? KFillEvenOdd : KFillNonZero);
    context_.SetFillColor(Color());
    context_.SetFillOpacity(random_.OneIn(2) ? 256 : random_.Between(0, 256));
    if (strokes_) Stroke();
    if (strokes_ && random_.OneIn(2)) {
      OtherShape();
    } else if (random_.OneIn(3)) {
      KVertex2D points[9];
      const unsigned count = random_.Below(9);
      for (KVertex2D& p : points) p = Point();
      context_.DrawPolygon(points, count, true);
    } else {
      KSoftPath path;
      Outline(path);
      context_.DrawPath(&path);
    }
  }

  void Stroke() {
    if (random_.OneIn(4)) context_.SetNoFill();
    context_.SetStrokeColor(Color());
    context_.SetStrokeOpacity(random_.OneIn(2) ? 256 : random_.Between(0, 256));
    context_.SetLineWidth(random_.OneIn(8) ? Fixed(0, 40) : Fixed(0, 6));
    const unsigned startCap = random_.Below(3);
    context_.SetCaps(startCap, random_.Below(3));
    context_.SetJoin(random_.Below(3));
    context_.SetMiterLimit(Fixed(0, 12));
    KFixed dashes[4];
    for (KFixed& dash : dashes) dash = Fixed(0, 20);
    const unsigned count = random_.OneIn(3) ? 1 + random_.Below(4) : 0;
    context_.SetDashes(dashes, count, Fixed(-20, 50));
  }

  void OtherShape() {
    const KVertex2D p = Point(), q = Point(), radii = {Fixed(0, 40), Fixed(0, 40)};
    switch (random_.Below(5)) {
      case 0:
        return context_.DrawLine(p, random_.OneIn(2) ? q : KVertex2D{p.x, q.y});
      case 1:
        return context_.DrawRectangle(p, q);
      case 2:
        return context_.DrawRectangle(p, q, radii);
      case 3:
        return context_.DrawEllipticalRect(p, radii, radii);
      default: {
        const KFixed start = Fixed(-400, 400);
        return context_.DrawArc(p, radii, start, Fixed(-400, 400));
      }
    }
  }

  std::vector<std::uint32_t> pixels_;
  Random random_;
  bool strokes_;
  KSoftPixmap pixmap_;
  KSoftContext2D context_;
};

struct Case {
  KFormat format;
  bool strokes;
  int pictures;
  std::uint64_t hash;
};

TEST(Golden, RandomPicturesOfBothLayouts) {
  const Case cases[] = {{KFormat0888PM, false, 3000, 0x9d86a50a18594fe2},
                        {KFormat8888PM, false, 3000, 0x8bcbf3a72c816797},
                        {KFormat0888PM, true, 500, 0xbfc8284b8e2ba28a},
                        {KFormat8888PM, true, 500, 0xd480fe47da68841f}};
  for (const Case& c : cases) {
    Painter painter(c.format, c.strokes);
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (int i = 0; i < c.pictures; ++i) hash = Fold(hash, painter.Picture());
    EXPECT_EQ(hash, c.hash) << "format " << c.format << std::hex << " gives 0x" << hash;
  }
}

}  // namespace
