// Bytes: a fuzzer's input as a stream of the values that the library takes.
#ifndef KALVORA_TESTS_FUZZ_BYTES_H
#define KALVORA_TESTS_FUZZ_BYTES_H

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "kalvora/kalvora.h"

/// Reads values from the front; where the input is consumed, zeros follow.
class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}

  bool AtEnd() const { return at_ == end_; }
  std::uint8_t Byte() { return AtEnd() ? 0 : *at_++; }
  std::uint32_t Word() {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i) word = word << 8 | Byte();
    return word;
  }
  /// 0..n - 1, n up to 256.
  unsigned Below(unsigned n) { return Byte() % n; }
  bool Flag() { return Byte() & 1; }
  std::int16_t Short() { return static_cast<std::int16_t>(Byte() << 8 | Byte()); }

  /// Often near a small target, often extreme.
  KFixed Fixed() {
    static constexpr std::int32_t kSpecial[] = {0,
                                                1,
                                                -1,
                                                2,
                                                0x7F00,
                                                0x7FFF,
                                                0x8000,
                                                0xFFFF,
                                                0x10000,
                                                0x10001,
                                                -0x10000,
                                                0x20000,
                                                0x7FFF0000,
                                                -0x7FFF0000,
                                                INT32_MAX,
                                                INT32_MIN,
                                                INT32_MIN + 1,
                                                8000 << 16,
                                                -8000 * 65536,
                                                90 << 16,
                                                180 << 16,
                                                270 << 16,
                                                360 << 16,
                                                8001 << 16,
                                                64 << 16,
                                                16000 << 16};
    switch (Below(8)) {
      case 0:
        return KFixed::FromRaw(static_cast<std::int32_t>(Word()));
      case 1:
        return KFixed::FromRaw(kSpecial[Below(std::size(kSpecial))]);
      case 2:  // within half a pixel
        return KFixed::FromRaw(Short());
      case 3:
        return KFixed::FromInt(static_cast<std::int8_t>(Byte()));
      case 4:  // quarters of a pixel
        return KFixed::FromRaw(static_cast<std::int8_t>(Byte()) * 0x4000);
      default:  // within 128 pixels
        return KFixed::FromRaw(Short() * 256);
    }
  }
  KVertex2D Point() {
    const KFixed x = Fixed();
    return {x, Fixed()};
  }
  KRect Rect() {
    const auto edge = [this] {
      return Flag() ? Short() : static_cast<std::int16_t>(static_cast<std::int8_t>(Byte()));
    };
    const std::int16_t left = edge(), top = edge(), right = edge();
    return {left, top, right, edge()};
  }
  KColor32 Color() {
    const std::uint32_t word = Word();
    return KColor32::FromWord(Flag() ? word : word | 0xFF000000);
  }
  /// Values that the enumerations do not have, too.
  KFormat Format() { return static_cast<KFormat>(static_cast<int>(Below(9)) - 1); }
  KFillRule Rule() { return Flag() ? KFillEvenOdd : KFillNonZero; }

  /// A matrix as programs build them, or any entries at all.
  KSoftMatrix3D Matrix() {
    KSoftMatrix3D m;
    switch (Below(6)) {
      case 0:
        break;
      case 1: {
        KFixed e[9];
        for (KFixed& entry : e) entry = Fixed();
        m.Set(e[0], e[1], e[2], e[3], e[4], e[5], e[6], e[7], e[8]);
        break;
      }
      case 2: {
        KFixed e[6];
        for (KFixed& entry : e) entry = Fixed();
        m.Set(e[0], e[1], e[2], e[3], e[4], e[5]);
        break;
      }
      case 3:
        m.Translate(Point());
        break;
      case 4:
        m.Scale(Point());
        m.Translate(Point());
        break;
      default:
        m.PreTranslate(Point());
        m.PreRotate(Fixed());
        m.PreScale(Point());
    }
    return m;
  }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

#endif
