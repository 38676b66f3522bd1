// Every loop of every width that this processor has against the pixel rules: all lengths up to a
// few vectors, every alignment, buffers that end or begin at guard pages.
#include "kalvora/paint/loops/loops.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/roots.h"
#include "kalvora/paint/KColorStrip.h"
#include "kalvora/paint/patterns/bicubic.h"

#include "tests/common/GuardedBuffer.h"
#include "tests/common/Random.h"
#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using kalvora::Block;
using kalvora::Loops;
using kalvora::Mix;
using kalvora::PixelLoop;
using reference::Word;

constexpr int kLongest = 70;

/// One call's buffers: rows of n pixels that lie `stride` apart, and as much of coverage, mask and
/// source. The first row begins, or the last one ends, at a guard page.
struct Case {
  Case(Random& random, int columns, int lines, GuardedBuffer::Edge edge)
      : n(columns),
        rows(lines),
        stride(columns + random.Between(0, 3)),
        pixels(Bytes(4), edge),
        source(Bytes(4), edge),
        coverage(Bytes(4), edge),
        mask(Bytes(1), edge),
        color(Span::Pixel(random)),
        opacity(random.Between(0, 256)) {
    for (std::size_t i = 0; i < mask.size(); ++i) {
      pixels.As<Word>()[i] = Span::Pixel(random);
      source.As<Word>()[i] = Span::Pixel(random);
      coverage.As<std::int32_t>()[i] =
          random.OneIn(3) ? random.Between(0, 1) << 16 : random.Between(0, 0x10000);
      mask.data()[i] =
          static_cast<std::uint8_t>(random.OneIn(3) ? 255 * random.Below(2) : random.Below(256));
    }
    before.assign(pixels.As<Word>(), pixels.As<Word>() + mask.size());
    for (Mix& mix : mixes) mix = AnyMix(random);
  }

  Block Pixels() const { return {pixels.As<Word>(), stride, n, rows}; }
  std::uint8_t Mask(std::size_t i) const { return mask.data()[i]; }
  std::int32_t Coverage(std::size_t i) const { return coverage.As<std::int32_t>()[i]; }
  Word Source(std::size_t i) const { return source.As<Word>()[i]; }

  const int n, rows, stride;
  GuardedBuffer pixels, source, coverage, mask;
  const Word color;
  const std::int32_t opacity;
  Mix mixes[3];
  std::vector<Word> before;

 private:
  /// From the first pixel to the last row's last.
  std::size_t Bytes(int size) const {
    return n == 0 ? 0 : static_cast<std::size_t>((stride * (rows - 1) + n) * size);
  }
  static Mix AnyMix(Random& random) {
    const Word c = Span::Pixel(random),
               w = random.OneIn(3) ? 256 * random.Below(2) : random.Below(257);
    if (random.OneIn(2)) return {w, 0, 0, c};
    return {256 - w, (c & 0xFF00FF) * w, (c >> 8 & 0xFF00FF) * w, 0};
  }
};

Word Mixed(const Mix& mix, Word d) {
  Word result = 0;
  for (int i = 0; i < 4; ++i) {
    const Word fields = i & 1 ? mix.hi : mix.lo;
    const Word sum = reference::Channel(d, i) * mix.rest + (fields >> 8 * (i & 2) & 0xFFFF);
    result |= sum / 256 << 8 * i;
  }
  return result + mix.add;
}

/// The weight that a Weight gives pixel i, and the source pixel that it weighs.
Word Weighed(const Case& c, std::size_t i, int weight, bool alpha) {
  using reference::CoverageWeight;
  const auto opacity = static_cast<Word>(c.opacity);
  const Word weights[] = {256, opacity, CoverageWeight(c.Coverage(i)),
                          static_cast<Word>(std::int64_t{c.Coverage(i)} * opacity >> 16),
                          CoverageWeight(c.Coverage(i))};
  const Word s = weight == 4 ? reference::Scale(c.Source(i), opacity) : c.Source(i);
  return reference::Composite(c.before[i], s, alpha, weights[weight]);
}

/// A loop: how it is called, and what pixel i of column x becomes.
struct Row {
  std::string name;
  bool rows;  // takes more than one row
  std::function<void(const Loops&, const Case&)> run;
  std::function<Word(const Case&, std::size_t i, int x)> want;
};

