// Scan conversion of any rings, crossing themselves and each other, under a fill rule and a clip
// path.
#include <algorithm>
#include <utility>

#include "kalvora/raster/KEdgePool.h"
#include "kalvora/raster/KRowWriter.h"
#include "kalvora/raster/crossing.h"
#include "kalvora/raster/polygon.h"

namespace kalvora {
namespace {

// How many edges a row may walk along, over all its steps, for each 1/65536 of a row that the least
// step to a crossing is high. With 100 edges the steps begin to grow after 41 crossings in one
// row; without that a drawing of n edges that all cross would take n^3.
constexpr std::int64_t kEdgesPerHeight = 64;

// A row with so many edges, several for each of its pixels, is drawn as it is at its top, whatever
// begins, ends or crosses in it: a stroke that runs wild has tens of thousands of edges in every
// row.
constexpr std::int32_t kCrowd = 8192;

// Ascending x; at equal x the edge that leans further left comes first.
bool Before(const ActiveEdge* a, const ActiveEdge* b) {
  return a->xTop != b->xTop ? a->xTop < b->xTop : a->line.Ratio() < b->line.Ratio();
}

// One list of two sorted ones; among equal edges those of `a` come first.
ActiveEdge* Merged(ActiveEdge* a, ActiveEdge* b) {
  ActiveEdge* head = nullptr;
  ActiveEdge** at = &head;
  while (a && b) {
    ActiveEdge*& least = Before(b, a) ? b : a;
    *at = least;
    at = &least->next;
    least = least->next;
  }
  *at = a ? a : b;
  return head;
}

// Cuts the edges that are in order off the front of a list.
ActiveEdge* TakeRun(ActiveEdge*& list) {
  ActiveEdge* const first = list;
  ActiveEdge* last = first;
  while (last->next && !Before(last->next, last)) last = last->next;
  list = last->next;
  last->next = nullptr;
  return first;
}

// Merges neighbouring runs, of which there are few: lists are nearly in order. Equal edges keep
// their order.
ActiveEdge* Sorted(ActiveEdge* list) {
  ActiveEdge* merged[32] = {};  // [i] consists of 2^i runs, or is empty
  while (list) {
    ActiveEdge* run = TakeRun(list);
    int i = 0;
    for (; merged[i]; ++i) run = Merged(std::exchange(merged[i], nullptr), run);
    merged[i] = run;
  }
  for (ActiveEdge* earlier : merged) list = Merged(earlier, list);
  return list;
}

/// The edges that cross the present y, in order.
class ActiveList {
 public:
  explicit ActiveList(KStack* stack) : pool_(stack) {}

  bool Empty() const { return !head_; }
  ActiveEdge* Head() const { return head_; }

  /// Takes in both chains of a node; a chain that ends above y is left out. False when memory runs
  /// out. Settle, after the last node at y, puts them in their places.
  bool Enter(const KMergeNode& node, std::int32_t y) {
    return EnterChain(node, -1, y) && EnterChain(node, 1, y);
  }
  void Settle() {
    if (entered_) head_ = Merged(Sorted(std::exchange(entered_, nullptr)), head_);
  }
  /// Moves to y: edges that end there go on along their chains or leave; the list is sorted again.
  void MoveTo(std::int32_t y, bool crossed);
  /// Computes every edge's x at `stop`. True when the order there differs from the order now.
  bool Project(std::int32_t stop);
  /// Height of the first crossing in a step of the given height.
  std::int32_t FirstCrossing(std::int32_t height) const;
  std::int32_t Count() const { return count_; }
  /// Keeps edges that are out of order at the step's bottom, by a rounding or a hair, from
  /// crossing.
  void HoldOrder();
  /// Lets every edge go straight down from where it is.
  void StandUpright() {
    for (ActiveEdge* edge = head_; edge; edge = edge->next) edge->xBottom = edge->xTop;
  }
  /// The next y at which an edge ends.
  std::int32_t NextEnd(std::int32_t limit) const;

 private:
  bool EnterChain(const KMergeNode& node, std::int32_t direction, std::int32_t y);

