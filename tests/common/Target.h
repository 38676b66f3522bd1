// Target: a bound pixmap that ends at a guard page.
#ifndef KALVORA_TESTS_COMMON_TARGET_H
#define KALVORA_TESTS_COMMON_TARGET_H

#include <cstring>

#include <gtest/gtest.h>

#include "kalvora/context/KSoftContext2D.h"

#include "tests/common/GuardedBuffer.h"

inline KVertex2D P(double x, double y) {
  return {KFixed(static_cast<float>(x)), KFixed(static_cast<float>(y))};
}

struct Target {
  KSoftPixmap pixmap;
  GuardedBuffer buffer;
  KSoftContext2D context;

  explicit Target(unsigned width, unsigned height, KFormat format = KFormat8888PM,
                  unsigned padding = 0)
      : buffer(std::size_t{height} * (width * 4 + padding)) {
    std::memset(buffer.data(), 0x11, buffer.size());
    pixmap.Create(width, height, format, buffer.data(), width * 4 + padding);
    EXPECT_TRUE(context.RenderToTexture(&pixmap));
  }
  std::uint32_t At(unsigned x, unsigned y) const { return pixmap.Row32(y)[x]; }
  unsigned Count(std::uint32_t word) const {
    unsigned n = 0;
    for (unsigned y = 0; y < pixmap.height; ++y) {
      for (unsigned x = 0; x < pixmap.width; ++x) n += At(x, y) == word;
    }
    return n;
  }
  bool operator==(const Target& b) const {
    return std::memcmp(buffer.data(), b.buffer.data(), buffer.size()) == 0;
  }
};

#endif
