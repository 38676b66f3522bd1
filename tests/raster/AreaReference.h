// AreaReference: the exact area that rings cover in each pixel, by plane geometry in floating
// point.
#ifndef KALVORA_TESTS_RASTER_AREAREFERENCE_H
#define KALVORA_TESTS_RASTER_AREAREFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "kalvora/core/KVertex2D.h"

struct ReferenceShape {
  std::vector<std::vector<KVertex2D>> rings;
  std::int32_t rule = -1;
};

/// Coverage 0..1 of width x height pixels: inside `shape`, and inside `clip` when that is not null.
///
/// Between two neighbouring heights at which an edge ends, crosses another edge, or crosses a
/// column of pixels, the covered part of every pixel changes linearly: its value half-way times the
/// height between is exact.
class AreaReference {
 public:
  AreaReference(const ReferenceShape& shape, const ReferenceShape* clip, int width, int height)
      : width_(width), height_(height), area_(static_cast<std::size_t>(width * height)) {
    AddEdges(shape, 0);
    if (clip) AddEdges(*clip, 1);
    rules_[0] = shape.rule;
    rules_[1] = clip ? clip->rule : 0;
    clipped_ = clip != nullptr;
    CollectHeights();
    for (std::size_t i = 0; i + 1 < heights_.size(); ++i) AddSlice(heights_[i], heights_[i + 1]);
  }

  double At(int x, int y) const { return area_[static_cast<std::size_t>(y * width_ + x)]; }

 private:
  struct Edge {
    double x0, y0, x1, y1;
    int winding, owner;
    double XAt(double y) const { return x0 + (x1 - x0) * (y - y0) / (y1 - y0); }
  };

  void AddEdges(const ReferenceShape& shape, int owner) {
    for (const auto& ring : shape.rings) {
      for (std::size_t i = 0; i < ring.size(); ++i) {
        const KVertex2D a = ring[i], b = ring[(i + 1) % ring.size()];
        if (a.y == b.y) continue;
        Edge e{
            a.x.raw / 65536.0, a.y.raw / 65536.0, b.x.raw / 65536.0, b.y.raw / 65536.0, 1, owner};
        if (e.y0 > e.y1) {
          std::swap(e.x0, e.x1);
          std::swap(e.y0, e.y1);
          e.winding = -1;
        }
        edges_.push_back(e);
      }
    }
  }

  void AddHeight(double y) {
    if (y >= 0 && y <= height_) heights_.push_back(y);
  }

  void CollectHeights() {
    for (int y = 0; y <= height_; ++y) AddHeight(y);
    for (std::size_t i = 0; i < edges_.size(); ++i) {
      const Edge& e = edges_[i];
      AddHeight(e.y0);
      AddHeight(e.y1);
      if (e.x0 != e.x1) {
        const double first = std::max(0.0, std::ceil(std::min(e.x0, e.x1)));
        const double last = std::min<double>(width_, std::max(e.x0, e.x1));
        for (double x = first; x <= last; ++x) {
          AddHeight(e.y0 + (e.y1 - e.y0) * (x - e.x0) / (e.x1 - e.x0));
        }
      }
      for (std::size_t j = i + 1; j < edges_.size(); ++j) AddCrossing(e, edges_[j]);
    }
    std::sort(heights_.begin(), heights_.end());
  }

  void AddCrossing(const Edge& a, const Edge& b) {
    const double top = std::max(a.y0, b.y0), bottom = std::min(a.y1, b.y1);
    if (top >= bottom) return;
    const double d0 = a.XAt(top) - b.XAt(top), d1 = a.XAt(bottom) - b.XAt(bottom);
    if (d0 * d1 < 0) AddHeight(top + (bottom - top) * d0 / (d0 - d1));
  }

  void AddSlice(double top, double bottom) {
    if (bottom - top < 1e-12) return;
    const double y = (top + bottom) / 2;
    std::vector<std::pair<double, const Edge*>> line;
    for (const Edge& e : edges_) {
      if (e.y0 <= y && y < e.y1) line.emplace_back(e.XAt(y), &e);
    }
    std::sort(line.begin(), line.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    int winding[2] = {0, 0};
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
      winding[line[i].second->owner] += line[i].second->winding;
      if ((winding[0] & rules_[0]) == 0 || (clipped_ && (winding[1] & rules_[1]) == 0)) continue;
      AddSpan(static_cast<int>(y), line[i].first, line[i + 1].first, bottom - top);
    }
  }

  void AddSpan(int row, double from, double to, double height) {
    from = std::max(from, 0.0);
    to = std::min<double>(to, width_);
    for (int x = static_cast<int>(from); x < to; ++x) {
      const double covered = std::min<double>(x + 1, to) - std::max<double>(x, from);
      area_[static_cast<std::size_t>(row * width_ + x)] += covered * height;
    }
  }

  int width_, height_;
  bool clipped_;
  std::int32_t rules_[2];
  std::vector<Edge> edges_;
  std::vector<double> heights_;
  std::vector<double> area_;
};

#endif
