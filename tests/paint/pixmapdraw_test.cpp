// Placing pixmaps, alpha masks, quarter turns, and the box filter.
#include "kalvora/paint/pixmapdraw.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KFilters.h"
#include "kalvora/paint/patterns/KPatternStrip.h"
#include "kalvora/paint/patterns/patternrectangle.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using reference::Word;

KVertex2D Point(int x, int y) { return {KFixed::FromInt(x), KFixed::FromInt(y)}; }

void FillRandomly(Random& random, KSoftPixmap& p) {
  for (unsigned y = 0; y < p.height; ++y) {
    for (unsigned x = 0; x < p.width; ++x) p.Row32(y)[x] = Span::Premultiplied(random.Next());
  }
}

/// A target with random pixels, a coverage line and a clip.
struct Canvas {
  static constexpr int kWidth = 60, kHeight = 40;

  explicit Canvas(std::uint64_t seed, KFormat format = KFormat8888PM) {
    target.Create(kWidth, kHeight, format);
    Random random(seed);
    FillRandomly(random, target);
    style.lineBuffer = line.data();
    style.clip = {0, 0, kWidth, kHeight};
    strips = &Strips(format == KFormat0888PM);
  }
  std::vector<Word> Pixels() const {
    std::vector<Word> all(kWidth * kHeight);
    target.Get(all.data());
    return all;
  }

  KSoftPixmap target;
  std::vector<std::int32_t> line = std::vector<std::int32_t>(kWidth);
  KPaint paint;
  KStyleContext2D style;
  kalvora::PaintJob Job() { return {&style, &style, &target, &paint, strips->For(paint)}; }
  const KStripTable* strips;
};

TEST(PlacePixmap, MapsTheRectangleOntoThePixmap) {
  KSoftPixmap p;
  p.Create(20, 10, KFormat8888PM);
  KSoftMatrix3D moved, turned;
  moved.Translate(Point(5, -3));
  turned.Rotate(Fixed(90 << 16));
  turned.Translate(Point(50, 50));
  const struct {
    KVertex2D a, b;
    const KSoftMatrix3D* m;
    KVertex2D device, want;  // a device pixel and where its centre lies in the pixmap
    bool copies;
  } rows[] = {
      {Point(0, 0), Point(20, 10), &moved, Point(5, -3), {Fixed(0x8000), Fixed(0x8000)}, true},
      {Point(7, 8), Point(27, 18), &moved, Point(15, 8), {Fixed(0x38000), Fixed(0x38000)}, true},
      {Point(0, 0), Point(40, 5), &moved, Point(9, -1), {Fixed(0x24000), Fixed(0x50000)}, false},
      // A quarter turn takes (x, y) to (y, -x): the pixmap's (2.5, 3.5) is the device's
      // (53.5, 47.5).
      {Point(0, 0), Point(20, 10), &turned, Point(53, 47), {Fixed(0x28000), Fixed(0x38000)}, false},
  };
  for (const auto& row : rows) {
    ASSERT_TRUE(kalvora::PlacePixmap(&p, row.a, row.b, *row.m));
    EXPECT_EQ(p.transform.linearIdentity != 0, row.copies);
    const KVertex2D got = p.transform.Map(row.device);
    EXPECT_NEAR(got.x.raw, row.want.x.raw, 8);
    EXPECT_NEAR(got.y.raw, row.want.y.raw, 8);
    // The part from (2, 1) to (12, 6), half as large, on the same rectangle.
    ASSERT_TRUE(kalvora::PlaceSubPixmap(&p, row.a, row.b, Point(2, 1), Point(12, 6), *row.m));
    const KVertex2D part = p.transform.Map(row.device);
    EXPECT_NEAR(part.x.raw, (2 << 16) + row.want.x.raw / 2, 8);
    EXPECT_NEAR(part.y.raw, (1 << 16) + row.want.y.raw / 2, 8);
  }
  EXPECT_FALSE(kalvora::PlacePixmap(nullptr, Point(0, 0), Point(1, 1), moved));
  EXPECT_FALSE(
      kalvora::PlaceSubPixmap(&p, Point(0, 0), Point(1, 1), Point(3, 3), Point(3, 9), moved));
  p.Create(0, 3, KFormat8888PM);
  EXPECT_FALSE(kalvora::PlacePixmap(&p, Point(0, 0), Point(1, 1), moved));
}

