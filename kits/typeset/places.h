// From points to characters and back, on lines that are made.
#ifndef KITS_TYPESET_PLACES_H
#define KITS_TYPESET_PLACES_H

#include "kalvora/typeset/KParagraph.h"

#include "kits/typeset/layout.h"

namespace kalvora::typeset {

/// A content and its lines.
struct Page {
  const Content& content;
  const Layout& layout;

  /// The line that shows a place.
  std::size_t LineOf(KTextPlace place) const;
  KTextHit HitTest(KLength x, KLength y) const;
  KCaret CaretAt(KTextPlace place) const;
  void AddBoxes(const Line& line, std::uint32_t begin, std::uint32_t end,
                std::vector<KSelectionBox>& boxes) const;
  /// The beginning of the cluster that holds a byte.
  std::uint32_t ClusterAt(std::size_t byte) const;
  std::uint32_t NextCluster(std::uint32_t character) const;
  std::uint32_t PreviousCluster(std::uint32_t character) const;
};

}  // namespace kalvora::typeset

#endif
