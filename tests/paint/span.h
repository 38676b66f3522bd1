// A row of pixels with its coverage, both ending at guard pages, and the fillers of paints for it.
#ifndef KALVORA_TESTS_PAINT_SPAN_H
#define KALVORA_TESTS_PAINT_SPAN_H

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/paint/KStrips.h"
#include "kalvora/paint/KStyleContext2D.h"

#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"

inline KFixed Fixed(std::int32_t raw) { return KFixed::FromRaw(raw); }

struct Fillers {
  KFiller solid = nullptr;
  KFiller coverage = nullptr;
  bool operator==(const Fillers&) const = default;
};

/// The strip initialisers of format 4 (opaque) or 5.
inline const KStripTable& Strips(bool opaque) {
  return opaque ? KStrips<KColor_0888_PM>::VTable : KStrips<KColor_8888_PM>::VTable;
}

/// What the initialiser of a paint type chooses for the style context.
inline Fillers Init(KStyleContext2D& style, int type, bool opaque = false) {
  Fillers fillers;
  Strips(opaque).init[type](&style, fillers.solid, fillers.coverage);
  return fillers;
}

/// A style context over `width` columns of random pixels and coverage. What lies outside the span
/// is expected to stay as it is.
class Span {
 public:
  Span(Random& random, int columns, GuardedBuffer::Edge edge = GuardedBuffer::kAtEnd)
      : width(columns), pixels(Size(4), edge), coverage(Size(4), edge), mask(Size(1), edge) {
    style.row = pixels.As<std::uint32_t>();
    style.lineBuffer = coverage.As<std::int32_t>();
    style.maskRow = mask.data();
    Renew(random);
  }

  /// New pixels, coverage, span and row.
  void Renew(Random& random) {
    before.resize(static_cast<std::size_t>(width));
    for (int x = 0; x < width; ++x) {
      style.row[x] = before[static_cast<std::size_t>(x)] = Pixel(random);
      style.lineBuffer[x] =
          random.OneIn(3) ? random.Between(0, 1) * 0x10000 : random.Between(0, 0x10000);
      mask.data()[x] =
          static_cast<std::uint8_t>(random.OneIn(3) ? 255 * random.Below(2) : random.Below(256));
    }
    style.x0 = random.Between(0, width);
    style.x1 = random.OneIn(8) ? style.x0 : random.Between(style.x0, width);
    style.y = random.Between(0, 2000);
  }

  void SetSpan(int from, int to, int y) {
    style.x0 = from;
    style.x1 = to;
    style.y = y;
  }

  /// Draws, and compares every pixel of the row with expected(x, what it was before).
  template <typename Expected>
  ::testing::AssertionResult Check(KFiller filler, Expected expected) {
    filler(&style);
    for (int x = 0; x < width; ++x) {
      const std::uint32_t was = before[static_cast<std::size_t>(x)];
      const std::uint32_t want = x >= style.x0 && x < style.x1 ? expected(x, was) : was;
      if (style.row[x] != want) {
        return ::testing::AssertionFailure()
               << std::hex << "pixel " << std::dec << x << " of [" << style.x0 << ", " << style.x1
               << ") is " << std::hex << style.row[x] << ", not " << want << "; it was " << was
               << ", coverage " << style.lineBuffer[x];
      }
    }
    return ::testing::AssertionSuccess();
  }

  /// Any word: often premultiplied, often opaque or clear, at times not a colour at all.
  static std::uint32_t Pixel(Random& random) {
    const std::uint32_t any = random.Next();
    switch (random.Below(6)) {
      case 0:
        return any;
      case 1:
        return any | 0xFF000000;
      case 2:
        return random.OneIn(2) ? 0 : 0xFFFFFFFF;
      case 3:
        return any & 0xFFFFFF;  // alpha 0 with colour
      default:
        return Premultiplied(any);
    }
  }
  static std::uint32_t Premultiplied(std::uint32_t p) {
    const std::uint32_t a = p >> 24;
    const auto channel = [&](int shift) { return (p >> shift & 0xFF) * a / 255 << shift; };
    return a << 24 | channel(16) | channel(8) | channel(0);
  }

  int width;
  GuardedBuffer pixels;
  GuardedBuffer coverage;
  GuardedBuffer mask;
  std::vector<std::uint32_t> before;
  KStyleContext2D style;

 private:
  std::size_t Size(std::size_t bytes) const { return static_cast<std::size_t>(width) * bytes; }
};

#endif
