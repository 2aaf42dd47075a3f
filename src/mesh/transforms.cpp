#include "vesk/mesh.h"

#include "mesh/vertex_lanes.h"
#include "vesk/matrix.h"

#include <algorithm>
#include <cfloat>

namespace
{
constexpr std::size_t lanes = 4;

vesk_float4 lanes_of(const vesk_vector3 &v)
{
    return vesk_float4{v.x, v.y, v.z, 0.0f};
}

template <typename operation> void transform_corner(vesk_vector3 &corner, const operation &apply)
{
    const vesk_float4 moved = apply(lanes_of(corner));
    corner = vesk_vector3(moved[0], moved[1], moved[2]);
}

// Both box corners and all positions through `apply`, which works lane by lane.
template <typename operation> void transform_points(vesk_mesh &mesh, const operation &apply)
{
    transform_corner(mesh.bounding_box_min, apply);
    transform_corner(mesh.bounding_box_max, apply);

    // A position is moved together with the x of the normal behind it, which keeps its bits.
    const vesk_mask4 position = {-1, -1, -1, 0};
    const std::size_t vertex_count = mesh.vertex_count;
    for (std::size_t v = 0; v < vertex_count; ++v)
    {
        float *floats = vesk_floats_of(mesh.vertex_array[v]);
        const vesk_float4 old = vesk_load4(floats);
        vesk_store4(floats, vesk_select4(position, apply(old), old));
    }
}

void offset_points(vesk_mesh &mesh, const vesk_vector3 &offset)
{
    const vesk_float4 o = lanes_of(offset);
    transform_points(mesh, [o](vesk_float4 p) { return p + o; });
}

void scale_points(vesk_mesh &mesh, vesk_float4 factors)
{
    transform_points(mesh, [factors](vesk_float4 p) { return p * factors; });
}

void offset_and_scale_points(vesk_mesh &mesh, const vesk_vector3 &offset, vesk_float4 factors)
{
    const vesk_float4 o = lanes_of(offset);
    transform_points(mesh, [o, factors](vesk_float4 p) { return (p + o) * factors; });
}

vesk_vector3 centre_of_box(const vesk_mesh &mesh)
{
    const vesk_vector3 &low = mesh.bounding_box_min, &high = mesh.bounding_box_max;
    // The box of no vertices reaches down from the largest float. Its middle is the origin, but
    // the difference of its corners is infinite.
    if (mesh.vertex_count == 0 && low == vesk_vector3(FLT_MAX, FLT_MAX, FLT_MAX))
        return vesk_vector3();
    return low + (high - low) / 2.0f;
}

// The distance of the farthest vertex from `centre`; NaN distances do not count. The root never
// falls when its argument grows, so the farthest squared is rooted, once.
float radius_around(const vesk_mesh &mesh, const vesk_vector3 &centre)
{
    const std::size_t vertex_count = mesh.vertex_count;
    const std::size_t whole = vertex_count / lanes * lanes;
    const vesk_float4 c = lanes_of(centre);
    vesk_float4 farthest = {};
    std::size_t v = 0;
    for (; v < whole; v += lanes)
    {
        const vesk_3d_vertex_s *vertices = mesh.vertex_array + v;
        vesk_vector_lanes p = {vesk_load4(vesk_floats_of(vertices[0])) - c,
                               vesk_load4(vesk_floats_of(vertices[1])) - c,
                               vesk_load4(vesk_floats_of(vertices[2])) - c};
        vesk_float4 last = vesk_load4(vesk_floats_of(vertices[3])) - c;
        vesk_transpose4(p.x, p.y, p.z, last);
        farthest = vesk_max4(vesk_dot(p, p), farthest);
    }
    float squared =
        std::max(std::max(farthest[0], farthest[1]), std::max(farthest[2], farthest[3]));
    for (; v < vertex_count; ++v)
    {
        const float here = (mesh.vertex_array[v].position - centre).get_length_squared();
        squared = here > squared ? here : squared;
    }
    return vesk_sqrt(squared);
}

// Rows of a matrix, each element in all lanes.
struct matrix_lanes
{
    vesk_vector_lanes rows[3];

    explicit matrix_lanes(const vesk_matrix33 &m)
    {
        for (unsigned int i = 0; i < 3; ++i)
            rows[i] = {vesk_splat4(m[i].x), vesk_splat4(m[i].y), vesk_splat4(m[i].z)};
    }
};

// Row vectors times the matrix.
vesk_vector_lanes operator*(const vesk_vector_lanes &v, const matrix_lanes &m)
{
    const vesk_vector_lanes *r = m.rows;
    return {(v.x * r[0].x + v.y * r[1].x) + v.z * r[2].x,
            (v.x * r[0].y + v.y * r[1].y) + v.z * r[2].y,
            (v.x * r[0].z + v.y * r[1].z) + v.z * r[2].z};
}

// The box of positions that go by four at a time; a NaN never enters it.
struct box_lanes
{
    vesk_vector_lanes low, high;

    box_lanes()
    {
        low.x = low.y = low.z = vesk_splat4(FLT_MAX);
        high.x = high.y = high.z = vesk_splat4(-FLT_MAX);
    }

