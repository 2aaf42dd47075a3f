#pragma once

#include "vesk/mesh.h"

/// @file
/// Where a tree's triangles have their corners. Each corner can be read as four floats, of which
/// the fourth means nothing.

/// Corners of a mesh: through the triangle's record.
struct vesk_mesh_corners
{
    const vesk_3d_vertex_s *vertices;
    const vesk_octree_triangle_s *records;

    /// Whether y is 0 in all corners, and boxes are slabs around that plane.
    static constexpr bool is_flat = false;
};

/// Corners of the raster: three of its own for each triangle, and one more behind the last.
struct vesk_raster_corners
{
    const vesk_vector3 *corners;

    /// @copydoc vesk_mesh_corners::is_flat
    static constexpr bool is_flat = true;
};
