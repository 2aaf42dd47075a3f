#include "spatial/float_lanes.h"
#include "spatial/octant_sets.h"
#include "spatial/octree_walk.h"
#include "vesk/mesh_records.h"

#include <cstdint>
#include <cstring>
#include <limits>

#if defined(VESK_OCTREE_WALKS_AVX2)
#include <immintrin.h>

// What stands above stays free of AVX2: functions that other sources have too must not change
// with this one.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC target("avx2")
#endif
#define VESK_LANES_AVX2

namespace
{
// Each needs what stands above it.
// clang-format off
#include "spatial/lanes8.h"
#include "spatial/tree_walk.h"
#include "spatial/octree_spans.inl"
#include "spatial/octree_boxes.inl"
#include "spatial/octree_triangles.inl"
#include "spatial/octree_walk.inl"
// clang-format on
} // namespace

#if defined(__clang__)
#pragma clang attribute pop
#endif

const vesk_octree_walks vesk_octree_walks_avx2 = walks;
#endif
