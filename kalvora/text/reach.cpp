// KFTFontContext: how far text reaches: about, and at most by what its fonts say of themselves.
#include <algorithm>
#include <utility>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/ft.h"

namespace {

using Box = KTextBox;

// What is larger than any text, and small enough to be mapped in 64 bits.
constexpr std::int64_t kWidest = std::int64_t{1} << 46;

std::int64_t Held(std::int64_t v) { return std::clamp(v, -kWidest, kWidest); }

// floor(x m / 2^16) for the x of a box.
std::int64_t Mul(std::int64_t x, KFixed m) {
  return (x >> 16) * m.raw + ((x & 0xFFFF) * m.raw >> 16);
}

std::int16_t ToPixel(std::int64_t v) {
  return static_cast<std::int16_t>(std::clamp<std::int64_t>(v >> 16, INT16_MIN, INT16_MAX));
}

// The box of positions; the first is read even when `count` is 0.
Box Around(const KVertex2D* positions, unsigned count) {
  Box box = {positions->x.raw, positions->y.raw, positions->x.raw, positions->y.raw};
  for (unsigned i = 1; i < count; ++i) {
    box.left = std::min<std::int64_t>(box.left, positions[i].x.raw);
    box.top = std::min<std::int64_t>(box.top, positions[i].y.raw);
    box.right = std::max<std::int64_t>(box.right, positions[i].x.raw);
    box.bottom = std::max<std::int64_t>(box.bottom, positions[i].y.raw);
  }
  return box;
}

// What glyphs cover around their pens at most, and the widest way from one to the next.
struct Reach {
  Box box = {0, 0, 0, 0};
  std::int64_t advance = 0;

  void Include(const KFTFont& font, KFixed size);
};

void Reach::Include(const KFTFont& font, KFixed size) {
  const FT_FaceRec& face = *font.face;
  // Hinting moves points, and rendering touches the pixels around them. Bitmaps of a fixed size
  // are what they are, and lie about the pen somehow.
  std::int64_t margin = 2 << 16;
  for (int i = 0; i < face.num_fixed_sizes; ++i) {
    margin = std::max(margin, std::int64_t{face.available_sizes[i].y_ppem} * 1024 * 2);
  }
  if (FT_HAS_FIXED_SIZES(&face)) margin = std::max(margin, std::int64_t{size.raw} * 2);
  // Some fonts say too little: glyphs of a usual size are always reckoned with.
  const std::int64_t em = std::max<std::int64_t>(size.raw, 0);
  Box own = {-em, -2 * em, 2 * em, em};
  std::int64_t widest = 0;
  if (face.units_per_EM > 0) {
    const auto pixels = [&](std::int64_t units) {
      return std::clamp<std::int64_t>(units, -(1 << 24), 1 << 24) * size.raw / face.units_per_EM;
    };
    own = {std::min(own.left, pixels(face.bbox.xMin)), std::min(own.top, -pixels(face.bbox.yMax)),
           std::max(own.right, pixels(face.bbox.xMax)),
           std::max(own.bottom, -pixels(face.bbox.yMin))};
    widest = pixels(face.max_advance_width);
  }
  box = {std::min(box.left, own.left - margin), std::min(box.top, own.top - margin),
         std::max(box.right, own.right + margin), std::max(box.bottom, own.bottom + margin)};
  advance = std::max({advance, widest, box.right - box.left});
}

// The pens of a line.
Box PenBox(unsigned count, std::int64_t advance, KVertex2D origin, const KVertex2D* positions) {
  if (positions) return Around(positions, count);
  const std::int64_t glyphs = std::min(count, 1u << 24);
  const std::int64_t length = Held(glyphs * std::min(advance, std::int64_t{1} << 38));
  return {origin.x.raw, origin.y.raw, origin.x.raw + length, origin.y.raw};
}

// The smallest and the largest product of [a, b] with m, in 16.16.
struct Range {
  std::int64_t low, high;

  Range(std::int64_t a, std::int64_t b, KFixed m) : low(Mul(a, m)), high(Mul(b, m)) {
    if (low > high) std::swap(low, high);
  }
};

}  // namespace

bool KFTFontContext::ApproxBox(Box* box, unsigned count, KVertex2D origin,
                               const KVertex2D* positions, const KSoftMatrix3D& m) const {
  const bool mapped = !Flags.IgnoreTransform;
  if (mapped && !m.IsOrth()) return false;

  KFixed height, fallbackHeight;
  GetHeight(&height, &fallbackHeight);
  const std::int64_t line = std::max(height, fallbackHeight).raw;
  Box b = positions ? Around(positions, count)
                    : Box{origin.x.raw, origin.y.raw, origin.x.raw, origin.y.raw};
  b.right += positions ? line : Held(std::int64_t{count} * line);
  b.top -= line;
  b.bottom += line;
  *box = b;
  if (!mapped) return true;

  if (m.identity) {
    // as it is
  } else if (m.linearIdentity) {
    *box = {b.left + m.m6.raw, b.top + m.m7.raw, b.right + m.m6.raw, b.bottom + m.m7.raw};
  } else {
    *box = {Mul(b.left, m.m0) + Mul(b.top, m.m3) + m.m6.raw,
            Mul(b.left, m.m1) + Mul(b.top, m.m4) + m.m7.raw,
            Mul(b.right, m.m0) + Mul(b.bottom, m.m3) + m.m6.raw,
            Mul(b.right, m.m1) + Mul(b.bottom, m.m4) + m.m7.raw};
  }
  if (box->left > box->right) std::swap(box->left, box->right);
  if (box->top > box->bottom) std::swap(box->top, box->bottom);
  return true;
}

bool KFTFontContext::GetApproxBounds(KRect* out, unsigned count, KVertex2D origin,
                                     const KVertex2D* positions, const KSoftMatrix3D& m) const {
  Box box;
  if (!out || !ApproxBox(&box, count, origin, positions, m)) return false;
  *out = {ToPixel(box.left), ToPixel(box.top), ToPixel(box.right), ToPixel(box.bottom)};
  return true;
}

KTextBox KFTFontContext::ReachOf(const KFTFont* only, unsigned count, KVertex2D origin,
                                 const KVertex2D* positions, const KSoftMatrix3D& m) const {
  Reach reach;
  const KFixed size = (only ? only : font)->size;
  const auto include = [&](const KFTFont* one) {
    if (kalvora::IsLoaded(one)) reach.Include(*one, size);
  };
  include(only ? only : font);
  if (!only) {
    include(fallbackFont);
    for (const KFTFont* other : fallbackFonts) include(other);
  }
  const Box pens = PenBox(count, reach.advance, origin, positions);
  const Range xx(Held(pens.left + reach.box.left), Held(pens.right + reach.box.right), m.m0);
  const Range xy(Held(pens.left + reach.box.left), Held(pens.right + reach.box.right), m.m1);
  const Range yx(Held(pens.top + reach.box.top), Held(pens.bottom + reach.box.bottom), m.m3);
  const Range yy(Held(pens.top + reach.box.top), Held(pens.bottom + reach.box.bottom), m.m4);
  constexpr std::int64_t kRounding = 2 << 16;
  return {xx.low + yx.low + m.m6.raw - kRounding, xy.low + yy.low + m.m7.raw - kRounding,
          xx.high + yx.high + m.m6.raw + kRounding, xy.high + yy.high + m.m7.raw + kRounding};
}
