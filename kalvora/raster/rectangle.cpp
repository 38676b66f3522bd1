// Rectangles row by row: exact coverage in the edge columns, and in the edge rows by way of the
// opacity.
#include "kalvora/raster/rectangle.h"

#include <algorithm>
#include <utility>

#include "kalvora/raster/KRowPainter.h"
#include "kalvora/raster/ring.h"
#include "kalvora/support/KFlags.h"

namespace kalvora {
namespace {

constexpr std::int32_t kFull = 0x10000;

void Outline(const RectangleJob& job, bool antiAliased, const PixelBox& box) {
  if (Flags.DrawColoredOutlines && job.hooks) job.hooks->outline(job, antiAliased, box);
}

/// The rows of a box that share one opacity.
PixelBox Rows(PixelBox box, std::int32_t from, std::int32_t to) {
  box.y0 = std::max(box.y0, from);
  box.y1 = std::min(box.y1, to);
  return box;
}

// One column: its horizontal coverage goes into the opacity, the vertical into the coverage line.
void FillColumn(const PaintJob& job, const PixelBox& box, std::int32_t lastRow, KVertex2D p,
                std::int32_t right, std::int32_t bottom) {
  KRowPainter painter(job);
  if (!painter.Bind(right - Fraction(p.x))) return;
  const std::int32_t firstRow = Floor(p.y), top = Fraction(p.y);
  if (firstRow == lastRow) return painter.Box(box, bottom - top);
  painter.Box(Rows(box, firstRow, firstRow + 1), kFull - top);
  painter.Box(Rows(box, firstRow + 1, lastRow));
  painter.Box(Rows(box, lastRow, lastRow + 1), bottom);
}

// More columns: the outer two have their own coverage; the height of the first and the last row
// goes into the opacity. `right` is 0 when the last column is clipped away.
void FillColumns(const PaintJob& job, const PixelBox& box, std::int32_t lastRow, KVertex2D p,
                 std::int32_t right, std::int32_t bottom, std::int32_t height) {
  const std::int32_t firstRow = Floor(p.y);
  const bool left = box.x0 == Floor(p.x);  // the outer columns may be clipped away
  KRowPainter painter(job);
  std::int32_t bound = -1;
  const auto fill = [&](std::int32_t from, std::int32_t to, std::int32_t part) {
    const PixelBox rows = Rows(box, from, to);
    if (rows.IsEmpty()) return;
    if (part != bound && !painter.Bind(part)) return;
    bound = part;
    painter.Box(rows, left ? kFull - Fraction(p.x) : KRowBlock::kNoEdge,
                right != 0 ? right : KRowBlock::kNoEdge);
  };
  if (firstRow == lastRow) return fill(firstRow, firstRow + 1, height);
  fill(firstRow, firstRow + 1, kFull - Fraction(p.y));
  fill(firstRow + 1, lastRow, kFull);
  fill(lastRow, lastRow + 1, bottom);
}

// What the clip cuts off does not change how the rest is painted: coverage comes from the whole
// rectangle.
void FillAntiAliased(const RectangleJob& job, KVertex2D p, KVertex2D q) {
  const std::int32_t end = Ceil(q.x);
  const std::int32_t lastRow = Ceil(q.y) - 1;
  PixelBox box(job.style->clip, Floor(p.x), Floor(p.y), end, lastRow + 1);
  if (box.IsEmpty()) return;
  const std::int32_t right = Fraction(q.x) ? Fraction(q.x) : kFull;
  const std::int32_t bottom = Fraction(q.y) ? Fraction(q.y) : kFull;
  if (end - Floor(p.x) < 2) {
    FillColumn(job, box, lastRow, p, right, bottom);
  } else {
    FillColumns(job, box, lastRow, p, box.x1 == end ? right : 0, bottom, (q.y - p.y).raw);
  }
  --box.y1;
  Outline(job, true, box);
}

// Whole pixels: a border moves up only when it lies more than 129/256 into its pixel.
void DrawSimpleRectGeneric(const RectangleJob& job, KVertex2D p, KVertex2D q) {
  // 0x7FFF0000 is the highest number that rounds without wrapping.
  const auto round = [](KFixed v) { return RoundPixel(std::min(v, KFixed::FromRaw(0x7FFF0000))); };
  const PixelBox box(job.style->clip, round(p.x), round(p.y), round(q.x), round(q.y));
  if (box.IsEmpty()) return;
  FillBox(job, box);
  Outline(job, false, box);
}

// More than 1/256 off a whole pixel.
bool IsOffGrid(KFixed v) { return ((static_cast<std::uint32_t>(v.raw) + 0x100) & 0xFFFF) > 0x200; }

void DrawSimpleRectangle(const RectangleJob& job, KVertex2D p, KVertex2D q) {
  if (job.antiAlias && (IsOffGrid(p.x) || IsOffGrid(p.y) || IsOffGrid(q.x) || IsOffGrid(q.y))) {
    FillAntiAliased(job, p, q);
  } else if (!job.hooks || !job.hooks->fill(job, p, q)) {
    DrawSimpleRectGeneric(job, p, q);
  }
}

}  // namespace

void FillBox(const PaintJob& job, const PixelBox& box) {
  KRowPainter painter(job);
  if (painter.Bind()) painter.Box(box);
}

void RasterTRectangle(const RectangleJob& job, KVertex2D p, KVertex2D q) {
  const KSoftMatrix3D& m = *job.transform;
  if (!job.clipped && (m.linearIdentity || m.IsOrth())) {
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
  RasterPolygon(job, corners, 4);
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