  KEdgePool pool_;
  std::int32_t count_ = 0;
  ActiveEdge* head_ = nullptr;
  ActiveEdge* entered_ = nullptr;  // newest first
};

bool ActiveList::EnterChain(const KMergeNode& node, std::int32_t direction, std::int32_t y) {
  ChainEdge line;
  if (!line.Start(node.vertex, direction, y)) return true;
  ActiveEdge* edge = pool_.Take();
  if (!edge) return false;
  edge->line = line;
  edge->xTop = line.XAt(y);
  edge->winding = direction;
  edge->isClip = node.kind != 0;
  edge->next = entered_;
  entered_ = edge;
  ++count_;
  return true;
}

void ActiveList::MoveTo(std::int32_t y, bool crossed) {
  bool unsorted = crossed;
  const ActiveEdge* previous = nullptr;
  for (ActiveEdge** at = &head_; *at;) {
    ActiveEdge* edge = *at;
    if (edge->line.Bottom() <= y) {
      if (!edge->line.Continue(edge->winding, y)) {
        *at = edge->next;
        pool_.Give(edge);
        --count_;
        continue;
      }
      edge->xTop = edge->line.XAt(y);
    } else {
      // After a crossing the bottom may have been held back from where the edge really is.
      edge->xTop = crossed ? edge->line.XAt(y) : edge->xBottom;
    }
    unsorted = unsorted || (previous && Before(edge, previous));
    previous = edge;
    at = &edge->next;
  }
  if (unsorted) head_ = Sorted(head_);
}

bool ActiveList::Project(std::int32_t stop) {
  bool crossed = false;
  std::int32_t previous = INT32_MIN;
  for (ActiveEdge* edge = head_; edge; edge = edge->next) {
    edge->xBottom = edge->line.XAt(stop);
    crossed = crossed || edge->xBottom < previous;
    previous = edge->xBottom;
  }
  return crossed;
}

// The first crossing of all is one of neighbours.
std::int32_t ActiveList::FirstCrossing(std::int32_t height) const {
  std::int32_t first = height;
  for (const ActiveEdge* a = head_; a && a->next; a = a->next) {
    const ActiveEdge* b = a->next;
    if (a->xBottom > b->xBottom) {
      first = std::min(first, CrossingHeight(a->xTop, a->xBottom, b->xTop, b->xBottom, height));
    }
  }
  return first;
}

void ActiveList::HoldOrder() {
  for (ActiveEdge* a = head_; a && a->next; a = a->next) {
    a->next->xBottom = std::max(a->next->xBottom, a->xBottom);
  }
}

std::int32_t ActiveList::NextEnd(std::int32_t limit) const {
  for (const ActiveEdge* edge = head_; edge; edge = edge->next) {
    limit = std::min(limit, edge->line.Bottom());
  }
  return limit;
}

/// Walks the edges from the left with both winding numbers and covers what lies inside.
void WriteSpans(const RasterJob& job, const ActiveEdge* edge, KRowWriter& rows) {
  std::int32_t shape = 0;
  std::int32_t clip = 0;
  const ActiveEdge* start = nullptr;
  for (; edge; edge = edge->next) {
    (edge->isClip ? clip : shape) += edge->winding;
    const bool inside = (shape & job.fillRule) != 0 && (!job.clipped || (clip & job.clipRule) != 0);
    if (inside && !start) {
      start = edge;
    } else if (!inside && start) {
      if (start->xTop != edge->xTop || start->xBottom != edge->xBottom) {
        rows.Span(start->xTop, start->xBottom, start->line.Slope(), edge->xTop, edge->xBottom,
                  edge->line.Slope());
      }
      start = nullptr;
    }
  }
}

}  // namespace

void DrawComplexPolygon(const RasterJob& job, const KMergeNode* begin, const KMergeNode* end) {
  if (begin == end) return;
  const KClip& clip = job.style->clip;
  const std::int32_t bottom = clip.y1 * 0x10000;
  std::int32_t y = std::max(clip.y0 * 0x10000, begin->vertex->y.raw);
  KRowWriter rows(job, y);
  if (!rows.Ready()) return;
  ActiveList edges(job.stack);
  std::int32_t row = -1;
  std::int64_t walked = 0;  // edges that this row's steps have walked along
  while (y < bottom) {
    for (; begin != end && begin->vertex->y.raw <= y; ++begin) {
      if (!edges.Enter(*begin, y)) return;
    }
    edges.Settle();
    const bool crowded = edges.Count() >= kCrowd;
    std::int32_t stop = std::min((y & ~0xFFFF) + 0x10000, bottom);
    if (begin != end) {
      if (edges.Empty()) {
        y = begin->vertex->y.raw;
        if (y < bottom) rows.SkipTo(y);
        continue;
      }
      if (!crowded) stop = std::min(stop, begin->vertex->y.raw);
    } else if (edges.Empty()) {
      break;
    }
    if (!crowded) stop = edges.NextEnd(stop);
    const bool crossed = crowded || edges.Project(stop);
    walked = y >> 16 == row ? walked + edges.Count() : 0;
    row = y >> 16;
    if (crowded) {
      edges.StandUpright();
    } else if (crossed) {
      const std::int64_t least = y + walked / kEdgesPerHeight;
      const std::int64_t crossing = y + edges.FirstCrossing(stop - y);
      stop = static_cast<std::int32_t>(std::min<std::int64_t>(stop, std::max(crossing, least)));
      edges.Project(stop);
      edges.HoldOrder();
    }
    if (rows.BeginStep(y, stop)) WriteSpans(job, edges.Head(), rows);
    y = stop;
    rows.EndStep(y);
    edges.MoveTo(y, crossed);
  }
  rows.Finish();
}

}  // namespace kalvora
