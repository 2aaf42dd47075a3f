#pragma once

#include "spatial/overlap_pairs.h"

#include <cstdint>

/// Finds which child boxes each triangle of a node touches, one way for both trees. What `Tree`
/// has to offer stands at `vesk_tree_builder`.
template <typename Tree> class vesk_overlap_finder
{
public:
    using box = typename Tree::box;

    /// @param new_tree stays alive
    /// @param root the box that all others come from by splitting
    vesk_overlap_finder(const Tree &new_tree, const box &root)
        : tree(new_tree)
        , test(vesk_pick_overlap_test(Tree::is_flat))
        , boxes_are_tame(Tree::is_tame(root))
    {
        pairs.count = 0;
    }

    /// Writes a byte for each triangle: bit k is set when it touches `boxes[k]`.
    void find(const std::uint32_t *triangles, std::uint32_t count, const box *boxes,
              std::uint8_t *overlaps)
    {
        if (!boxes_are_tame)
        {
            for (std::uint32_t i = 0; i < count; ++i)
                overlaps[i] = overlaps_one_by_one(triangles[i], boxes);
            return;
        }

        const vesk_octant_boxes octants = Tree::octants_of(boxes);
        for (std::uint32_t i = 0; i < count; ++i)
        {
            const vesk_corners4 corners = tree.corners_of(triangles[i]);
            if (!tree.all_tame && !vesk_is_tame(corners))
            {
                overlaps[i] = overlaps_one_by_one(triangles[i], boxes);
                continue;
            }
            const vesk_octant_glance glance = vesk_glance_at_octants(octants, corners);
            overlaps[i] = static_cast<std::uint8_t>(glance.inside & all_children);
            for (unsigned int open = glance.near & ~glance.inside & all_children; open;
                 open &= open - 1)
                add_pair(corners, octants, static_cast<unsigned int>(__builtin_ctz(open)),
                         overlaps + i);
            if (pairs.count > vesk_overlap_pairs::capacity - child_count)
                test_pairs();
        }
        test_pairs();
    }

private:
    static constexpr unsigned int child_count = Tree::child_count;
    static constexpr unsigned int all_children = (1u << child_count) - 1;

    // Where the answer to a pair goes.
    struct target
    {
        std::uint8_t *overlaps;
        std::uint8_t bit;
    };

    const Tree &tree;
    vesk_overlap_test test;
    bool boxes_are_tame;
    vesk_overlap_pairs pairs;
    target targets[vesk_overlap_pairs::capacity];

    std::uint8_t overlaps_one_by_one(std::uint32_t triangle, const box *boxes) const
    {
        unsigned int found = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (tree.overlaps(triangle, boxes[child]))
                found |= 1u << child;
        return static_cast<std::uint8_t>(found);
    }

    void add_pair(const vesk_corners4 &corners, const vesk_octant_boxes &octants,
                  unsigned int octant, std::uint8_t *overlaps)
    {
        targets[pairs.count] = {overlaps, static_cast<std::uint8_t>(1u << octant)};
        pairs.push(corners, octants.centre[octant], octants.half[octant]);
    }

    void test_pairs()
    {
        const std::uint64_t hits = test(pairs);
        for (unsigned int i = 0; i < pairs.count; ++i)
            if (hits >> i & 1)
                *targets[i].overlaps |= targets[i].bit;
        pairs.count = 0;
    }
};
