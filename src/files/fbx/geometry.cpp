#include "files/fbx/geometry.h"

#include "files/fbx/triangulate.h"

#include <algorithm>
#include <climits>

namespace vesk_fbx
{
namespace
{
/// Corner and point numbers are ints, and triangles have up to three times the polygons' corners.
constexpr std::size_t most_corners = INT_MAX / 4;

bool read_points(const document &file, const record &source, mesh_geometry &out)
{
    const record *vertices = document::find_child(source, "Vertices");
    number_array<double> numbers;
    if (vertices && !file.read_numbers(*vertices, numbers))
        return false;
    out.point_count = numbers.count / 3;
    if (out.point_count > most_corners)
        return false;
    out.points.reset(new FbxVector4[out.point_count]);
    for (std::size_t i = 0; i < out.point_count; ++i)
    {
        const double x = numbers[3 * i], y = numbers[3 * i + 1], z = numbers[3 * i + 2];
        out.points[i] = FbxVector4(x, y, z);
        if (!is_tame(std::fabs(x)) || !is_tame(std::fabs(y)) || !is_tame(std::fabs(z)))
            out.all_tame = false;
    }
    return true;
}

/// Takes the mark off the last corner of each polygon and counts the marks. False when a corner
/// names a point that is not there.
bool read_corner_points(const number_array<int> &marked, mesh_geometry &out, unsigned int &marks)
{
    int *const points = out.corner_points.get();
    const unsigned int point_count = static_cast<unsigned int>(out.point_count);
    unsigned int missing = 0;
    for (std::size_t i = 0; i < marked.count; ++i)
    {
        const int value = marked[i];
        const int point = value < 0 ? ~value : value;
        points[i] = point;
        marks += value < 0;
        missing += static_cast<unsigned int>(point) >= point_count;
    }
    return missing == 0;
}

/// Nothing has to end the last one.
bool are_triangles(const number_array<int> &marked)
{
    if (marked.count % 3 != 0)
        return false;
    for (std::size_t i = 0; i < marked.count; i += 3)
    {
        const bool ends = marked[i + 2] < 0 || i + 3 == marked.count;
        if (marked[i] < 0 || marked[i + 1] < 0 || !ends)
            return false;
    }
    return true;
}

bool have_points(const mesh_geometry &mesh, int first_corner, int end_corner)
{
    const int *const points = mesh.corner_points.get();
    return std::all_of(points + first_corner, points + end_corner,
                       [&](int point)
                       { return static_cast<std::size_t>(point) < mesh.point_count; });
}

void list_polygons(const number_array<int> &marked, bool all_sound, mesh_geometry &out)
{
    const int count = static_cast<int>(marked.count);
    int first = 0, number = 0;
    for (int i = 0; i < count; ++i)
    {
        if (marked[static_cast<std::size_t>(i)] >= 0 && i + 1 < count)
            continue;
        const int end = i + 1;
        if (all_sound || have_points(out, first, end))
        {
            // Field by field: a copy of the whole makes processors wait for its parts.
            mesh_geometry::polygon &p = out.polygons.emplace_back();
            p.first_corner = first;
            p.corner_count = end - first;
            p.number = number;
        }
        first = end;
        ++number;
    }
}

bool read_polygons(const document &file, const record &source, mesh_geometry &out)
{
    const record *indices = document::find_child(source, "PolygonVertexIndex");
    number_array<int> marked; // the last corner of each polygon has its complement
    if (indices && !file.read_numbers(*indices, marked))
        return false;
    if (marked.count > most_corners)
        return false;
    out.corner_count = marked.count;
    out.corner_points.reset(new int[marked.count]);
    unsigned int marks = 0;
    const bool all_sound = read_corner_points(marked, out, marks);
    out.all_triangles = all_sound && are_triangles(marked);
    if (out.all_triangles)
        return true;
    out.polygons.reserve(std::size_t{marks} + 1);
    list_polygons(marked, all_sound, out);
    return true;
}

std::size_t count_corners(const mesh_geometry &mesh)
{
    std::size_t count = 0;
    for (const mesh_geometry::polygon &p : mesh.polygons)
        if (p.corner_count > 2)
            count += 3 * static_cast<std::size_t>(p.corner_count - 2);
    return count;
}

void cut_polygon(const mesh_geometry &mesh, const mesh_geometry::polygon &p,
                 polygon_splitter &splitter, std::vector<vector3> &positions, int *corners)
{
    positions.clear();
    for (int k = 0; k < p.corner_count; ++k)
    {
        const FbxVector4 &point = mesh.corner_position(p.first_corner + k);
        positions.push_back({point[0], point[1], point[2]});
    }
    splitter.split(positions.data(), p.corner_count, corners);
    for (int i = 0; i < 3 * (p.corner_count - 2); ++i)
        corners[i] += p.first_corner;
}

/// Most meshes are made of quadrangles, so these go the short way.
void cut_four_corners(const mesh_geometry &mesh, int first_corner, int *corners)
{
    const double *positions[4];
    for (int k = 0; k < 4; ++k)
        positions[k] = mesh.corner_position(first_corner + k).mData;
    const quadrangle_cut &cut = cut_quadrangle(positions);
    for (int i = 0; i < 6; ++i)
        corners[i] = first_corner + cut[i];
}

void cut_polygons(const mesh_geometry &mesh, int *corners)
{
    polygon_splitter splitter;
    std::vector<vector3> positions;
    for (const mesh_geometry::polygon &p : mesh.polygons)
    {
        if (p.corner_count < 3)
            continue;
        if (p.corner_count == 4 && mesh.all_tame)
            cut_four_corners(mesh, p.first_corner, corners);
        else
            cut_polygon(mesh, p, splitter, positions, corners);
        corners += 3 * (p.corner_count - 2);
    }
}
} // namespace

int mesh_geometry::find_polygon(int corner, int guess) const
{
    if (all_triangles)
        return corner / 3;
    for (int i = guess; i < guess + 2 && i < polygon_count(); ++i)
    {
        const polygon p = get_polygon(i);
        if (corner >= p.first_corner && corner - p.first_corner < p.corner_count)
            return i;
    }
    const auto behind =
        std::upper_bound(polygons.begin(), polygons.end(), corner,
                         [](int c, const polygon &p) { return c < p.first_corner; });
    return static_cast<int>(behind - polygons.begin()) - 1;
}

bool mesh_geometry::find_normal(int corner, int polygon_number, FbxVector4 &normal) const
{
    int entry = 0;
    switch (normals.mapping)
    {
    case mapping_mode::unknown:
        return false;
    case mapping_mode::by_corner:
        entry = corner;
        break;
    case mapping_mode::by_point:
        entry = corner_point(corner);
        break;
    case mapping_mode::by_polygon:
        entry = polygon_number;
        break;
    case mapping_mode::all_same:
        break;
    }
    if (normals.indexed)
    {
        if (static_cast<std::size_t>(entry) >= normals.indices.count)
            return false;
        entry = normals.indices[static_cast<std::size_t>(entry)];
    }
    return vector_list(normals.directions).get(static_cast<std::size_t>(entry), normal);
}

FbxVector4 mesh_geometry::face_normal(int polygon_index) const
{
    const polygon p = get_polygon(polygon_index);
    const FbxVector4 &origin = corner_position(p.first_corner);
    FbxVector4 sum(0.0, 0.0, 0.0);
    for (int k = 2; k < p.corner_count; ++k)
    {
        const FbxVector4 &b = corner_position(p.first_corner + k - 1);
        const FbxVector4 &c = corner_position(p.first_corner + k);
        double u[3], v[3];
        for (int i = 0; i < 3; ++i)
        {
            u[i] = b[i] - origin[i];
            v[i] = c[i] - origin[i];
        }
        for (int i = 0; i < 3; ++i)
            sum[i] += u[(i + 1) % 3] * v[(i + 2) % 3] - u[(i + 2) % 3] * v[(i + 1) % 3];
    }
    if (!is_finite(sum[0], sum[1], sum[2]))
        return FbxVector4(0.0, 0.0, 0.0);
    sum.Normalize();
    return sum;
}

bool read_geometry(const document &file, const record &source, mesh_geometry &out)
{
    return read_points(file, source, out) && read_polygons(file, source, out) &&
           read_layers(file, source, out);
}

void triangulate(const mesh_geometry &mesh, triangle_geometry &out)
{
    if (mesh.all_triangles)
    {
        out.triangle_count = mesh.polygon_count();
        return;
    }
    const std::size_t corner_count = count_corners(mesh);
    out.triangle_count = static_cast<int>(corner_count / 3);
    out.corners.reset(new int[corner_count]);
    cut_polygons(mesh, out.corners.get());
}
} // namespace vesk_fbx
