// Canvas: scan conversion into a pixmap of raw coverage, through fillers that record instead of
// paint.
#ifndef KALVORA_TESTS_RASTER_CANVAS_H
#define KALVORA_TESTS_RASTER_CANVAS_H

#include <algorithm>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/raster/KClipRings.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/polygon.h"
#include "kalvora/raster/ring.h"

#include "tests/common/GuardedBuffer.h"

/// A width x height target whose every word receives the coverage of its pixel, added up. Pixels
/// and the coverage line end at guard pages.
class Canvas {
 public:
  Canvas(int columns, int rows)
      : width(columns),
        height(rows),
        pixels_(static_cast<std::size_t>(columns * rows) * 4),
        line_(static_cast<std::size_t>(columns) * 4) {
    target_.Create(static_cast<unsigned>(columns), static_cast<unsigned>(rows), KFormat8888PM,
                   pixels_.data(), static_cast<unsigned>(columns * 4));
    style.lineBuffer = line_.As<std::int32_t>();
    style.clip = {0, 0, static_cast<std::int16_t>(columns), static_cast<std::int16_t>(rows)};
  }

  using Rings = std::vector<std::vector<KVertex2D>>;

  void Draw(const Rings& rings, KFillRule rule, const Rings* clip = nullptr,
            KFillRule clipRule = -1) {
    RingList shape(rings);
    RingList path(clip ? *clip : Rings{});
    if (clip) {
      clipRings_.Set(path.Data(), path.Count(), &stack);
    } else {
      clipRings_.Clear();
    }
    const kalvora::PaintJob painting{&style, &style, &target_, nullptr, Init};
    const kalvora::RasterJob job{painting, &stack, rule, clip != nullptr, clipRule, &clipRings_};
    kalvora::RasterPolygon(job, shape.Data(), shape.Count());
    EXPECT_TRUE(std::all_of(style.lineBuffer, style.lineBuffer + width, [](int c) {
      return c == 0;
    })) << "coverage is left behind";
  }

  std::int32_t At(int x, int y) const {
    return static_cast<std::int32_t>(target_.Row32(static_cast<unsigned>(y))[x]);
  }
  void Clear() { std::fill(pixels_.begin(), pixels_.end(), std::uint8_t{0}); }

  const int width, height;
  KStyleContext2D style;
  KStack stack;

 private:
  /// Rings in the framed form that the rasterizer reads.
  class RingList {
   public:
    explicit RingList(const Rings& rings) {
      for (const auto& vertices : rings) {
        auto& ring = storage_.emplace_back(vertices.size() + kalvora::ring::kLinks);
        for (std::size_t i = 0; i < vertices.size(); ++i) {
          ring[i + 1] = kalvora::ring::Vertex(vertices[i]);
        }
        kalvora::ring::Close(ring.data(), static_cast<unsigned>(vertices.size()));
      }
      for (auto& ring : storage_) pointers_.push_back(ring.data());
    }
    KVertex2D** Data() { return pointers_.data(); }
    unsigned Count() const { return static_cast<unsigned>(pointers_.size()); }

   private:
    std::vector<std::vector<KVertex2D>> storage_;
    std::vector<KVertex2D*> pointers_;
  };

  static void RecordSolid(const KStyleContext2D* s) {
    for (std::int32_t x = s->x0; x < s->x1; ++x) s->row[x] += 0x10000;
  }
  static void RecordCoverage(const KStyleContext2D* s) {
    for (std::int32_t x = s->x0; x < s->x1; ++x)
      s->row[x] += static_cast<std::uint32_t>(s->lineBuffer[x]);
  }
  static void Init(KStyleContext2D*, KFiller& solid, KFiller& coverage) {
    solid = RecordSolid;
    coverage = RecordCoverage;
  }

  GuardedBuffer pixels_, line_;
  KSoftPixmap target_;
  KClipRings clipRings_;
};

#endif