TEST(DrawAlphaMask, ClipsAndWeighs) {
  Random random(1);
  for (std::uint64_t seed = 0; seed < 2000; ++seed) {
    Canvas canvas(seed, seed % 2 ? KFormat0888PM : KFormat8888PM);
    const unsigned width = random.Below(30), height = random.Below(30);
    const unsigned stride = random.OneIn(4) ? width / 2 : width + random.Below(3);
    GuardedBuffer bytes(std::size_t{stride} * height);
    for (auto& byte : bytes) {
      byte = static_cast<std::uint8_t>(random.OneIn(2) ? 255 * random.Below(2) : random.Below(256));
    }
    KSoftPixmap mask;
    mask.Create(width, height, KFormatMask8, bytes.data(), 1);
    mask.stride = stride;
    const auto coordinate = [&] {
      return random.OneIn(20) ? static_cast<int>(random.Word()) : random.Between(-40, 70);
    };
    const int x0 = coordinate(), y0 = coordinate();
    const int x1 = random.OneIn(2) ? coordinate() : reference::Add(x0, static_cast<int>(width));
    const int y1 = random.OneIn(2) ? coordinate() : reference::Add(y0, static_cast<int>(height));
    const auto edge = [&](int low, int high) {
      return static_cast<std::int16_t>(random.Between(low, high));
    };
    KClip& clip = canvas.style.clip;
    clip = {edge(0, 19), edge(0, 19), edge(20, 60), edge(20, 40)};

    const Word c = Span::Premultiplied(random.Next() | (random.OneIn(2) ? 0xFF000000 : 0));
    canvas.paint.type = KPaintColor;
    canvas.paint.color = KColor32::FromWord(c);
    canvas.paint.translucent = c >> 24 != 255;
    KSoftPixmap p;
    p.Create(9, 7, KFormat8888PM);
    FillRandomly(random, p);
    p.repeatRule = KRepeatTile;
    const bool pattern = random.OneIn(3);
    if (pattern) canvas.paint = kalvora::PixmapPaint(p, 256);
    const bool blend = pattern || canvas.paint.translucent;

    std::vector<Word> want = canvas.Pixels();
    for (int y = clip.y0; y < std::min<int>(clip.y1, y1); ++y) {
      for (int x = clip.x0; x < std::min<int>(clip.x1, x1); ++x) {
        const std::int64_t mx = std::int64_t{x} - x0, my = std::int64_t{y} - y0;
        if (mx < 0 || my < 0 || mx >= std::min(width, stride) || my >= height) continue;
        Word& d = want[static_cast<std::size_t>(y * Canvas::kWidth + x)];
        const Word s = pattern ? p.Row32(static_cast<unsigned>(y % 7))[x % 9] : c;
        const Word weight = reference::MaskWeight(bytes.data()[my * stride + mx]);
        d = reference::Composite(d, s, blend, weight);
      }
    }
    kalvora::DrawAlphaMask(canvas.Job(), mask, x0, y0, x1, y1);
    ASSERT_EQ(canvas.Pixels(), want) << "seed " << seed;
    ASSERT_EQ(canvas.style.maskRow, nullptr);
    ASSERT_TRUE(std::all_of(canvas.line.begin(), canvas.line.end(), [](int v) { return v == 0; }));
  }
}

