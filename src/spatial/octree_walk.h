#pragma once

#include "vesk/octree.h"

struct vesk_3d_vertex_s;

/// @file
/// The walks over an octree, compiled once for every instruction set that pays: same bits, and
/// the same order of hits.

/// What a query asks.
struct vesk_octree_question
{
    const vesk_octree_node_s *root;
    const vesk_3d_vertex_s *vertices;
    /// The tree was built by the mesh itself, so that the boxes of its nodes follow from the
    /// root's by `split_into_eight`; otherwise each node's own box is read.
    bool is_own;
    bool is_line;
    vesk_vector3 origin;
    vesk_vector3 direction;
    float length;                  ///< of a line
    const float *minimum_distance; ///< null for no limit
};

/// Takes the hits of a walk.
class vesk_octree_hits
{
public:
    virtual void take(float t, float u, float v, vesk_octree_triangle_s *triangle) = 0;

protected:
    ~vesk_octree_hits() = default;
};

/// The walks for one instruction set. Each answers 1 when there is a hit, else 0.
struct vesk_octree_walks
{
    int (*any)(const vesk_octree_question &question);
    /// Gives every hit, in the promised order, with repeats.
    int (*all)(const vesk_octree_question &question, vesk_octree_hits &hits);
    /// Gives every hit at least once, in whatever order is fast.
    int (*unordered)(const vesk_octree_question &question, vesk_octree_hits &hits);
};

extern const vesk_octree_walks vesk_octree_walks_baseline;

// The Windows ABI aligns the stack to 16 bytes only, which compilers forget when they keep eight
// floats there.
#if (defined(__x86_64__) || defined(__i386__)) && !defined(_WIN32)
#define VESK_OCTREE_WALKS_AVX2
extern const vesk_octree_walks vesk_octree_walks_avx2;
#endif