std::vector<Row> Table() {
  const auto composite = [](const Case& c, std::size_t i, bool blend, Word weight) {
    return reference::Composite(c.before[i], c.color, blend, weight);
  };
  std::vector<Row> table = {
      {"fill", true, [](const Loops& l, const Case& c) { l.color.fill(c.Pixels(), c.color); },
       [](const Case& c, std::size_t, int) { return c.color; }},
      {"over", true, [](const Loops& l, const Case& c) { l.color.over(c.Pixels(), c.color); },
       [=](const Case& c, std::size_t i, int) { return composite(c, i, true, 256); }},
      {"edged", true,
       [](const Loops& l, const Case& c) {
         l.color.edged(c.Pixels(), c.mixes[0], c.mixes[1], c.mixes[2]);
       },
       [](const Case& c, std::size_t i, int x) {
         return Mixed(c.mixes[x == 0 ? 0 : x == c.n - 1 ? 2 : 1], c.before[i]);
       }},
  };
  table.push_back({"copyBlock", true,
                   [](const Loops& l, const Case& c) {
                     l.pixels.copyBlock(c.Pixels(), c.source.As<Word>(), c.stride);
                   },
                   [](const Case& c, std::size_t i, int) { return c.Source(i); }});
  table.push_back({"overBlock", true,
                   [](const Loops& l, const Case& c) {
                     l.pixels.overBlock(c.Pixels(), c.source.As<Word>(), c.stride);
                   },
                   [](const Case& c, std::size_t i, int) {
                     return reference::Composite(c.before[i], c.Source(i), true, 256);
                   }});
  // From the last pixel back to the first.
  table.push_back({"pick", false,
                   [](const Loops& l, const Case& c) {
                     std::vector<Word> index;
                     for (int i = c.n; i-- > 0;) index.push_back(static_cast<Word>(i));
                     l.pixels.pick(c.pixels.As<Word>(), c.n, index.data(), c.source.As<Word>());
                   },
                   [](const Case& c, std::size_t i, int) {
                     return c.Source(static_cast<std::size_t>(c.n - 1) - i);
                   }});
  for (const bool blend : {true, false}) {
    table.push_back({blend ? "cover" : "lerp", false,
                     [=](const Loops& l, const Case& c) {
                       (blend ? l.color.cover : l.color.lerp)(
                           c.pixels.As<Word>(), c.coverage.As<std::int32_t>(), c.n, c.color);
                     },
                     [=](const Case& c, std::size_t i, int) {
                       return composite(c, i, blend, reference::CoverageWeight(c.Coverage(i)));
                     }});
    table.push_back({blend ? "coverMasked" : "lerpMasked", true,
                     [=](const Loops& l, const Case& c) {
                       (blend ? l.color.coverMasked : l.color.lerpMasked)(c.Pixels(), c.mask.data(),
                                                                          c.stride, c.color);
                     },
                     [=](const Case& c, std::size_t i, int) {
                       return composite(c, i, blend, reference::MaskWeight(c.Mask(i)));
                     }});
    for (int w = 0; w < kalvora::kWeights; ++w) {
      if (!blend && (w == 0 || w == 4)) continue;
      table.push_back(
          {std::string(blend ? "pixels.over " : "pixels.lerp ") + std::to_string(w), false,
           [=](const Loops& l, const Case& c) {
             (blend ? l.pixels.over : l.pixels.lerp)[w](c.pixels.As<Word>(), c.source.As<Word>(),
                                                        c.coverage.As<std::int32_t>(), c.n,
                                                        c.opacity);
           },
           [=](const Case& c, std::size_t i, int) { return Weighed(c, i, w, blend); }});
    }
  }
  return table;
}

void Check(const Loops& loops, const Row& row, const Case& c) {
  row.run(loops, c);
  for (std::size_t i = 0; i < c.before.size(); ++i) {
    const int x = static_cast<int>(i) % c.stride;
    const Word want = x < c.n ? row.want(c, i, x) : c.before[i];
    ASSERT_EQ(c.pixels.As<Word>()[i], want)
        << loops.name << ", " << row.name << ": pixel " << i << " of " << c.rows << " rows of "
        << c.n << std::hex << "; it was " << c.before[i] << ", colour " << c.color;
  }
}