TEST(DrawAlphaMask, PicksWhereTheMaskIsNotEmpty) {
  Canvas canvas(2);
  std::uint8_t bytes[4] = {0, 1, 129, 255};
  KSoftPixmap mask;
  mask.Create(4, 1, KFormatMask8, bytes);
  for (int x = 8; x < 16; ++x) {
    bool hit = false;
    canvas.paint.type = KPaintPick;
    canvas.paint.pickPoint = Point(x, 3);
    canvas.paint.pickHit = &hit;
    kalvora::DrawAlphaMask(canvas.Job(), mask, 10, 3, 14, 4);
    EXPECT_EQ(hit, x > 10 && x < 14) << x;
  }
  // No paint, no mask bytes, a mask of colours: nothing.
  const std::vector<Word> before = canvas.Pixels();
  canvas.paint.type = KPaintNone;
  kalvora::DrawAlphaMask(canvas.Job(), mask, 10, 3, 14, 4);
  canvas.paint.type = KPaintColor;
  mask.pixels = nullptr;
  kalvora::DrawAlphaMask(canvas.Job(), mask, 10, 3, 14, 4);
  kalvora::DrawAlphaMask(canvas.Job(), canvas.target, 0, 0, 14, 4);
  EXPECT_EQ(canvas.Pixels(), before);
}

TEST(QuarterTurns, GiveThePixelsOfNearestSampling) {
  Random random(3);
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    Canvas canvas(seed);
    KSoftPixmap p;
    const int width = random.Between(1, 50), height = random.Between(1, 50);
    p.Create(static_cast<unsigned>(width), static_cast<unsigned>(height), KFormat8888PM);
    FillRandomly(random, p);
    p.hasAlpha = false;
    const int angle = 90 * random.Between(1, 3);
    KSoftMatrix3D m;
    m.Rotate(KFixed::FromInt(angle));
    m.Translate({Fixed(random.Between(0, 60 << 16)), Fixed(random.Between(0, 40 << 16))});
    ASSERT_TRUE(kalvora::PlacePixmap(&p, Point(0, 0), Point(width, height), m));
    canvas.paint = kalvora::PixmapPaint(p, 256);
    const int x0 = random.Between(0, 59), x1 = random.Between(x0, 60);
    const int y0 = random.Between(0, 39), y1 = random.Between(y0, 40);
    std::vector<Word> want = canvas.Pixels();
    for (int y = y0; y < y1; ++y) {
      for (int x = x0; x < x1; ++x) {
        const KVertex2D at = p.transform.Map(Point(x, y));
        const auto column = std::clamp(at.x.raw >> 16, 0, width - 1);
        const auto row = static_cast<unsigned>(std::clamp(at.y.raw >> 16, 0, height - 1));
        want[static_cast<std::size_t>(y * Canvas::kWidth + x)] = p.Row32(row)[column];
      }
    }
    // Halves round down, as those of all rectangles on whole pixels.
    kalvora::DrawSimplePatternRectRotateNoScale(
        canvas.Job(), {Fixed((x0 << 16) + 0x8000), Fixed((y0 << 16) - 0x7F00)},
        {Fixed((x1 << 16) + 0x80FF), Fixed(y1 << 16)}, static_cast<unsigned>(angle));
    ASSERT_EQ(canvas.Pixels(), want) << angle;
  }
}

