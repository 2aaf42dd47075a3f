#pragma once

#include "spatial/overlap_pairs.h"

/// @file
/// The test of pairs, written once for any number of lanes. `Lanes` gives the vector types `value`
/// and `mask`, their `count`, `bits_of` a mask, and `transpose`. It is a type of the one source
/// that uses it, so that code for a particular processor stays in there.

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
    return (vesk_lanes_least(along_p, along_q) > radius) |
           (vesk_lanes_greatest(along_p, along_q) < -radius);
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

// The rows from `row` on. A flat triangle has no edge axis but along y: the other projections and
// their radius are zero, and its plane runs through the middle of the box.
template <typename Lanes, bool is_flat>
unsigned int vesk_test_overlap_rows(const vesk_overlap_pair *row)
{
    constexpr unsigned x = 0, y = 1, z = 2;
    vesk_lane_vector<Lanes> a, b, c, half;
    Lanes::transpose(&row->a, a.at);
    Lanes::transpose(&row->b, b.at);
    Lanes::transpose(&row->c, c.at);
    Lanes::transpose(&row->half, half.at);
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
    return ~Lanes::bits_of(missed) & ((1u << Lanes::count) - 1);
}

template <typename Lanes, bool is_flat>
std::uint64_t vesk_test_overlap_pairs(const vesk_overlap_pair *pairs, unsigned int count)
{
    std::uint64_t hits = 0;
    for (unsigned int i = 0; i < count; i += Lanes::count)
        hits |= std::uint64_t{vesk_test_overlap_rows<Lanes, is_flat>(pairs + i)} << i;
    return hits;
}
