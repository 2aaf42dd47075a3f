#include "spatial/float_lanes.h"
#include "spatial/octree_walk.h"
#include "spatial/ruled_out_octants.h"
#include "spatial/tree_walk.h"
#include "vesk/mesh_records.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace
{
#include "spatial/lanes8.h"
// In this order.
#include "spatial/octree_boxes.inl"
#include "spatial/octree_triangles.inl"
#include "spatial/octree_walk.inl"
} // namespace

const vesk_octree_walks vesk_octree_walks_baseline = {walk_any, walk_every};
