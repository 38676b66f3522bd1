// Loops: the inner loops of the fillers, one table of them for each instruction set ("width").
//
// A loop is written once, against lanes.h, and compiled once for each width, in a namespace of its
// own. To add one:
//   1. write it in a header of this folder beside its kin (color.h and others), inside
//      `namespace kalvora::KALVORA_WIDTH { namespace {`, from lanes.h and language types alone: an
//      inline function of any other header might be the copy that the linker keeps for everybody,
//      and an older processor would die in it (the test `widths` looks for such symbols);
//   2. give it a pointer in a struct below, with a formula, and its place in table.h;
//   3. add a row to the table in tests/paint/loops_test.cpp, which compares every width with plain
//      code. What it computes must not depend on the width, to the last bit.
// To add a width: one more file like sse2.cpp, its line in widths.h and, when it needs a compiler
// option, in kalvora/CMakeLists.txt.
#ifndef KALVORA_PAINT_LOOPS_LOOPS_H
#define KALVORA_PAINT_LOOPS_LOOPS_H

#include <cstddef>
#include <cstdint>

#include "kalvora/raster/KRowSteps.h"
#include "kalvora/raster/KStraightEdges.h"

namespace kalvora {

/// Rows of target pixels: `n` pixels from `to` on, and the rows below it, `stride` pixels apart.
/// n or rows <= 0 is nothing.
struct Block {
  std::uint32_t* to;
  std::ptrdiff_t stride;
  int n;
  int rows;
};

/// What a pixel becomes, the two pairs of its channels at once, 16 bits a channel:
///
///     d' = floor((d rest + (lo, hi)) / 256) + add,   0 <= d rest + (lo, hi) < 2^16
///
/// the last addition one of 32 bits. Every solid colour at a constant coverage has this form.
struct Mix {
  std::uint32_t rest;  ///< 0..256
  std::uint32_t lo;    ///< blue and red
  std::uint32_t hi;    ///< green and alpha
  std::uint32_t add;
};

/// Rows of n pixels whose coverage is kept as differences: that of pixel i is the sum of `start`
/// and line[0..i], a signed number modulo 2^32, 2^kFullBits being full coverage. Its weight is
/// sum >> kFullBits - 8, held to 0..256; so `start` holds half of that for the sake of rounding.
struct Differences {
  static constexpr int kFullBits = 27;
  static constexpr std::uint32_t kHalf = std::uint32_t{1} << (kFullBits - 9);

