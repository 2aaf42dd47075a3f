#include "files/fbx/geometry.h"

#include "files/fbx/layers.h"
#include "files/fbx/triangulate.h"

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
    const std::size_t count = numbers.count / 3;
    if (count > most_corners)
        return false;
    out.points.allocate(count);
    for (std::size_t i = 0; i < count; ++i)
        out.points[i] = FbxVector4(numbers[3 * i], numbers[3 * i + 1], numbers[3 * i + 2]);
    return true;
}

/// Finds where polygons end, and takes the mark off the last index of each.
class polygon_scan
{
public:
    explicit polygon_scan(mesh_geometry &mesh) : m_mesh(mesh) {}

    void run()
    {
        const int count = static_cast<int>(m_mesh.corner_points.count);
        for (int i = 0; i < count; ++i)
        {
            int &point = m_mesh.corner_points.data.get()[i];
            const bool last = point < 0;
            if (last)
                point = ~point;
            if (static_cast<std::size_t>(point) >= m_mesh.points.count)
                m_sound = false;
            if (last)
                end_polygon(i + 1);
        }
        if (m_first < count) // a last polygon that nothing ends
            end_polygon(count);
    }

private:
    void end_polygon(int end)
    {
        const int corner_count = end - m_first;
        if (m_mesh.all_triangles && !(m_sound && corner_count == 3))
            list_triangles();
        if (!m_mesh.all_triangles && m_sound)
            m_mesh.polygons.push_back({m_first, corner_count, m_number});
        ++m_number;
        m_first = end;
        m_sound = true;
    }

    /// The first polygon that is something else: those before it need records too.
    void list_triangles()
    {
        m_mesh.all_triangles = false;
        for (int i = 0; i < m_number; ++i)
            m_mesh.polygons.push_back({3 * i, 3, i});
    }

    mesh_geometry &m_mesh;
    int m_first = 0;
    int m_number = 0;
    bool m_sound = true;
};

bool read_polygons(const document &file, const record &source, mesh_geometry &out)
{
    const record *indices = document::find_child(source, "PolygonVertexIndex");
    if (indices && !file.read_numbers(*indices, out.corner_points))
        return false;
    if (out.corner_points.count > most_corners)
        return false;
    polygon_scan(out).run();
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

void cut_polygons(const mesh_geometry &mesh, triangle_geometry &out)
{
    polygon_splitter splitter;
    std::vector<vector3> positions;
    int *corners = out.corners.data.get();
    int *polygons = out.polygons.data.get();
    const int polygon_count = mesh.polygon_count();
    for (int i = 0; i < polygon_count; ++i)
    {
        const mesh_geometry::polygon p = mesh.get_polygon(i);
        if (p.corner_count < 3)
            continue;
        const std::size_t corner_count = static_cast<std::size_t>(p.corner_count);
        if (positions.size() < corner_count)
            positions.resize(corner_count);
        vector3 *position = positions.data();
        for (int k = 0; k < p.corner_count; ++k)
        {
            const FbxVector4 &point = mesh.corner_position(p.first_corner + k);
            *position++ = {point[0], point[1], point[2]};
        }
        splitter.split(positions.data(), p.corner_count, corners);
        for (int t = 0; t < p.corner_count - 2; ++t)
        {
            *polygons++ = i;
            for (int k = 0; k < 3; ++k)
                *corners++ += p.first_corner;
        }
    }
}

/// `source` taken at each of `positions`.
number_array<int> gather(const number_array<int> &source, const number_array<int> &positions)
{
    number_array<int> result;
    result.allocate(positions.count);
    const int *values = source.data.get();
    for (std::size_t i = 0; i < positions.count; ++i)
        result[i] = values[positions[i]];
    return result;
}
} // namespace

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
        entry = normals.indices.data.get()[entry];
    }
    if (entry < 0 || static_cast<std::size_t>(entry) >= normals.directions.count / 3)
        return false;
    const double *d = &normals.directions[3 * static_cast<std::size_t>(entry)];
    if (!std::isfinite(d[0]) || !std::isfinite(d[1]) || !std::isfinite(d[2]))
        return false;
    normal = FbxVector4(d[0], d[1], d[2]);
    return true;
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
    const bool usable = std::isfinite(sum[0]) && std::isfinite(sum[1]) && std::isfinite(sum[2]);
    if (!usable)
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
    out.corners.allocate(corner_count);
    out.polygons.allocate(corner_count / 3);
    cut_polygons(mesh, out);

    out.corner_points = gather(mesh.corner_points, out.corners);
    out.uv_indices.resize(mesh.uvs.size());
    for (std::size_t i = 0; i < mesh.uvs.size(); ++i)
    {
        const uv_element &element = mesh.uvs[i];
        if (element.mapping == mapping_mode::by_corner &&
            element.indices.count == mesh.corner_points.count)
            out.uv_indices[i] = gather(element.indices, out.corners);
    }
    const normal_element &normals = mesh.normals;
    if (normals.mapping == mapping_mode::by_corner && normals.indexed &&
        normals.indices.count >= mesh.corner_points.count)
        out.normal_indices = gather(normals.indices, out.corners);
}
} // namespace vesk_fbx
