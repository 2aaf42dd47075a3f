#pragma once

#include "vesk/mesh.h"

#include <utility>

/// A mesh that releases what it holds.
///
/// `vesk_mesh` leaves `free` to the host: its destructor releases list storage only, and its
/// copying operations share arrays. This owner closes both traps. It moves and does not copy,
/// its destructor calls `free`, and `copy` is the deep copy. Header only.
/// @code
/// vesk_owned_mesh mesh;
/// if (!mesh->load_from_file(L"vase.fbx"))
///     return report(mesh->get_error_stack());
/// @endcode
class vesk_owned_mesh
{
public:
    /// Owns an empty mesh.
    vesk_owned_mesh() = default;

    /// Releases everything that the mesh holds.
    ~vesk_owned_mesh()
    {
        m_mesh.free();
    }

    vesk_owned_mesh(const vesk_owned_mesh &) = delete;
    vesk_owned_mesh &operator=(const vesk_owned_mesh &) = delete;

    /// Takes over; `other` owns an empty mesh afterwards. No allocation.
    vesk_owned_mesh(vesk_owned_mesh &&other) noexcept
    {
        swap(other);
    }

    /// Releases what this one holds and takes over; `other` owns an empty mesh afterwards.
    vesk_owned_mesh &operator=(vesk_owned_mesh &&other) noexcept
    {
        if (this != &other)
        {
            m_mesh.free();
            swap(other);
        }
        return *this;
    }

    /// An owner of a deep copy, as by `vesk_mesh::create(const vesk_mesh &)`. When memory is
    /// short the copy is empty and its error stack says so.
    vesk_owned_mesh copy() const
    {
        vesk_owned_mesh result;
        result.m_mesh.create(m_mesh);
        return result;
    }

    /// Exchanges the contents of two owners. Cannot fail.
    void swap(vesk_owned_mesh &other) noexcept
    {
        vesk_mesh &a = m_mesh;
        vesk_mesh &b = other.m_mesh;
        std::swap(a.instance_geometry, b.instance_geometry);
        std::swap(a.instance_tangents, b.instance_tangents);
        std::swap(a.instance_uv_lookup, b.instance_uv_lookup);
        std::swap(a.instance_octree, b.instance_octree);
        std::swap(a.vertex_array, b.vertex_array);
        std::swap(a.uv_array, b.uv_array);
        std::swap(a.index_array, b.index_array);
        swap_lists(a.subset_lookup_table, b.subset_lookup_table);
        swap_lists(a.uv_channel_arrays, b.uv_channel_arrays);
        swap_lists(a.uv_channel_counts, b.uv_channel_counts);
        swap_lists(a.uv_index_arrays, b.uv_index_arrays);
        std::swap(a.cur_uv_channel, b.cur_uv_channel);
        std::swap(a.vertex_count, b.vertex_count);
        std::swap(a.uv_count, b.uv_count);
        std::swap(a.index_count, b.index_count);
        std::swap(a.bounding_box_min, b.bounding_box_min);
        std::swap(a.bounding_box_max, b.bounding_box_max);
        std::swap(a.render_index_array, b.render_index_array);
        swap_lists(a.render_color_lookup_table, b.render_color_lookup_table);
        std::swap(a.tangent_array, b.tangent_array);
        std::swap(a.tangent_count, b.tangent_count);
        std::swap(a.uv_lookup_width, b.uv_lookup_width);
        std::swap(a.uv_lookup_height, b.uv_lookup_height);
        std::swap(a.uv_lookup_vertex_count, b.uv_lookup_vertex_count);
        std::swap(a.uv_lookup_index_count, b.uv_lookup_index_count);
        std::swap(a.uv_lookup_vertex_array, b.uv_lookup_vertex_array);
        std::swap(a.uv_lookup_index_array, b.uv_lookup_index_array);
        std::swap(a.uv_lookup_root, b.uv_lookup_root);
        std::swap(a.octree, b.octree);
        swap_lists(a.error_stack, b.error_stack);
    }

    /// The mesh.
    vesk_mesh *operator->()
    {
        return &m_mesh;
    }
    /// The mesh.
    const vesk_mesh *operator->() const
    {
        return &m_mesh;
    }
    /// The mesh.
    vesk_mesh &operator*()
    {
        return m_mesh;
    }
    /// The mesh.
    const vesk_mesh &operator*() const
    {
        return m_mesh;
    }

private:
    template <typename T> static void swap_lists(vesk_list<T> &a, vesk_list<T> &b) noexcept
    {
        std::swap(a.data, b.data);
        std::swap(a.size, b.size);
        std::swap(a.count, b.count);
        std::swap(a.reversed, b.reversed);
    }

    vesk_mesh m_mesh;
};
