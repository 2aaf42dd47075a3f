#pragma once

#include "spatial/float_lanes.h"
#include "vesk/mesh_records.h"

#include <limits>

/// @file
/// Rays and lines against four triangles at once (Möller and Trumbore 1997, two-sided, no
/// epsilon). Lane for lane these are the operations of the test of one triangle, in its order.
/// A comparison rejects only where it holds, so that a NaN passes everything.

/// What a query asks of every triangle, formed once for each query.
struct vesk_triangle_question
{
    vesk_columns4 origin;    ///< O
    vesk_columns4 direction; ///< D
    vesk_float4 length;      ///< largest parameter; infinity where there is no limit
    vesk_float4 minimum;     ///< smallest parameter; minus infinity where there is no limit

    vesk_triangle_question(const vesk_vector3 &new_origin, const vesk_vector3 &new_direction,
                           float new_length, const float *minimum_distance)
        : origin(vesk_broadcast_columns(new_origin.x, new_origin.y, new_origin.z))
        , direction(vesk_broadcast_columns(new_direction.x, new_direction.y, new_direction.z))
        , length(vesk_broadcast4(new_length))
        , minimum(vesk_broadcast4(minimum_distance ? *minimum_distance
                                                   : -std::numeric_limits<float>::infinity()))
    {
    }
};

/// Four triangles, corner by corner.
struct vesk_triangles4
{
    vesk_columns4 a, b, c;
};

/// Where four triangles are hit. Lanes that are no hits hold nothing of use.
struct vesk_triangle_hits4
{
    vesk_float4 t, u, v;
};

/// One corner of four vertices. Sixteen bytes of a vertex are read, of which three floats count:
/// a vertex is longer than that.
inline vesk_columns4 vesk_load_corners4(const vesk_3d_vertex_s &a, const vesk_3d_vertex_s &b,
                                        const vesk_3d_vertex_s &c, const vesk_3d_vertex_s &d)
{
    static_assert(sizeof(vesk_3d_vertex_s) >= sizeof(vesk_float4), "a corner is read as four");
    return vesk_columns_of(vesk_load4(&a), vesk_load4(&b), vesk_load4(&c), vesk_load4(&d));
}

/// One corner of four positions, which may end where their array ends.
inline vesk_columns4 vesk_load_corners4(const vesk_vector3 &a, const vesk_vector3 &b,
                                        const vesk_vector3 &c, const vesk_vector3 &d)
{
    return {vesk_float4{a.x, b.x, c.x, d.x}, vesk_float4{a.y, b.y, c.y, d.y},
            vesk_float4{a.z, b.z, c.z, d.z}};
}

/// Reads the corners of four records.
template <typename Corner, typename Record>
inline vesk_triangles4 vesk_load_triangles4(const Corner *corners, Record *const *records)
{
    const unsigned int *a = records[0]->vertex_indices;
    const unsigned int *b = records[1]->vertex_indices;
    const unsigned int *c = records[2]->vertex_indices;
    const unsigned int *d = records[3]->vertex_indices;
    return {
        vesk_load_corners4(corners[a[0]], corners[b[0]], corners[c[0]], corners[d[0]]),
        vesk_load_corners4(corners[a[1]], corners[b[1]], corners[c[1]], corners[d[1]]),
        vesk_load_corners4(corners[a[2]], corners[b[2]], corners[c[2]], corners[d[2]]),
    };
}

/// Runs `test(triangles, records, lanes)` over a node's list, four at a time in list order, until
/// it answers true. Bits of `lanes` tell which of the four are triangles of the list: its end is
/// filled up with repeats.
template <typename Corner, typename Record, typename Test> inline bool
vesk_any_four_triangles(const vesk_list<Record *> &triangles, const Corner *corners, Test test)
{
    for (unsigned int first = 0; first < triangles.count; first += 4)
    {
        const unsigned int left = triangles.count - first;
        Record *records[4];
        for (unsigned int lane = 0; lane < 4; ++lane)
            records[lane] = triangles[lane < left ? first + lane : first];
        const unsigned int lanes = left < 4 ? (1u << left) - 1u : 15u;
        if (test(vesk_load_triangles4(corners, records), records, lanes))
            return true;
    }
    return false;
}

/// The test up to v, which all forms share. Gives the triangles that the endless line through
/// the origin meets; `u`, `v` are for the caller, `t` too when it is wanted.
template <bool WANTS_T>
inline vesk_mask4 vesk_line_meets_triangles4(const vesk_triangle_question &question,
                                             const vesk_triangles4 &triangle,
                                             vesk_triangle_hits4 &hit)
{
    const vesk_columns4 e1 = triangle.b - triangle.a;
    const vesk_columns4 e2 = triangle.c - triangle.a;
    const vesk_columns4 p = vesk_cross4(question.direction, e2);
    const vesk_float4 det = vesk_dot4(e1, p);
    const vesk_float4 inv = 1.0f / det;
    const vesk_columns4 s = question.origin - triangle.a;
    const vesk_columns4 q = vesk_cross4(s, e1);

    hit.u = vesk_dot4(s, p) * inv;
    hit.v = vesk_dot4(question.direction, q) * inv;
    if (WANTS_T)
        hit.t = vesk_dot4(e2, q) * inv;
    return ~((det == 0.0f) | (hit.u < 0.0f) | (hit.u > 1.0f) | (hit.v < 0.0f) |
             (hit.u + hit.v > 1.0f));
}

/// A ray's parameter is folded to its absolute value: hits behind the origin count.
inline unsigned int vesk_ray_triangle_hit(const vesk_triangle_question &question,
                                          const vesk_triangles4 &triangle, vesk_triangle_hits4 &hit)
{
    const vesk_mask4 met = vesk_line_meets_triangles4<true>(question, triangle, hit);
    hit.t = vesk_abs4(hit.t);
    return vesk_lane_bits(met & ~(question.minimum > hit.t));
}

/// A line's parameter keeps its sign and is limited by the length.
inline unsigned int vesk_line_triangle_hit(const vesk_triangle_question &question,
                                           const vesk_triangles4 &triangle,
                                           vesk_triangle_hits4 &hit)
{
    const vesk_mask4 met = vesk_line_meets_triangles4<true>(question, triangle, hit);
    return vesk_lane_bits(met & ~((hit.t > question.length) | (question.minimum > hit.t)));
}

/// The yes or no alone. Without a smallest parameter t decides nothing and is not computed.
template <bool LIMITED> inline unsigned int
vesk_ray_triangle_test(const vesk_triangle_question &question, const vesk_triangles4 &triangle)
{
    vesk_triangle_hits4 hit;
    if (LIMITED)
        return vesk_ray_triangle_hit(question, triangle, hit);
    return vesk_lane_bits(vesk_line_meets_triangles4<false>(question, triangle, hit));
}

/// The yes or no alone.
inline unsigned int vesk_line_triangle_test(const vesk_triangle_question &question,
                                            const vesk_triangles4 &triangle)
{
    vesk_triangle_hits4 hit;
    return vesk_line_triangle_hit(question, triangle, hit);
}
