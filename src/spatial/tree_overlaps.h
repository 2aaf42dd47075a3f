#pragma once

#include "spatial/block_stack.h"
#include "spatial/child_lists.h"
#include "spatial/subset_gather.h"
#include "spatial/triangle_set.h"

#include <cstdint>

/// Finds which child boxes each triangle of a node touches, one way for both trees. What `Tree`
/// has to offer stands at `vesk_tree_builder`.
///
/// A glance at a triangle's own box settles most children: on the grid where it can be, else in
/// floats. The pairs that it leaves open are queued and tested several at once. What is not tame
/// goes through the plain test.
///
/// Lists name triangles by their numbers in the mesh, or, below a node that has been settled, by
/// their places in its set.
template <typename Tree> class vesk_overlap_finder
{
public:
    using box = typename Tree::box;
    using triangle_set = vesk_triangle_set<Tree::is_flat>;

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
        , test(vesk_pick_overlap_test(Tree::is_flat))
        , undecided_count(0)
    {
        for (std::uint32_t i = 0; i < chunk_size; ++i)
            chunk_places[i] = i;
    }

    /// Lays the grid, for so many levels of splitting.
    void lay_grid(unsigned int levels)
    {
        if (boxes_are_tame)
            Tree::lay_grid(root_space, levels, grid);
    }

    /// Of the root.
    place root() const
    {
        return {root_space, grid.root()};
    }

    /// Makes a set of triangles whose corners lie together already: places in it are the numbers in
    /// the mesh. False when they don't, when memory is short, and for few triangles of a large
    /// mesh, to which the set would not be worth its size.
    bool settle_in_place(const vesk_triangle_numbers &triangles, vesk_block_stack &scratch,
                         triangle_set &set) const
    {
        const float *corners = tree.corners_by_number();
        if (!corners || !triangles.data || triangles.limit / 2 > triangles.count)
            return false;
        grid_span *spans = nullptr;
        if (grid.root().size > 1)
        {
            spans = scratch.template take_array<grid_span>(triangles.limit);
            if (!spans)
                return false;
            for (std::uint32_t i = 0; i < triangles.count; ++i)
            {
                const std::uint32_t number = triangles.data[i];
                put_span(vesk_corners_at(corners, number), spans[number]);
            }
        }
        set = {nullptr, corners, spans};
        return true;
    }

    /// Brings together what the tests below a node read; false when memory is short.
    ///
    /// @param numbers stays alive as long as the set
    /// @param scratch where the set is to lie
    bool settle(const std::uint32_t *numbers, std::uint32_t count, const place &at,
                vesk_block_stack &scratch, triangle_set &set) const
    {
        float *corners = scratch.template take_array<float>(triangle_set::corner_floats(count));
        grid_span *spans =
            at.cells.size > 1 ? scratch.template take_array<grid_span>(count) : nullptr;
        if (!corners || (!spans && at.cells.size > 1))
            return false;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            const vesk_corners4 triangle = tree.corners_of(numbers[i]);
            vesk_put_corners(corners, i, triangle);
            if (spans)
                put_span(triangle, spans[i]);
        }
        set = {numbers, corners, spans};
        return true;
    }

    /// Writes a byte for each triangle: bit k is set when it touches child k of the box.
    ///
    /// @param set null when the triangles are not settled
    void find(const vesk_number_list &list, const triangle_set *set, const place &at,
              std::uint8_t *overlaps)
    {
        for_chunks(list, set, at, overlaps, &vesk_overlap_finder::test_all);
    }

    /// As `find`, but no more than the lowest bit of each byte is sure: fewer tests.
    void find_lowest(const vesk_number_list &list, const triangle_set *set, const place &at,
                     std::uint8_t *overlaps)
    {
        for_chunks(list, set, at, overlaps, &vesk_overlap_finder::test_lowest);
    }

