#pragma once

#include "vesk/list.h"
#include "vesk/triangle_color.h"
#include "vesk/vector.h"

/// @file
/// The plain records that a `vesk_mesh` is made of.

/// One vertex: 24 bytes, in memory and in the binary mesh file.
struct VESK_KIT vesk_3d_vertex_s
{
    vesk_vector3 position; ///< position
    vesk_vector3 normal;   ///< vertex normal

    /// All six floats 0.0f.
    vesk_3d_vertex_s();
    /// Copies both fields.
    vesk_3d_vertex_s(const vesk_3d_vertex_s &other);
    /// Nothing to release.
    ~vesk_3d_vertex_s();
    /// Copies both fields.
    vesk_3d_vertex_s &operator=(const vesk_3d_vertex_s &other);
};

/// The tangent of one triangle corner: 16 bytes, in memory and in the binary mesh file.
/// The record of corner c of triangle t is number `t * 3 + c`.
struct VESK_KIT vesk_mesh_tangent_s
{
    vesk_vector3 tangent; ///< unit tangent, or the zero vector where none can be formed
    float handedness;     ///< +1.0f or -1.0f: the side on which the bitangent lies

    /// A zero tangent; `handedness` is left alone.
    vesk_mesh_tangent_s();
    /// Copies both fields.
    vesk_mesh_tangent_s(const vesk_mesh_tangent_s &other);
    /// Nothing to release.
    ~vesk_mesh_tangent_s();
    /// Copies both fields.
    vesk_mesh_tangent_s &operator=(const vesk_mesh_tangent_s &other);
};

/// UV channels as a host gives them to `vesk_mesh::create`. The record owns nothing.
struct VESK_KIT vesk_mesh_uv_data_s
{
    unsigned int channel_count;     ///< number of channels
    vesk_vector2 **uv_arrays;       ///< for each channel, its UVs
    unsigned int *uv_counts;        ///< for each channel, how many UVs
    unsigned int **uv_index_arrays; ///< for each channel, three UV indexes for each triangle

    /// All fields zero: no channels.
    vesk_mesh_uv_data_s();
    /// A copy of the four fields.
    vesk_mesh_uv_data_s(const vesk_mesh_uv_data_s &other) = default;
    /// Copies the four fields.
    vesk_mesh_uv_data_s &operator=(const vesk_mesh_uv_data_s &other);
};

/// The colour runs of one subset, in ascending order of colour.
struct VESK_API vesk_subset_color_lookup_s
{
    vesk_list<vesk_triangle_color_data_s> runs; ///< one entry for each colour of the subset

    /// No runs.
    vesk_subset_color_lookup_s();
    /// Releases the list.
    ~vesk_subset_color_lookup_s();
    /// There is no copying constructor; `operator=` copies.
    vesk_subset_color_lookup_s(const vesk_subset_color_lookup_s &) = delete;
    /// Deep copy: the target gets a list of its own.
    vesk_subset_color_lookup_s &operator=(const vesk_subset_color_lookup_s &other);
};

static_assert(sizeof(vesk_3d_vertex_s) == 24, "mesh files hold vertices as they are");
static_assert(sizeof(vesk_mesh_tangent_s) == 16, "mesh files hold tangents as they are");

#if !defined(VESK_NO_INLINE)
#include "vesk/inline/mesh_records.inl"
#endif
