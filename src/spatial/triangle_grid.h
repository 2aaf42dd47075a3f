#pragma once

#include "spatial/octant_glance.h"

#include <climits>
#include <cstdint>

/// @file
/// The glance at a triangle's own box in whole numbers.
///
/// Splitting halves the axes of the root's box each on its own, so that all boxes of one level are
/// the cells of a grid. Where a triangle's least and greatest corner lie on the finest grid tells,
/// with a comparison of small integers, how it lies to the octants of every box above.
///
/// **Exact.** Boxes come from splitting floats and differ from the true grid by rounding, and so do
/// the limits of the test. With u = 2^-24 and S the greatest absolute value of the root's box on an
/// axis, each operation of a split rounds by at most uS. A box that is off by e has a lower octant
/// that is off by at most e + 2uS and an upper one by at most e + 4uS: the halves' common side is
/// the mean of the box's sides rounded twice, and the far side of the upper octant adds the half
/// twice. Level l is thus off by at most 4luS. The test of a box [p, q] compares `least - centre`
/// with its half size h. Rounding keeps order, so that its limit on `least` is centre + h, at most
/// 2uS above: with the rounding of centre and h, q + 5uS at most; likewise on the other sides. The
/// whole number's own computation is off by at most 8uS. A corner that stays (4l + 16)uS clear of
/// every side of the finest grid is therefore on the same side of every limit as it is on the grid.
/// Triangles with another corner are not on the grid.

/// Eight small integers.
typedef short vesk_short8 __attribute__((vector_size(16)));

/// The cells of the finest grid that a triangle's box spans. In space: the least ones in lanes 0 to
/// 2, the complements of the greatest ones in lanes 4 to 6; -1 in lane 7. Lane 3 is 0 for a
/// triangle on the grid, else -1. Flat: the least ones of x and z in lanes 0 and 1, the complements
/// of the greatest ones in lanes 2 and 3; for a triangle that is not on the grid, what is less than
/// any.
template <bool IS_FLAT> struct vesk_grid_span
{
    short lanes[IS_FLAT ? 4 : 8];
};

/// A box of the tree, in cells of the finest grid.
struct vesk_grid_box
{
    short first[3];
    short size; ///< along each axis; below 2 when there are no octants on the grid

    /// An octant, numbered as the octree numbers them.
    vesk_grid_box octant(unsigned int number) const
    {
        const short half = static_cast<short>(size / 2);
        const auto first_of = [&](short from, unsigned int is_upper)
        { return static_cast<short>(is_upper ? from + half : from); };
        return {{first_of(first[0], number & 1), first_of(first[1], number & 4),
                 first_of(first[2], number & 2)},
                half};
    }
};

/// The grid of a root's box.
class vesk_triangle_grid
{
public:
    /// The finest grid that there can be.
    static constexpr unsigned int max_levels = 12;

    /// Without cells.
    vesk_triangle_grid();

    /// Lays the grid over a tame box, unless it is too small for its place.
    ///
    /// @param low least corner
    /// @param high greatest corner
    /// @param is_axis of the lanes, which are axes; on the others everything is in cell 0
    /// @param levels how often the box is halved; fewer when rounding demands it
    void lay(vesk_float4 low, vesk_float4 high, vesk_mask4 is_axis, unsigned int levels);

    /// The whole grid.
    vesk_grid_box root() const
    {
        return {{0, 0, 0}, cell_count};
    }

    /// Of a tame triangle.
    template <bool IS_FLAT>
    void put_span(const vesk_extent4 &extent, vesk_grid_span<IS_FLAT> &span) const
    {
        const vesk_float4 least = place_of(extent.least), greatest = place_of(extent.greatest);
        const vesk_mask4 first = cell_of(least), last = cell_of(greatest);
        const vesk_float4 into_first = least - __builtin_convertvector(first, vesk_float4);
        const vesk_float4 into_last = greatest - __builtin_convertvector(last, vesk_float4);
        const vesk_mask4 is_clear = (vesk_min4(into_first, into_last) > margin) &
                                    (vesk_max4(into_first, into_last) < 1.0f - margin);
        if (vesk_lane_bits(is_clear) != 15)
            return put_nowhere(span);
        const vesk_short8 lanes =
            IS_FLAT ? narrowed(__builtin_shufflevector(first, ~last, 0, 2, 4, 6), first)
                    : narrowed(first, ~last);
        std::memcpy(span.lanes, &lanes, sizeof(span.lanes));
    }

