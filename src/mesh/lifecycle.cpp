#include "vesk/mesh.h"

#include "foundation/alloc.h"

vesk_mesh::vesk_mesh() : error_stack()
{
    reset();
}

vesk_mesh::~vesk_mesh() {}

void vesk_mesh::reset()
{
    instance_geometry = 0;
    instance_tangents = 0;
    instance_uv_lookup = 0;
    instance_octree = 0;
    vertex_array = nullptr;
    uv_array = nullptr;
    index_array = nullptr;

    subset_lookup_table.clear();
    uv_channel_arrays.clear();
    uv_channel_counts.clear();
    uv_index_arrays.clear();

    cur_uv_channel = 0;
    vertex_count = 0;
    uv_count = 0;
    index_count = 0;
    bounding_box_min = vesk_vector3();
    bounding_box_max = vesk_vector3();

    render_index_array = nullptr;
    render_color_lookup_table.clear();

    tangent_array = nullptr;
    tangent_count = 0;

    uv_lookup_width = 0;
    uv_lookup_height = 0;
    uv_lookup_vertex_count = 0;
    uv_lookup_index_count = 0;
    uv_lookup_vertex_array = nullptr;
    uv_lookup_index_array = nullptr;
    uv_lookup_root = nullptr;
    octree = nullptr;
}

void vesk_mesh::free()
{
    free_fail();
    ___clear_error_stack();
}

void vesk_mesh::free_fail()
{
    if (!instance_geometry)
    {
        vesk_free_array(vertex_array);
        for (unsigned int channel = 0; channel < uv_channel_arrays.count; ++channel)
        {
            vesk_free_array(uv_channel_arrays[channel]);
            uv_channel_arrays[channel] = nullptr;
        }
        for (unsigned int channel = 0; channel < uv_index_arrays.count; ++channel)
        {
            vesk_free_array(uv_index_arrays[channel]);
            uv_index_arrays[channel] = nullptr;
        }
        uv_channel_arrays.clear();
        uv_index_arrays.clear();
        vesk_free_array(index_array);
    }
    vertex_array = nullptr;
    index_array = nullptr;
    instance_geometry = 0;

    free_render_index_array();
    free_tangents();
    free_uv_lookup_quadtree();
    free_octree();
    reset();
}

void vesk_mesh::free_render_index_array()
{
    vesk_free_array(render_index_array);
    render_index_array = nullptr;
    render_color_lookup_table.clear();
}

void vesk_mesh::free_tangents()
{
    if (!instance_tangents)
        vesk_free_array(tangent_array);
    tangent_array = nullptr;
    tangent_count = 0;
    instance_tangents = 0;
}

int vesk_mesh::is_valid() const
{
    return vertex_array && uv_array && index_array && subset_lookup_table.count != 0 &&
           vertex_count != 0 && uv_count != 0 && index_count != 0;
}

void vesk_mesh::clear_subset_lookup_table()
{
    subset_lookup_table.clear();
}

void vesk_mesh::add_subset_lookup_table_entry(unsigned int first_index, unsigned int triangle_count)
{
    // Both words or none: half a pair would shift all that follow.
    const unsigned int former_count = subset_lookup_table.count;
    subset_lookup_table.push_back(first_index);
    if (subset_lookup_table.count == former_count)
        return;
    subset_lookup_table.push_back(triangle_count);
    if (subset_lookup_table.count == former_count + 1)
        subset_lookup_table.pop_back();
}
