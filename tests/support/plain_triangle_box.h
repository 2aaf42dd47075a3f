#pragma once

#include "vesk/vector.h"

#include <cmath>

/// @file
/// The triangle-box overlap test written out axis by axis: what the library's test of one triangle
/// against several boxes is held against.

namespace plain
{
/// Whether both projections lie beyond the box on the same side; a NaN lies on neither.
inline bool axis_separates(float p, float q, float r)
{
    return (p > r && q > r) || (p < -r && q < -r);
}

inline bool box_axis_separates(float a, float b, float c, float h)
{
    return (a > h && b > h && c > h) || (a < -h && b < -h && c < -h);
}

inline int triangle_box_overlap(const vesk_vector3 &centre, const vesk_vector3 &half_size,
                                const vesk_vector3 *triangle)
{
    const vesk_vector3 a = triangle[0] - centre;
    const vesk_vector3 b = triangle[1] - centre;
    const vesk_vector3 c = triangle[2] - centre;
    const vesk_vector3 h = half_size;

    const vesk_vector3 e0 = b - a;
    const vesk_vector3 e1 = c - b;
    const vesk_vector3 e2 = a - c;

    const vesk_vector3 f0(std::fabs(e0.x), std::fabs(e0.y), std::fabs(e0.z));
    if (axis_separates(e0.z * a.y - e0.y * a.z, e0.z * c.y - e0.y * c.z, f0.z * h.y + f0.y * h.z))
        return 0;
    if (axis_separates(e0.x * a.z - e0.z * a.x, e0.x * c.z - e0.z * c.x, f0.z * h.x + f0.x * h.z))
        return 0;
    if (axis_separates(e0.y * b.x - e0.x * b.y, e0.y * c.x - e0.x * c.y, f0.y * h.x + f0.x * h.y))
        return 0;

    const vesk_vector3 f1(std::fabs(e1.x), std::fabs(e1.y), std::fabs(e1.z));
    if (axis_separates(e1.z * a.y - e1.y * a.z, e1.z * c.y - e1.y * c.z, f1.z * h.y + f1.y * h.z))
        return 0;
    if (axis_separates(e1.x * a.z - e1.z * a.x, e1.x * c.z - e1.z * c.x, f1.z * h.x + f1.x * h.z))
        return 0;
    if (axis_separates(e1.y * a.x - e1.x * a.y, e1.y * b.x - e1.x * b.y, f1.y * h.x + f1.x * h.y))
        return 0;

    const vesk_vector3 f2(std::fabs(e2.x), std::fabs(e2.y), std::fabs(e2.z));
    if (axis_separates(e2.z * a.y - e2.y * a.z, e2.z * b.y - e2.y * b.z, f2.z * h.y + f2.y * h.z))
        return 0;
    if (axis_separates(e2.x * a.z - e2.z * a.x, e2.x * b.z - e2.z * b.x, f2.z * h.x + f2.x * h.z))
        return 0;
    if (axis_separates(e2.y * b.x - e2.x * b.y, e2.y * c.x - e2.x * c.y, f2.y * h.x + f2.x * h.y))
        return 0;

    if (box_axis_separates(a.x, b.x, c.x, h.x) || box_axis_separates(a.y, b.y, c.y, h.y) ||
        box_axis_separates(a.z, b.z, c.z, h.z))
        return 0;

    const vesk_vector3 n(e0.y * e1.z - e0.z * e1.y, e0.z * e1.x - e0.x * e1.z,
                         e0.x * e1.y - e0.y * e1.x);
    const vesk_vector3 lo(n.x > 0 ? -h.x - a.x : h.x - a.x, n.y > 0 ? -h.y - a.y : h.y - a.y,
                          n.z > 0 ? -h.z - a.z : h.z - a.z);
    const vesk_vector3 hi(n.x > 0 ? h.x - a.x : -h.x - a.x, n.y > 0 ? h.y - a.y : -h.y - a.y,
                          n.z > 0 ? h.z - a.z : -h.z - a.z);
    if (n.x * lo.x + n.y * lo.y + n.z * lo.z > 0.0f)
        return 0;
    return n.x * hi.x + n.y * hi.y + n.z * hi.z >= 0.0f;
}
} // namespace plain
