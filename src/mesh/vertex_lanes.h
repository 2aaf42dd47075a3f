#pragma once

#include "math/float4.h"
#include "vesk/mesh_records.h"

/// @file
/// Four vertices at once: each lane of a `vesk_vector_lanes` is one vertex's vector.

/// Four vectors, component by component.
struct vesk_vector_lanes
{
    vesk_float4 x, y, z;
};

inline vesk_vector_lanes operator-(const vesk_vector_lanes &a, const vesk_vector_lanes &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline vesk_vector_lanes operator*(const vesk_vector_lanes &a, vesk_float4 scalar)
{
    return {a.x * scalar, a.y * scalar, a.z * scalar};
}

/// Products and sums in float, in component order.
inline vesk_float4 vesk_dot(const vesk_vector_lanes &a, const vesk_vector_lanes &b)
{
    return (a.x * b.x + a.y * b.y) + a.z * b.z;
}

inline vesk_vector_lanes vesk_cross(const vesk_vector_lanes &a, const vesk_vector_lanes &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Divided by the length; zeros where the length is not above 0.0f, which a NaN is not.
inline vesk_vector_lanes vesk_normalize(const vesk_vector_lanes &a)
{
    const vesk_float4 length = vesk_sqrt4(vesk_dot(a, a));
    const vesk_mask4 has_length = length > vesk_float4{};
    return {vesk_select4(has_length, a.x / length, vesk_float4{}),
            vesk_select4(has_length, a.y / length, vesk_float4{}),
            vesk_select4(has_length, a.z / length, vesk_float4{})};
}

/// The six floats of a vertex: position, then normal.
inline float *vesk_floats_of(vesk_3d_vertex_s &vertex)
{
    return reinterpret_cast<float *>(&vertex);
}

/// @copydoc vesk_floats_of
inline const float *vesk_floats_of(const vesk_3d_vertex_s &vertex)
{
    return reinterpret_cast<const float *>(&vertex);
}

/// Positions and normals of four vertices, each given by its floats.
inline void vesk_load_vertices4(const float *const vertices[4], vesk_vector_lanes &position,
                                vesk_vector_lanes &normal)
{
    // The first four floats are the position and the x of the normal.
    position.x = vesk_load4(vertices[0]);
    position.y = vesk_load4(vertices[1]);
    position.z = vesk_load4(vertices[2]);
    normal.x = vesk_load4(vertices[3]);
    vesk_transpose4(position.x, position.y, position.z, normal.x);
    vesk_load_pairs4(vertices[0] + 4, vertices[1] + 4, vertices[2] + 4, vertices[3] + 4, normal.y,
                     normal.z);
}

/// The counterpart of `vesk_load_vertices4`.
inline void vesk_store_vertices4(float *const vertices[4], vesk_vector_lanes position,
                                 vesk_vector_lanes normal)
{
    vesk_transpose4(position.x, position.y, position.z, normal.x);
    vesk_store4(vertices[0], position.x);
    vesk_store4(vertices[1], position.y);
    vesk_store4(vertices[2], position.z);
    vesk_store4(vertices[3], normal.x);
    vesk_store_pairs4(vertices[0] + 4, vertices[1] + 4, vertices[2] + 4, vertices[3] + 4, normal.y,
                      normal.z);
}
