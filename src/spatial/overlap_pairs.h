#pragma once

#include "spatial/float_lanes.h"

#include <cstdint>

/// @file
/// The triangle-box overlap test for pairs of a triangle and an octant, several pairs at once. Lane
/// for lane these are the operations of `vesk_triangle_box_overlap`, with the same results.

/// The octants of a box, numbered as the octree numbers them (bit 0 is x, bit 1 z, bit 2 y), or the
/// four quadrants of a rectangle, which are the first four octants of a flat box. On each axis
/// there are only two centres and two half sizes among them: those of octants 0 and 7.
struct vesk_octant_boxes
{
    vesk_float4 low_centre, low_half;
    vesk_float4 high_centre, high_half;
};

/// Those of a box, rounded as splitting it rounds and then taking the octants' halves and centres.
inline vesk_octant_boxes vesk_octants_of(vesk_float4 min, vesk_float4 max)
{
    const vesk_float4 half = (max - min) * 0.5f;
    const vesk_float4 high_min = min + half;
    const vesk_float4 low_half = (high_min - min) * 0.5f;
    const vesk_float4 high_half = (high_min + half - high_min) * 0.5f;
    return {min + low_half, low_half, high_min + high_half, high_half};
}

/// A pair that awaits the edge axes and the plane: the index of a triangle, times eight, plus an
/// octant. Both are tame, and no box axis separates them.
using vesk_overlap_pair = std::uint16_t;

/// What the pairs are of.
struct vesk_overlap_subject
{
    const float *corners;        ///< as those of a `vesk_triangle_set`
    const std::uint32_t *places; ///< by a triangle's index, where its corners are
    const vesk_octant_boxes *octants;
};

/// Pairs are read in groups: so many behind the last one have to name triangles too.
constexpr unsigned int vesk_overlap_pair_slack = 7;

/// Tests up to 64 pairs. Bit i of the result is set when pair i does not overlap; bits behind the
/// last pair mean nothing.
using vesk_overlap_test = std::uint64_t (*)(const vesk_overlap_subject &subject,
                                            const vesk_overlap_pair *pairs, unsigned int count);

/// The fastest test that this processor runs. A flat one is for triangles with y = 0 in all
/// corners and boxes around y = 0.
vesk_overlap_test vesk_pick_overlap_test(bool is_flat);