TEST(DownSample, AveragesBoxes) {
  // By whole factors and by fractions, against the average in real numbers.
  const struct {
    unsigned fromWidth, fromHeight, toWidth, toHeight;
    int tolerance;
  } rows[] = {{8, 8, 4, 4, 0}, {64, 32, 16, 8, 0}, {30, 30, 10, 6, 1}, {17, 23, 5, 7, 1},
              {5, 5, 5, 5, 0}, {40, 9, 1, 9, 1},   {7, 200, 3, 11, 1}, {3000, 50, 3, 1, 1}};
  Random random(4);
  for (const auto& row : rows) {
    KSoftPixmap from, to;
    GuardedBuffer source(std::size_t{row.fromWidth} * row.fromHeight * 4);
    GuardedBuffer result(std::size_t{row.toWidth} * row.toHeight * 4);
    from.Create(row.fromWidth, row.fromHeight, KFormat8888PM, source.data());
    to.Create(row.toWidth, row.toHeight, KFormat8888PM, result.data());
    for (auto& byte : source) byte = static_cast<unsigned char>(random.Next());
    KFilters::DownSample(&to, &from);
    const double sx = 1.0 * row.fromWidth / row.toWidth, sy = 1.0 * row.fromHeight / row.toHeight;
    // The part of source pixel i that belongs to pixel k of the result.
    const auto part = [](unsigned i, unsigned k, double scale) {
      return std::max(0.0, std::min((k + 1) * scale, i + 1.0) - std::max(k * scale, 1.0 * i));
    };
    for (unsigned k = 0; k < row.toWidth * row.toHeight * 4; ++k) {
      const int channel = static_cast<int>(k % 4);
      const unsigned x = k / 4 % row.toWidth, y = k / 4 / row.toWidth;
      double sum = 0;
      for (unsigned j = 0; j < row.fromHeight; ++j) {
        for (unsigned i = 0; part(j, y, sy) > 0 && i < row.fromWidth; ++i) {
          const Word c = reference::Channel(from.Row32(j)[i], channel);
          sum += part(j, y, sy) * part(i, x, sx) * c;
        }
      }
      const int want = static_cast<int>(sum / (sx * sy) + 0x7F00 / 65536.0);
      ASSERT_NEAR(static_cast<int>(reference::Channel(to.Row32(y)[x], channel)), want,
                  row.tolerance)
          << row.fromWidth << " to " << row.toWidth;
    }
  }
}

TEST(DownSample, WhiteStaysWhite) {
  KSoftPixmap from, to;
  for (unsigned width = 1; width <= 300; ++width) {
    for (unsigned height : {1u, 2u, 150u}) {
      from.Create(width, height, KFormat8888PM);
      to.Create(1 + width / 150, 1, KFormat8888PM);
      std::fill_n(from.Row32(0), width * height, 0xFFFFFFFF);
      KFilters::DownSample(&to, &from);
      for (unsigned x = 0; x < to.width; ++x) ASSERT_EQ(to.Row32(0)[x], 0xFFFFFFFF) << width;
    }
  }
}

TEST(DownSample, StatedArithmetic) {
  // Sums of c << 16 weighed by ((vertical >> 8) horizontal) >> 16, times the inverse area.
  KSoftPixmap from, to;
  from.Create(3, 1, KFormat8888PM);
  to.Create(2, 1, KFormat8888PM);
  from.Row32(0)[0] = 0xFF0A0000;
  from.Row32(0)[1] = 0xFF643205;
  from.Row32(0)[2] = 0xFFFFFFFF;
  KFilters::DownSample(&to, &from);
  // Left: 1.0 of the first, 0.5 of the second, of 1.5; the inverse is 43690 / 65536.
  EXPECT_EQ(to.Row32(0)[0], 0xFF281102u);
  EXPECT_EQ(to.Row32(0)[1], 0xFFCBBBACu);
}

TEST(DownSample, LeavesWhatItCannotDo) {
  Word word = 0x12345678;
  KSoftPixmap one, empty, mask, narrow;
  one.Create(1, 1, KFormat8888PM, &word);
  empty.Create(0, 0, KFormat8888PM);
  mask.Create(4, 4, KFormatMask8);
  narrow.Create(4, 4, KFormat8888PM, &word, 4);
  for (KSoftPixmap* useless : {static_cast<KSoftPixmap*>(nullptr), &empty, &mask, &narrow}) {
    KFilters::DownSample(&one, useless);
    KFilters::DownSample(useless, &one);
    EXPECT_EQ(word, 0x12345678u);
  }
}

}  // namespace
