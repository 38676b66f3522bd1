// Loops of radial gradients (GradientLoops in loops.h): from squared distances to cells of a table,
// and from those to colours.
//
// Every root is the exact floor. Where processors and compilers estimate it differently, integers
// correct it, so that no width shows.
#ifndef KALVORA_PAINT_LOOPS_RADIAL_H
#define KALVORA_PAINT_LOOPS_RADIAL_H

#include "kalvora/paint/loops/lanes.h"
#include "kalvora/paint/loops/longs.h"
#include "kalvora/paint/loops/loops.h"

namespace kalvora::KALVORA_WIDTH {
namespace {

// One pixel at a time. ----------------------------------------------------------------------------

/// floor(sqrt(s)), s below 2^62.
inline std::uint32_t Root(std::uint64_t s) {
  auto root = static_cast<std::uint32_t>(__builtin_sqrt(static_cast<double>(s)));
  if (std::uint64_t{root} * root > s) --root;
  if ((std::uint64_t{root} + 1) * (std::uint64_t{root} + 1) <= s) ++root;
  return root;
}

/// Below 2^22 the root of a rounded float cannot reach the next whole number.
inline std::uint32_t CellOf(std::uint64_t s, int shift, std::uint32_t count) {
  const std::uint64_t scaled = s >> 2 * shift;
  if (scaled >= std::uint64_t{count} * count) return count;
  return static_cast<std::uint32_t>(
      __builtin_sqrtf(static_cast<float>(static_cast<std::int32_t>(scaled))));
}

inline std::uint64_t SquareAt(const Squares& s, int i) {
  const auto k = static_cast<std::uint64_t>(i);
  return s.start + k * s.rise + k * (k - 1) / 2 * s.growth;
}

/// The squares one after the other.
struct PixelSquares {
  std::uint64_t s, rise, growth;

  explicit PixelSquares(const Squares& squares)
      : s(squares.start), rise(squares.rise), growth(squares.growth) {}

  /// out[i] = f(s(i)) of the next n.
  template <typename F>
  void Each(std::uint32_t* out, int n, F f) {
    for (int i = 0; i < n; ++i, s += rise, rise += growth) out[i] = f(s);
  }
};

#if KALVORA_LANES > 1

// A vector of pixels at a time. -------------------------------------------------------------------

/// s(i), s(i + kLanes), ... of half the lanes.
struct HalfSeries {
  Longs s, rise, growth;

  HalfSeries(const Squares& squares, const int* pixels) {
    constexpr std::uint64_t kStep = kLanes;
    for (int lane = 0; lane < kLanes / 2; ++lane) {
      const auto i = static_cast<std::uint64_t>(pixels[lane]);
      s[lane] = SquareAt(squares, pixels[lane]);
      rise[lane] =
          kStep * (squares.rise + i * squares.growth) + kStep * (kStep - 1) / 2 * squares.growth;
    }
    growth = Longs{} + kStep * kStep * squares.growth;
  }
  void Step() {
    s += rise;
    rise += growth;
  }
};

/// The squares, a vector at a time.
struct VectorSquares {
  HalfSeries first, second;

  explicit VectorSquares(const Squares& squares)
      : first(squares, kFirstPixels), second(squares, kSecondPixels) {}

