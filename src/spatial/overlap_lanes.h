#pragma once

#include "spatial/overlap_pairs.h"

/// @file
/// The test of pairs, written once for any number of lanes. `Lanes` gives the vector types `value`
/// and `mask`, their `count`, `bits_of` a mask, `broadcast`, the lanes' `octants_of` pairs and
/// `load_columns`. It is a type of the one source that uses it, so that code for a particular
/// processor stays in there: nothing below is shared between sources.

template <typename Lanes> struct vesk_lane_vector
{
    typename Lanes::value at[3];
};

template <typename Lanes> vesk_lane_vector<Lanes>
vesk_lanes_difference(const vesk_lane_vector<Lanes> &p, const vesk_lane_vector<Lanes> &q)
{
    return {{p.at[0] - q.at[0], p.at[1] - q.at[1], p.at[2] - q.at[2]}};
}

template <typename Value> Value vesk_lanes_least(const Value &p, const Value &q)
{
    return p < q ? p : q;
}

template <typename Value> Value vesk_lanes_greatest(const Value &p, const Value &q)
{
    return p > q ? p : q;
}

template <typename Lanes>
vesk_lane_vector<Lanes> vesk_lanes_absolute(const vesk_lane_vector<Lanes> &p)
{
    using value = typename Lanes::value;
    using bits = typename Lanes::mask;
    vesk_lane_vector<Lanes> cleared;
    for (unsigned int i = 0; i < 3; ++i)
        cleared.at[i] = (value)((bits)p.at[i] & 0x7FFFFFFF);
    return cleared;
}

// The nine edge axes, as the plain test has them; there are no NaN.
template <unsigned k, unsigned l, typename Lanes>
typename Lanes::mask vesk_lanes_edge_axis_separates(const vesk_lane_vector<Lanes> &edge,
                                                    const vesk_lane_vector<Lanes> &size,
                                                    const vesk_lane_vector<Lanes> &half,
                                                    const vesk_lane_vector<Lanes> &p,
                                                    const vesk_lane_vector<Lanes> &q)
{
    using value = typename Lanes::value;
    const value radius = size.at[l] * half.at[k] + size.at[k] * half.at[l];
    const value along_p = edge.at[l] * p.at[k] - edge.at[k] * p.at[l];
    const value along_q = edge.at[l] * q.at[k] - edge.at[k] * q.at[l];
    // Both on one side of the box: the least above the radius, or the greatest below minus that.
    return vesk_lanes_greatest(vesk_lanes_least(along_p, along_q),
                               -vesk_lanes_greatest(along_p, along_q)) > radius;
}

// The plane, as the plain test has it: without NaN the near and the far corner's products are the
// least and the greatest of the two.
template <typename Lanes> typename Lanes::mask
vesk_lanes_plane_misses(const vesk_lane_vector<Lanes> &e0, const vesk_lane_vector<Lanes> &e1,
                        const vesk_lane_vector<Lanes> &a, const vesk_lane_vector<Lanes> &half)
{
    using value = typename Lanes::value;
    value low[3], high[3];
    for (unsigned int i = 0; i < 3; ++i)
    {
        const unsigned int j = (i + 1) % 3, k = (i + 2) % 3;
        const value normal = e0.at[j] * e1.at[k] - e0.at[k] * e1.at[j];
        const value near_product = normal * (-half.at[i] - a.at[i]);
        const value far_product = normal * (half.at[i] - a.at[i]);
        low[i] = vesk_lanes_least(near_product, far_product);
        high[i] = vesk_lanes_greatest(near_product, far_product);
    }
    const value zero = {};
    return (low[0] + low[1] + low[2] > zero) | (high[0] + high[1] + high[2] < zero);
}

// Four floats of each lane's triangle, from its float `first` on.
template <typename Lanes, unsigned first> __attribute__((always_inline)) inline void
vesk_load_lanes(const float *const (&triangles)[Lanes::count], typename Lanes::value (&columns)[4])
{
    const float *rows[Lanes::count];
    for (unsigned int lane = 0; lane < Lanes::count; ++lane)
        rows[lane] = triangles[lane] + first;
    Lanes::load_columns(rows, columns);
}

