// Merge nodes: the top vertices from which scan conversion starts.
#ifndef KALVORA_RASTER_KMERGENODE_H
#define KALVORA_RASTER_KMERGENODE_H

#include <cstdint>

#include "kalvora/core/KVertex2D.h"

class KStack;

/// A top vertex: one that is no lower than both its neighbours.
struct KMergeNode {
  const KVertex2D* vertex;
  std::uint32_t kind;  ///< 0: of the shape; 1: of the clip path
};

/// Collects the top vertices of `count` rings, sorted by y; among equal ones the last found comes
/// first. The array comes from `stack`, or from malloc when that is null. Returns the number of
/// nodes; with none, or when memory runs out, 0 and a null array.
unsigned GetMergePts(KMergeNode*& nodes, KVertex2D* const* rings, unsigned count, KStack* stack);

#endif
