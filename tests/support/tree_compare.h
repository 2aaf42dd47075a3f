#pragma once

#include "support/bits.h"
#include "vesk/mesh.h"

/// @file
/// Comparison of whole trees, the same for both kinds.

inline const auto &space_of(const vesk_octree_node_s &node)
{
    return node.box;
}

inline const auto &space_of(const vesk_uv_lookup_node_s &node)
{
    return node.bounding_rect;
}

/// Capacity, count, storage or none, and every reference in its place.
template <typename Element> bool same_list(const vesk_list<Element> &a, const vesk_list<Element> &b)
{
    if (a.size != b.size || a.count != b.count || !a.data != !b.data || a.reversed || b.reversed)
        return false;
    for (unsigned int i = 0; i < a.count; ++i)
        if (a.data[i] != b.data[i])
            return false;
    return true;
}

/// Whether two trees are equal to the bit: boxes, child slots, lists.
template <typename Node> bool same_tree(const Node *a, const Node *b)
{
    if (!a || !b)
        return !a && !b;
    bool is_same = same_bits(space_of(*a).min, space_of(*b).min) &&
                   same_bits(space_of(*a).max, space_of(*b).max) &&
                   same_list(a->triangles, b->triangles);
    for (std::size_t child = 0; child < sizeof(a->children) / sizeof(a->children[0]); ++child)
        is_same = is_same && same_tree(a->children[child], b->children[child]);
    return is_same;
}