// The corners of each lane's triangle; of a flat one, y is never read.
template <typename Lanes, bool is_flat> __attribute__((always_inline)) inline void
vesk_load_corners(const float *const (&triangles)[Lanes::count], vesk_lane_vector<Lanes> &a,
                  vesk_lane_vector<Lanes> &b, vesk_lane_vector<Lanes> &c)
{
    using value = typename Lanes::value;
    value from_a[4], from_b[4], from_c[4];
    vesk_load_lanes<Lanes, 0>(triangles, from_a);
    a = {{from_a[0], from_a[1], from_a[2]}};
    if (is_flat)
    {
        vesk_load_lanes<Lanes, 5>(triangles, from_b);
        b = {{from_a[3], from_a[1], from_b[0]}};
        c = {{from_b[1], from_b[2], from_b[3]}};
        return;
    }
    vesk_load_lanes<Lanes, 3>(triangles, from_b);
    vesk_load_lanes<Lanes, 6>(triangles, from_c);
    b = {{from_b[0], from_b[1], from_b[2]}};
    c = {{from_c[0], from_c[1], from_c[2]}};
}

// On each axis, the low or the high one of two values, as the lanes' octants have it.
template <typename Lanes> vesk_lane_vector<Lanes>
vesk_lanes_of_octants(const typename Lanes::mask &octants, vesk_float4 low, vesk_float4 high)
{
    constexpr int axis_bits[3] = {0, 2, 1};
    vesk_lane_vector<Lanes> chosen;
    for (int axis = 0; axis < 3; ++axis)
    {
        const typename Lanes::mask is_high = -(octants >> axis_bits[axis] & 1);
        chosen.at[axis] = is_high ? Lanes::broadcast(high[axis]) : Lanes::broadcast(low[axis]);
    }
    return chosen;
}

// The pairs from `pairs` on, one a lane. A flat triangle has no edge axis but along y: the other
// projections and their radius are zero, and its plane runs through the middle of the box.
template <typename Lanes, bool is_flat> __attribute__((always_inline)) inline unsigned int
vesk_test_overlap_lanes(const vesk_overlap_subject &subject, const vesk_overlap_pair *pairs)
{
    constexpr unsigned x = 0, y = 1, z = 2;
    const typename Lanes::mask octants = Lanes::octants_of(pairs);
    const vesk_octant_boxes &boxes = *subject.octants;
    const vesk_lane_vector<Lanes> centre = vesk_lanes_of_octants<Lanes>(octants, boxes.low_centre,
                                                                        boxes.high_centre),
                                  half = vesk_lanes_of_octants<Lanes>(octants, boxes.low_half,
                                                                      boxes.high_half);

    const float *triangles[Lanes::count];
    for (unsigned int lane = 0; lane < Lanes::count; ++lane)
        triangles[lane] = subject.corners + std::size_t{subject.places[pairs[lane] >> 3]} * 9;
    vesk_lane_vector<Lanes> a, b, c;
    vesk_load_corners<Lanes, is_flat>(triangles, a, b, c);
    a = vesk_lanes_difference(a, centre);
    b = vesk_lanes_difference(b, centre);
    c = vesk_lanes_difference(c, centre);
    const vesk_lane_vector<Lanes> e0 = vesk_lanes_difference(b, a),
                                  e1 = vesk_lanes_difference(c, b),
                                  e2 = vesk_lanes_difference(a, c);
    const vesk_lane_vector<Lanes> f0 = vesk_lanes_absolute(e0), f1 = vesk_lanes_absolute(e1),
                                  f2 = vesk_lanes_absolute(e2);

    typename Lanes::mask missed = vesk_lanes_edge_axis_separates<z, x>(e0, f0, half, a, c) |
                                  vesk_lanes_edge_axis_separates<z, x>(e1, f1, half, a, c) |
                                  vesk_lanes_edge_axis_separates<z, x>(e2, f2, half, a, b);
    if (!is_flat)
    {
        missed |= vesk_lanes_edge_axis_separates<y, z>(e0, f0, half, a, c);
        missed |= vesk_lanes_edge_axis_separates<y, z>(e1, f1, half, a, c);
        missed |= vesk_lanes_edge_axis_separates<y, z>(e2, f2, half, a, b);
        missed |= vesk_lanes_edge_axis_separates<x, y>(e0, f0, half, b, c);
        missed |= vesk_lanes_edge_axis_separates<x, y>(e1, f1, half, a, b);
        missed |= vesk_lanes_edge_axis_separates<x, y>(e2, f2, half, b, c);
        missed |= vesk_lanes_plane_misses(e0, e1, a, half);
    }
    return Lanes::bits_of(missed);
}

template <typename Lanes, bool is_flat>
std::uint64_t vesk_test_overlap_pairs(const vesk_overlap_subject &subject,
                                      const vesk_overlap_pair *pairs, unsigned int count)
{
    std::uint64_t missed = 0;
    for (unsigned int i = 0; i < count; i += Lanes::count)
        missed |= std::uint64_t{vesk_test_overlap_lanes<Lanes, is_flat>(subject, pairs + i)} << i;
    return missed;
}
