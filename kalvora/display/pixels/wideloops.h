// The loops that are written for AVX2 and NEON: 16 bits, and three bytes. Included by
// pixelloopsbody.h, whose InSteps cuts rows into steps of 16 pixels.
#if defined(__AVX2__)
#include <immintrin.h>
#else
#include <arm_neon.h>
#endif

namespace kalvora::KALVORA_WIDTH {
namespace {

#if defined(__AVX2__)

/// Convert's formula times 256: 31 c + 31 + 32 n for red and blue, 63 c + 63 + 64 n for green, of
/// which the second byte is the channel's new value. Multiplying bytes, with the alpha times 0, is
/// faster than making room for the noise.
class Step565 {
 public:
  Step565(const PixelStyle& style, unsigned x, unsigned y) {
    const __m256i noise = LoadAs<__m256i>(NoiseAt(style, x, y));  // its pattern is half as long
    const __m256i redBlue = _mm256_and_si256(noise, All(0x00FF00FF));
    const __m256i green = _mm256_and_si256(_mm256_srli_epi32(noise, 8), All(0xFF));
    redBlue_ = _mm256_add_epi16(_mm256_slli_epi16(redBlue, 5), All(0x001F001F));
    green_ = _mm256_add_epi16(_mm256_slli_epi16(green, 6), All(63));
  }
  void operator()(std::uint16_t* pixels, const Word* words) const {
    const __m256i v =
        _mm256_packus_epi32(Eight(LoadAs<__m256i>(words)), Eight(LoadAs<__m256i>(words + 8)));
    Store(pixels, _mm256_permute4x64_epi64(v, 0xD8));
  }

 private:
  static __m256i All(int v) { return _mm256_set1_epi32(v); }
  __m256i Eight(__m256i words) const {
    __m256i redBlue = _mm256_maddubs_epi16(words, All(0x001F001F));
    __m256i green = _mm256_maddubs_epi16(words, All(0x00003F00));
    redBlue = _mm256_srli_epi16(_mm256_add_epi16(redBlue, redBlue_), 8);
    redBlue = _mm256_madd_epi16(redBlue, All(0x08000001));  // red goes to bit 11
    green = _mm256_srli_epi32(_mm256_add_epi16(green, green_), 3);
    return _mm256_or_si256(redBlue, _mm256_and_si256(green, All(0x07E0)));
  }
  __m256i redBlue_, green_;
};

void PackStep(Triple* triples, const Word* words) {
  const __m128i order = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  const __m256i both = _mm256_broadcastsi128_si256(order);
  for (unsigned i = 0; i < kStep; i += 8) {
    // Of each half three quarters are left, which close up.
    const __m256i v =
        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(LoadAs<__m256i>(words + i), both),
                                    _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
    auto* const to = reinterpret_cast<__m128i*>(triples + i);
    _mm_storeu_si128(to, _mm256_castsi256_si128(v));
    _mm_storel_epi64(to + 1, _mm256_extracti128_si256(v, 1));
  }
}

#else

/// Convert's formula in bytes; then the channels' highest bits are pushed together.
class Step565 {
 public:
  Step565(const PixelStyle& style, unsigned x, unsigned y)
      : noise_(Channels(NoiseAt(style, x, y))) {}
  void operator()(std::uint16_t* pixels, const Word* words) const {
    const uint8x16x4_t c = Channels(words);
    const uint8x16_t blue = vaddq_u8(vsubq_u8(c.val[0], vshrq_n_u8(c.val[0], 5)), noise_.val[0]);
    const uint8x16_t green = vaddq_u8(vsubq_u8(c.val[1], vshrq_n_u8(c.val[1], 6)), noise_.val[1]);
    const uint8x16_t red = vaddq_u8(vsubq_u8(c.val[2], vshrq_n_u8(c.val[2], 5)), noise_.val[2]);
    const uint8x16x2_t halves = {
        {vsriq_n_u8(vshlq_n_u8(green, 3), blue, 3), vsriq_n_u8(red, green, 5)}};
    vst2q_u8(reinterpret_cast<std::uint8_t*>(pixels), halves);
  }

 private:
  static uint8x16x4_t Channels(const Word* words) {
    return vld4q_u8(reinterpret_cast<const std::uint8_t*>(words));
  }
  uint8x16x4_t noise_;
};

void PackStep(Triple* triples, const Word* words) {
  const uint8x16x4_t c = vld4q_u8(reinterpret_cast<const std::uint8_t*>(words));
  vst3q_u8(triples->bytes, uint8x16x3_t{{c.val[0], c.val[1], c.val[2]}});
}

#endif

void To565(const PixelStyle& style, void* to, const Word* from, unsigned count, unsigned x,
           unsigned y) {
  InSteps(static_cast<std::uint16_t*>(to), from, count, Step565(style, x, y));
}

void Pack(const PixelStyle&, void* to, const Word* from, unsigned count, unsigned, unsigned) {
  InSteps(static_cast<Triple*>(to), from, count, PackStep);
}

}  // namespace
}  // namespace kalvora::KALVORA_WIDTH