TEST(Loops, FollowTheRulesInEveryWidth) {
  const std::vector<Row> table = Table();
  // Every pointer of the tables has its row, but for `differences`, of which a test below is,
  // `steps` and `straight` (see block_test.cpp), and the two weights that lerp does without.
  static_assert(sizeof(Loops::color) + sizeof(Loops::pixels) == 23 * sizeof(void*));
  ASSERT_EQ(table.size(), 20u - 2);
  for (const Loops* const* width = kalvora::UsableLoops(); *width; ++width) {
    for (const Row& row : table) {
      Random random(7);
      for (int n = 0; n <= kLongest; ++n) {
        for (const auto edge : {GuardedBuffer::kAtEnd, GuardedBuffer::kAtStart}) {
          const int rows = row.rows ? random.Between(1, 4) : 1;
          ASSERT_NO_FATAL_FAILURE(Check(**width, row, Case(random, n, rows, edge)));
        }
      }
    }
  }
}

/// Rows whose coverage is kept as differences, touched in blocks of four or in ranges of columns.
struct DifferenceRows {
  DifferenceRows(Random& random, int columns)
      : n(columns), start(random.OneIn(3) << kalvora::Differences::kFullBits) {
    bits = (static_cast<std::size_t>(n) + 6) / 4 * 4;
    stride = bits + bits / 128 + 1;
    const int rows = random.Between(1, 3);
    lines.resize(stride * static_cast<std::size_t>(rows));
    for (int y = 0; y < rows; ++y) {
      edges.push_back(random.OneIn(2) ? random.Between(0, 5) : -1);
      Add(random, &lines[stride * static_cast<std::size_t>(y)]);
    }
  }

  // Sums lie a few units outside of none and full, too.
  void Add(Random& random, Word* line) {
    const std::vector<bool> touched = edges.back() < 0 ? Marks(random, line) : Ranges(random);
    Word sum = start, before = start;
    for (int i = 0; i < n; ++i) {
      if (touched[i]) {
        const int coverage =
            random.OneIn(3) ? random.Between(0, 1) << 16 : random.Between(0, 65536);
        sum = static_cast<Word>(coverage * 2048 + random.Between(-9, 9));
      }
      sums.push_back(sum);
      line[i] = sum - before;
      before = sum;
    }
    if (touched[n]) line[n] = random.Next();
  }

  std::vector<bool> Marks(Random& random, Word* line) const {
    std::vector<bool> touched(bits);
    const int seldom = random.Between(1, 8);
    for (std::size_t i = 0; i <= static_cast<std::size_t>(n) / 4; ++i) {
      if (!random.OneIn(seldom)) continue;
      line[bits + i / 32] |= 1u << i % 32;
      std::fill_n(touched.begin() + 4 * static_cast<std::ptrdiff_t>(i), 4, true);
    }
    return touched;
  }

  std::vector<bool> Ranges(Random& random) {
    std::vector<bool> touched(bits);
    touched[n] = true;
    for (int i = 0, first = 0; i < edges.back(); ++i) {
      first = std::min(n, first + random.Between(0, n) / (random.OneIn(2) ? 1 : 8));
      const int end = std::clamp(first + random.Between(-1, 9), 0, n);
      ranges.insert(ranges.end(), {first, end});
      for (int k = first; k < end; ++k) touched[k] = true;
    }
    return touched;
  }

  int n;
  Word start;
  std::size_t bits, stride;  // within a line, and from one to the next
  std::vector<Word> lines, sums;
  std::vector<std::int32_t> edges, ranges;
};

