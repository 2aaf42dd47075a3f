#pragma once

// Inline half of mesh_records.h.

VESK_INLINE vesk_3d_vertex_s::vesk_3d_vertex_s() : position(), normal() {}

VESK_INLINE vesk_3d_vertex_s::vesk_3d_vertex_s(const vesk_3d_vertex_s &other)
    : position(other.position)
    , normal(other.normal)
{
}

VESK_INLINE vesk_3d_vertex_s::~vesk_3d_vertex_s() {}

VESK_INLINE vesk_3d_vertex_s &vesk_3d_vertex_s::operator=(const vesk_3d_vertex_s &other)
{
    position = other.position;
    normal = other.normal;
    return *this;
}

// The handedness stays as it is: records are made in bulk and filled right after.
VESK_INLINE vesk_mesh_tangent_s::vesk_mesh_tangent_s() : tangent() {}

VESK_INLINE vesk_mesh_tangent_s::vesk_mesh_tangent_s(const vesk_mesh_tangent_s &other)
    : tangent(other.tangent)
    , handedness(other.handedness)
{
}

VESK_INLINE vesk_mesh_tangent_s::~vesk_mesh_tangent_s() {}

VESK_INLINE vesk_mesh_tangent_s &vesk_mesh_tangent_s::operator=(const vesk_mesh_tangent_s &other)
{
    tangent = other.tangent;
    handedness = other.handedness;
    return *this;
}

VESK_INLINE vesk_mesh_uv_data_s::vesk_mesh_uv_data_s()
    : channel_count(0)
    , uv_arrays(nullptr)
    , uv_counts(nullptr)
    , uv_index_arrays(nullptr)
{
}

VESK_INLINE vesk_mesh_uv_data_s &vesk_mesh_uv_data_s::operator=(const vesk_mesh_uv_data_s &other)
{
    channel_count = other.channel_count;
    uv_arrays = other.uv_arrays;
    uv_counts = other.uv_counts;
    uv_index_arrays = other.uv_index_arrays;
    return *this;
}
