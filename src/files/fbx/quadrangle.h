#pragma once

#include "files/fbx/orientation.h"
#include "files/fbx/transform.h"

#include <cmath>
#include <utility>

namespace vesk_fbx
{
/// Whether products of coordinates neither overflow nor vanish when the largest is of this size.
inline bool is_tame(double size)
{
    return size == 0.0 || (size > 1e-60 && size < 1e60);
}

/// The coordinates seen when looking along the axis of a polygon's largest area, mirrored where
/// needed so that it runs counter-clockwise. Leaving a coordinate out rounds nothing.
struct plane_view
{
    int u, v;
    bool mirrored;

    /// `area`: the polygon's on each of the coordinate planes.
    explicit plane_view(const vector3 &area)
    {
        const double x = std::fabs(area.x), y = std::fabs(area.y), z = std::fabs(area.z);
        const int axis = z >= x && z >= y ? 2 : y >= x ? 1 : 0;
        u = (axis + 1) % 3;
        v = (axis + 2) % 3;
        mirrored = (axis == 2 ? area.z : axis == 1 ? area.y : area.x) < 0.0;
    }
    vector2 get(const double *xyz) const
    {
        vector2 seen = {xyz[u], xyz[v]};
        if (mirrored)
            std::swap(seen.x, seen.y);
        return seen;
    }
};

/// The corners of the two triangles.
using quadrangle_cut = int[6];

/// Cuts a quadrangle along the only diagonal that lies inside, or else the shorter one. Each corner
/// points at its x, y and z.
const quadrangle_cut &cut_quadrangle(const double *const (&corners)[4]);
} // namespace vesk_fbx