TEST(Loops, DifferencesInEveryWidth) {
  constexpr std::int32_t kRows[] = {0, 1, 2};
  Random random(11);
  for (int round = 0; round < 4000; ++round) {
    const int n = random.OneIn(9) ? random.Between(0, 400) : round % (kLongest + 1);
    const auto edge = random.OneIn(2) ? GuardedBuffer::kAtEnd : GuardedBuffer::kAtStart;
    const DifferenceRows c(random, n);
    std::vector<Word> before(c.sums.size());
    for (Word& pixel : before) pixel = Span::Pixel(random);
    KStyleContext2D style;
    style.color = KColor32::FromWord(Span::Pixel(random));
    style.blend = random.OneIn(2);
    style.x0 = 0;
    style.x1 = n;
    for (const Loops* const* width = kalvora::UsableLoops(); *width; ++width) {
      GuardedBuffer pixels(4 * before.size(), edge), lines(4 * c.lines.size(), edge);
      std::copy(before.begin(), before.end(), pixels.As<Word>());
      std::copy(c.lines.begin(), c.lines.end(), lines.As<Word>());
      style.row = pixels.As<Word>();
      style.loops = *width;
      kalvora::FillColorDifferences(&style, {.line = lines.As<Word>(),
                                             .touched = lines.As<Word>() + c.bits,
                                             .lineStride = static_cast<std::ptrdiff_t>(c.stride),
                                             .y = kRows,
                                             .edges = c.edges.data(),
                                             .ranges = c.ranges.data(),
                                             .rows = static_cast<int>(c.edges.size()),
                                             .start = c.start,
                                             .stride = n});
      for (std::size_t i = 0; i < before.size(); ++i) {
        const int coverage = std::clamp(static_cast<std::int32_t>(c.sums[i]) >> 11, 0, 0x10000);
        ASSERT_EQ(pixels.As<Word>()[i],
                  reference::Composite(before[i], style.color.Word(), style.blend != 0,
                                       reference::CoverageWeight(coverage)))
            << (*width)->name << ": pixel " << i << " of " << n << " x " << c.edges.size()
            << ", coverage " << coverage;
      }
      for (std::size_t i = 0; i < c.lines.size(); ++i) ASSERT_EQ(lines.As<Word>()[i], 0u);
    }
  }
}

/// A picture between guard pages; places in it, by column and row and as the arrays of the loops of
/// stretched and turned patterns have them: with zeros up to a multiple of 8.
struct Places {
  static constexpr int kWidth = 19, kHeight = 9;

  Places(Random& random, int n, GuardedBuffer::Edge edge)
      : picture(4 * kWidth * kHeight, edge), count(static_cast<std::size_t>(n + 7) / 8 * 8) {
    for (int i = 0; i < kWidth * kHeight; ++i) picture.As<Word>()[i] = Span::Pixel(random);
    for (int i = 0; i < n; ++i) x[i] = random.Below(kWidth - 3);
    std::sort(x, x + n);
    if (random.OneIn(4)) std::reverse(x, x + n);
    for (int i = 0; i < n; ++i) {
      y[i] = random.Below(kHeight - 3);
      u[i] = x[i] << 16 | random.Below(0x10000), v[i] = y[i] << 16 | random.Below(0x10000);
      offset[i] = x[i] * 4, top[i] = (y[i] * kWidth + x[i]) * 4, bottom[i] = top[i] + 4 * kWidth;
      weightX[i] = random.Below(257), weightY[i] = random.Below(257);
      for (int j = 0; j < 4; ++j) weights[4 * i + j] = random.Between(-0x1FFFF, 0x3FFFF);
    }
  }

  Word At(Word column, Word row) const { return picture.As<Word>()[row * kWidth + column]; }
  Word Pair(int i, Word row) const {
    return reference::Lerp(At(x[i], row), At(x[i] + 1, row), weightX[i]);
  }
  /// The sum of channel c of four pixels.
  std::int32_t Sum(int i, Word row, int c, const std::int32_t* w) const {
    std::int32_t sum = 0;
    for (Word j = 0; j < 4; ++j) {
      sum += static_cast<std::int32_t>(reference::Channel(At(x[i] + j, row), c)) * w[j];
    }
    return sum;
  }

  GuardedBuffer picture;
  const std::size_t count;
  Word x[72] = {}, y[72] = {}, u[72] = {}, v[72] = {}, offset[72] = {}, top[72] = {};
  Word bottom[72] = {}, weightX[72] = {}, weightY[72] = {};
  std::int32_t weights[4 * 72] = {};
};

