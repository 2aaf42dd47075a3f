#pragma once

#include "spatial/block_stack.h"
#include "spatial/child_lists.h"
#include "spatial/octant_glance.h"
#include "spatial/subset_gather.h"
#include "spatial/triangle_grid.h"

#include <cstdint>

/// Finds which child boxes each triangle of a node touches, one way for both trees. What `Tree`
/// has to offer stands at `vesk_tree_builder`.
///
/// A glance at a triangle's own box settles most children: on the grid where it can be, else in
/// floats. The pairs that it leaves open are queued and tested several at once. What is not tame
/// goes through the plain test.
template <typename Tree> class vesk_overlap_finder
{
public:
    using box = typename Tree::box;

    /// A node's box, in space and on the grid.
    struct place
    {
        box space;
        vesk_grid_box cells;
    };

    /// @param new_tree stays alive
    /// @param root the box that all others come from by splitting
    vesk_overlap_finder(const Tree &new_tree, const box &root)
        : tree(new_tree)
        , root_space(root)
        , boxes_are_tame(Tree::is_tame(root))
        , test(vesk_pick_overlap_test<typename Tree::corner_source>())
        , spans(nullptr)
        , undecided_count(0)
    {
    }

    /// Puts the triangles on the grid, for so many levels of splitting. Without memory for that
    /// the glance stays with floats.
    void lay_grid(const vesk_triangle_numbers &triangles, unsigned int levels,
                  vesk_block_stack &scratch)
    {
        if (boxes_are_tame)
            Tree::lay_grid(root_space, levels, grid);
        if (grid.root().size > 1)
            spans = scratch.template take_array<vesk_grid_span>(triangles.limit);
        for (std::uint32_t i = 0; spans && i < triangles.count; ++i)
        {
            const vesk_corners4 corners = tree.corners_of(triangles.data[i]);
            spans[triangles.data[i]] = vesk_is_tame(corners) ? grid.span_of(vesk_extent_of(corners))
                                                             : vesk_triangle_grid::nowhere();
        }
    }

    /// Of the root.
    place root() const
    {
        return {root_space, spans ? grid.root() : vesk_grid_box{{0, 0, 0}, 0}};
    }

    /// Writes a byte for each triangle: bit k is set when it touches child k of the box.
    void find(const std::uint32_t *triangles, std::uint32_t count, const place &at,
              std::uint8_t *overlaps)
    {
        for_chunks(triangles, count, at, overlaps, &vesk_overlap_finder::test_all);
    }

    /// As `find`, but no more than the lowest bit of each byte is sure: fewer tests.
    void find_lowest(const std::uint32_t *triangles, std::uint32_t count, const place &at,
                     std::uint8_t *overlaps)
    {
        for_chunks(triangles, count, at, overlaps, &vesk_overlap_finder::test_lowest);
    }

private:
    static constexpr unsigned int child_count = Tree::child_count;
    static constexpr unsigned int all_children = (1u << child_count) - 1;
    static constexpr unsigned int chunk_size = 512;  // triangles
    static constexpr unsigned int most_at_once = 64; // pairs

    using subject = vesk_overlap_subject<typename Tree::corner_source>;

    const Tree &tree;
    const box root_space;
    const bool boxes_are_tame;
    const vesk_overlap_test<typename Tree::corner_source> test;
    vesk_triangle_grid grid;
    vesk_grid_span *spans;         // of each triangle; null without a grid
    std::uint8_t open[chunk_size]; // of each triangle of the chunk, the children that it may touch
    std::uint16_t undecided[chunk_size]; // the triangles of the chunk that have any
    unsigned int undecided_count;
    vesk_overlap_pair pairs[chunk_size * child_count + 8];

    using chunk_test = void (vesk_overlap_finder::*)(const subject &what, std::uint8_t *overlaps);

    void for_chunks(const std::uint32_t *triangles, std::uint32_t count, const place &at,
                    std::uint8_t *overlaps, chunk_test test_chunk)
    {
        const vesk_octant_boxes octants = Tree::octants_of(at.space);
        while (count)
        {
            const std::uint32_t in_chunk = count < chunk_size ? count : chunk_size;
            const subject what = {tree.corners, triangles, &octants};
            glance(triangles, in_chunk, at, octants, overlaps);
            (this->*test_chunk)(what, overlaps);
            triangles += in_chunk;
            overlaps += in_chunk;
            count -= in_chunk;
        }
    }

    // Leaves the near children of each triangle in `overlaps`, which the tests take back again,
    // those of them that are open in `open`, and the triangles that have such ones in `undecided`.
    void glance(const std::uint32_t *triangles, std::uint32_t count, const place &at,
                const vesk_octant_boxes &octants, std::uint8_t *overlaps)
    {
        if (at.cells.size > 1)
            glance_on_grid(triangles, count, at.cells, overlaps);
        else
            for (undecided_count = 0; undecided_count < count; ++undecided_count)
                undecided[undecided_count] = static_cast<std::uint16_t>(undecided_count);
        for (std::uint32_t k = 0; k < undecided_count; ++k)
        {
            const unsigned int i = undecided[k];
            if (at.cells.size > 1 && open[i] != 0xFF)
                continue;
            const vesk_octant_glance seen = glance_in_floats(triangles[i], at.space, octants);
            overlaps[i] = static_cast<std::uint8_t>(seen.near & all_children);
            open[i] = static_cast<std::uint8_t>(seen.open & all_children);
        }
    }

    // Those that are not on the grid come out with all eight open.
    void glance_on_grid(const std::uint32_t *triangles, std::uint32_t count,
                        const vesk_grid_box &cells, std::uint8_t *overlaps)
    {
        // Bytes are written, which may alias anything: what the loop reads is better its own.
        const vesk_grid_glance on_grid(cells);
        const vesk_grid_span *const span_of = spans;
        unsigned int found = 0;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            const vesk_octant_glance seen = on_grid.look(span_of[triangles[i]]);
            overlaps[i] = static_cast<std::uint8_t>(seen.near);
            open[i] = static_cast<std::uint8_t>(seen.open);
            // No branch: whether something is open can't be told beforehand.
            undecided[found] = static_cast<std::uint16_t>(i);
            found += seen.open != 0;
        }
        undecided_count = found;
    }

    vesk_octant_glance glance_in_floats(std::uint32_t triangle, const box &space,
                                        const vesk_octant_boxes &octants) const
    {
        const vesk_corners4 corners = tree.corners_of(triangle);
        if (boxes_are_tame && vesk_is_tame(corners))
            return vesk_glance_at_octants(octants, vesk_extent_of(corners));
        return {overlaps_one_by_one(triangle, space), 0};
    }

    unsigned int overlaps_one_by_one(std::uint32_t triangle, const box &space) const
    {
        box boxes[child_count];
        Tree::split(space, boxes);
        unsigned int found = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (tree.overlaps(triangle, boxes[child]))
                found |= 1u << child;
        return found;
    }

    // Eight are written, however many there are.
    static void put_pairs(unsigned int triangle, unsigned int children, vesk_overlap_pair *to)
    {
        typedef std::uint8_t bytes8 __attribute__((vector_size(8)));
        typedef std::uint16_t pairs8 __attribute__((vector_size(16)));
        bytes8 members;
        std::memcpy(&members, vesk_members.of[children], sizeof(members));
        const pairs8 all =
            __builtin_convertvector(members, pairs8) | static_cast<std::uint16_t>(triangle << 3);
        std::memcpy(to, &all, sizeof(all));
    }

    // All open pairs.
    void test_all(const subject &what, std::uint8_t *overlaps)
    {
        unsigned int pair_count = 0;
        for (unsigned int k = 0; k < undecided_count; ++k)
        {
            const unsigned int i = undecided[k];
            put_pairs(i, open[i], pairs + pair_count);
            pair_count += vesk_members.count[open[i]];
        }
        end_queue(pair_count);
        for (unsigned int begin = 0, end; begin < pair_count; begin = end)
        {
            end = begin + most_at_once < pair_count ? begin + most_at_once : pair_count;
            std::uint64_t missed = missed_pairs(what, begin, end);
            for (; missed; missed &= missed - 1)
            {
                const unsigned int pair = pairs[begin + lowest_bit(missed)];
                overlaps[pair >> 3] &= static_cast<std::uint8_t>(~(1u << (pair & 7)));
            }
        }
    }

    // Of each triangle the lowest near child, if it is open; a miss brings the next one.
    void test_lowest(const subject &what, std::uint8_t *overlaps)
    {
        constexpr unsigned int at_once = vesk_overlap_pair_slack + 1;
        unsigned int pair_count = 0;
        for (unsigned int k = 0; k < undecided_count; ++k)
            put_lowest(undecided[k], overlaps, pair_count);
        for (unsigned int begin = 0, end; begin < pair_count; begin = end)
        {
            end = begin + at_once;
            if (end > pair_count)
            {
                end_queue(pair_count);
                end = pair_count;
            }
            std::uint64_t missed = missed_pairs(what, begin, end);
            for (; missed; missed &= missed - 1)
            {
                const unsigned int i = pairs[begin + lowest_bit(missed)] >> 3;
                overlaps[i] &= static_cast<std::uint8_t>(overlaps[i] - 1);
                put_lowest(i, overlaps, pair_count);
            }
        }
    }

    void put_lowest(unsigned int triangle, const std::uint8_t *overlaps, unsigned int &pair_count)
    {
        const unsigned int near = overlaps[triangle] | 1u << 8;
        const unsigned int child = lowest_bit(near);
        pairs[pair_count] = static_cast<vesk_overlap_pair>(triangle << 3 | (child & 7));
        pair_count += open[triangle] >> child & 1;
    }

    std::uint64_t missed_pairs(const subject &what, unsigned int begin, unsigned int end) const
    {
        return test(what, pairs + begin, end - begin) & ~std::uint64_t{0} >> (64 - (end - begin));
    }

    static unsigned int lowest_bit(std::uint64_t of)
    {
        return static_cast<unsigned int>(__builtin_ctzll(of));
    }

    // What is read behind the last pair names the chunk's first triangle.
    void end_queue(unsigned int pair_count)
    {
        for (unsigned int i = 0; i < vesk_overlap_pair_slack; ++i)
            pairs[pair_count + i] = 0;
    }
};
