#pragma once

#include "files/fbx/document.h"
#include "files/fbx/sdk_math.h"

#include <vector>

namespace vesk_fbx
{
/// To what the entries of a layer element belong.
enum class mapping_mode
{
    unknown, ///< to nothing that can be told
    by_corner,
    by_point,
    by_polygon,
    all_same
};

/// Normals as the file has them: entry k of `directions`, or of `indices` into it, belongs to
/// corner, point or polygon k.
struct normal_element
{
    mapping_mode mapping = mapping_mode::unknown;
    bool indexed = false;
    number_array<double> directions; ///< three each
    number_array<int> indices;
};

/// One layer of UVs. A direct layer has no indices.
struct uv_element
{
    mapping_mode mapping = mapping_mode::unknown;
    number_array<double> values; ///< two each
    number_array<int> indices;
};

/// A mesh with polygons of any size. Polygons that name a point which is not there are left out of
/// `polygons`, but still count in the numbering of layer elements.
struct mesh_geometry
{
    struct polygon
    {
        int first_corner, corner_count;
        int number; ///< among all polygons of the file
    };

    number_array<FbxVector4> points;
    number_array<int> corner_points; ///< the point of each corner, polygon after polygon
    std::vector<polygon> polygons;   ///< empty when `all_triangles`
    bool all_triangles = true;       ///< polygon k has the corners 3k, 3k + 1 and 3k + 2
    normal_element normals;
    std::vector<uv_element> uvs; ///< by layer, then by kind

    int polygon_count() const
    {
        return all_triangles ? static_cast<int>(corner_points.count / 3)
                             : static_cast<int>(polygons.size());
    }
    int corner_point(int corner) const
    {
        return corner_points.data.get()[corner];
    }
    const FbxVector4 &corner_position(int corner) const
    {
        return points.data.get()[corner_point(corner)];
    }
    polygon get_polygon(int i) const
    {
        return all_triangles ? polygon{3 * i, 3, i} : polygons[static_cast<std::size_t>(i)];
    }

    /// The normal that the file gives a corner; false when it gives none that is finite.
    bool find_normal(int corner, int polygon_number, FbxVector4 &normal) const;
    /// The direction that a polygon faces, zero for one without area: for corners without normal.
    FbxVector4 face_normal(int polygon_index) const;
};

/// How the polygons of a mesh were cut into triangles. The arrays are empty where the mesh was
/// `all_triangles` before: then nothing changes.
struct triangle_geometry
{
    int triangle_count = 0;
    number_array<int> corners;                 ///< for each corner, that of the original
    number_array<int> corner_points;           ///< for each corner, its point
    number_array<int> polygons;                ///< for each triangle, the index of its polygon
    std::vector<number_array<int>> uv_indices; ///< by UV element; of those by corner alone
    number_array<int> normal_indices;          ///< the same for normals by corner with indices
};

/// Reads the mesh below a Geometry record, or a Model record of version 6. False when its numbers
/// are damaged. May throw std::bad_alloc.
bool read_geometry(const document &file, const record &source, mesh_geometry &out);

/// Cuts all polygons into triangles. Those of one and two corners vanish. Indices of UV elements by
/// corner follow their corners; where there is not one for each corner, none is left.
/// May throw std::bad_alloc.
void triangulate(const mesh_geometry &mesh, triangle_geometry &out);
} // namespace vesk_fbx
