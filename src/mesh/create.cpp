#include "vesk/mesh.h"

#include "foundation/alloc.h"
#include "mesh/uv_channels.h"

#include <cstring>

namespace
{
constexpr const wchar_t *vertex_array_error =
    L"Memory Allocation Error: Failed to allocate mesh vertex array.";
constexpr const wchar_t *index_array_error =
    L"Memory Allocation Error: Failed to allocate mesh index array.";
constexpr const wchar_t *subset_table_error =
    L"Memory Allocation Error: Failed to allocate mesh subset lookup table.";
constexpr const wchar_t *uv_array_error = L"Memory Allocation Error: Failed to allocate uv array.";
// The second space is part of the message.
constexpr const wchar_t *uv_index_array_error =
    L"Memory Allocation Error: Failed to allocate  uv index array.";
constexpr const wchar_t *tangent_array_error =
    L"Memory Allocation Error: Failed to allocate mesh tangent array.";

// The steps below return null, or the message of the allocation that failed. They leave whatever
// they made in the mesh, where `free_fail` finds it.

/// A block copy; sources of no elements may be null.
template <typename T> void copy_array(T *to, const T *from, std::size_t count)
{
    if (count != 0)
        std::memcpy(static_cast<void *>(to), static_cast<const void *>(from), count * sizeof(T));
}

/// A new array with the elements of another; null when memory is short.
template <typename T> T *clone_array(const T *from, std::size_t count)
{
    T *clone = vesk_alloc_array<T>(count);
    if (clone)
        copy_array(clone, from, count);
    return clone;
}

/// Room for vertices and records, with nothing written to either.
const wchar_t *allocate_geometry(vesk_mesh &mesh, unsigned int vertex_count,
                                 unsigned int index_count)
{
    mesh.vertex_array = vesk_alloc_array<vesk_3d_vertex_s>(vertex_count);
    if (!mesh.vertex_array)
        return vertex_array_error;
    mesh.index_array = vesk_alloc_array<unsigned int>(index_count);
    if (!mesh.index_array)
        return index_array_error;
    mesh.vertex_count = vertex_count;
    mesh.index_count = index_count;
    return nullptr;
}

const wchar_t *copy_subsets(vesk_mesh &mesh, const vesk_list<unsigned int> &subsets)
{
    mesh.subset_lookup_table = subsets;
    return subsets.data && !mesh.subset_lookup_table.data ? subset_table_error : nullptr;
}

/// Lists for `channel_count` channels that hold null until their arrays are made.
const wchar_t *open_channels(vesk_mesh &mesh, unsigned int channel_count)
{
    mesh.uv_channel_arrays.set_size(channel_count);
    mesh.uv_channel_counts.set_size(channel_count);
    mesh.uv_index_arrays.set_size(channel_count);
    if (mesh.uv_channel_arrays.size != channel_count ||
        mesh.uv_channel_counts.size != channel_count || mesh.uv_index_arrays.size != channel_count)
        return uv_array_error; // nothing counts as used yet, so there is nothing to release

    mesh.uv_channel_arrays.set_count_to_size();
    mesh.uv_channel_counts.set_count_to_size();
    mesh.uv_index_arrays.set_count_to_size();
    for (unsigned int channel = 0; channel < channel_count; ++channel)
    {
        mesh.uv_channel_arrays[channel] = nullptr;
        mesh.uv_index_arrays[channel] = nullptr;
    }
    return nullptr;
}

const wchar_t *copy_channel(vesk_mesh &mesh, unsigned int channel, const vesk_vector2 *uvs,
                            unsigned int uv_count, const unsigned int *uv_indices)
{
    const std::size_t corner_count = std::size_t(mesh.index_count / 7) * 3;
    mesh.uv_channel_arrays[channel] = clone_array(uvs, uv_count);
    if (!mesh.uv_channel_arrays[channel])
        return uv_array_error;
    mesh.uv_channel_counts[channel] = uv_count;
    mesh.uv_index_arrays[channel] = clone_array(uv_indices, corner_count);
    return mesh.uv_index_arrays[channel] ? nullptr : uv_index_array_error;
}

const wchar_t *copy_channels(vesk_mesh &mesh, const vesk_mesh_uv_data_s &uv_data)
{
    const wchar_t *error = open_channels(mesh, uv_data.channel_count);
    for (unsigned int channel = 0; !error && channel < uv_data.channel_count; ++channel)
        error = copy_channel(mesh, channel, uv_data.uv_arrays[channel], uv_data.uv_counts[channel],
                             uv_data.uv_index_arrays[channel]);
    return error;
}

const wchar_t *copy_channels(vesk_mesh &mesh, const vesk_mesh &other)
{
    const unsigned int channel_count = other.uv_channel_arrays.count;
    const wchar_t *error = open_channels(mesh, channel_count);
    for (unsigned int channel = 0; !error && channel < channel_count; ++channel)
        error = copy_channel(mesh, channel, other.uv_channel_arrays[channel],
                             other.uv_channel_counts[channel], other.uv_index_arrays[channel]);
    return error;
}

const wchar_t *copy_tangents(vesk_mesh &mesh, const vesk_mesh &other)
{
    if (!other.tangent_array)
        return nullptr;
    mesh.tangent_array = clone_array(other.tangent_array, other.tangent_count);
    if (!mesh.tangent_array)
        return tangent_array_error;
    mesh.tangent_count = other.tangent_count;
    return nullptr;
}

/// Makes `channel` current and takes the records over, in one pass: the UV words are the
/// channel's, whatever the source holds there.
void copy_records(vesk_mesh &mesh, const unsigned int *indices, unsigned int channel)
{
    const std::size_t triangle_count = mesh.index_count / 7;
    vesk_copy_records(mesh.index_array, indices, triangle_count,
                      vesk_select_uv_channel(mesh, channel));
    copy_array(mesh.index_array + triangle_count * 7, indices + triangle_count * 7,
               mesh.index_count % 7);
}
} // namespace

