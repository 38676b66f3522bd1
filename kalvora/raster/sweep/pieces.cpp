// Pieces: four at a time, in vectors of AVX2. Which columns a piece goes through nobody foresees;
// here nothing depends on it, and no division is waited for.
#include "kalvora/raster/sweep/pieces.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace kalvora::avx2 {
namespace {

constexpr int kLanes = 4;

__m128i All(int v) { return _mm_set1_epi32(v); }
__m256i AllWide(long long v) { return _mm256_set1_epi64x(v); }
__m128i Load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
void Store(void* to, __m128i v) { _mm_storeu_si128(static_cast<__m128i*>(to), v); }

// Words of 32 bits, each in one of 64, and back. Masks keep all their bits.
__m256i Wide(__m128i v) { return _mm256_cvtepu32_epi64(v); }
__m256i WideMask(__m128i v) { return _mm256_cvtepi32_epi64(v); }
__m128i Narrow(__m256i v) {
  return _mm256_castsi256_si128(
      _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6)));
}
__m256i Either(__m256i mask, __m256i a, __m256i b) {
  return _mm256_xor_si256(b, _mm256_and_si256(mask, _mm256_xor_si256(a, b)));
}
__m256i IsNegative(__m256i v) { return _mm256_cmpgt_epi64(_mm256_setzero_si256(), v); }
__m256i Product16(__m256i a, __m256i b) { return _mm256_srli_epi64(_mm256_mul_epu32(a, b), 16); }

// Words as numbers of 53 bits, and whole numbers as words: those that follow 2^52.
constexpr long long kTwo52 = 0x4330000000000000;
__m256d Number(__m256i v) {
  const __m256d base = _mm256_castsi256_pd(AllWide(kTwo52));
  return _mm256_sub_pd(_mm256_or_pd(_mm256_castsi256_pd(v), base), base);
}
__m256i Word(__m256d v) {
  const __m256d base = _mm256_castsi256_pd(AllWide(kTwo52));
  return _mm256_castpd_si256(_mm256_xor_pd(_mm256_add_pd(v, base), base));
}

/// What SlopedEdge::NeedGain finds: of dy / width as it is, times 2^k, which brings the quotient
/// below 2^32, but not below 2^30.
struct Gain {
  __m256i gain, shift;

  Gain(__m256i width, __m256i dy) {
    constexpr int kMantissa = 52;
    const auto exponent = [](__m256d v) {
      return _mm256_srli_epi64(_mm256_castpd_si256(v), kMantissa);
    };
    const __m256d most = Number(dy), least = Number(width);
    const __m256i quotient = _mm256_castpd_si256(_mm256_div_pd(most, least));
    const __m256i k =
        _mm256_add_epi64(_mm256_sub_epi64(exponent(least), exponent(most)), AllWide(31));
    const __m256i scaled = _mm256_add_epi64(quotient, _mm256_slli_epi64(k, kMantissa));
    const __m256i found = Word(_mm256_castsi256_pd(scaled));
    // Rounded to the nearest whole number: the one below it is asked for.
    const __m256i rest = _mm256_sub_epi64(_mm256_sllv_epi64(dy, k), _mm256_mul_epu32(found, width));
    const __m256i places = _mm256_sub_epi64(k, AllWide(Pieces::kHeightBits));
    const __m256i upright = IsNegative(places);
    gain = _mm256_or_si256(_mm256_add_epi64(found, IsNegative(rest)), upright);
    shift = _mm256_andnot_si256(upright, places);
  }
};

/// What four pieces add in their first column and in the two after it, as DifferenceLine has it;
/// those that lie elsewhere add nothing, to the columns drawn first.
struct Sums {
  std::int32_t first[kLanes];                       // columns
  std::int32_t firstWord[kLanes], endWord[kLanes];  // of the marks
  std::uint32_t firstMark[kLanes], endMark[kLanes];
  std::uint32_t column[3][kLanes];
  int others;  // bits of those that do not lie in one or two columns