  std::uint32_t* to;
  std::ptrdiff_t stride;  ///< pixels from a row to the next
  const std::int32_t* y;  ///< for each row: how far below `to` it is
  std::uint32_t* line;
  std::uint32_t* touched;      ///< a bit for each four of `line`, where it is not 0
  std::ptrdiff_t lineStride;   ///< words from one `line` to the next, and one `touched`
  const std::int32_t* edges;   ///< for each row: how many pairs of columns say, instead of bits,
                               ///< from where up to where `line` is touched, and at n; or -1
  const std::int32_t* ranges;  ///< these pairs
  int n;
  int rows;
  std::uint32_t start;
  std::uint32_t color;
  std::uint32_t blend;  ///< over(d, scale(color, weight)); or, when 0, lerp(d, color, weight)
  /// Paints n pixels, which all have one weight, 1 or more; from 256 on it is 256.
  void (*alike)(const Differences& rows, std::uint32_t* to, int n, std::int32_t weight);
};

/// Loops over one colour c. `coverage` (16.16, 0..0x10000) belongs to the same pixels as `to`.
struct ColorLoops {
  /// d = c
  void (*fill)(const Block& block, std::uint32_t c);
  /// d = over(d, c)
  void (*over)(const Block& block, std::uint32_t c);
  /// The first column of each row is mixed by `left`, the last by `right` (`left`, when it is the
  /// first too), those between by `inner`.
  void (*edged)(const Block& block, const Mix& left, const Mix& inner, const Mix& right);
  /// d = over(d, scale(c, coverage))
  void (*cover)(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c);
  /// d = lerp(d, c, coverage)
  void (*lerp)(std::uint32_t* to, const std::int32_t* coverage, int n, std::uint32_t c);
  /// d = over(d, scale(c, mask)); rows of mask bytes are `maskStride` apart.
  void (*coverMasked)(const Block& block, const std::uint8_t* mask, std::ptrdiff_t maskStride,
                      std::uint32_t c);
  /// d = lerp(d, c, mask)
  void (*lerpMasked)(const Block& block, const std::uint8_t* mask, std::ptrdiff_t maskStride,
                     std::uint32_t c);
  /// By differences: `line` and `touched` are zero afterwards.
  void (*differences)(const Differences& rows);
  /// By the coverage of rows of steps: d = over(d, scale(c, coverage)), or lerp(d, c, coverage).
  /// Null where a vector is one word: then it is cheaper to have the coverage in its line.
  void (*steps)(const KRowSteps& steps, std::uint32_t c, bool blend);
  /// d = lerp(d, c, coverage), by the coverage of rows of n columns from `to` on that edges go
  /// straight through. Null where a vector is less than eight words.
  void (*straight)(std::uint32_t* to, int n, const KStraightEdges& edges, std::uint32_t c);
};

/// How source pixels are weighed.
enum class Weight {
  kFull,                 ///< w = 256
  kOpacity,              ///< w = opacity
  kCoverage,             ///< w = (coverage + 128) >> 8
  kCoverageOpacity,      ///< w = (coverage opacity) >> 16
  kOpacityThenCoverage,  ///< the source is scaled by the opacity, then by the coverage
};
inline constexpr int kWeights = 5;

/// A loop over n source pixels, weighed by coverage and an opacity of 0..256 as its Weight says.
using PixelLoop = void (*)(std::uint32_t* to, const std::uint32_t* source,
                           const std::int32_t* coverage, int n, std::int32_t opacity);

/// Loops over source pixels s, by Weight.
struct PixelLoops {
  /// Source pixels with alpha: d = over(d, scale(s, w)).
  PixelLoop over[kWeights];
  /// Source pixels taken as opaque: d = lerp(d, s, w); none for kFull and kOpacityThenCoverage.
  PixelLoop lerp[kWeights];
  /// d = s; rows of source pixels are `sourceStride` apart.
  void (*copyBlock)(const Block& block, const std::uint32_t* source, std::ptrdiff_t sourceStride);
  /// d = over(d, s)
  void (*overBlock)(const Block& block, const std::uint32_t* source, std::ptrdiff_t sourceStride);
  /// to[i] = table[index[i]]
  void (*pick)(std::uint32_t* to, int n, const std::uint32_t* index, const std::uint32_t* table);
};

/// What the top byte of a bicubic sample is.
enum class SampleAlpha {
  kNone,   ///< 0
  kPlain,  ///< sampled like the colours
  kBound,  ///< sampled, and no colour is let above it, as premultiplied pixels must be
};

/// Loops of patterns that are stretched along their rows. Columns come in arrays of offsets, in
/// bytes from the start of a source row, and weights; these arrays, and what `across` loops write,
/// have room for n rounded up to a multiple of 8, and are 0 there.
struct StretchLoops {
  /// out[i] = lerp(p, the pixel behind p, weight[i]), p being the pixel at offset[i]; offsets do
  /// not fall from one to the next, or do not rise.
  void (*mixAcross)(std::uint32_t* out, int n, const std::uint8_t* row, const std::uint32_t* offset,
                    const std::uint32_t* weight);
  /// to[i] = lerp(a[i], b[i], weight)
  void (*mixDown)(std::uint32_t* to, int n, const std::uint32_t* a, const std::uint32_t* b,
                  std::uint32_t weight);
  /// out[4 i + c] = the sum of channel c of the four pixels from offset[i] on, times weight[4 i] to
  /// weight[4 i + 3], below 2^31.
  void (*cubicAcross)(std::int32_t* out, int n, const std::uint8_t* row,
                      const std::uint32_t* offset, const std::int32_t* weight);
  /// Channel c of to[i] = the sum of (rows[j][4 i + c] weight[j]) >> 18, j = 0..3, held to
  /// 0..255.0, plus 0x7F00, its whole part; weights are within +-0x1FFFF. Rows are read up to a
  /// multiple of 8 pixels, and a word more.
  void (*cubicDown)(std::uint32_t* to, int n, const std::int32_t* const* rows,
                    const std::int32_t* weight, SampleAlpha alpha);
};

/// Where the pixels of a turned pattern lie: 16.16 coordinates of the first, and what they grow by.
struct Places {
  std::uint32_t u, v, du, dv;
};

/// Loops of patterns that are turned. Pixels come in arrays of offsets, in bytes from the start of
/// the source, below 2^32, and of weights; these have room for n rounded up to a multiple of 8.
/// `place` and `mix` go so far, and so `mix` must find good offsets there.
struct TurnLoops {
  /// top[i] = (v_i >> 16) stride + (u_i >> 16) 4 and bottom[i] = top[i] + stride, for coordinates
  /// that stay in 0..2^31, and the weights of their fractions: ((f & 0xFFFF) + 0x7F) >> 8.
  void (*place)(std::uint32_t* top, std::uint32_t* bottom, std::uint32_t* weightX,
                std::uint32_t* weightY, int n, const Places& places, std::uint32_t stride);
  /// out[i] = lerp(lerp(p, the pixel behind p, x), lerp(q, the pixel behind q, x), y), p being the
  /// pixel at top[i], q that at bottom[i], x and y the weights
  void (*mix)(std::uint32_t* out, int n, const std::uint8_t* source, const std::uint32_t* top,
              const std::uint32_t* bottom, const std::uint32_t* weightX,
              const std::uint32_t* weightY);
  /// What cubicAcross makes of the four pixels from offset[i] on and of those in the three rows
  /// below, and cubicDown of those. The weights of the coordinates u[i] and v[i] across and down
  /// are
  /// ((line[2 j] f) >> 16) + line[2 j + 1], j = 0..3, f being the fraction, 16 bits, and line the 8
  /// words from lines[8 (f >> 11)] on.
  void (*cubic)(std::uint32_t* out, int n, const std::uint8_t* source, std::size_t stride,
                const std::uint32_t* offset, const std::uint32_t* u, const std::uint32_t* v,
                const std::int32_t* lines, SampleAlpha alpha);
};

/// The squares |g + i step|^2 of vectors, i = 0, 1, ...: numbers whose second differences are
/// constant, modulo 2^64.
struct Squares {
  std::uint64_t start;   ///< s(0)
  std::uint64_t rise;    ///< s(1) - s(0)
  std::uint64_t growth;  ///< what the rise grows by
};

/// Colours of the distances from a centre, a cell being 2^shift of them; that behind the last of
/// `count` cells, at most 2048, for all distances beyond, unless they count from 0 again after a
/// period.
struct CellTable {
  const std::uint32_t* colors;
  std::uint32_t count;
  int shift;
  std::uint32_t period;  ///< or 0
};

/// Loops of gradients.
struct GradientLoops {
  /// Pixel i has the whole parts of value[c] + i grow[c], 8.24, modulo 2^32, as its channels blue,
  /// green, red, alpha.
  void (*series)(std::uint32_t* to, int n, const std::uint32_t* value, const std::uint32_t* grow);
  /// out[i] = table.colors[cell], cell = min(floor(sqrt(s(i))) >> shift, count), or with a period
  /// (floor(sqrt(s(i))) mod period) >> shift; all s below 2^62. The cells go to `cells`, if that is
  /// not null, and up to seven words more.
  void (*radial)(std::uint32_t* to, int n, const Squares& s, const CellTable& table,
                 std::uint32_t* cells);
};

/// All loops of one width.
struct Loops {
  const char* name;
  ColorLoops color;
  PixelLoops pixels;
  StretchLoops stretch;
  TurnLoops turn;
  GradientLoops gradient;
};

/// The widths that this processor can run, from the narrowest to the widest; ends with a null.
const Loops* const* UsableLoops();

/// The widest of them, or the one that the environment variable K_WIDTH names ("plain", "sse2",
/// "avx2", "neon"), when the processor has it. The environment is read once in a process.
const Loops& ChosenLoops();

}  // namespace kalvora

#endif
