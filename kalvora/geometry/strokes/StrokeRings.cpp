// StrokeRings: growing and finishing rings.
#include "kalvora/geometry/strokes/StrokeRings.h"

#include <cstddef>
#include <cstring>

#include "kalvora/core/roots.h"
#include "kalvora/raster/ring.h"

namespace kalvora {
namespace {

constexpr std::uint64_t Bytes(std::uint64_t vertices) {
  return (vertices + ring::kLinks) * sizeof(KVertex2D);
}

}  // namespace

// Growing -----------------------------------------------------------------------------------------

void StrokeRings::AllocList(std::uint64_t most) {
  most_ = most;
  rings_ = static_cast<KVertex2D**>(memory_.Alloc(most * sizeof(KVertex2D*)));
  failed_ = !rings_;
}

bool StrokeRings::Open(std::uint32_t reserve) {
  left_ = right_ = room_ = 0;
  if (failed_) return false;
  ring_ = count_ < most_ ? static_cast<KVertex2D*>(memory_.Alloc(Bytes(reserve))) : nullptr;
  failed_ = !ring_;
  if (ring_) room_ = reserve;
  return !failed_;
}

void StrokeRings::Add(Side side, KVertex2D p) { Put(side, ring::Vertex(matrix_.Map(p))); }

void StrokeRings::AddBoth(KVertex2D left, KVertex2D right) {
  if (room_ - left_ - right_ < 2) {
    Add(Side::kLeft, left);
    Add(Side::kRight, right);
    return;
  }
  ring_[++left_] = ring::Vertex(matrix_.Map(left));
  ring_[room_ - right_++] = ring::Vertex(matrix_.Map(right));
}

void StrokeRings::Put(Side side, KVertex2D mapped) {
  if (left_ + right_ == room_ && !Grow()) return;
  if (side == Side::kLeft) {
    ring_[++left_] = mapped;
  } else {
    ring_[room_ - right_++] = mapped;
  }
}

bool StrokeRings::Grow() {
  if (failed_) return false;
  const std::uint64_t wanted = std::uint64_t{room_} * 2;
  auto* grown = static_cast<KVertex2D*>(memory_.ReAlloc(ring_, Bytes(wanted)));
  if (!grown) {
    Fail();
    return false;
  }
  ring_ = grown;
  const auto larger = static_cast<std::uint32_t>(wanted);
  std::memmove(ring_ + 1 + larger - right_, ring_ + 1 + room_ - right_, right_ * sizeof(KVertex2D));
  room_ = larger;
  return true;
}

// From here on nothing is written: the sides have no room and cannot grow.
void StrokeRings::Fail() {
  Drop();
  failed_ = true;
}

void StrokeRings::Drop() {
  if (ring_) memory_.Free(ring_);
  ring_ = nullptr;
  left_ = right_ = room_ = 0;
}

namespace {

/// Drops points that lie within 1/256 of a pixel of the last one that is kept; returns how many
/// stay.
unsigned Merge(KVertex2D* points, unsigned count) {
  constexpr std::int64_t kNear = kOne.raw / 256;
  const auto isNear = [](KFixed a, KFixed b) { return Abs(std::int64_t{a.raw} - b.raw) <= kNear; };
  unsigned kept = 1;
  for (unsigned i = 1; i < count; ++i) {
    const KVertex2D last = points[kept - 1], p = points[i];
    if (!isNear(p.x, last.x) || !isNear(p.y, last.y)) points[kept++] = p;
  }
  return kept;
}

}  // namespace

void StrokeRings::TurnFan(Side side, unsigned steps) {
  if (failed_) return;
  KVertex2D a[kMostFanSteps + 1], c[kMostFanSteps];
  const bool isLeft = side == Side::kLeft;
  const KVertex2D* last = isLeft ? ring_ + left_ : ring_ + room_ + 1 - right_;
  const std::ptrdiff_t back = isLeft ? -1 : 1;
  for (unsigned i = steps; i > 0; --i, last += 2 * back) {
    a[i] = last[0];
    c[i - 1] = last[back];
  }
  a[0] = last[0];
  (isLeft ? left_ : right_) -= 2 * steps;
  const unsigned crossings = Merge(c, steps);
  for (unsigned i = 0; i < crossings; ++i) Put(side, c[i]);
  for (unsigned i = steps + 1; i > 0; --i) Put(side, a[i - 1]);
  for (unsigned i = 0; i < crossings; ++i) Put(side, c[i]);
  Put(side, a[steps]);
}

// Finishing ---------------------------------------------------------------------------------------

void StrokeRings::BeginAtEnd(Side side) {
  if (failed_) return;
  if (side == Side::kLeft) {
    ring_[1] = ring_[left_];
  } else {
    ring_[room_] = ring_[room_ + 1 - right_];
  }
}

void StrokeRings::Fold() {
  if (failed_) return;
  std::memmove(ring_ + 1 + left_, ring_ + 1 + room_ - right_, right_ * sizeof(KVertex2D));
  left_ += right_;
  right_ = 0;
}

void StrokeRings::FinishOne() {
  if (failed_) return;
  if (left_ < 3) {
    // A dash of no length under butt caps.
    Drop();
    return;
  }
  ring::Close(ring_, left_);
  // What the reserve has too much goes back.
  void* shrunk = memory_.ReAlloc(ring_, Bytes(left_));
  rings_[count_++] = shrunk ? static_cast<KVertex2D*>(shrunk) : ring_;
  ring_ = nullptr;
}

void StrokeRings::FinishTwo() {
  if (failed_) return;
  const std::uint32_t forward = left_, backward = right_;
  Fold();
  void* shrunk = memory_.ReAlloc(ring_, Bytes(left_));
  if (shrunk) ring_ = static_cast<KVertex2D*>(shrunk);
  auto* second = static_cast<KVertex2D*>(memory_.Alloc(Bytes(backward)));
  if (!second) {
    Fail();
    return;
  }
  std::memcpy(second + 1, ring_ + 1 + forward, backward * sizeof(KVertex2D));
  ring::Close(ring_, forward);
  ring::Close(second, backward);
  rings_[count_++] = ring_;
  rings_[count_++] = second;
  ring_ = nullptr;
}

std::uint32_t StrokeRings::Take(KVertex2D**& rings) {
  if (failed_) {
    while (count_ > 0) memory_.Free(rings_[--count_]);
  }
  if (count_ == 0) {
    memory_.Free(rings_);
    rings_ = nullptr;
  }
  rings = rings_;
  return count_;
}

}  // namespace kalvora