  Sums(Pieces& pieces, int i, const LineColumns& drawn) {
    const __m128i xTop = Load(pieces.xTop + i), xBottom = Load(pieces.xBottom + i);
    const __m128i low = _mm_min_epi32(xTop, xBottom), high = _mm_max_epi32(xTop, xBottom);
    const __m128i left = _mm_sub_epi32(_mm_srai_epi32(low, 16), All(drawn.first));
    const __m128i right = _mm_sub_epi32(_mm_srai_epi32(high, 16), All(drawn.first));
    const __m128i across = _mm_sub_epi32(right, left);
    const __m128i beside =
        _mm_or_si128(_mm_cmpgt_epi32(All(0), left), _mm_cmpgt_epi32(right, All(drawn.width - 1)));
    const __m128i other = _mm_or_si128(beside, _mm_cmpgt_epi32(across, All(1)));
    others = _mm_movemask_ps(_mm_castsi128_ps(other));
    const __m128i mark = _mm_andnot_si128(other, All(1));
    const __m128i column0 = _mm_andnot_si128(other, left);
    Store(first, column0);
    Mark(column0, mark, firstWord, firstMark);
    Mark(_mm_andnot_si128(other, _mm_add_epi32(right, All(1))), mark, endWord, endMark);

    const __m256i goesLeft = WideMask(_mm_cmplt_epi32(xBottom, xTop));
    const __m256i two = WideMask(_mm_cmpgt_epi32(across, All(0)));
    const __m256i begun = Wide(_mm_and_si128(low, All(0xFFFF)));
    const __m256i over = Wide(_mm_and_si128(high, All(0xFFFF)));
    const __m256i toBorder = _mm256_sub_epi64(AllWide(0x10000), begun);
    const __m256i height = Wide(Load(pieces.height + i));
    const __m256i twice = _mm256_add_epi64(height, height);
    const __m128i width = _mm_max_epi32(_mm_abs_epi32(Load(pieces.dx + i)), All(1));
    const Gain slope(Wide(width), Wide(Load(pieces.dy + i)));
    const __m256i passed = _mm256_srlv_epi64(
        _mm256_mul_epu32(slope.gain, Either(goesLeft, over, toBorder)), slope.shift);
    Store(pieces.dx + i, Narrow(slope.gain));
    Store(pieces.dy + i, Narrow(slope.shift));
    const __m256i after = Either(_mm256_cmpgt_epi64(passed, height), height, passed);
    const __m256i before = _mm256_sub_epi64(height, after);
    const __m256i reached = Either(goesLeft, before, after);
    const __m256i missing = Either(goesLeft, after, before);
    const __m256i inOne = _mm256_sub_epi64(twice, Product16(height, _mm256_add_epi64(begun, over)));
    const __m256i entering = Either(two, Product16(reached, toBorder), inOne);
    const __m256i beyond = _mm256_and_si256(two, Product16(missing, over));
    const __m256i between = _mm256_sub_epi64(_mm256_sub_epi64(twice, beyond), entering);
    const __m128i weight = _mm_andnot_si128(other, Load(pieces.weight + i));
    Store(column[0], _mm_sign_epi32(Narrow(entering), weight));
    Store(column[1], _mm_sign_epi32(Narrow(between), weight));
    Store(column[2], _mm_sign_epi32(Narrow(beyond), weight));
  }

  void AddTo(std::uint32_t* line, std::uint32_t* touched, int k, bool oneWord) const {
    std::uint32_t* const at = line + first[k];
    at[0] += column[0][k];
    at[1] += column[1][k];
    at[2] += column[2][k];
    if (oneWord) {
      touched[0] |= firstMark[k] | endMark[k];
    } else {
      touched[firstWord[k]] |= firstMark[k];
      touched[endWord[k]] |= endMark[k];
    }
  }

 private:
  // Four columns have one bit.
  static void Mark(__m128i column, __m128i mark, std::int32_t* word, std::uint32_t* bit) {
    Store(word, _mm_srai_epi32(column, 7));
    Store(bit, _mm_sllv_epi32(mark, _mm_and_si128(_mm_srai_epi32(column, 2), All(31))));
  }
};

}  // namespace

int AddPieces(Pieces& pieces, const LineColumns& columns, std::uint8_t* rest) {
  const bool oneWord = columns.width < 124;  // as well as the two columns behind them
  int others = 0;
  for (int i = 0; i < pieces.count; i += kLanes) {
    const Sums sums(pieces, i, columns);
    for (int k = 0; k < kLanes && i + k < pieces.count; ++k) {
      std::uint32_t* const line = pieces.line[i + k];
      sums.AddTo(line, line + columns.marks, k, oneWord);
      rest[others] = static_cast<std::uint8_t>(i + k);  // without a jump
      others += sums.others >> k & 1;
    }
  }
  return others;
}

}  // namespace kalvora::avx2

#endif
