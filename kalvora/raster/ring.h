// Polygon rings: the one place that knows how a ring's link entries are stored.
#ifndef KALVORA_RASTER_RING_H
#define KALVORA_RASTER_RING_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"

/// A ring is a KVertex2D array framed by two link entries whose x is KFixed::NaN:
///
///     ring[0]              link: continues backward at the last vertex
///     ring[1] .. ring[n]   the vertices
///     ring[n + 1]          link: continues forward at the first vertex
///
/// A link's y holds the signed distance, in vertices, from the link itself to where the walk
/// continues. A ring is passed about as the address of its leading link.
namespace kalvora::ring {

/// Entries that a ring takes beyond its vertices.
inline constexpr unsigned kLinks = 2;

inline bool IsLink(const KVertex2D* v) { return v->x == KFixed::NaN; }

/// `p` as ring data: an x that equals the link marker is moved by one unit.
inline KVertex2D Vertex(KVertex2D p) {
  if (p.x == KFixed::NaN) p.x.raw += 1;
  return p;
}

/// Frames the `count` vertices already written to ring[1] .. ring[count].
inline void Close(KVertex2D* ring, unsigned count) {
  const auto n = static_cast<std::int32_t>(count);
  ring[0] = {KFixed::NaN, KFixed::FromRaw(n)};
  ring[count + 1] = {KFixed::NaN, KFixed::FromRaw(-n)};
}

inline const KVertex2D* First(const KVertex2D* ring) { return ring + 1; }
/// Number of vertices of a closed ring.
inline unsigned Count(const KVertex2D* ring) { return static_cast<unsigned>(ring[0].y.raw); }

inline const KVertex2D* Next(const KVertex2D* v) {
  ++v;
  return IsLink(v) ? v + v->y.raw : v;
}
inline const KVertex2D* Prev(const KVertex2D* v) {
  --v;
  return IsLink(v) ? v + v->y.raw : v;
}
/// Next for a direction of +1, Prev for -1.
inline const KVertex2D* Step(const KVertex2D* v, std::int32_t direction) {
  v += direction;
  return IsLink(v) ? v + v->y.raw : v;
}

}  // namespace kalvora::ring

#endif