    /// Of any other triangle.
    static void put_nowhere(vesk_grid_span<false> &span)
    {
        span = {{0, 0, 0, -1, 0, 0, 0, -1}};
    }
    static void put_nowhere(vesk_grid_span<true> &span)
    {
        span = {{SHRT_MIN, SHRT_MIN, SHRT_MIN, SHRT_MIN}};
    }

private:
    short cell_count; // along each axis
    vesk_mask4 axes;
    vesk_float4 origin, cells_per_unit, last_cell, margin;

    // The lanes of two vectors, one behind the other.
    static vesk_short8 narrowed(vesk_mask4 low, vesk_mask4 high)
    {
#if defined(__SSE2__)
        return reinterpret_cast<vesk_short8>(
            _mm_packs_epi32(reinterpret_cast<__m128i>(low), reinterpret_cast<__m128i>(high)));
#else
        return __builtin_convertvector(__builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7),
                                       vesk_short8);
#endif
    }

    // In cells; where there is no axis, in the middle of the first one.
    vesk_float4 place_of(vesk_float4 position) const
    {
        return vesk_select4(axes, (position - origin) * cells_per_unit, vesk_splat4(0.5f));
    }

    // For a place beyond the grid, the cell next to it: the place is not within that.
    vesk_mask4 cell_of(vesk_float4 place) const
    {
        const vesk_float4 zero = {};
        const vesk_float4 inside = vesk_min4(vesk_max4(place, zero), last_cell);
        return __builtin_convertvector(inside, vesk_mask4);
    }
};

/// What the comparisons say of the octants. The index has the halves that a triangle misses in bits
/// 0 to 7, as `vesk_octant_sets` has them; bit 3 is set for a triangle on the grid; and bit 8 is
/// set when the triangle is within the box.
struct vesk_grid_answers
{
    std::uint8_t near[512];
    std::uint8_t open[512];

    constexpr vesk_grid_answers() : near(), open()
    {
        for (unsigned int index = 0; index < 512; ++index)
        {
            const bool is_on_grid = index & 8, is_within = index & 256;
            const unsigned int octants = is_on_grid ? vesk_octants_without(index & 0xFF) : 0xFF;
            const bool is_inside_one = is_within && !(octants & (octants - 1));
            near[index] = static_cast<std::uint8_t>(octants);
            open[index] = static_cast<std::uint8_t>(is_on_grid && is_inside_one ? 0 : octants);
        }
    }
};
constexpr vesk_grid_answers vesk_answers_of_grid;

/// The same of quadrants. The index has the halves that a triangle misses in bits 0 to 3: the lower
/// ones of x and z, then the upper ones; and in bits 4 to 7 on which sides it is within the box.
/// None of these holds for a triangle that is not on the grid, and for no other but the widest.
struct vesk_flat_answers
{
    std::uint8_t near[256];
    std::uint8_t open[256];

    constexpr vesk_flat_answers() : near(), open()
    {
        near[0] = open[0] = 0xFF;
        for (unsigned int index = 1; index < 256; ++index)
        {
            const unsigned int lower_x = index & 1, lower_z = index & 2;
            const unsigned int upper_x = index & 4, upper_z = index & 8;
            const unsigned int ruled_out = (lower_x ? 5u : 0u) | (lower_z ? 3u : 0u) |
                                           (upper_x ? 10u : 0u) | (upper_z ? 12u : 0u);
            const unsigned int quadrants = ~ruled_out & 15u;
            const bool is_inside_one = index >> 4 == 15 && !(quadrants & (quadrants - 1));
            near[index] = static_cast<std::uint8_t>(quadrants);
            open[index] = static_cast<std::uint8_t>(is_inside_one ? 0 : quadrants);
        }
    }
};
constexpr vesk_flat_answers vesk_answers_of_flat_grid;