private:
    static constexpr unsigned int child_count = Tree::child_count;
    static constexpr unsigned int all_children = (1u << child_count) - 1;
    static constexpr unsigned int chunk_size = 512;  // triangles
    static constexpr unsigned int most_at_once = 64; // pairs

    using grid_span = vesk_grid_span<Tree::is_flat>;

    const Tree &tree;
    const box root_space;
    const bool boxes_are_tame;
    const vesk_overlap_test test;
    vesk_triangle_grid grid;
    float chunk_corners[triangle_set::corner_floats(chunk_size)]; // of what is not settled
    std::uint32_t chunk_places[chunk_size];
    std::uint8_t open[chunk_size]; // of each triangle of the chunk, the children that it may touch
    std::uint16_t undecided[chunk_size]; // the triangles of the chunk that have any
    unsigned int undecided_count;
    vesk_overlap_pair pairs[chunk_size * child_count + 8];

    using chunk_test = void (vesk_overlap_finder::*)(const vesk_overlap_subject &subject,
                                                     std::uint8_t *overlaps);

    void put_span(const vesk_corners4 &triangle, grid_span &span) const
    {
        if (vesk_is_tame(triangle))
            grid.put_span(vesk_extent_of(triangle), span);
        else
            vesk_triangle_grid::put_nowhere(span);
    }

    void for_chunks(const vesk_number_list &list, const triangle_set *set, const place &at,
                    std::uint8_t *overlaps, chunk_test test_chunk)
    {
        const vesk_octant_boxes octants = Tree::octants_of(at.space);
        for (std::uint32_t begin = 0, count; begin < list.count; begin += count)
        {
            count = list.count - begin < chunk_size ? list.count - begin : chunk_size;
            const std::uint32_t *triangles = list.data + begin;
            vesk_overlap_subject subject = {chunk_corners, chunk_places, &octants};
            if (set)
                subject = {set->corners, triangles, &octants};
            else
                for (std::uint32_t i = 0; i < count; ++i)
                    vesk_put_corners(chunk_corners, i, tree.corners_of(triangles[i]));

            if (set && set->spans && at.cells.size > 1)
                glance_on_grid(*set, subject, count, at, overlaps + begin);
            else
                glance_in_floats(subject, count, at, overlaps + begin);
            (this->*test_chunk)(subject, overlaps + begin);
        }
    }

    // A glance leaves the near children of each triangle in `overlaps`, which the tests take back
    // again, those of them that are open in `open`, and in `undecided` the triangles that have
    // such ones.
    void glance_on_grid(const triangle_set &set, const vesk_overlap_subject &subject,
                        std::uint32_t count, const place &at, std::uint8_t *overlaps)
    {
        // Bytes are written, which may alias anything: what the loop reads is better its own.
        const vesk_grid_glance<Tree::is_flat> on_grid(at.cells);
        const grid_span *const spans = set.spans;
        const std::uint32_t *const places = subject.places;
        unsigned int found = 0, open_anywhere = 0;
        const auto note = [&](std::uint32_t i, const vesk_octant_glance &seen)
        {
            overlaps[i] = static_cast<std::uint8_t>(seen.near);
            open[i] = static_cast<std::uint8_t>(seen.open);
            // No branch: whether something is open can't be told beforehand.
            undecided[found] = static_cast<std::uint16_t>(i);
            found += seen.open != 0;
            open_anywhere |= seen.open;
        };
        vesk_octant_glance seen[2];
        for (std::uint32_t i = 1; i < count; i += 2)
        {
            on_grid.look(spans[places[i - 1]], spans[places[i]], seen);
            note(i - 1, seen[0]);
            note(i, seen[1]);
        }
        if (count % 2)
        {
            const grid_span &last = spans[places[count - 1]];
            on_grid.look(last, last, seen);
            note(count - 1, seen[0]);
        }
        undecided_count = found;
        // Those that are not on the grid have come out with all eight open; of four children no
        // others have the last one.
        if (!(open_anywhere & 0x80))
            return;
        for (unsigned int k = 0; k < found; ++k)
            if (open[undecided[k]] == 0xFF)
                glance_at_one(subject, undecided[k], at, overlaps);
    }

    void glance_in_floats(const vesk_overlap_subject &subject, std::uint32_t count, const place &at,
                          std::uint8_t *overlaps)
    {
        unsigned int found = 0;
        for (std::uint32_t i = 0; i < count; ++i)
        {
            glance_at_one(subject, i, at, overlaps);
            undecided[found] = static_cast<std::uint16_t>(i);
            found += open[i] != 0;
        }
        undecided_count = found;
    }

    void glance_at_one(const vesk_overlap_subject &subject, std::uint32_t i, const place &at,
                       std::uint8_t *overlaps)
    {
        const vesk_corners4 triangle = vesk_corners_at(subject.corners, subject.places[i]);
        vesk_octant_glance seen = {0, 0};
        if (boxes_are_tame && vesk_is_tame(triangle))
            seen = vesk_glance_at_octants(*subject.octants, vesk_extent_of(triangle));
        else
            seen.near = overlaps_one_by_one(triangle, at.space);
        overlaps[i] = static_cast<std::uint8_t>(seen.near & all_children);
        open[i] = static_cast<std::uint8_t>(seen.open & all_children);
    }

    static unsigned int overlaps_one_by_one(const vesk_corners4 &triangle, const box &space)
    {
        box boxes[child_count];
        Tree::split(space, boxes);
        const auto corner = [](vesk_float4 lanes)
        { return vesk_vector3(lanes[0], lanes[1], lanes[2]); };
        const vesk_vector3 corners[3] = {corner(triangle.a), corner(triangle.b),
                                         corner(triangle.c)};
        unsigned int found = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (Tree::overlaps(corners, boxes[child]))
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
    void test_all(const vesk_overlap_subject &subject, std::uint8_t *overlaps)
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
            std::uint64_t missed = missed_pairs(subject, begin, end);
            for (; missed; missed &= missed - 1)
            {
                const unsigned int pair = pairs[begin + lowest_bit(missed)];
                overlaps[pair >> 3] &= static_cast<std::uint8_t>(~(1u << (pair & 7)));
            }
        }
    }

    // Of each triangle the lowest near child, if it is open; a miss brings the next one.
    void test_lowest(const vesk_overlap_subject &subject, std::uint8_t *overlaps)
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
            std::uint64_t missed = missed_pairs(subject, begin, end);
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

    std::uint64_t missed_pairs(const vesk_overlap_subject &subject, unsigned int begin,
                               unsigned int end) const
    {
        return test(subject, pairs + begin, end - begin) &
               ~std::uint64_t{0} >> (64 - (end - begin));
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
