#pragma once

#include "spatial/octant_sets.h"
#include "spatial/overlap_pairs.h"
#include "vesk/vector.h"

#include <cmath>

/// @file
/// What a triangle's own box alone says about the octants of a box.

/// The coordinates that the fast tests take, in absolute value: below this no product of the test
/// overflows, so that no NaN comes up on the way. Anything else goes to the plain test.
constexpr float vesk_tame_limit = 274877906944.0f; // 2^38

/// Whether a position stays below the limit; false with a NaN in it.
inline bool vesk_is_tame(const vesk_vector3 &position)
{
    return std::fabs(position.x) < vesk_tame_limit && std::fabs(position.y) < vesk_tame_limit &&
           std::fabs(position.z) < vesk_tame_limit;
}

/// A triangle's corners; the fourth lanes mean nothing.
struct vesk_corners4
{
    vesk_float4 a, b, c;
};

inline bool vesk_is_tame(const vesk_corners4 &triangle)
{
    const vesk_float4 limit = vesk_splat4(vesk_tame_limit);
    const vesk_mask4 is_below = (vesk_abs4(triangle.a) < limit) & (vesk_abs4(triangle.b) < limit) &
                                (vesk_abs4(triangle.c) < limit);
    return (vesk_lane_bits(is_below) & 7) == 7;
}

/// The box of a triangle without NaN.
struct vesk_extent4
{
    vesk_float4 least, greatest;
};

inline vesk_extent4 vesk_extent_of(const vesk_corners4 &triangle)
{
    return {vesk_min4(vesk_min4(triangle.a, triangle.b), triangle.c),
            vesk_max4(vesk_max4(triangle.a, triangle.b), triangle.c)};
}

/// A bit for each of eight octants.
struct vesk_octant_glance
{
    unsigned int near; ///< not separated on a box axis
    unsigned int open; ///< those of them that are yet to be tested; the others overlap for sure
};

/// The octants that are not ruled out; the halves as `vesk_octant_sets` has them.
constexpr unsigned int vesk_octants_without(unsigned int ruled_out_halves)
{
    return ~vesk_ruled_out_octants[ruled_out_halves] & 0xFF;
}

/// The three box axes of the test for all octants at once, for a tame triangle and tame boxes.
///
/// Rounding keeps order, so that the least of the moved corners is the moved least corner. And a
/// triangle that has all corners within the box after the move overlaps it, whatever the other ten
/// axes' own rounding does: each product of a projection is at most the matching product of the
/// radius, and both sums round alike; the plane's near and far corner stand on their sides of it.
inline vesk_octant_glance vesk_glance_at_octants(const vesk_octant_boxes &boxes,
                                                 const vesk_extent4 &extent)
{
    const auto halves_outside =
        [&](vesk_float4 centre, vesk_float4 half, unsigned int &far, unsigned int &not_inside)
    {
        const vesk_float4 low = extent.least - centre, high = extent.greatest - centre;
        far = vesk_lane_bits((low > half) | (high < -half)) & 7;
        not_inside = vesk_lane_bits((low < -half) | (high > half)) & 7;
    };
    unsigned int low_far, low_not_inside, high_far, high_not_inside;
    halves_outside(boxes.low_centre, boxes.low_half, low_far, low_not_inside);
    halves_outside(boxes.high_centre, boxes.high_half, high_far, high_not_inside);
    const unsigned int near = vesk_octants_without(low_far | high_far << 4);
    const unsigned int inside = vesk_octants_without(low_not_inside | high_not_inside << 4);
    return {near, near & ~inside};
}
