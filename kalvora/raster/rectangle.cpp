// Rectangles row by row: exact coverage in the edge columns, and in the edge rows by way of the
// opacity.
#include "kalvora/raster/rectangle.h"

#include <algorithm>
#include <utility>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/raster/KStyleContext2D.h"
#include "kalvora/raster/ring.h"
#include "kalvora/support/KFlags.h"

namespace kalvora {
namespace {

constexpr std::int32_t kFull = 0x10000;

/// The visible columns and rows of a device rectangle. What the clip cuts off does not change how
/// the rest is painted: coverage comes from the whole rectangle.
struct Visible {
  std::int32_t x0, x1, y0, y1;

  Visible(const KClip& clip, std::int32_t left, std::int32_t top, std::int32_t right,
          std::int32_t bottom)
      : x0(std::max<std::int32_t>(left, clip.x0)),
        x1(std::min<std::int32_t>(right, clip.x1)),
        y0(std::max<std::int32_t>(top, clip.y0)),
        y1(std::min<std::int32_t>(bottom, clip.y1)) {}
  bool IsEmpty() const { return x0 >= x1 || y0 >= y1; }
};

/// The fillers of the draw's paint at any opacity, and the rows that they paint.
class Brush {
 public:
  explicit Brush(const RasterJob& job)
      : style_(job.style),
        target_(job.target),
        strips_(job.strips),
        saved_(job.style->paint),
        paint_(*saved_) {
    style_->paint = &paint_;
  }
  ~Brush() { style_->paint = saved_; }
  Brush(const Brush&) = delete;
  Brush& operator=(const Brush&) = delete;

  /// Sets the paint's opacity to `coverage` of its own, and chooses the fillers for it. False when
  /// it has none.
  bool Load(std::int32_t coverage) {
    if (paint_.type < 0 || paint_.type >= KPaintNone) return false;
    paint_.opacity = static_cast<std::int32_t>((std::int64_t{saved_->opacity} * coverage) >> 16);
    solid_ = coverage_ = nullptr;
    strips_->init[paint_.type](style_, solid_, coverage_);
    return solid_ && coverage_;
  }
  void GoTo(std::int32_t y) {
    style_->y = y;
    style_->row = target_->Row32(static_cast<unsigned>(y));
  }
  void Solid(std::int32_t from, std::int32_t to) { Fill(solid_, from, to); }
  void Covered(std::int32_t from, std::int32_t to) { Fill(coverage_, from, to); }

 private:
  void Fill(KFiller filler, std::int32_t from, std::int32_t to) {
    if (from >= to) return;
    style_->x0 = from;
    style_->x1 = to;
    filler(style_);
  }

