#include "files/fbx/triangulate.h"

#include <algorithm>

namespace vesk_fbx
{
namespace
{
constexpr quadrangle_cut along_02 = {0, 1, 2, 0, 2, 3};
constexpr quadrangle_cut along_13 = {0, 1, 3, 1, 2, 3};

struct offset
{
    double xyz[3];

    double squared_length() const
    {
        return xyz[0] * xyz[0] + xyz[1] * xyz[1] + xyz[2] * xyz[2];
    }
};

offset offset_of(const double *from, const double *to)
{
    return {{to[0] - from[0], to[1] - from[1], to[2] - from[2]}};
}

vector3 cross(const offset &a, const offset &b)
{
    const double *p = a.xyz, *q = b.xyz;
    return {p[1] * q[2] - p[2] * q[1], p[2] * q[0] - p[0] * q[2], p[0] * q[1] - p[1] * q[0]};
}

/// Above 0 when the turn from `a` to `b`, as `view` shows it, is counter-clockwise beyond doubt.
double certain_turn(const offset &a, const offset &b, const plane_view &view)
{
    const double left = a.xyz[view.u] * b.xyz[view.v], right = a.xyz[view.v] * b.xyz[view.u];
    const double turn = view.mirrored ? right - left : left - right;
    return turn - orientation_error(left, right);
}

/// Whatever the quadrangle: a diagonal that lies inside comes before the shorter one.
bool fits_better_along_13(const double *const (&corners)[4], const plane_view &view,
                          bool shorter_13)
{
    vector2 p[4];
    for (int i = 0; i < 4; ++i)
        p[i] = view.get(corners[i]);
    const int cut_02 = std::min(orientation(p[0], p[1], p[2]), orientation(p[0], p[2], p[3]));
    const int cut_13 = std::min(orientation(p[1], p[2], p[3]), orientation(p[0], p[1], p[3]));
    return cut_13 > cut_02 || (cut_13 == cut_02 && shorter_13);
}
} // namespace

const quadrangle_cut &cut_quadrangle(const double *const (&corners)[4])
{
    const offset to_1 = offset_of(corners[0], corners[1]);
    const offset to_2 = offset_of(corners[0], corners[2]);
    const offset to_3 = offset_of(corners[0], corners[3]);
    const offset from_3_to_1 = offset_of(corners[3], corners[1]);
    const offset from_3_to_2 = offset_of(corners[3], corners[2]);
    const vector3 area_012 = cross(to_1, to_2), area_023 = cross(to_2, to_3);
    const plane_view view(
        {area_012.x + area_023.x, area_012.y + area_023.y, area_012.z + area_023.z});
    const bool shorter_13 = from_3_to_1.squared_length() < to_2.squared_length();

    // All four corners of most quadrangles are convex, and then both diagonals lie inside.
    const double least_turn = std::min(
        std::min(certain_turn(to_1, to_2, view), certain_turn(to_2, to_3, view)),
        std::min(certain_turn(to_1, to_3, view), certain_turn(from_3_to_1, from_3_to_2, view)));
    const bool use_13 =
        least_turn > 0.0 ? shorter_13 : fits_better_along_13(corners, view, shorter_13);
    return use_13 ? along_13 : along_02;
}
} // namespace vesk_fbx