  /// out[i] = f(s(i)) of the next n, rounded up to whole vectors.
  template <typename F>
  void Each(std::uint32_t* out, int n, F f) {
    for (int i = 0; i < n; i += kLanes, first.Step(), second.Step()) {
      Store(out + i, f(first.s, second.s));
    }
  }
};

inline Floats ToFloats(Words signedWords) {
  return __builtin_convertvector(reinterpret_cast<Ints>(signedWords), Floats);
}
/// Whole parts.
inline Words ToWords(Floats f) { return reinterpret_cast<Words>(__builtin_convertvector(f, Ints)); }
/// All bits of the lanes where a < b, as signed words.
inline Words Less(Words a, Words b) {
  return reinterpret_cast<Words>(reinterpret_cast<Ints>(a) < reinterpret_cast<Ints>(b));
}

/// Roots are rounded correctly.
#if defined(__SSE2__) || defined(__aarch64__)
constexpr bool kExactRoots = true;
#else
constexpr bool kExactRoots = false;
#endif

#if defined(__AVX2__)
inline Floats Roots(Floats f) { return _mm256_sqrt_ps(f); }
inline Floats RoughInverse(Floats f) { return _mm256_rcp_ps(f); }
inline Floats Larger(Floats a, Floats b) { return _mm256_max_ps(a, b); }
#elif defined(__SSE2__)
inline Floats Roots(Floats f) { return _mm_sqrt_ps(f); }
inline Floats RoughInverse(Floats f) { return _mm_rcp_ps(f); }
inline Floats Larger(Floats a, Floats b) { return _mm_max_ps(a, b); }
#else
inline Floats Roots(Floats f) {
#if defined(__aarch64__)
  return vsqrtq_f32(f);
#else
  f = vmaxq_f32(f, vdupq_n_f32(1e-9f));
  Floats y = vrsqrteq_f32(f);
  for (int i = 0; i < 2; ++i) y = y * vrsqrtsq_f32(f * y, y);
  return f * y;
#endif
}
inline Floats RoughInverse(Floats f) { return vrecpeq_f32(f); }
inline Floats Larger(Floats a, Floats b) { return vmaxq_f32(a, b); }
#endif

/// The floor of the root of s, from a whole number below it by less than 2 or above it by at most
/// 1; all modulo 2^32.
inline Words Corrected(Words root, Words s) {
  const Words rest = s - root * root;
  // -1 where the rest is negative, +1 where it is more than 2 root.
  return root + Less(rest, Words{}) - Less(root + root, rest);
}

/// The root of s below 2^31, exact to 2048 and no less beyond: as in CellOf where roots are rounded
/// correctly.
inline Words SmallRoots(Words s) {
  const Words root = ToWords(Roots(ToFloats(s)));
  return kExactRoots ? root : Corrected(root, s);
}

/// Squares that LargeRoots takes: below this limit the estimate is so close that the rest, which is
/// known modulo 2^32, is known.
constexpr std::uint64_t kLargeRoots = std::uint64_t{1} << (kExactRoots ? 53 : 51);

inline Words LargeRoots(Words low, Words high) {
  const Floats s =
      ToFloats(high) * 4294967296.0f + (ToFloats(low >> 8) * 256.0f + ToFloats(low & 0xFF));
  const Floats estimate = Larger(Roots(s), Floats{} + 1.0f);
  const Words root = ToWords(estimate);
  // One step of Newton's, root + rest / (2 root), and a little less: whole parts of negative
  // numbers are too large.
  const Floats rest = ToFloats(low - root * root);
  return Corrected(root + ToWords(rest * RoughInverse(estimate) * 0.5f - 0.25f), low);
}

/// The largest of s(0) to s(n - 1): the squares rise towards both ends.
inline std::uint64_t Largest(const Squares& s, int n) {
  const std::uint64_t last = SquareAt(s, n - 1);
  return s.start > last ? s.start : last;
}

#endif

// Both. -------------------------------------------------------------------------------------------

/// Looks up the colours of cells that f finds in a series. In two passes, chunk by chunk: the roots
/// of one vector need not wait for the look-ups of the last.
template <typename Walk, typename F>
void LookUp(std::uint32_t* to, int n, const Squares& squares, const std::uint32_t* colors,
            std::uint32_t* cells, F f) {
  constexpr int kChunk = 64;
  Walk walk(squares);
  std::uint32_t local[kChunk];
  for (; n > 0; n -= kChunk, to += kChunk) {
    const int count = n < kChunk ? n : kChunk;
    std::uint32_t* const out = cells ? cells : local;
    walk.Each(out, count, f);
    int i = 0;
    for (; i + 4 <= count; i += 4) {
      const std::uint32_t a = colors[out[i]], b = colors[out[i + 1]];
      const std::uint32_t c = colors[out[i + 2]], d = colors[out[i + 3]];
      to[i] = a, to[i + 1] = b, to[i + 2] = c, to[i + 3] = d;
    }
    for (; i < count; ++i) to[i] = colors[out[i]];
    if (cells) cells += kChunk;
  }
}

inline void RadialPadded(std::uint32_t* to, int n, const Squares& s, const CellTable& table,
                         std::uint32_t* cells) {
  const int shift = table.shift;
  const std::uint32_t count = table.count;
#if KALVORA_LANES > 1
  // Behind the last pixel the vectors' lanes may hold anything.
  if (Largest(s, n) >> 2 * shift < 0x80000000) {
    const Words most = All(count);
    return LookUp<VectorSquares>(to, n, s, table.colors, cells, [=](Longs a, Longs b) {
      const auto bits = static_cast<std::uint64_t>(2 * shift);
      const Words root = SmallRoots(LowWords(a >> bits, b >> bits));
      return Select(Less(root, most), root, most);
    });
  }
#endif
  LookUp<PixelSquares>(to, n, s, table.colors, cells,
                       [=](std::uint64_t square) { return CellOf(square, shift, count); });
}

inline void RadialRepeated(std::uint32_t* to, int n, const Squares& s, const CellTable& table,
                           std::uint32_t* cells) {
  const int shift = table.shift;
  const std::uint32_t period = table.period;
#if KALVORA_LANES > 1
  if (period >= 0x100 && Largest(s, n) < kLargeRoots) {
    const Words whole = All(period);
    const float inverse = 1.0f / static_cast<float>(period);
    return LookUp<VectorSquares>(to, n, s, table.colors, cells, [=](Longs a, Longs b) {
      const Words root = LargeRoots(LowWords(a, b), HighWords(a, b));
      // The quotient may be one off, either way.
      Words rest = root - ToWords(ToFloats(root) * inverse) * whole;
      rest += whole & Less(rest, Words{});
      rest -= whole & ~Less(rest, whole);
      return rest >> shift;
    });
  }
#endif
  LookUp<PixelSquares>(to, n, s, table.colors, cells,
                       [=](std::uint64_t square) { return Root(square) % period >> shift; });
}

void Radial(std::uint32_t* to, int n, const Squares& s, const CellTable& table,
            std::uint32_t* cells) {
  if (n > 0) (table.period ? RadialRepeated : RadialPadded)(to, n, s, table, cells);
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH

#endif
