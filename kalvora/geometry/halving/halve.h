// Adaptive halving, whatever the form of the halves.
#ifndef KALVORA_GEOMETRY_HALVING_HALVE_H
#define KALVORA_GEOMETRY_HALVING_HALVE_H

#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/halving/forms.h"

namespace kalvora {

/// The most halves that wait while others are done.
inline constexpr int kMostPending = 10;

/// Curve: a piece that puts down its start or its end, tells whether it is flat, and that Split
/// makes its earlier half and returns the later one of.
///
/// A piece is taken as straight when it is flat enough, when too many wait, or when the points left
/// are just enough for them.
template <typename Curve, typename Judge>
[[gnu::always_inline]] inline int Halve(Curve piece, const Judge& judge, KVertex2D* out) {
  constexpr int kMostPieces = KStroker::kMaxCurvePoints - 1;  // the end point takes the last place
  Curve waiting[kMostPending];
  int pending = 0;
  int pieces = 1;  // the waiting ones included
  for (;;) {
    while (!piece.IsFlat(judge) && pending < kMostPending && pieces < kMostPieces) {
      waiting[pending++] = piece.Split();
      ++pieces;
    }
    piece.PutStart(out++);
    if (pending == 0) {
      piece.PutEnd(out);
      return pieces + 1;
    }
    piece = waiting[--pending];
  }
}

}  // namespace kalvora

#endif
