#pragma once

#include "vesk/vesk.h"

/// What stands at a place of a triangle.
struct surface_point
{
    vesk_vector3 position;
    vesk_vector3 normal; ///< unit length, or zero
};

/// Position and normal at the barycentric weights (`weights.x` of the second corner, `weights.y`
/// of the third).
inline surface_point point_on_triangle(const vesk_mesh &mesh, const unsigned int *vertex_indices,
                                       const vesk_vector2 &weights)
{
    const vesk_3d_vertex_s *vertices = mesh.get_vertex_array();
    const vesk_3d_vertex_s &a = vertices[vertex_indices[0]];
    const vesk_3d_vertex_s &b = vertices[vertex_indices[1]];
    const vesk_3d_vertex_s &c = vertices[vertex_indices[2]];
    const float first = 1.0f - weights.x - weights.y;
    surface_point point;
    point.position = first * a.position + weights.x * b.position + weights.y * c.position;
    point.normal =
        vesk_vec_normalize(first * a.normal + weights.x * b.normal + weights.y * c.normal);
    return point;
}

/// The UV of the current channel at the same weights.
inline vesk_vector2 uv_on_triangle(const vesk_mesh &mesh, const unsigned int *uv_indices,
                                   const vesk_vector2 &weights)
{
    const vesk_vector2 *uvs = mesh.get_uv_array();
    const float first = 1.0f - weights.x - weights.y;
    return first * uvs[uv_indices[0]] + weights.x * uvs[uv_indices[1]] +
           weights.y * uvs[uv_indices[2]];
}

/// Radius of the box around the mesh: half its diagonal.
inline float box_radius(const vesk_mesh &mesh)
{
    return vesk_vec_distance(mesh.bounding_box_max, mesh.bounding_box_min) * 0.5f;
}
