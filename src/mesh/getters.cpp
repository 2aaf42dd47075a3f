#include "vesk/mesh.h"

vesk_3d_vertex_s *vesk_mesh::get_vertex_array()
{
    return vertex_array;
}

const vesk_3d_vertex_s *vesk_mesh::get_vertex_array() const
{
    return vertex_array;
}

vesk_vector2 *vesk_mesh::get_uv_array()
{
    return uv_array;
}

const vesk_vector2 *vesk_mesh::get_uv_array() const
{
    return uv_array;
}

unsigned int *vesk_mesh::get_index_array()
{
    return index_array;
}

const unsigned int *vesk_mesh::get_index_array() const
{
    return index_array;
}

vesk_mesh_tangent_s *vesk_mesh::get_tangent_array()
{
    return tangent_array;
}

const vesk_mesh_tangent_s *vesk_mesh::get_tangent_array() const
{
    return tangent_array;
}

const unsigned int *vesk_mesh::get_render_index_array() const
{
    return render_index_array;
}

const vesk_list<unsigned int> *vesk_mesh::get_subset_lookup_table() const
{
    return &subset_lookup_table;
}

void vesk_mesh::get_render_color_lookup_table(
    const vesk_list<vesk_subset_color_lookup_s> **table) const
{
    *table = &render_color_lookup_table;
}

const vesk_octree_node_s *vesk_mesh::get_octree() const
{
    return octree;
}

void vesk_mesh::get_uv_lookup_quadtree(const vesk_vector3 **vertices, const unsigned int **indices,
                                       unsigned int &out_vertex_count,
                                       unsigned int &out_index_count,
                                       const vesk_uv_lookup_node_s **root, unsigned int &width,
                                       unsigned int &height) const
{
    *vertices = uv_lookup_vertex_array;
    *indices = uv_lookup_index_array;
    out_vertex_count = uv_lookup_vertex_count;
    out_index_count = uv_lookup_index_count;
    *root = uv_lookup_root;
    width = uv_lookup_width;
    height = uv_lookup_height;
}

unsigned int vesk_mesh::get_vertex_count() const
{
    return vertex_count;
}

unsigned int vesk_mesh::get_uv_count() const
{
    return uv_count;
}

unsigned int vesk_mesh::get_index_count() const
{
    return index_count;
}

unsigned int vesk_mesh::get_subset_count() const
{
    return subset_lookup_table.count >> 1;
}

unsigned int vesk_mesh::get_tangent_count() const
{
    return tangent_count;
}

unsigned int vesk_mesh::get_render_index_count() const
{
    return render_index_array ? index_count / 7 * 3 : 0;
}

unsigned int vesk_mesh::get_uv_channel_count() const
{
    return instance_geometry ? 1 : uv_channel_arrays.count;
}

unsigned int vesk_mesh::get_cur_uv_channel() const
{
    return instance_geometry ? 0 : cur_uv_channel;
}

unsigned int vesk_mesh::get_uv_lookup_width() const
{
    return uv_lookup_width;
}

unsigned int vesk_mesh::get_uv_lookup_height() const
{
    return uv_lookup_height;
}

const vesk_list<wchar_t *> *vesk_mesh::get_error_stack() const
{
    return &error_stack;
}
