#include "spatial/float_lanes.h"
#include "spatial/octant_sets.h"
#include "spatial/octree_walk.h"
#include "spatial/tree_walk.h"
#include "vesk/mesh_records.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace
{
// Each needs what stands above it.
// clang-format off
#include "spatial/lanes8.h"
#include "spatial/octree_spans.inl"
#include "spatial/octree_boxes.inl"
#include "spatial/octree_triangles.inl"
#include "spatial/octree_walk.inl"
// clang-format on
} // namespace

const vesk_octree_walks vesk_octree_walks_baseline = walks;
