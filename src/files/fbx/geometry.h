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

    std::unique_ptr<FbxVector4[]> points;
    std::size_t point_count = 0;
    bool all_tame = true;                 ///< every coordinate by itself: see `is_tame`
    std::unique_ptr<int[]> corner_points; ///< the point of each corner, polygon after polygon
    std::size_t corner_count = 0;
    std::vector<polygon> polygons; ///< empty when `all_triangles`
    bool all_triangles = true;     ///< polygon k has the corners 3k, 3k + 1 and 3k + 2
    normal_element normals;
    std::vector<uv_element> uvs; ///< by layer, then by kind

    int polygon_count() const
    {
        return all_triangles ? static_cast<int>(corner_count / 3)
                             : static_cast<int>(polygons.size());
    }
    int corner_point(int corner) const
    {
        return corner_points.get()[corner];
    }
    const FbxVector4 &corner_position(int corner) const
    {
        return points.get()[corner_point(corner)];
    }
    polygon get_polygon(int i) const
    {
        return all_triangles ? polygon{3 * i, 3, i} : polygons[static_cast<std::size_t>(i)];
    }
    /// The index of the polygon that a corner belongs to. Quick when it is `guess` or the one
    /// behind.
    int find_polygon(int corner, int guess) const;

    /// The normal that the file gives a corner; false when it gives none that is finite.
    bool find_normal(int corner, int polygon_number, FbxVector4 &normal) const;
    /// The direction that a polygon faces, zero for one without area: for corners without normal.
    FbxVector4 face_normal(int polygon_index) const;
};

/// How the polygons of a mesh were cut into triangles: whatever belongs to a corner of a triangle
/// is found by the number of the polygon's corner that it was before.
struct triangle_geometry
{
    int triangle_count = 0;
    /// For each corner, that of the original; null if `all_triangles`.
    std::unique_ptr<int[]> corners;
};

/// Reads the mesh below a Geometry record, or a Model record of version 6. False when its numbers
/// are damaged. May throw std::bad_alloc.
bool read_geometry(const document &file, const record &source, mesh_geometry &out);

/// Reads the normals and all UV elements of a mesh: layers by number, within a layer by kind.
/// Normals are those of the first layer that has any. An element that no layer names does not
/// exist, one that several name counts once. False when the numbers are damaged. May throw
/// std::bad_alloc.
bool read_layers(const document &file, const record &source, mesh_geometry &out);

/// Cuts all polygons into triangles. Those of one and two corners vanish. May throw std::bad_alloc.
void triangulate(const mesh_geometry &mesh, triangle_geometry &out);
} // namespace vesk_fbx
