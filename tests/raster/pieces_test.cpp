// Pieces of edges that wait for each other, beside the same added one by one.
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/raster/sweep/DifferenceLine.h"

#include "tests/common/Random.h"

namespace {

using kalvora::DifferenceLine;
using kalvora::SlopedEdge;

constexpr int kRows = 3;

/// Difference lines of some columns, one behind the other, each with its marks.
struct Lines {
  Lines(int first, int columns, bool waits)
      : blocks((columns + 6) / 4),
        stride(4 * blocks + (blocks + 31) / 32),
        words(static_cast<std::size_t>(kRows * stride)),
        line(first, first + columns, waits) {}

  void GoTo(int row) {
    std::uint32_t* const begin = words.data() + row * stride;
    line.GoTo(begin, begin + 4 * blocks);
  }

  int blocks, stride;
  std::vector<std::uint32_t> words;
  DifferenceLine line;
};

/// Of any steepness: some lie in one column, some go through all.
SlopedEdge AnyEdge(Random& random, int first, int columns) {
  const int x = (first << 16) + random.Between(-3 << 16, (columns + 3) << 16);
  const int dx = random.Between(-(1 << 30) >> random.Below(31), (1 << 30) >> random.Below(31));
  SlopedEdge edge{};
  edge.x0 = random.OneIn(3) ? x & -0x10000 : x;
  edge.x1 = x + dx / 2;
  edge.y0 = random.Between(-(1 << 30), 1 << 30);
  edge.y1 = edge.y0 + 1 + static_cast<int>(random.Below(1u << random.Below(31)));
  edge.NeedRatio();
  return edge;
}

TEST(Pieces, AreAddedAsOneByOne) {
  Random random(12);
  for (int round = 0; round < 2000; ++round) {
    const int first = random.Between(0, 99), columns = random.Between(1, random.OneIn(4) ? 300 : 9);
    Lines soon(first, columns, DifferenceLine::PrefersToWait()), now(first, columns, false);
    for (int i = random.Between(1, 200); i > 0; --i) {
      SlopedEdge edge = AnyEdge(random, first, columns), same = edge;
      const int top = random.Between(edge.y0, edge.y1 - 1), below = edge.y1 - top;
      const int height = below >= 0x10000 && random.OneIn(2)
                             ? 0x10000
                             : random.Between(1, std::min(below, 0x10000));
      const int xTop = edge.XAt(top), xBottom = edge.XAt(top + height);
      const bool corrects = random.OneIn(4);
      const int weight = corrects ? random.Between(-2, 2) : random.Between(-1, 1);
      const int row = static_cast<int>(random.Below(kRows));
      soon.GoTo(row);
      now.GoTo(row);
      if (corrects) {
        if (edge.x0 != edge.x1 && random.OneIn(2)) edge.NeedGain();
        soon.line.Add(edge, xTop, xBottom, height << 10, weight);
        now.line.Add(same, xTop, xBottom, height << 10, weight);
      } else if (height == 0x10000) {
        soon.line.AddRow(edge, xTop, xBottom, weight);
        now.line.AddRow(same, xTop, xBottom, weight);
      } else {
        soon.line.AddSoon(edge, xTop, xBottom, height << 10, weight);
        now.line.Add(same, xTop, xBottom, height << 10, weight);
      }
    }
    soon.line.Finish();
    ASSERT_EQ(soon.words, now.words) << "in round " << round;
  }
}

}  // namespace
