#pragma once

#include "spatial/float_lanes.h"
#include "vesk/list.h"
#include "vesk/vector.h"

/// @file
/// A line against four triangles at once (Möller and Trumbore 1997, two-sided, no epsilon). Lane
/// for lane these are the operations of the test of one triangle, in its order. A comparison
/// rejects only where it holds, so that a NaN passes everything.

/// Four triangles, corner by corner.
struct vesk_triangles4
{
    vesk_columns4 a, b, c;
};

/// Where four triangles are hit. Lanes that are no hits hold nothing of use.
struct vesk_triangle_hits4
{
    vesk_float4 u, v;
};

/// One corner of four triangles.
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

/// Gives the triangles that the endless line through the origin meets, and their weights.
inline vesk_mask4 vesk_line_meets_triangles4(const vesk_columns4 &origin,
                                             const vesk_columns4 &direction,
                                             const vesk_triangles4 &triangle,
                                             vesk_triangle_hits4 &hit)
{
    const vesk_columns4 e1 = triangle.b - triangle.a;
    const vesk_columns4 e2 = triangle.c - triangle.a;
    const vesk_columns4 p = vesk_cross4(direction, e2);
    const vesk_float4 det = vesk_dot4(e1, p);
    const vesk_float4 inv = 1.0f / det;
    const vesk_columns4 s = origin - triangle.a;
    const vesk_columns4 q = vesk_cross4(s, e1);

    hit.u = vesk_dot4(s, p) * inv;
    hit.v = vesk_dot4(direction, q) * inv;
    return ~((det == 0.0f) | (hit.u < 0.0f) | (hit.u > 1.0f) | (hit.v < 0.0f) |
             (hit.u + hit.v > 1.0f));
}
