// Adaptive halving, whatever the form of the halves.
#ifndef KALVORA_GEOMETRY_HALVING_HALVE_H
#define KALVORA_GEOMETRY_HALVING_HALVE_H

#include "kalvora/geometry/KStroker.h"
#include "kalvora/geometry/halving/forms.h"

namespace kalvora {

/// The most halves that wait while others are done.
inline constexpr int kMostPending = 10;

/// Curve: a piece that tells its Start and whether it IsFlat, and that Split makes its earlier half
/// and returns the later one of.
///
/// A piece is taken as straight when it is flat enough, when too many wait, or when the points left
/// are just enough for them.
template <typename Curve, typename Judge>
int Halve(Curve piece, const Judge& judge, KVertex2D end, KVertex2D* out, int stride) {
  constexpr int kMostPieces = KStroker::kMaxCurvePoints - 1;  // the end point takes the last place
  Curve waiting[kMostPending];
  int pending = 0;
  for (int pieces = 1;; ++pieces) {
    while (pending < kMostPending && pieces + pending < kMostPieces && !piece.IsFlat(judge)) {
      waiting[pending++] = piece.Split();
    }
    *out = piece.Start();
    out += stride;
    if (pending == 0) {
      *out = end;
      return pieces + 1;
    }
    piece = waiting[--pending];
  }
}

}  // namespace kalvora

#endif
