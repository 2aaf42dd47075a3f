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
    }

    /// Writes a byte for each triangle: bit k is set when it touches child k of
    /// the box.
    ///
    /// @param remaining null, or another byte for each triangle to work with: then no more than the
    ///   lowest bit of each answer is sure, which takes fewer tests
    void find(const std::uint32_t *triangles, std::uint32_t count, const box &space,
              std::uint8_t *overlaps, std::uint8_t *remaining)
    {
        if (!boxes_are_tame)
        {
            for (std::uint32_t i = 0; i < count; ++i)
                overlaps[i] = overlaps_one_by_one(triangles[i], space);
            return;
        }

        // A byte may alias anything: what the loop reads is better its own.
        const Tree source = tree;
        const vesk_octant_boxes octants = Tree::octants_of(space);
        unsigned int pair_count = 0;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            const vesk_corners4 corners = source.corners_of(triangles[i]);
            if (!source.all_tame && !vesk_is_tame(corners))
            {
                overlaps[i] = overlaps_one_by_one(triangles[i], space);
                if (remaining)
                    remaining[i] = 0;
                continue;
            }
            const vesk_octant_glance glance = vesk_glance_at_octants(octants, corners);
            overlaps[i] = static_cast<std::uint8_t>(glance.inside & all_children);
            unsigned int open = glance.near & ~glance.inside & all_children;
            if (remaining)
            {
                const unsigned int lowest_inside = glance.inside & -glance.inside;
                open &= lowest_inside - 1;
                remaining[i] = static_cast<std::uint8_t>(open & (open - 1));
                // Most have one. No branch can be told right here, so one is put at any rate.
                put_pair(pair_count, corners, octants, open | 1u << 7, i);
                pair_count += open != 0;
            }
            else
            {
                for (; open; open &= open - 1)
                    put_pair(pair_count++, corners, octants, open, i);
            }
            if (pair_count > vesk_overlap_pair_capacity - child_count)
            {
                test_pairs(pair_count, overlaps);
                pair_count = 0;
            }
        }
        test_pairs(pair_count, overlaps);
        if (remaining)
            find_remaining(triangles, count, octants, overlaps, remaining);
    }

private:
    static constexpr unsigned int child_count = Tree::child_count;
    static constexpr unsigned int all_children = (1u << child_count) - 1;

    // Where the answer to a pair goes: a byte, and a bit of it.
    struct target
    {
        std::uint32_t triangle;
        std::uint32_t octant;
    };

    const Tree &tree;
    vesk_overlap_test test;
    bool boxes_are_tame;
    vesk_overlap_pair pairs[vesk_overlap_pair_capacity];
    target targets[vesk_overlap_pair_capacity];

    std::uint8_t overlaps_one_by_one(std::uint32_t triangle, const box &space) const
    {
        box boxes[child_count];
        Tree::split(space, boxes);
        unsigned int found = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (tree.overlaps(triangle, boxes[child]))
                found |= 1u << child;
        return static_cast<std::uint8_t>(found);
    }

    void put_pair(unsigned int place, const vesk_corners4 &corners,
                  const vesk_octant_boxes &octants, unsigned int open, std::uint32_t triangle)
    {
        const unsigned int octant = static_cast<unsigned int>(__builtin_ctz(open));
        const vesk_float4 centre = octants.centre[octant];
        pairs[place] = {corners.a - centre, corners.b - centre, corners.c - centre,
                        octants.half[octant]};
        targets[place] = {triangle, octant};
    }

    // Takes the next box of those triangles that have missed all boxes before it, until none is
    // left over.
    void find_remaining(const std::uint32_t *triangles, std::uint32_t count,
                        const vesk_octant_boxes &octants, std::uint8_t *overlaps,
                        std::uint8_t *remaining)
    {
        bool is_any_left = true;
        while (is_any_left)
        {
            is_any_left = false;
            unsigned int pair_count = 0;
            for (std::uint32_t i = 0; i < count; ++i)
            {
                const unsigned int open = remaining[i];
                if (!open)
                    continue;
                remaining[i] = static_cast<std::uint8_t>(open & (open - 1));
                if (overlaps[i] & ((open & -open) - 1))
                {
                    remaining[i] = 0;
                    continue;
                }
                is_any_left = true;
                put_pair(pair_count++, tree.corners_of(triangles[i]), octants, open, i);
                if (pair_count == vesk_overlap_pair_capacity)
                {
                    test_pairs(pair_count, overlaps);
                    pair_count = 0;
                }
            }
            test_pairs(pair_count, overlaps);
        }
    }

    void test_pairs(unsigned int pair_count, std::uint8_t *overlaps) const
    {
        std::uint64_t hits = test(pairs, pair_count);
        for (unsigned int i = 0; i < pair_count; ++i, hits >>= 1)
            overlaps[targets[i].triangle] |=
                static_cast<std::uint8_t>((hits & 1) << targets[i].octant);
    }
};
