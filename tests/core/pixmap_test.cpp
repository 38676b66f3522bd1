// KSoftPixmap: shapes, ownership, import, export, and masks.
#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/support/KFlags.h"

#include "tests/common/Allocations.h"
#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"

namespace {

using Words = std::vector<std::uint32_t>;

TEST(Pixmap, CreateShapes) {
  const struct {
    unsigned width, height;
    int format;
    unsigned stride;
    unsigned expectedShift, expectedStride;
    bool hasAlpha, hasPixels;
  } table[] = {
      {3, 2, 4, 0, 2, 12, false, true},
      {3, 2, 0, 0, 0, 4, false, true},
      {3, 2, 2, 0, 1, 8, false, true},
      {3, 2, 1, 0, 1, 8, true, true},
      {3, 2, 3, 0, 1, 8, true, true},
      {3, 2, 5, 0, 2, 12, true, true},
      {3, 2, 6, 0, 2, 12, false, true},
      {3, 2, 5, 13, 2, 13, true, true},
      {3, 2, -1, 0, 0, 4, true, true},
      {3, 2, 9, 0, 1, 8, true, true},  // no pixel format: the size of a pixel stays as it was
      {0, 0, 5, 0, 2, 0, true, true},
      {0, 5, 5, 0, 2, 0, true, true},
      {0x40000000, 1, 5, 0, 2, 0, true, false},  // the row's bytes do not fit a word
      {0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 0, 0, false, false},
      {1, 0x80000000, 5, 0, 2, 4, true, false},  // the size does not fit a 32-bit machine
      {1, 0x10001, 5, 0x10000, 2, 0x10000, true, false},
      {2, 0xFFFFFFFF, 5, 0xFFFFFFFF, 2, 0xFFFFFFFF, true, false},
  };
  for (const auto& row : table) {
    KSoftPixmap pixmap;
    pixmap.pixelShift = 1;
    pixmap.targetFlag = true;
    pixmap.repeatRule = KRepeatTile;
    pixmap.Create(row.width, row.height, static_cast<KFormat>(row.format), nullptr, row.stride);
    const auto which = &row - table;
    EXPECT_EQ(pixmap.width, row.width) << which;
    EXPECT_EQ(pixmap.height, row.height) << which;
    EXPECT_EQ(pixmap.pixelShift, row.expectedShift) << which;
    EXPECT_EQ(pixmap.stride, row.expectedStride) << which;
    EXPECT_EQ(pixmap.hasAlpha, row.hasAlpha) << which;
    EXPECT_EQ(pixmap.pixels != nullptr, row.hasPixels) << which;
    EXPECT_EQ(pixmap.ownsPixels, row.hasPixels) << which;
    EXPECT_EQ(pixmap.quality, KSamplingBilinear) << which;
    EXPECT_EQ(pixmap.repeatRule, KRepeatClamp) << which;
    EXPECT_FALSE(pixmap.targetFlag) << which;
  }
}

TEST(Pixmap, RowsLongerThanTheStrideHaveTheirMemory) {
  // The sanitizers watch the end of the memory.
  KSoftPixmap pixmap;
  pixmap.Create(10, 4, KFormat0888PM, nullptr, 8);
  Words data(10 * 4, 0x00123456);
  EXPECT_TRUE(pixmap.Set(KFormat0888PM, data.data(), 8, false));
  EXPECT_EQ(pixmap.Row32(3)[9], 0xFF123456);
}

TEST(Pixmap, OwnershipAcrossReshaping) {
  Words buffer(12), data(15, 0x01020304);
  KSoftPixmap pixmap;
  pixmap.Create(4, 3, KFormat8888PM);
  EXPECT_FALSE(pixmap.Wrap(KFormat0888PM, nullptr, 16, true));
  EXPECT_TRUE(pixmap.ownsPixels);
  EXPECT_EQ(pixmap.format, KFormat8888PM);

  EXPECT_TRUE(pixmap.Wrap(KFormat0888PM, buffer.data(), 0, true));
  EXPECT_FALSE(pixmap.ownsPixels);
  EXPECT_TRUE(pixmap.targetFlag);
  EXPECT_EQ(pixmap.stride, 16u);
  EXPECT_EQ(pixmap.Row32(0), buffer.data());

  // An import leaves the caller's buffer alone and moves to memory with the data's stride.
  EXPECT_TRUE(pixmap.Set(KFormat0888PM, data.data(), 20, false));
  EXPECT_TRUE(pixmap.ownsPixels);
  EXPECT_EQ(pixmap.stride, 20u);
  EXPECT_EQ(buffer[0], 0u);
  EXPECT_FALSE(pixmap.targetFlag);

  // The same format keeps memory and stride; another takes new memory.
  const std::uint8_t* kept = pixmap.pixels;
  EXPECT_TRUE(pixmap.Set(KFormat0888PM, nullptr, 0, true));
  EXPECT_EQ(pixmap.pixels, kept);
  EXPECT_EQ(pixmap.stride, 20u);
  EXPECT_TRUE(pixmap.Set(KFormatMask8, nullptr, 0, true));
  EXPECT_EQ(pixmap.stride, 4u);
  EXPECT_EQ(pixmap.pixelShift, 0u);
}

/// Whole imports, rectangles and exports in every format, against rows of bytes.
TEST(Pixmap, ImportsAndExports) {
  using Bytes = std::vector<unsigned char>;
  Random random(1);
  const auto fill = [&random](const GuardedBuffer& buffer) {
    for (unsigned char& byte : buffer) byte = static_cast<unsigned char>(random.Next());
  };
  for (int round = 0; round < 4000; ++round) {
    const auto format = static_cast<KFormat>(random.Below(7));
    const unsigned size = format == KFormatMask8 ? 1 : format <= 3 ? 2 : 4;
    const unsigned width = random.Below(20), height = random.Below(6), rowBytes = width * size;
    const auto anyStride = [&] { return (rowBytes + 3) / 4 * 4 + 4 * random.Below(3); };
    // What is imported into format 4 becomes opaque.
    const auto byteOf = [format](const unsigned char* row, std::size_t i) {
      return format == KFormat0888PM && i % 4 == 3 ? static_cast<unsigned char>(0xFF) : row[i];
    };

    // Of the data's stride, or, in memory of its own already, of any.
    KSoftPixmap pixmap;
    pixmap.width = width;
    pixmap.height = height;
    if (random.OneIn(2)) pixmap.Create(width, height, format, nullptr, anyStride());
    const unsigned stride = anyStride();
    const GuardedBuffer data(std::size_t{stride} * height);
    fill(data);
    ASSERT_TRUE(pixmap.Set(format, data.data(), stride, false));
    // Without a conversion padding is copied too, as far as both have it.
    const unsigned copied = format == KFormat0888PM ? rowBytes : std::min(stride, pixmap.stride);
    Bytes expected;
    for (unsigned y = 0; y < height; ++y) {
      const unsigned char* from = data.data() + y * stride;
      for (unsigned i = 0; i < copied; ++i) {
        ASSERT_EQ(pixmap.pixels[y * pixmap.stride + i], byteOf(from, i)) << format;
        if (i < rowBytes) expected.push_back(byteOf(from, i));
      }
    }

    const auto coordinate = [&random](unsigned end) {
      return static_cast<std::int16_t>(random.Below(end + 1));
    };
    // Often empty or inverted: then nothing is read or written.
    const KRect rect = {coordinate(width), coordinate(height), coordinate(width),
                        coordinate(height)};
    const std::size_t left = static_cast<std::size_t>(rect.left) * size;
    const std::size_t columns =
        rect.IsEmpty() ? 0 : static_cast<std::size_t>(rect.right - rect.left) * size;
    const std::size_t rows = rect.IsEmpty() ? 0 : static_cast<std::size_t>(rect.bottom - rect.top);
    const GuardedBuffer part(columns * rows), partOut(columns * rows), out(expected.size());
    fill(part);
    pixmap.Set(rect, part.data());
    pixmap.Get(rect, partOut.data());
    for (std::size_t i = 0; i < part.size(); ++i) {
      const std::size_t y = static_cast<std::size_t>(rect.top) + i / columns;
      const unsigned char byte = byteOf(part.data(), i);
      expected[y * rowBytes + left + i % columns] = byte;
      ASSERT_EQ(partOut.data()[i], byte) << format;
    }
    pixmap.Get(out.data());
    ASSERT_EQ(Bytes(out.begin(), out.end()), expected) << format;
  }
}

TEST(Pixmap, Conversions) {
  const struct {
    KFormat to, from;
    std::uint32_t in, out;
  } table[] = {
      // Straight to premultiplied: the alpha byte is lost.
      {KFormat8888PM, KFormat8888Straight, 0x80FF0000, 0x007F0000},
      {KFormat8888PM, KFormat8888Straight, 0x81FF0000, 0x00810000},
      {KFormat8888PM, KFormat8888Straight, 0xFF123456, 0x00123456},
      {KFormat8888PM, KFormat8888Straight, 0x00FFFFFF, 0x00000000},
      // Premultiplied to straight: 5/4, a copy, or a ratio of 0 or 1.
      {KFormat8888Straight, KFormat8888PM, 0xBF804000, 0xEEA05000},
      {KFormat8888Straight, KFormat8888PM, 0xBFFFFFFF, 0xEE3E3E3E},
      {KFormat8888Straight, KFormat8888PM, 0xFE123456, 0xFE123456},
      {KFormat8888Straight, KFormat8888PM, 0x00123456, 0x00123456},
      {KFormat8888Straight, KFormat8888PM, 0xFFFF8180, 0xFF010100},
      {KFormat8888Straight, KFormat8888PM, 0x80804140, 0x80010100},
      {KFormat8888Straight, KFormat8888PM, 0x01FF0201, 0x01FF0201},
      // The same format copies, without forcing the alpha of format 4.
      {KFormat0888PM, KFormat0888PM, 0x12345678, 0x12345678},
      {KFormat8888PM, KFormat8888PM, 0x12345678, 0x12345678},
      // Any other pair changes nothing.
      {KFormat8888PM, KFormat0888PM, 0x12345678, 0xA5A5A5A5},
      {KFormat0888PM, KFormat8888Straight, 0x12345678, 0xA5A5A5A5},
  };
  for (const auto& row : table) {
    KSoftPixmap pixmap;
    pixmap.Create(2, 2, row.to);
    const Words before(4, 0xA5A5A5A5);
    std::memcpy(pixmap.pixels, before.data(), 16);
    // Data rows of three words, and no more than that in the last one.
    const GuardedBuffer data(2 * 12);
    for (int k = 0; k < 6; ++k) data.As<std::uint32_t>()[k] = row.in;
    pixmap.Set(row.to, data.data(), row.from, 12, true);
    Words got(4);
    pixmap.Get(got.data());
    EXPECT_EQ(got, Words(4, row.out)) << std::hex << row.in;
    EXPECT_TRUE(pixmap.targetFlag);
  }
}

// What a pixmap imports from itself is what it would import from a copy.
TEST(Pixmap, ImportsOfItsOwnPixels) {
  const auto set = [](KFormat to, KFormat from) {
    return [=](KSoftPixmap& p, const void* data) { p.Set(to, data, from, 0, true); };
  };
  const std::function<void(KSoftPixmap&, const void*)> imports[] = {
      set(KFormat8888PM, KFormat8888Straight),
      set(KFormat8888Straight, KFormat8888PM),
      set(KFormat8888PM, KFormat8888PM),
      [](KSoftPixmap& p, const void* data) { p.Set(KFormat16, data, 16, false); },
      [](KSoftPixmap& p, const void* data) { p.Set(KFormat0888PM, data, 0, false); },
      [](KSoftPixmap& p, const void* data) {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        p.CreateFromAlphaMask(KFormat8888PM, 3, 3, KColor32(255, 9, 99, 200), bytes, 4);
      },
  };
  for (const KFormat format : {KFormat0888PM, KFormat8888PM, KFormat8888Straight}) {
    for (const auto& import : imports) {
      Words colours(12);
      for (std::uint32_t i = 0; i < 12; ++i) colours[i] = 0xBF0040FFu * (i + 3);
      KSoftPixmap own, other;
      for (KSoftPixmap* p : {&own, &other}) {
        p->Create(4, 3, format);
        std::memcpy(p->pixels, colours.data(), 48);
      }
      import(own, own.pixels);
      import(other, colours.data());
      ASSERT_EQ(own.stride, other.stride);
      EXPECT_EQ(own.format, other.format);
      EXPECT_EQ(std::memcmp(own.pixels, other.pixels, own.stride * own.height), 0);
    }
  }
  KSoftPixmap kept;
  kept.Create(2, 1, KFormat8888PM);
  kept.Row32(0)[0] = 1;
  kept.Row32(0)[1] = 2;
  kept.Set(KRect{0, 0, 1, 1}, kept.Row32(0) + 1);
  EXPECT_EQ(kept.Row32(0)[0], 1u) << "refused";
}

TEST(Pixmap, AlphaMasks) {
  const std::uint8_t mask[] = {0, 1, 128, 255, 99, 255, 0, 64, 32, 99};
  KSoftPixmap pixmap;
  pixmap.targetFlag = true;
  pixmap.CreateFromAlphaMask(KFormat8888PM, 4, 2, KColor32(255, 255, 255, 255), mask, 5);
  Words got(8);
  pixmap.Get(got.data());
  EXPECT_EQ(got, (Words{0, 0, 0x7F7F7F7F, 0xFEFEFEFE, 0xFEFEFEFE, 0, 0x3F3F3F3F, 0x1F1F1F1F}));
  EXPECT_TRUE(pixmap.ownsPixels && pixmap.hasAlpha && !pixmap.targetFlag);
  EXPECT_EQ(pixmap.stride, 16u);

  pixmap.CreateFromAlphaMask(KFormat8888PM, 1, 2, KColor32(200, 100, 50, 25), mask + 2, 0);
  EXPECT_EQ(pixmap.Row32(0)[0], 0x0C643219u);
  EXPECT_EQ(pixmap.Row32(1)[0], 0x18C76331u);

  const auto kept = pixmap.pixels;
  pixmap.CreateAlphaMask(9, 9, mask, 3);
  EXPECT_EQ(pixmap.pixels, kept);

  // What is refused leaves nothing to point at, whoever owned it.
  std::uint32_t own = 0;
  for (const bool wrapped : {false, true}) {
    pixmap.Create(1, 1, KFormat8888PM, wrapped ? &own : nullptr);
    pixmap.CreateFromAlphaMask(KFormat0888PM, 4, 2, KColor32(0, 0, 0, 0), mask, 0);
    EXPECT_EQ(pixmap.pixels, nullptr);
    EXPECT_FALSE(pixmap.ownsPixels);
    pixmap.CreateFromAlphaMask(KFormat8888PM, 4, 2, KColor32(0, 0, 0, 0), nullptr, 0);
    EXPECT_EQ(pixmap.pixels, nullptr);
    EXPECT_EQ(pixmap.width, 4u);
  }
  pixmap.CreateFromAlphaMask(KFormat8888PM, 0x7FFFFFFF, 2, KColor32(0, 0, 0, 0), mask, 0);
  EXPECT_EQ(pixmap.pixels, nullptr);
}

TEST(Pixmap, WithoutMemoryNothingIsTouched) {
  static const std::uint32_t data[4] = {};
  static const std::uint8_t mask[4] = {};
  void (*const calls[])(KSoftPixmap&) = {
      [](KSoftPixmap& p) { p.Create(2, 2, KFormat8888PM); },
      [](KSoftPixmap& p) { EXPECT_FALSE(p.Set(KFormat8888PM, data, 0, false)); },
      [](KSoftPixmap& p) { p.Set(KFormat8888PM, data, KFormat8888Straight, 0, false); },
      [](KSoftPixmap& p) {
        p.CreateFromAlphaMask(KFormat8888PM, 2, 2, KColor32(1, 2, 3, 4), mask, 0);
      },
  };
  KSoftPixmap pixmap;
  std::uint32_t out[4] = {1};
  for (const auto call : calls) {
    {
      const Allocations failing(1);
      call(pixmap);
    }
    EXPECT_EQ(pixmap.pixels, nullptr);
    EXPECT_FALSE(pixmap.ownsPixels);
    pixmap.Set(KRect{0, 0, 1, 1}, data);
    pixmap.Get(out);
    pixmap.Get(KRect{0, 0, 1, 1}, out);
    EXPECT_EQ(out[0], 1u);
  }
  EXPECT_TRUE(pixmap.Set(KFormat8888PM, data, 0, false));
  pixmap.Set(KRect{0, 0, 1, 1}, nullptr);
  pixmap.Get(nullptr);
  pixmap.Get(KRect{0, 0, 1, 1}, nullptr);
}

TEST(Pixmap, OnlyNearest) {
  KSoftPixmap pixmap;
  pixmap.SetQuality(KSamplingBicubic);
  EXPECT_EQ(pixmap.quality, KSamplingBicubic);
  Flags.OnlyNearest = true;
  pixmap.SetQuality(KSamplingBicubic);
  EXPECT_EQ(pixmap.quality, KSamplingNearest);
  pixmap.Create(1, 1, KFormat8888PM);
  EXPECT_EQ(pixmap.quality, KSamplingNearest);
  Flags.OnlyNearest = false;
}

}  // namespace
