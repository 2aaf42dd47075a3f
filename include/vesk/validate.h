#pragma once

#include "vesk/export.h"

class vesk_mesh;

/// @file
/// The check for meshes that come from files of others.

/// What `vesk_mesh_validate` found.
enum vesk_mesh_fault_kind
{
    vesk_mesh_fault_none = 0,
    vesk_mesh_fault_index_count,         ///< `index_count` is no multiple of seven
    vesk_mesh_fault_missing_array,       ///< a count that is not zero, and a null array
    vesk_mesh_fault_channel_lists,       ///< the three channel lists differ in length
    vesk_mesh_fault_missing_channel,     ///< `channel` has no UV array or no UV index array
    vesk_mesh_fault_current_channel,     ///< `uv_array`, `uv_count` are not those of the channel
    vesk_mesh_fault_position_not_finite, ///< the position of `vertex`
    vesk_mesh_fault_normal_not_finite,   ///< the normal of `vertex`
    vesk_mesh_fault_vertex_index,        ///< at `corner` of `triangle`
    vesk_mesh_fault_uv_index,            ///< in the record, at `corner` of `triangle`
    vesk_mesh_fault_channel_uv_index,    ///< in `channel`, at `corner` of `triangle`
    vesk_mesh_fault_subset_table,        ///< an odd number of words
    vesk_mesh_fault_subset_range,        ///< `subset` begins off a record or reaches beyond them
    vesk_mesh_fault_tangent_count        ///< neither 0 nor three for each triangle
};

/// The first fault of a mesh and its place. Fields that the kind does not name are 0.
struct vesk_mesh_fault_s
{
    vesk_mesh_fault_kind kind; ///< what is wrong
    unsigned int vertex;       ///< number of the vertex
    unsigned int triangle;     ///< number of the triangle
    unsigned int corner;       ///< 0 to 2
    unsigned int channel;      ///< number of the UV channel
    unsigned int subset;       ///< number of the subset
    unsigned int value;        ///< the index, count or word offset that is wrong
};

/// Whether every operation of the library may run on this mesh: counts fit, arrays are there,
/// vertex and UV indexes are in range in the records and in every channel, subsets lie inside the
/// records, positions and normals are finite, channels are complete.
///
/// A host that loads mesh files of others calls this once after `vesk_mesh::load_binary`. Empty
/// meshes pass: `vesk_mesh::is_valid` is the check for one that is worth drawing. UVs and tangents
/// that are not finite pass as well, since no operation stumbles over them. Derived data other
/// than tangents does not come from files and is not looked at.
///
/// @param mesh any mesh, an instance included
/// @param fault null, or where to write the first fault; kind `vesk_mesh_fault_none` without one
/// @return 1 when there is no fault, else 0
///
/// Cost: one pass over vertices, records and UV indexes; allocates nothing.
VESK_API int vesk_mesh_validate(const vesk_mesh &mesh, vesk_mesh_fault_s *fault);

/// A sentence for a kind of fault, in English, such as "a vertex index is out of range". Static.
VESK_API const wchar_t *vesk_mesh_fault_text(vesk_mesh_fault_kind kind);
