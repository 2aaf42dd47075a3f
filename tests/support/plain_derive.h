#pragma once

#include "vesk/matrix.h"
#include "vesk/mesh.h"

#include <cmath>

/// @file
/// What the mesh derives from itself, written down as plainly as it is defined. The library's
/// faster ways are held against these to the bit.

inline float plain_length(const vesk_vector3 &v)
{
    const float sum = (v.x * v.x + v.y * v.y) + v.z * v.z;
    return static_cast<float>(std::sqrt(static_cast<double>(sum)));
}

inline void plain_normalize(vesk_vector3 &v)
{
    const float length = plain_length(v);
    v = length > 0.0f ? vesk_vector3(v.x / length, v.y / length, v.z / length) : vesk_vector3();
}

/// Every vertex looks at every triangle.
inline void plain_generate_normals(vesk_mesh &mesh)
{
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        const vesk_vector3 here = mesh.vertex_array[v].position;
        vesk_vector3 &normal = mesh.vertex_array[v].normal;
        bool touched = false;
        for (unsigned int word = 0; word + 7 <= mesh.index_count; word += 7)
        {
            const unsigned int *corners = mesh.index_array + word;
            const vesk_vector3 &p0 = mesh.vertex_array[corners[0]].position;
            const vesk_vector3 &p1 = mesh.vertex_array[corners[1]].position;
            const vesk_vector3 &p2 = mesh.vertex_array[corners[2]].position;
            if (p0 == here || p1 == here || p2 == here)
            {
                const vesk_vector3 n = vesk_vec_cross_product(p1 - p2, p0 - p1);
                normal = touched ? normal + n : n;
                touched = true;
            }
            plain_normalize(normal);
        }
    }
}

/// Tangents in two passes, over records that the caller allocated: three for each triangle.
inline void plain_tangents(const vesk_mesh &mesh, vesk_mesh_tangent_s *tangents,
                           vesk_vector3 *bi_normals)
{
    const unsigned int triangle_count = mesh.index_count / 7;
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const unsigned int *record = mesh.index_array + t * 7;
        const vesk_vector3 &p0 = mesh.vertex_array[record[0]].position;
        const vesk_vector3 x1 = mesh.vertex_array[record[1]].position - p0;
        const vesk_vector3 x2 = mesh.vertex_array[record[2]].position - p0;
        const vesk_vector2 &w0 = mesh.uv_array[record[3]];
        const vesk_vector2 w1 = mesh.uv_array[record[4]] - w0;
        const vesk_vector2 w2 = mesh.uv_array[record[5]] - w0;
        const float r = 1.0f / (w1.x * w2.y - w2.x * w1.y);
        for (unsigned int c = t * 3; c < t * 3 + 3; ++c)
        {
            tangents[c].tangent = vesk_vector3();
            tangents[c].tangent += (x1 * w2.y - x2 * w1.y) * r;
            bi_normals[c] = vesk_vector3();
            bi_normals[c] += (x2 * w1.x - x1 * w2.x) * r;
        }
    }
    for (unsigned int c = 0; c < triangle_count * 3; ++c)
    {
        const vesk_vector3 &n = mesh.vertex_array[mesh.index_array[c / 3 * 7 + c % 3]].normal;
        vesk_vector3 &tangent = tangents[c].tangent;
        const float d = (tangent.x * n.x + tangent.y * n.y) + tangent.z * n.z;
        tangent = tangent - n * d;
        plain_normalize(tangent);
        const vesk_vector3 side = vesk_vec_cross_product(n, tangent);
        const vesk_vector3 &b = bi_normals[c];
        const float facing = (b.x * side.x + b.y * side.y) + b.z * side.z;
        tangents[c].handedness = facing < 0.0f ? -1.0f : 1.0f;
    }
}

/// The box, coordinate by coordinate in the order of the vertices.
inline void plain_box(vesk_mesh &mesh)
{
    vesk_vector3 low(3.40282347e+38f, 3.40282347e+38f, 3.40282347e+38f);
    vesk_vector3 high = -low;
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        for (unsigned int axis = 0; axis < 3; ++axis)
        {
            const float at = mesh.vertex_array[v].position[axis];
            if (at < low[axis])
                low[axis] = at;
            if (at > high[axis])
                high[axis] = at;
        }
    mesh.bounding_box_min = low;
    mesh.bounding_box_max = high;
}

/// (p + `offset`) * `factors` for corners of the box and positions.
inline void plain_position_and_scale(vesk_mesh &mesh, const vesk_vector3 &offset,
                                     const vesk_vector3 &factors)
{
    const auto move = [&offset, &factors](vesk_vector3 &p)
    {
        p = vesk_vector3((p.x + offset.x) * factors.x, (p.y + offset.y) * factors.y,
                         (p.z + offset.z) * factors.z);
    };
    move(mesh.bounding_box_min);
    move(mesh.bounding_box_max);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        move(mesh.vertex_array[v].position);
}

/// Centre first, then the radius, then the factor, each in a loop of its own.
inline void plain_center_and_enforce_size(vesk_mesh &mesh, float size, vesk_vector3 &offset,
                                          float &factor)
{
    const vesk_vector3 extent = mesh.bounding_box_max - mesh.bounding_box_min;
    const vesk_vector3 centre = // of no vertices: the origin, where the box has no size
        mesh.vertex_count ? mesh.bounding_box_min + extent / 2.0f : vesk_vector3();
    offset = -centre;
    mesh.bounding_box_min -= centre;
    mesh.bounding_box_max -= centre;
    float radius = 0.0f;
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        mesh.vertex_array[v].position -= centre;
        const float length = plain_length(mesh.vertex_array[v].position);
        if (length > radius)
            radius = length;
    }
    factor = 1.0f;
    if (size > 0.0f && radius > 0.0f)
    {
        factor = size / radius;
        mesh.bounding_box_min *= factor;
        mesh.bounding_box_max *= factor;
        for (unsigned int v = 0; v < mesh.vertex_count; ++v)
            mesh.vertex_array[v].position *= factor;
    }
}

/// The vertices' part of a rotation, and the box.
inline void plain_rotate_vertices(vesk_mesh &mesh, const vesk_vector3 &angles)
{
    vesk_matrix33 m;
    for (unsigned int axis = 0; axis < 3; ++axis)
        if (angles[axis] != 0.0f)
            m = m * vesk_matrix33_rotate(axis, angles[axis]);
    const vesk_matrix33 n = vesk_matrix33_transpose(vesk_matrix33_inverse(m));
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        vesk_3d_vertex_s &vertex = mesh.vertex_array[v];
        vertex.position = vertex.position * m;
        vertex.normal = vertex.normal * n;
        plain_normalize(vertex.normal);
    }
    plain_box(mesh);
}