  KStyleContext2D* style_;
  const KSoftPixmap* target_;
  const KStripTable* strips_;
  const KPaint* saved_;
  KPaint paint_;
  KFiller solid_ = nullptr;
  KFiller coverage_ = nullptr;
};

void FillWords(std::uint32_t* row, std::int32_t from, std::int32_t to, std::uint32_t word) {
  for (std::int32_t x = from; x < to; ++x) row[x] = word;
}

/// Debugging aid: a frame around a pattern's rectangle, rows [y0, y1) and columns [x0, x1). Red:
/// the pattern is not merely translated; green: it has alpha; blue: edges are anti-aliased.
void DrawSimpleRectOutline(const RasterJob& job, bool antiAliased, const Visible& v,
                           std::int32_t end) {
  const KPaint& paint = *job.style->paint;
  if (paint.type != KPaintPixmap || !paint.pixmap || end <= v.y0 || v.x0 >= v.x1) return;
  const KColor32 color(paint.pixmap->transform.linearIdentity ? 0 : 255,
                       paint.pixmap->hasAlpha ? 255 : 0, antiAliased ? 255 : 0, 255);
  if (color == KColor32(0, 0, 0, 255)) return;
  for (std::int32_t y = v.y0; y < end; ++y) {
    std::uint32_t* row = job.target->Row32(static_cast<unsigned>(y));
    if (y == v.y0 || y == end - 1) {
      FillWords(row, v.x0, v.x1, color.Word());
    } else {
      row[v.x0] = row[v.x1 - 1] = color.Word();
    }
  }
}

// One column: its horizontal coverage goes into the opacity, the vertical into the coverage line.
void FillColumn(Brush& brush, std::int32_t* line, const Visible& v, std::int32_t lastRow,
                KVertex2D p, std::int32_t right, std::int32_t bottom) {
  if (!brush.Load(right - Fraction(p.x))) return;
  const std::int32_t firstRow = Floor(p.y);
  for (std::int32_t y = v.y0; y < v.y1; ++y) {
    brush.GoTo(y);
    const std::int32_t top = y == firstRow ? Fraction(p.y) : 0;
    if (y != firstRow && y != lastRow) {
      brush.Solid(v.x0, v.x1);
    } else {
      line[v.x0] = (y == lastRow ? bottom : kFull) - top;
      brush.Covered(v.x0, v.x1);
    }
  }
}

// More columns: the outer two take their coverage from the line; the height of the first and the
// last row goes into the opacity.
void FillColumns(Brush& brush, std::int32_t* line, const Visible& v, std::int32_t lastRow,
                 KVertex2D p, std::int32_t right, std::int32_t bottom, std::int32_t height) {
  const std::int32_t first = Floor(p.x);
  const std::int32_t firstRow = Floor(p.y);
  const bool left = v.x0 == first;  // the outer columns may be clipped away
  const std::int32_t inner0 = v.x0 + left;
  std::int32_t loaded = -1;
  for (std::int32_t y = v.y0; y < v.y1; ++y) {
    const std::int32_t part = y == firstRow ? (firstRow == lastRow ? height : kFull - Fraction(p.y))
                              : y == lastRow ? bottom
                                             : kFull;
    if (part != loaded && !brush.Load(part)) return;
    loaded = part;
    brush.GoTo(y);
    if (left) line[v.x0] = kFull - Fraction(p.x);
    brush.Covered(v.x0, inner0);
    brush.Solid(inner0, right == 0 ? v.x1 : v.x1 - 1);
    if (right != 0) {
      line[v.x1 - 1] = right;
      brush.Covered(v.x1 - 1, v.x1);
    }
  }
}

void FillAntiAliased(const RasterJob& job, KVertex2D p, KVertex2D q) {
  const std::int32_t end = Ceil(q.x);
  const std::int32_t lastRow = Ceil(q.y) - 1;
  const Visible v(job.style->clip, Floor(p.x), Floor(p.y), end, lastRow + 1);
  if (v.IsEmpty()) return;
  const std::int32_t right = Fraction(q.x) ? Fraction(q.x) : kFull;
  const std::int32_t bottom = Fraction(q.y) ? Fraction(q.y) : kFull;
  std::int32_t* line = job.style->lineBuffer;
  {
    Brush brush(job);
    if (end - Floor(p.x) < 2) {
      FillColumn(brush, line, v, lastRow, p, right, bottom);
    } else {
      FillColumns(brush, line, v, lastRow, p, v.x1 == end ? right : 0, bottom, (q.y - p.y).raw);
    }
  }
  if (Flags.DrawColoredOutlines) DrawSimpleRectOutline(job, true, v, v.y1 - 1);
}

// Whole pixels: a border moves up only when it lies more than 129/256 into its pixel.
void DrawSimpleRectGeneric(const RasterJob& job, KVertex2D p, KVertex2D q) {
  // 0x7FFF0000 is the highest number that rounds without wrapping.
  const auto round = [](KFixed v) { return RoundPixel(std::min(v, KFixed::FromRaw(0x7FFF0000))); };
  const Visible v(job.style->clip, round(p.x), round(p.y), round(q.x), round(q.y));
  if (v.IsEmpty()) return;
  {
    Brush brush(job);
    if (!brush.Load(kFull)) return;
    for (std::int32_t y = v.y0; y < v.y1; ++y) {
      brush.GoTo(y);
      brush.Solid(v.x0, v.x1);
    }
  }
  if (Flags.DrawColoredOutlines) DrawSimpleRectOutline(job, false, v, v.y1);
}

// More than 1/256 off a whole pixel.
bool IsOffGrid(KFixed v) { return ((static_cast<std::uint32_t>(v.raw) + 0x100) & 0xFFFF) > 0x200; }

// The quarter-turn of the pattern's transform, when that is all it is; else 0.
unsigned QuarterTurn(const KSoftMatrix3D& m) {
  constexpr std::int32_t kEpsilon = 6;  // 0.0001
  const auto near = [](KFixed v, std::int32_t whole) {
    const std::int64_t difference = std::int64_t{v.raw} - std::int64_t{whole} * kFull;
    return difference > -kEpsilon && difference < kEpsilon;
  };
  const auto is = [&](int a, int b, int c, int d) {
    return near(m.m0, a) && near(m.m1, b) && near(m.m3, c) && near(m.m4, d);
  };
  if (is(0, -1, 1, 0)) return 90;
  if (is(0, 1, -1, 0)) return 270;
  if (is(-1, 0, 0, -1)) return 180;
  return 0;
}

void DrawSimpleRectangle(const RectangleJob& job, KVertex2D p, KVertex2D q) {
  if (job.antiAlias && (IsOffGrid(p.x) || IsOffGrid(p.y) || IsOffGrid(q.x) || IsOffGrid(q.y))) {
    FillAntiAliased(job.raster, p, q);
    return;
  }
  const KPaint& paint = *job.raster.style->paint;
  if (paint.type == KPaintPixmap && paint.pixmap) {
    if (paint.pixmap->format == KFormatMask8) return;
    const unsigned turn = paint.pixmap->hasAlpha ? 0 : QuarterTurn(paint.pixmap->transform);
    if (turn != 0 && job.turnedPattern) {
      job.turnedPattern(job.raster, p, q, turn);
      return;
    }
  }
  DrawSimpleRectGeneric(job.raster, p, q);
}

}  // namespace

void RasterTRectangle(const RectangleJob& job, KVertex2D p, KVertex2D q) {
  if (job.transform->IsOrth() && !job.raster.clipped) {
    p = job.transform->Map(p);
    q = job.transform->Map(q);
    if (p.x > q.x) std::swap(p.x, q.x);
    if (p.y > q.y) std::swap(p.y, q.y);
    if (p.x < q.x && p.y < q.y) DrawSimpleRectangle(job, p, q);
    return;
  }
  KVertex2D corners[4 + ring::kLinks];
  const KVertex2D user[] = {p, {q.x, p.y}, q, {p.x, q.y}};
  for (int i = 0; i < 4; ++i) corners[i + 1] = ring::Vertex(job.transform->Map(user[i]));
  ring::Close(corners, 4);
  RasterPolygon(job.raster, corners, 4);
}

bool LineRectangle(KVertex2D from, KVertex2D to, KFixed halfWidth, bool squareStart, bool squareEnd,
                   KVertex2D& p, KVertex2D& q) {
  const bool vertical = from.x == to.x;
  if (!vertical && from.y != to.y) return false;
  const KVertex2D across = vertical ? KVertex2D{halfWidth, kZero} : KVertex2D{kZero, halfWidth};
  KVertex2D along = vertical ? KVertex2D{kZero, halfWidth} : KVertex2D{halfWidth, kZero};
  if (vertical ? to.y < from.y : to.x < from.x) along = -along;
  if (squareStart) from = from - along;
  if (squareEnd) to = to + along;
  p = from - across;
  q = to + across;
  return true;
}

}  // namespace kalvora