/// A pixel of weighed sums: sum(c, j) of channel c in row j.
template <typename Sum>
Word CubicPixel(Sum sum, const std::int32_t* weight, kalvora::SampleAlpha alpha) {
  Word channel[4], pixel = 0;
  for (int c = 0; c < 4; ++c) {
    std::int64_t all = 0;
    for (int j = 0; j < 4; ++j) all += std::int64_t{sum(c, j)} * weight[j] >> 18;
    channel[c] = static_cast<Word>((std::clamp<std::int64_t>(all, 0, 0xFF0000) + 0x7F00) >> 16);
  }
  for (int c = 0; c < 4; ++c) {
    if (alpha == kalvora::SampleAlpha::kBound) channel[c] = std::min(channel[c], channel[3]);
    if (c < 3 || alpha != kalvora::SampleAlpha::kNone) pixel |= channel[c] << (8 * c);
  }
  return pixel;
}

void CheckPlaces(const Loops& loops, const Places& p, int n, GuardedBuffer::Edge edge,
                 Random& random) {
  const auto pixels = static_cast<std::size_t>(n);
  const auto alpha = static_cast<kalvora::SampleAlpha>(random.Below(3));
  const kalvora::StretchLoops& stretch = loops.stretch;
  GuardedBuffer across(4 * p.count, edge), to(4 * pixels, edge), sums(16 * p.count, edge);
  const auto check = [&](const char* name, const GuardedBuffer& got, auto want) {
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(got.As<Word>()[i], want(i))
          << loops.name << ", " << name << ": " << i << " of " << n;
    }
  };
  stretch.mixAcross(across.As<Word>(), n, p.picture.data(), p.offset, p.weightX);
  check("mixAcross", across, [&](int i) { return p.Pair(i, 0); });
  stretch.mixDown(to.As<Word>(), n, p.u, p.v, p.weightY[0]);
  check("mixDown", to, [&](int i) { return reference::Lerp(p.u[i], p.v[i], p.weightY[0]); });
  stretch.cubicAcross(sums.As<std::int32_t>(), n, p.picture.data(), p.offset, p.weights);
  for (int i = 0; i < 4 * n; ++i) {
    ASSERT_EQ(sums.As<std::int32_t>()[i], p.Sum(i / 4, 0, i % 4, p.weights + i / 4 * 4));
  }
  std::int32_t rows[4][4 * 72 + 1], weight[4];
  for (auto& row : rows) {
    for (std::int32_t& word : row) word = random.Between(-(1 << 27), 1 << 27);
  }
  for (std::int32_t& w : weight) w = random.Between(-0x1FFFF, 0x1FFFF);
  const std::int32_t* const four[] = {rows[0], rows[1], rows[2], rows[3]};
  stretch.cubicDown(to.As<Word>(), n, four, weight, alpha);
  check("cubicDown", to, [&](int i) {
    return CubicPixel([&](int c, int j) { return rows[j][4 * i + c]; }, weight, alpha);
  });

  const kalvora::Places line{0x4000, 0x8000, random.Below(0x20000), random.Below(0x20000)};
  const Word stride = 4 * Places::kWidth;
  GuardedBuffer top(4 * p.count, edge), bottom(4 * p.count, edge), x(4 * p.count, edge);
  GuardedBuffer y(4 * p.count, edge);
  loops.turn.place(top.As<Word>(), bottom.As<Word>(), x.As<Word>(), y.As<Word>(), n, line, stride);
  const auto u = [&](int i) { return line.u + static_cast<Word>(i) * line.du; };
  const auto v = [&](int i) { return line.v + static_cast<Word>(i) * line.dv; };
  check("top", top, [&](int i) { return (v(i) >> 16) * stride + (u(i) >> 16) * 4; });
  check("bottom", bottom, [&](int i) { return top.As<Word>()[i] + stride; });
  check("x", x, [&](int i) { return ((u(i) & 0xFFFF) + 0x7F) >> 8; });
  check("y", y, [&](int i) { return ((v(i) & 0xFFFF) + 0x7F) >> 8; });
  loops.turn.mix(to.As<Word>(), n, p.picture.data(), p.top, p.bottom, p.weightX, p.weightY);
  check("mix", to, [&](int i) {
    return reference::Lerp(p.Pair(i, p.y[i]), p.Pair(i, p.y[i] + 1), p.weightY[i]);
  });
  loops.turn.cubic(to.As<Word>(), n, p.picture.data(), stride, p.top, p.u, p.v,
                   KTables::KBicubic.data(), alpha);
  check("cubic", to, [&](int i) {
    std::int32_t w[8];
    kalvora::FindWeights(w, static_cast<std::int32_t>(p.u[i]));
    kalvora::FindWeights(w + 4, static_cast<std::int32_t>(p.v[i]));
    for (int j = 0; j < 4; ++j) w[j] *= 4;
    return CubicPixel([&](int c, int j) { return p.Sum(i, p.y[i] + static_cast<Word>(j), c, w); },
                      w + 4, alpha);
  });
}