/// Bits 0 to 7 are the lanes of `a`, bits 8 to 15 those of `b`.
inline unsigned int vesk_lane_bits(vesk_short8 a, vesk_short8 b)
{
#if defined(__SSE2__)
    return static_cast<unsigned int>(_mm_movemask_epi8(
        _mm_packs_epi16(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b))));
#else
    unsigned int bits = 0;
    for (unsigned int lane = 0; lane < 8; ++lane)
        bits |= (a[lane] & 1u) << lane | (b[lane] & 1u) << (8 + lane);
    return bits;
#endif
}

/// The glance at the children of one box. Lane by lane a span is greater where it answers yes. For
/// a triangle that is not on the grid, all children are near and open.
template <bool IS_FLAT> class vesk_grid_glance;

template <> class vesk_grid_glance<false>
{
public:
    /// @param box of a size of 2 at least
    explicit vesk_grid_glance(const vesk_grid_box &box)
    {
        const auto above = [](int x, int y, int z)
        {
            const auto lane = [](int value) { return static_cast<short>(value); };
            return vesk_short8{lane(x - 1), lane(y - 1), lane(z - 1), -1, 0, 0, 0, -2};
        };
        const auto below = [](int x, int y, int z)
        {
            const auto lane = [](int value) { return static_cast<short>(value); };
            return vesk_short8{0, 0, 0, 0, lane(~x), lane(~y), lane(~z), 0};
        };
        const int x = box.first[0], y = box.first[1], z = box.first[2], half = box.size / 2;
        middle = above(x + half, y + half, z + half) | below(x + half, y + half, z + half);
        sides = above(x, y, z) | below(x + box.size, y + box.size, z + box.size);
    }

    /// Looks at two triangles.
    void look(const vesk_grid_span<false> &a, const vesk_grid_span<false> &b,
              vesk_octant_glance (&seen)[2]) const
    {
        seen[0] = look(a);
        seen[1] = look(b);
    }

private:
    vesk_short8 middle, sides;

    vesk_octant_glance look(const vesk_grid_span<false> &span) const
    {
        vesk_short8 lanes;
        std::memcpy(&lanes, span.lanes, sizeof(lanes));
        // A triangle that reaches from the middle upwards misses the lower half, and conversely.
        // All of bits 8 to 15 are set for one within the box.
        const unsigned int bits = vesk_lane_bits(lanes > middle, lanes > sides);
        const unsigned int index = (bits & 0xFF) | ((bits + 0x100) >> 8 & 0x100);
        return {vesk_answers_of_grid.near[index], vesk_answers_of_grid.open[index]};
    }
};

template <> class vesk_grid_glance<true>
{
public:
    /// @param box of a size of 2 at least
    explicit vesk_grid_glance(const vesk_grid_box &box)
    {
        const auto lane = [](int value) { return static_cast<short>(value); };
        const int x = box.first[0], z = box.first[2], half = box.size / 2;
        limits = vesk_short8{lane(x + half - 1),    lane(z + half - 1),   lane(~(x + half)),
                             lane(~(z + half)),     lane(x - 1),          lane(z - 1),
                             lane(~(x + box.size)), lane(~(z + box.size))};
    }

    /// Looks at two triangles.
    void look(const vesk_grid_span<true> &a, const vesk_grid_span<true> &b,
              vesk_octant_glance (&seen)[2]) const
    {
        const unsigned int bits = vesk_lane_bits(twice(a) > limits, twice(b) > limits);
        const unsigned int first = bits & 0xFF, second = bits >> 8;
        seen[0] = {vesk_answers_of_flat_grid.near[first], vesk_answers_of_flat_grid.open[first]};
        seen[1] = {vesk_answers_of_flat_grid.near[second], vesk_answers_of_flat_grid.open[second]};
    }

private:
    vesk_short8 limits; // of the middle, then of the sides

    static vesk_short8 twice(const vesk_grid_span<true> &span)
    {
        typedef std::int64_t words2 __attribute__((vector_size(16)));
        std::int64_t word;
        std::memcpy(&word, span.lanes, sizeof(word));
        return reinterpret_cast<vesk_short8>(words2{word, word});
    }
};
