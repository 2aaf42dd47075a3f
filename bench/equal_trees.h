#pragma once

#include "vesk/mesh.h"

#include <cstring>

/// @file
/// Whether the plain walk of a benchmark goes over the same tree as the library's.

inline bool equal_boxes(const vesk_octree_node_s &a, const vesk_octree_node_s &b)
{
    return std::memcmp(&a.box, &b.box, sizeof(a.box)) == 0;
}

inline bool equal_boxes(const vesk_uv_lookup_node_s &a, const vesk_uv_lookup_node_s &b)
{
    return std::memcmp(&a.bounding_rect, &b.bounding_rect, sizeof(a.bounding_rect)) == 0;
}

/// Boxes by their bits, lists by what stands in them, children by their slots.
template <typename Node> bool equal_trees(const Node *a, const Node *b)
{
    if (!a || !b)
        return !a && !b;
    if (!equal_boxes(*a, *b) || a->triangles.count != b->triangles.count)
        return false;
    for (unsigned int i = 0; i < a->triangles.count; ++i)
        if (a->triangles.data[i] != b->triangles.data[i])
            return false;
    for (unsigned int i = 0; i < sizeof(a->children) / sizeof(a->children[0]); ++i)
        if (!equal_trees(a->children[i], b->children[i]))
            return false;
    return true;
}