TEST(Loops, StretchedAndTurnedInEveryWidth) {
  static_assert(sizeof(Loops::stretch) + sizeof(Loops::turn) == 7 * sizeof(void*));
  for (const Loops* const* width = kalvora::UsableLoops(); *width; ++width) {
    Random random(13);
    for (int n = 0; n <= kLongest; ++n) {
      for (const auto edge : {GuardedBuffer::kAtEnd, GuardedBuffer::kAtStart}) {
        const Places places(random, n, edge);
        ASSERT_NO_FATAL_FAILURE(CheckPlaces(**width, places, n, edge, random));
      }
    }
  }
}

TEST(Loops, GradientsInEveryWidth) {
  Random random(9);
  for (int round = 0; round < 20000; ++round) {
    const int n = random.Between(1, 64), bits = random.Between(1, 29);
    Word value[4], grow[4], table[2049], out[72], got[64];
    for (int c = 0; c < 4; ++c) value[c] = random.Next(), grow[c] = random.Next();
    std::uint64_t g[2], step[2];  // squares next to perfect ones, too
    for (int i : {0, 1}) {
      const auto part = [&](int most) {
        return static_cast<std::uint64_t>(random.Between(-most, most));
      };
      g[i] = part(1 << bits), step[i] = part(1 << std::max(0, bits - 6));
    }
    if (random.OneIn(2)) g[1] = step[1] = 0;
    const std::uint64_t length = step[0] * step[0] + step[1] * step[1];
    const kalvora::Squares squares{g[0] * g[0] + g[1] * g[1] + random.Below(2),
                                   2 * (g[0] * step[0] + g[1] * step[1]) + length, 2 * length};
    const int shift = random.Between(0, 20);
    const Word count = random.Below(2049);
    const Word period = 1 + random.Below(2048u << shift);
    for (Word& color : table) color = random.Next();
    for (const Loops* const* width = kalvora::UsableLoops(); *width; ++width) {
      const kalvora::GradientLoops& loops = (*width)->gradient;
      loops.series(got, n, value, grow);
      for (int i = 0; i < n; ++i) {
        for (int c = 0; c < 4; ++c) {
          ASSERT_EQ(reference::Channel(got[i], c),
                    (value[c] + static_cast<Word>(i) * grow[c]) >> 24);
        }
      }
      const auto roots = [&](auto want) {
        std::uint64_t s = squares.start, rise = squares.rise;
        for (int i = 0; i < n; ++i, s += rise, rise += squares.growth) {
          ASSERT_EQ(out[i], want(kalvora::Root(s))) << (*width)->name << " root of " << s;
        }
      };
      for (const Word turn : {0u, period}) {
        loops.radial(got, n, squares, {table, count, shift, turn}, out);
        ASSERT_NO_FATAL_FAILURE(roots([&](Word root) {
          return turn ? root % turn >> shift : std::min(root >> shift, count);
        }));
        for (int i = 0; i < n; ++i) ASSERT_EQ(got[i], table[out[i]]);
      }
    }
  }
}

TEST(Loops, TheEnvironmentChoosesAWidth) {
  const char* wanted = std::getenv("K_WIDTH");
  std::string expected;
  for (const Loops* const* width = kalvora::UsableLoops(); *width; ++width) {
    if (expected.empty() || !wanted || expected != wanted) expected = (*width)->name;
  }
  EXPECT_EQ(kalvora::ChosenLoops().name, expected);
}

}  // namespace
