#pragma once

#include "spatial/float_lanes.h"
#include "vesk/vector.h"

#include <cmath>
#include <cstdint>

/// @file
/// The triangle-box overlap test as the tree builders run it: one triangle against all octants of a
/// box at a glance, which settles most of them, and what remains several pairs at once. Lane for
/// lane these are the operations of `vesk_triangle_box_overlap`, with the same results.

/// The coordinates that the fast test takes, in absolute value: below this no product of the test
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

/// The eight octants of a box, numbered as the octree numbers them (bit 0 is x, bit 1 z, bit 2 y),
/// or the four quadrants of a rectangle, which are the first four octants of a flat box. On each
/// axis there are only two centres and two half sizes among them: those of octants 0 and 7.
struct vesk_octant_boxes
{
    vesk_float4 centre[8];
    vesk_float4 half[8];

    /// From the boxes of octants 0 and 7.
    vesk_octant_boxes(vesk_float4 low_centre, vesk_float4 low_half, vesk_float4 high_centre,
                      vesk_float4 high_half)
    {
        for (int octant = 0; octant < 8; ++octant)
        {
            const vesk_mask4 is_high = {-(octant & 1), -(octant >> 2 & 1), -(octant >> 1 & 1), 0};
            centre[octant] = is_high ? high_centre : low_centre;
            half[octant] = is_high ? high_half : low_half;
        }
    }
};

/// What a glance at a triangle's own box says about eight octants: a bit for each.
struct vesk_octant_glance
{
    unsigned int near;   ///< not separated on a box axis
    unsigned int inside; ///< overlap for sure; among `near`
};

/// Spreads bits of axes (bit 0 x, bit 1 y, bit 2 z), of the lower half and of the upper half, to
/// the octants that have all their axes among them.
struct vesk_octant_table
{
    std::uint8_t octants[64];

    constexpr vesk_octant_table() : octants()
    {
        for (unsigned int bits = 0; bits < 64; ++bits)
            for (unsigned int octant = 0; octant < 8; ++octant)
            {
                const unsigned int x = octant & 1 ? bits >> 3 : bits;
                const unsigned int y = octant & 4 ? bits >> 4 : bits >> 1;
                const unsigned int z = octant & 2 ? bits >> 5 : bits >> 2;
                if (x & y & z & 1)
                    octants[bits] = static_cast<std::uint8_t>(octants[bits] | 1u << octant);
            }
    }
};
constexpr vesk_octant_table vesk_octants_of_axes;

/// The three box axes of the test for all octants at once, for a tame triangle and tame boxes.
///
/// Rounding keeps order, so that the least of the moved corners is the moved least corner. And a
/// triangle that has all corners within the box after the move overlaps it, whatever the other ten
/// axes' own rounding does: each product of a projection is at most the matching product of the
/// radius, and both sums round alike; the plane's near and far corner stand on their sides of it.
inline vesk_octant_glance vesk_glance_at_octants(const vesk_octant_boxes &boxes,
                                                 const vesk_corners4 &triangle)
{
    const vesk_float4 &a = triangle.a, &b = triangle.b, &c = triangle.c;
    const vesk_float4 ab_least = a < b ? a : b;
    const vesk_float4 ab_greatest = a > b ? a : b;
    const vesk_float4 least = ab_least < c ? ab_least : c;
    const vesk_float4 greatest = ab_greatest > c ? ab_greatest : c;

    unsigned int near_axes = 0, inside_axes = 0;
    for (unsigned int upper = 0; upper < 2; ++upper)
    {
        const vesk_float4 low = least - boxes.centre[7 * upper];
        const vesk_float4 high = greatest - boxes.centre[7 * upper];
        const vesk_float4 half = boxes.half[7 * upper];
        near_axes |= (vesk_lane_bits((low <= half) & (high >= -half)) & 7) << 3 * upper;
        inside_axes |= (vesk_lane_bits((low >= -half) & (high <= half)) & 7) << 3 * upper;
    }
    return {vesk_octants_of_axes.octants[near_axes], vesk_octants_of_axes.octants[inside_axes]};
}

/// A pair of a triangle and a box that awaits the edge axes and the plane: the corners in the box's
/// frame, and the half size. For tame triangles and boxes that are not separated on a box axis.
struct vesk_overlap_pair
{
    vesk_float4 a, b, c, half;
};

/// The most pairs that one call tests.
constexpr unsigned int vesk_overlap_pair_capacity = 64;

/// Tests some pairs, several at once: lane for lane the operations of the plain test. Bit i of the
/// result is set when pair i overlaps. Pairs behind the last one, up to the capacity, may be read.
using vesk_overlap_test = std::uint64_t (*)(const vesk_overlap_pair *pairs, unsigned int count);

/// The fastest test that this processor runs. A flat one is for triangles with y = 0 in all
/// corners and boxes around y = 0.
vesk_overlap_test vesk_pick_overlap_test(bool is_flat);