int vesk_mesh::create(unsigned int new_vertex_count, unsigned int new_index_count,
                      const vesk_mesh_uv_data_s &uv_data)
{
    free_fail();
    ___clear_error_stack();

    const wchar_t *error = allocate_geometry(*this, new_vertex_count, new_index_count);
    if (!error)
        error = copy_channels(*this, uv_data);
    if (error)
    {
        ___push_error(error);
        free_fail();
        return 0;
    }
    for (std::size_t v = 0; v < vertex_count; ++v)
        ::new (static_cast<void *>(vertex_array + v)) vesk_3d_vertex_s;
    set_uv_channel(0);
    return 1;
}

int vesk_mesh::create(const vesk_3d_vertex_s *vertices, const unsigned int *indices,
                      unsigned int new_vertex_count, unsigned int new_index_count,
                      const vesk_mesh_uv_data_s &uv_data, const vesk_list<unsigned int> &subsets)
{
    free_fail();
    ___clear_error_stack();

    const wchar_t *error = allocate_geometry(*this, new_vertex_count, new_index_count);
    if (!error)
        error = copy_subsets(*this, subsets);
    if (!error)
        error = copy_channels(*this, uv_data);
    if (error)
    {
        ___push_error(error);
        free_fail();
        return 0;
    }
    copy_array(vertex_array, vertices, vertex_count);
    copy_records(*this, indices, 0);
    ___calculate_min_max_bounding_box();
    return 1;
}

int vesk_mesh::create(const vesk_mesh &other)
{
    free_fail(); // empties `other` too when that is this mesh: the rest then copies nothing
    ___clear_error_stack();

    const wchar_t *error = allocate_geometry(*this, other.vertex_count, other.index_count);
    if (!error)
        error = copy_subsets(*this, other.subset_lookup_table);
    if (!error)
        error = copy_tangents(*this, other);
    if (!error)
        error = copy_channels(*this, other);
    if (error)
    {
        ___push_error(error);
        free_fail();
        return 0;
    }
    copy_array(vertex_array, other.vertex_array, vertex_count);
    copy_records(*this, other.index_array, other.cur_uv_channel);
    bounding_box_min = other.bounding_box_min;
    bounding_box_max = other.bounding_box_max;
    return 1;
}

vesk_mesh::vesk_mesh(const vesk_mesh &other)
{
    *this = other;
}

vesk_mesh &vesk_mesh::operator=(const vesk_mesh &other)
{
    if (this == &other)
        return *this;

    instance_geometry = other.instance_geometry;
    instance_tangents = other.instance_tangents;
    instance_uv_lookup = other.instance_uv_lookup;
    instance_octree = other.instance_octree;
    vertex_array = other.vertex_array;
    uv_array = other.uv_array;
    index_array = other.index_array;

    subset_lookup_table = other.subset_lookup_table;
    uv_channel_arrays = other.uv_channel_arrays;
    uv_channel_counts = other.uv_channel_counts;
    uv_index_arrays = other.uv_index_arrays;
    // When memory was short for one of the three, it is empty, and a channel that the others still
    // name would be read from its null.
    if (uv_channel_arrays.count != other.uv_channel_arrays.count ||
        uv_channel_counts.count != other.uv_channel_counts.count ||
        uv_index_arrays.count != other.uv_index_arrays.count)
    {
        uv_channel_arrays.clear();
        uv_channel_counts.clear();
        uv_index_arrays.clear();
    }

    cur_uv_channel = other.cur_uv_channel;
    vertex_count = other.vertex_count;
    uv_count = other.uv_count;
    index_count = other.index_count;
    bounding_box_min = other.bounding_box_min;
    bounding_box_max = other.bounding_box_max;

    render_index_array = other.render_index_array;
    render_color_lookup_table = other.render_color_lookup_table;

    tangent_array = other.tangent_array;
    tangent_count = other.tangent_count;

    uv_lookup_width = other.uv_lookup_width;
    uv_lookup_height = other.uv_lookup_height;
    uv_lookup_vertex_count = other.uv_lookup_vertex_count;
    uv_lookup_index_count = other.uv_lookup_index_count;
    uv_lookup_vertex_array = other.uv_lookup_vertex_array;
    uv_lookup_index_array = other.uv_lookup_index_array;
    uv_lookup_root = other.uv_lookup_root;
    octree = other.octree;

    error_stack = other.error_stack;
    return *this;
}
