#pragma once

#include "vesk/mesh.h"

#include <cmath>

/// @file
/// The queries on both trees in the plainest form: one node, one box, one triangle at a time.
/// Tests hold the library's answers against these to the bit, and benchmarks its speed.

namespace plain
{
inline float dot(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline vesk_vector3 cross(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return vesk_vector3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

inline int box_meets_ray(const vesk_octree_aa_bounding_box_s &box, const vesk_vector3 &origin,
                         const vesk_vector3 &direction)
{
    const vesk_vector3 h((box.max.x - box.min.x) * 0.5f, (box.max.y - box.min.y) * 0.5f,
                         (box.max.z - box.min.z) * 0.5f);
    const vesk_vector3 c(box.min.x + h.x, box.min.y + h.y, box.min.z + h.z);
    const vesk_vector3 d(origin.x - c.x, origin.y - c.y, origin.z - c.z);
    const vesk_vector3 a(std::fabs(direction.x), std::fabs(direction.y), std::fabs(direction.z));
    if (std::fabs(d.x) > h.x && direction.x * d.x >= 0.0f)
        return 0;
    if (std::fabs(d.y) > h.y && direction.y * d.y >= 0.0f)
        return 0;
    if (std::fabs(d.z) > h.z && direction.z * d.z >= 0.0f)
        return 0;
    const vesk_vector3 across = cross(direction, d);
    if (std::fabs(across.x) > a.y * h.z + a.z * h.y)
        return 0;
    if (std::fabs(across.y) > a.x * h.z + a.z * h.x)
        return 0;
    if (std::fabs(across.z) > a.x * h.y + a.y * h.x)
        return 0;
    return 1;
}

/// What a query asks: a ray where `is_line` is 0.
struct question
{
    vesk_vector3 origin;
    vesk_vector3 direction;
    int is_line;
    float length;
    const float *minimum_distance;
};

struct hit
{
    float t, u, v;
};

inline int triangle_hit(const question &q, const vesk_vector3 &a, const vesk_vector3 &b,
                        const vesk_vector3 &c, hit &out)
{
    const vesk_vector3 e1(b.x - a.x, b.y - a.y, b.z - a.z);
    const vesk_vector3 e2(c.x - a.x, c.y - a.y, c.z - a.z);
    const vesk_vector3 p = cross(q.direction, e2);
    const float det = dot(e1, p);
    if (det == 0.0f)
        return 0;
    const float inv = 1.0f / det;
    const vesk_vector3 s(q.origin.x - a.x, q.origin.y - a.y, q.origin.z - a.z);
    const float u = dot(s, p) * inv;
    if (u < 0.0f || u > 1.0f)
        return 0;
    const vesk_vector3 across = cross(s, e1);
    const float v = dot(q.direction, across) * inv;
    if (v < 0.0f || u + v > 1.0f)
        return 0;
    float t = dot(e2, across) * inv;
    if (!q.is_line)
        t = std::fabs(t);
    else if (t > q.length)
        return 0;
    if (q.minimum_distance && *q.minimum_distance > t)
        return 0;
    out.t = t;
    out.u = u;
    out.v = v;
    return 1;
}

/// Walks below a node; `take(hit, record)` gets every hit and ends the walk by answering true.
template <typename Take> int walk(const vesk_octree_node_s &node, const vesk_3d_vertex_s *vertices,
                                  const question &q, Take &take, bool &stopped)
{
    if (!box_meets_ray(node.box, q.origin, q.direction))
        return 0;
    int found = 0;
    for (unsigned int i = 0; i < node.triangles.count; ++i)
    {
        vesk_octree_triangle_s *record = node.triangles[i];
        hit h;
        if (!triangle_hit(q, vertices[record->vertex_indices[0]].position,
                          vertices[record->vertex_indices[1]].position,
                          vertices[record->vertex_indices[2]].position, h))
            continue;
        found = 1;
        if (take(h, record))
        {
            stopped = true;
            return 1;
        }
    }
    for (const vesk_octree_node_s *child : node.children)
    {
        if (!child)
            continue;
        if (walk(*child, vertices, q, take, stopped))
            found = 1;
        if (stopped)
            return 1;
    }
    return found;
}

/// Edges are inside, and a NaN is not outside.
inline int rect_holds_point(const vesk_quadtree_aa_bounding_rect_s &rect, const vesk_vector2 &point)
{
    return !(rect.min.x > point.x || point.x > rect.max.x || rect.min.y > point.y ||
             point.y > rect.max.y);
}

/// Walks the quadtree below a node for a texel.
inline int texel(const vesk_uv_lookup_node_s &node, const vesk_vector3 *corners,
                 const vesk_vector2 &point, vesk_uv_lookup_triangle_s &triangle,
                 vesk_vector2 &barycentric)
{
    if (!rect_holds_point(node.bounding_rect, point))
        return 0;
    const question q{vesk_vector3(point.x, 10.0f, point.y), vesk_vector3(0.0f, -1.0f, 0.0f), 0,
                     0.0f, nullptr};
    for (unsigned int i = 0; i < node.triangles.count; ++i)
    {
        const vesk_uv_lookup_triangle_s *record = node.triangles[i];
        hit h;
        if (triangle_hit(q, corners[record->vertex_indices[0]], corners[record->vertex_indices[1]],
                         corners[record->vertex_indices[2]], h))
        {
            triangle = *record;
            barycentric = vesk_vector2(h.u, h.v);
            return 1;
        }
    }
    for (const vesk_uv_lookup_node_s *child : node.children)
        if (child && texel(*child, corners, point, triangle, barycentric))
            return 1;
    return 0;
}
} // namespace plain
