// KIntercept: building rings from two sides.
#include "kalvora/geometry/KIntercept.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "kalvora/raster/KStack.h"
#include "kalvora/raster/ring.h"

using kalvora::ring::kLinks;

namespace {

constexpr std::uint64_t Bytes(std::uint64_t vertices) {
  return (vertices + kLinks) * sizeof(KVertex2D);
}

}  // namespace

// Memory ------------------------------------------------------------------------------------------

void* KIntercept::Alloc(std::uint64_t bytes) {
  if (bytes > UINT32_MAX) return nullptr;
  return stack ? stack->Alloc(static_cast<unsigned>(bytes))
               : std::malloc(static_cast<std::size_t>(bytes));
}

void* KIntercept::ReAlloc(void* p, std::uint64_t bytes) {
  if (bytes > UINT32_MAX) return nullptr;
  return stack ? stack->ReAlloc(p, static_cast<unsigned>(bytes))
               : std::realloc(p, static_cast<std::size_t>(bytes));
}

void KIntercept::Free(void* p) {
  if (stack) {
    stack->DeAlloc(p);
  } else {
    std::free(p);
  }
}

// Growing -----------------------------------------------------------------------------------------

bool KIntercept::AllocRings(std::uint64_t ringCount) {
  most = ringCount;
  rings = static_cast<KVertex2D**>(Alloc(most * sizeof(KVertex2D*)));
  return rings;
}

bool KIntercept::Open() {
  start = point;
  heading = {kalvora::kOne, kalvora::kZero};
  empty = true;
  pending = atStart = false;
  left = right = room = 0;
  if (failed) return false;
  ring = count < most ? static_cast<KVertex2D*>(Alloc(Bytes(reserve))) : nullptr;
  failed = !ring;
  if (ring) room = reserve;
  return !failed;
}

void KIntercept::Begin() {
  first = next;
  AddBoth(point, first.offset);
  empty = false;
}

void KIntercept::Add(KSide side, KVertex2D p) {
  if (left + right == room && !Grow()) return;
  const KVertex2D mapped = kalvora::ring::Vertex(matrix->Map(p));
  if (side == KSide::Left) {
    ring[++left] = mapped;
  } else {
    ring[room - right++] = mapped;
  }
}

bool KIntercept::Grow() {
  if (failed) return false;
  const std::uint64_t wanted = std::uint64_t{room} * 2;
  auto* grown = static_cast<KVertex2D*>(ReAlloc(ring, Bytes(wanted)));
  if (!grown) {
    Fail();
    return false;
  }
  ring = grown;
  const auto larger = static_cast<std::uint32_t>(wanted);
  std::memmove(ring + 1 + larger - right, ring + 1 + room - right, right * sizeof(KVertex2D));
  room = larger;
  return true;
}

// From here on nothing is written: the sides have no room and cannot grow.
void KIntercept::Fail() {
  Drop();
  failed = true;
}

void KIntercept::Drop() {
  if (ring) Free(ring);
  ring = nullptr;
  left = right = room = 0;
}

// Finishing ---------------------------------------------------------------------------------------

void KIntercept::CloseInnerSide() {
  if (failed || !crossed) return;
  if (inner == KSide::Left) {
    ring[1] = ring[left];
  } else {
    ring[room] = ring[room + 1 - right];
  }
}

void KIntercept::Fold() {
  if (failed) return;
  std::memmove(ring + 1 + left, ring + 1 + room - right, right * sizeof(KVertex2D));
  left += right;
  right = 0;
}

void KIntercept::FinishOne() {
  if (failed) return;
  if (left < 3) {
    // A dash of no length under butt caps.
    Drop();
    return;
  }
  kalvora::ring::Close(ring, left);
  // What the reserve has too much goes back.
  void* shrunk = ReAlloc(ring, Bytes(left));
  rings[count++] = shrunk ? static_cast<KVertex2D*>(shrunk) : ring;
  ring = nullptr;
}

void KIntercept::FinishTwo() {
  if (failed) return;
  const std::uint32_t forward = left, backward = right;
  Fold();
  void* shrunk = ReAlloc(ring, Bytes(left));
  if (shrunk) ring = static_cast<KVertex2D*>(shrunk);
  auto* second = static_cast<KVertex2D*>(Alloc(Bytes(backward)));
  if (!second) {
    Fail();
    return;
  }
  std::memcpy(second + 1, ring + 1 + forward, backward * sizeof(KVertex2D));
  kalvora::ring::Close(ring, forward);
  kalvora::ring::Close(second, backward);
  rings[count++] = ring;
  rings[count++] = second;
  ring = nullptr;
}

KVertex2D** KIntercept::Result() {
  if (failed) {
    while (count > 0) Free(rings[--count]);
  }
  if (count == 0) {
    Free(rings);
    rings = nullptr;
  }
  return rings;
}
