#include "vesk/mesh.h"

// The fields have no const form of borrowed arrays. Nothing writes through them: every operation
// that would looks at the flag first.

void vesk_mesh::set_instance_geometry(const vesk_3d_vertex_s *vertices, const vesk_vector2 *uvs,
                                      const unsigned int *indices, unsigned int new_vertex_count,
                                      unsigned int new_uv_count, unsigned int new_index_count,
                                      const vesk_list<unsigned int> &subsets)
{
    free_fail();
    ___clear_error_stack();

    vertex_array = const_cast<vesk_3d_vertex_s *>(vertices);
    uv_array = const_cast<vesk_vector2 *>(uvs);
    index_array = const_cast<unsigned int *>(indices);
    vertex_count = new_vertex_count;
    uv_count = new_uv_count;
    index_count = new_index_count;
    instance_geometry = 1;
    subset_lookup_table = subsets;
    ___calculate_min_max_bounding_box();
}

void vesk_mesh::set_instance_tangents(const vesk_mesh_tangent_s *tangents,
                                      unsigned int new_tangent_count)
{
    free_tangents();
    tangent_array = const_cast<vesk_mesh_tangent_s *>(tangents);
    tangent_count = new_tangent_count;
    instance_tangents = 1;
}

void vesk_mesh::set_instance_uv_lookup_quadtree(const vesk_vector3 *vertices,
                                                const unsigned int *indices,
                                                unsigned int new_vertex_count,
                                                unsigned int new_index_count,
                                                const vesk_uv_lookup_node_s *root,
                                                unsigned int width, unsigned int height)
{
    free_uv_lookup_quadtree();
    uv_lookup_vertex_array = const_cast<vesk_vector3 *>(vertices);
    uv_lookup_index_array = const_cast<unsigned int *>(indices);
    uv_lookup_vertex_count = new_vertex_count;
    uv_lookup_index_count = new_index_count;
    uv_lookup_root = const_cast<vesk_uv_lookup_node_s *>(root);
    uv_lookup_width = width;
    uv_lookup_height = height;
    instance_uv_lookup = 1;
}

void vesk_mesh::set_instance_octree(const vesk_octree_node_s *root)
{
    free_octree();
    octree = const_cast<vesk_octree_node_s *>(root);
    instance_octree = 1;
}
