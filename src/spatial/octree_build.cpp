#include "spatial/subset_gather.h"
#include "spatial/tree_build.h"
#include "spatial/triangle_box.h"

namespace
{
struct octree_kind
{
    using node = vesk_octree_node_s;
    using box = vesk_octree_aa_bounding_box_s;
    using triangle = vesk_octree_triangle_s;
    static constexpr unsigned int child_count = 8;

    const vesk_3d_vertex_s *vertices;

    static box &space_of(node &of)
    {
        return of.box;
    }

    static void split(box space, box *children)
    {
        space.split_into_eight(children);
    }

    bool overlaps(const triangle &record, const box &space) const
    {
        const vesk_vector3 half = (space.max - space.min) * 0.5f;
        const vesk_vector3 corners[3] = {vertices[record.vertex_indices[0]].position,
                                         vertices[record.vertex_indices[1]].position,
                                         vertices[record.vertex_indices[2]].position};
        return vesk_triangle_box_overlap(space.min + half, half, corners);
    }
};

// A little wider than the mesh, so that what lies on its faces is inside.
vesk_octree_aa_bounding_box_s root_box(const vesk_mesh &mesh)
{
    const vesk_vector3 margin(0.01f, 0.01f, 0.01f);
    vesk_octree_aa_bounding_box_s box;
    box.min = mesh.bounding_box_min - margin;
    box.max = mesh.bounding_box_max + margin;
    return box;
}

vesk_octree_triangle_s *records_of(const vesk_mesh &mesh)
{
    return reinterpret_cast<vesk_octree_triangle_s *>(mesh.index_array);
}

vesk_octree_node_s *small_mesh_root(const vesk_mesh &mesh)
{
    vesk_octree_node_s *root = vesk_new_tree_node<vesk_octree_node_s>();
    if (!root)
        return nullptr;
    root->box = root_box(mesh);
    vesk_gather_triangles(records_of(mesh), mesh.index_count / 7, mesh.subset_lookup_table, nullptr,
                          root->triangles);
    return root;
}
} // namespace

int vesk_mesh::generate_octree(unsigned int max_depth, const vesk_list<unsigned int> *subsets,
                               int (*cancel_callback)(void))
{
    if (instance_octree)
        return 0;
    free_octree();

    if (index_count < 21)
    {
        octree = small_mesh_root(*this);
    }
    else
    {
        vesk_list<vesk_octree_triangle_s *> list;
        vesk_gather_triangles(records_of(*this), index_count / 7, subset_lookup_table, subsets,
                              list);
        if (subsets && !list.count)
        {
            ___push_error(
                L"Failed to add any triangles to the octree root node. Subsets not found.");
            return 0;
        }
        const octree_kind tree = {vertex_array};
        const vesk_tree_builder<octree_kind> builder(tree, cancel_callback);
        octree = builder.build(list, root_box(*this), static_cast<int>(max_depth));
    }
    if (!octree)
        ___push_error(L"Memory Allocation Error: Failed to allocate octree root node.");
    return octree != nullptr;
}

void vesk_mesh::free_octree()
{
    if (!instance_octree)
        vesk_free_tree(octree);
    instance_octree = 0;
    octree = nullptr;
}

unsigned int vesk_mesh::get_octree_size_bytes() const
{
    return vesk_tree_size_bytes(octree);
}
