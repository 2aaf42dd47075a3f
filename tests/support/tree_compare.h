#pragma once

#include "support/bits.h"
#include "vesk/mesh.h"

#include <utility>
#include <vector>

/// @file
/// Comparison of whole trees, the same for both kinds.

inline bool same_box(const vesk_octree_node_s &a, const vesk_octree_node_s &b)
{
    return same_bits(a.box.min, b.box.min) && same_bits(a.box.max, b.box.max);
}

inline bool same_box(const vesk_uv_lookup_node_s &a, const vesk_uv_lookup_node_s &b)
{
    return same_bits(a.bounding_rect.min, b.bounding_rect.min) &&
           same_bits(a.bounding_rect.max, b.bounding_rect.max);
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

/// Whether two trees are equal to the bit: boxes, child slots, lists. Trees may be deep.
template <typename Node>::testing::AssertionResult same_tree(const Node *a_root, const Node *b_root)
{
    std::vector<std::pair<const Node *, const Node *>> pending = {{a_root, b_root}};
    for (unsigned int number = 0; !pending.empty(); ++number)
    {
        const auto [a, b] = pending.back();
        pending.pop_back();
        if (!a != !b)
            return ::testing::AssertionFailure() << "node " << number << ": only in one tree";
        if (!a)
            continue;
        if (!same_box(*a, *b))
            return ::testing::AssertionFailure() << "node " << number << ": boxes differ";
        if (!same_list(a->triangles, b->triangles))
            return ::testing::AssertionFailure()
                   << "node " << number << ": lists differ, " << a->triangles.count << " of "
                   << a->triangles.size << " and " << b->triangles.count << " of "
                   << b->triangles.size;
        for (unsigned int child = sizeof(a->children) / sizeof(a->children[0]); child-- > 0;)
            pending.push_back({a->children[child], b->children[child]});
    }
    return ::testing::AssertionSuccess();
}