    void add(const vesk_vector_lanes &p)
    {
        low = {vesk_min4(p.x, low.x), vesk_min4(p.y, low.y), vesk_min4(p.z, low.z)};
        high = {vesk_max4(p.x, high.x), vesk_max4(p.y, high.y), vesk_max4(p.z, high.z)};
    }

    // The corners. False when a bound is a zero: which of two zeros stands depends on which came
    // first, and lanes do not know.
    bool corners(vesk_vector3 &low_corner, vesk_vector3 &high_corner) const
    {
        const auto least = [](vesk_float4 v)
        { return std::min(std::min(v[0], v[1]), std::min(v[2], v[3])); };
        const auto most = [](vesk_float4 v)
        { return std::max(std::max(v[0], v[1]), std::max(v[2], v[3])); };
        low_corner = vesk_vector3(least(low.x), least(low.y), least(low.z));
        high_corner = vesk_vector3(most(high.x), most(high.y), most(high.z));
        return low_corner.x != 0.0f && low_corner.y != 0.0f && low_corner.z != 0.0f &&
               high_corner.x != 0.0f && high_corner.y != 0.0f && high_corner.z != 0.0f;
    }
};

void rotate_four(vesk_3d_vertex_s *vertices, const matrix_lanes &for_positions,
                 const matrix_lanes &for_normals, box_lanes &box)
{
    float *const floats[lanes] = {vesk_floats_of(vertices[0]), vesk_floats_of(vertices[1]),
                                  vesk_floats_of(vertices[2]), vesk_floats_of(vertices[3])};
    vesk_vector_lanes position, normal;
    vesk_load_vertices4(floats, position, normal);
    position = position * for_positions;
    normal = vesk_normalize(normal * for_normals);
    box.add(position);
    vesk_store_vertices4(floats, position, normal);
}

// Positions and normals of all vertices; the box of the new positions. False when the box has to
// be taken in the order of the vertices.
bool rotate_vertices(vesk_mesh &mesh, const vesk_matrix33 &for_positions)
{
    const matrix_lanes positions(for_positions);
    const matrix_lanes normals(vesk_matrix33_transpose(vesk_matrix33_inverse(for_positions)));
    const std::size_t vertex_count = mesh.vertex_count;
    const std::size_t whole = vertex_count / lanes * lanes;
    box_lanes box;
    for (std::size_t v = 0; v < whole; v += lanes)
        rotate_four(mesh.vertex_array + v, positions, normals, box);
    if (whole < vertex_count)
    {
        // What is left fills up with copies of its first vertex.
        vesk_3d_vertex_s rest[lanes];
        for (std::size_t i = 0; i < lanes; ++i)
            rest[i] = mesh.vertex_array[whole + i < vertex_count ? whole + i : whole];
        rotate_four(rest, positions, normals, box);
        std::copy_n(rest, vertex_count - whole, mesh.vertex_array + whole);
    }
    return box.corners(mesh.bounding_box_min, mesh.bounding_box_max);
}

vesk_matrix33 rotation_by(const vesk_vector3 &angles)
{
    vesk_matrix33 rotation;
    for (unsigned int axis = 0; axis < 3; ++axis)
        if (angles[axis] != 0.0f)
            rotation = rotation * vesk_matrix33_rotate(axis, angles[axis]);
    return rotation;
}
} // namespace

void vesk_mesh::position(const vesk_vector3 &offset)
{
    if (!instance_geometry)
        offset_points(*this, offset);
}

void vesk_mesh::scale(float factor)
{
    if (!instance_geometry)
        scale_points(*this, vesk_splat4(factor));
}

void vesk_mesh::scale(const vesk_vector3 &factors)
{
    if (!instance_geometry)
        scale_points(*this, lanes_of(factors));
}

void vesk_mesh::position_and_scale(const vesk_vector3 &offset, float factor)
{
    if (!instance_geometry)
        offset_and_scale_points(*this, offset, vesk_splat4(factor));
}

void vesk_mesh::position_and_scale(const vesk_vector3 &offset, const vesk_vector3 &factors)
{
    if (!instance_geometry)
        offset_and_scale_points(*this, offset, lanes_of(factors));
}

void vesk_mesh::center_and_enforce_size(float size, vesk_vector3 *offset, float *scale)
{
    if (instance_geometry)
        return;
    const vesk_vector3 centre = centre_of_box(*this);
    if (offset)
        *offset = -centre;

    const vesk_float4 c = lanes_of(centre);
    float factor = 1.0f;
    if (size > 0.0f)
    {
        // The radius is taken in a pass that only reads, so that moving and scaling are one pass.
        const float radius = radius_around(*this, centre);
        // No vertex off the centre: there is nothing to scale, and the mesh stays finite.
        if (radius > 0.0f)
            factor = size / radius;
        const vesk_float4 factors = vesk_splat4(factor);
        transform_points(*this, [c, factors](vesk_float4 p) { return (p - c) * factors; });
    }
    else
        transform_points(*this, [c](vesk_float4 p) { return p - c; });
    if (scale)
        *scale = factor;
}

void vesk_mesh::rotate(const vesk_vector3 &angles)
{
    if (instance_geometry || angles.is_zero())
        return;
    const bool box_is_known = rotate_vertices(*this, rotation_by(angles));
    generate_tangents(); // without memory the mesh has none, and says so on the error stack
    if (!box_is_known)
        ___calculate_min_max_bounding_box();
}
