#include "spatial/triangle_box.h"

#include <cmath>

namespace
{
bool separates(float p, float q, float radius)
{
    return (p > radius && q > radius) || (p < -radius && q < -radius);
}

// The axis that is the cross product of an edge and a unit axis. k and l are the two other axes,
// in the order of the projection's terms; p and q are the corners that span the projection, since
// the third one projects onto one of these.
template <unsigned k, unsigned l>
bool edge_axis_separates(const vesk_vector3 &edge, const vesk_vector3 &half_size,
                         const vesk_vector3 &p, const vesk_vector3 &q)
{
    const float radius = std::fabs(edge[l]) * half_size[k] + std::fabs(edge[k]) * half_size[l];
    return separates(edge[l] * p[k] - edge[k] * p[l], edge[l] * q[k] - edge[k] * q[l], radius);
}

bool box_axis_separates(float a, float b, float c, float half_size)
{
    return (a > half_size && b > half_size && c > half_size) ||
           (a < -half_size && b < -half_size && c < -half_size);
}

float dot(const vesk_vector3 &p, const vesk_vector3 &q)
{
    return p.x * q.x + p.y * q.y + p.z * q.z;
}

// The corners of the box that lie farthest back and farthest ahead along the plane's normal.
bool plane_meets_box(const vesk_vector3 &normal, const vesk_vector3 &a,
                     const vesk_vector3 &half_size)
{
    vesk_vector3 low, high;
    for (unsigned int k = 0; k < 3; ++k)
    {
        const float near_side = -half_size[k] - a[k];
        const float far_side = half_size[k] - a[k];
        low[k] = normal[k] > 0.0f ? near_side : far_side;
        high[k] = normal[k] > 0.0f ? far_side : near_side;
    }
    if (dot(normal, low) > 0.0f)
        return false;
    return dot(normal, high) >= 0.0f;
}
} // namespace

int vesk_triangle_box_overlap(const vesk_vector3 &centre, const vesk_vector3 &half_size,
                              const vesk_vector3 *triangle)
{
    constexpr unsigned x = 0, y = 1, z = 2;
    const vesk_vector3 &h = half_size;
    const vesk_vector3 a = triangle[0] - centre;
    const vesk_vector3 b = triangle[1] - centre;
    const vesk_vector3 c = triangle[2] - centre;
    const vesk_vector3 e0 = b - a;
    const vesk_vector3 e1 = c - b;
    const vesk_vector3 e2 = a - c;

    if (edge_axis_separates<y, z>(e0, h, a, c) || edge_axis_separates<z, x>(e0, h, a, c) ||
        edge_axis_separates<x, y>(e0, h, b, c))
        return 0;
    if (edge_axis_separates<y, z>(e1, h, a, c) || edge_axis_separates<z, x>(e1, h, a, c) ||
        edge_axis_separates<x, y>(e1, h, a, b))
        return 0;
    if (edge_axis_separates<y, z>(e2, h, a, b) || edge_axis_separates<z, x>(e2, h, a, b) ||
        edge_axis_separates<x, y>(e2, h, b, c))
        return 0;

    if (box_axis_separates(a.x, b.x, c.x, h.x) || box_axis_separates(a.y, b.y, c.y, h.y) ||
        box_axis_separates(a.z, b.z, c.z, h.z))
        return 0;

    return plane_meets_box(vesk_vec_cross_product(e0, e1), a, h);
}
