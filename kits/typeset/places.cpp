// Hit testing, carets and selections. Where one glyph stands for several characters, each has an
// equal part of it.
#include "kits/typeset/places.h"

#include <algorithm>

#include "kits/typeset/boundaries.h"

namespace kalvora::typeset {

namespace {

bool IsRightToLeft(const GlyphCluster& cluster) { return (cluster.piece->level & 1) != 0; }

// How many grapheme clusters begin in [begin, end); what a mark hides is one.
std::uint32_t Count(const Content& content, const GlyphCluster& cluster, std::uint32_t end) {
  if (cluster.piece->mark) return end > cluster.begin ? 1 : 0;
  std::uint32_t count = 0;
  for (std::uint32_t i = cluster.begin; i < end; ++i) count += content.units[i].cluster;
  return count;
}

// Where, in a cluster, the boundary before a character lies.
KLength BoundaryIn(const Content& content, const GlyphCluster& cluster, std::uint32_t character) {
  const KLength whole = std::max(1u, Count(content, cluster, cluster.end));
  const KLength before = Count(content, cluster, std::clamp(character, cluster.begin, cluster.end));
  const KLength part = cluster.width * before / whole;
  return IsRightToLeft(cluster) ? cluster.x + cluster.width - part : cluster.x + part;
}

}  // namespace

std::uint32_t Page::ClusterAt(std::size_t byte) const {
  std::uint32_t character = content.CharacterAt(byte);
  while (!content.units[character].cluster) --character;
  return character;
}

std::uint32_t Page::NextCluster(std::uint32_t character) const {
  if (character < content.Size()) ++character;
  while (!content.units[character].cluster) ++character;
  return character;
}

std::uint32_t Page::PreviousCluster(std::uint32_t character) const {
  if (character > 0) --character;
  while (!content.units[character].cluster) --character;
  return character;
}

std::size_t Page::LineOf(KTextPlace place) const {
  const std::uint32_t character = ClusterAt(place.offset);
  const auto after =
      std::upper_bound(layout.lines.begin(), layout.lines.end(), character,
                       [](std::uint32_t c, const Line& line) { return c < line.begin; });
  const auto index = static_cast<std::size_t>(after - layout.lines.begin()) - 1;
  const Line& line = layout.lines[index];
  const bool before =
      place.upstream && index > 0 && character == line.begin && !layout.lines[index - 1].hard;
  return before ? index - 1 : index;
}

KTextHit Page::HitTest(KLength x, KLength y) const {
  x = std::clamp(x, -KUnlimited, KUnlimited);
  const auto after = std::upper_bound(layout.lines.begin(), layout.lines.end(), y,
                                      [](KLength v, const Line& line) { return v < line.top; });
  const Line& line = after == layout.lines.begin() ? *after : *(after - 1);
  const bool onLine = y >= line.top && y < line.top + line.height;

  KTextHit hit = {{content.offsets[line.begin], false}, content.offsets[line.begin], false};
  KLength nearest = INT64_MAX;
  VisitClusters(content, layout, line, [&](const GlyphCluster& cluster) {
    const KLength right = cluster.x + std::max<KLength>(cluster.width, 0);
    const KLength distance = x < cluster.x ? cluster.x - x : x < right ? 0 : x - right + 1;
    if (distance >= nearest) return;
    nearest = distance;
    // Which of the cluster's characters, and which half of it.
    std::uint32_t begin = cluster.begin, end = cluster.end;
    if (!cluster.piece->mark) {
      const KLength whole = std::max(1u, Count(content, cluster, cluster.end));
      const KLength along =
          IsRightToLeft(cluster) ? cluster.x + cluster.width - 1 - x : x - cluster.x;
      KLength skip = cluster.width > 0
                         ? std::clamp<KLength>(along, 0, cluster.width - 1) * whole / cluster.width
                         : 0;
      for (; skip > 0; --skip) begin = NextCluster(begin);
      end = std::min(NextCluster(begin), cluster.end);
    }
    const KLength a = BoundaryIn(content, cluster, begin), b = BoundaryIn(content, cluster, end);
    const bool late =
        (a < b ? x - a > b - x : a - x > x - b) && !EndsLine(content.characters[begin]);
    hit.character = content.offsets[begin];
    hit.place = late ? KTextPlace{content.offsets[end], true} : KTextPlace{hit.character, false};
    hit.inside = distance == 0 && onLine;
  });
  return hit;
}

KCaret Page::CaretAt(KTextPlace place) const {
  const Line& line = layout.lines[LineOf(place)];
  const std::uint32_t character = ClusterAt(place.offset);
  const bool rightToLeft = (line.base & 1) != 0;
  KCaret caret = {rightToLeft ? line.left + line.width : line.left, line.top,
                  line.top + line.height, rightToLeft};
  // After the character before, unless one stands there that is on the line.
  const bool after = character > line.begin && (place.upstream || character >= line.end);
  const std::uint32_t beside = after ? std::min(character, line.end) - 1 : character;
  VisitClusters(content, layout, line, [&](const GlyphCluster& cluster) {
    if (beside < cluster.begin || beside >= cluster.end) return;
    caret.x = BoundaryIn(content, cluster, after ? beside + 1 : beside);
    caret.rightToLeft = IsRightToLeft(cluster);
  });
  return caret;
}

void Page::AddBoxes(const Line& line, std::uint32_t begin, std::uint32_t end,
                    std::vector<KSelectionBox>& boxes) const {
  const std::size_t first = boxes.size();
  VisitClusters(content, layout, line, [&](const GlyphCluster& cluster) {
    const std::uint32_t from = std::max(begin, cluster.begin), to = std::min(end, cluster.end);
    if (from >= to) return;
    const KLength a = BoundaryIn(content, cluster, from), b = BoundaryIn(content, cluster, to);
    if (boxes.size() > first && boxes.back().right == std::min(a, b)) {
      boxes.back().right = std::max(a, b);
    } else if (a != b) {
      boxes.push_back({std::min(a, b), line.top, std::max(a, b), line.top + line.height});
    }
  });
}

}  // namespace kalvora::typeset
