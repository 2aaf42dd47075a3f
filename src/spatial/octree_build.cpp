#include "foundation/alloc.h"
#include "spatial/tree_build.h"
#include "spatial/triangle_box.h"
#include "vesk/mesh.h"

namespace
{
/// The octree, as the builder of both trees needs it.
struct octree_kind
{
    using node = vesk_octree_node_s;
    using box = vesk_octree_aa_bounding_box_s;
    static constexpr unsigned int child_count = 8;
    static constexpr bool is_flat = false;

    const vesk_3d_vertex_s *vertices;
    vesk_octree_triangle_s *records;

    static box &box_of(node &of)
    {
        return of.box;
    }

    static void split(box space, box *children)
    {
        space.split_into_eight(children);
    }

    static vesk_octant_boxes octants_of(const box &space)
    {
        return vesk_octants_of(lanes_of(space.min), lanes_of(space.max));
    }

    static void lay_grid(const box &space, unsigned int levels, vesk_triangle_grid &grid)
    {
        grid.lay(lanes_of(space.min), lanes_of(space.max), vesk_mask4{-1, -1, -1, 0}, levels);
    }

    static bool is_tame(const box &space)
    {
        return vesk_is_tame(space.min) && vesk_is_tame(space.max) && space.min.x <= space.max.x &&
               space.min.y <= space.max.y && space.min.z <= space.max.z;
    }

    vesk_octree_triangle_s *record_of(std::uint32_t triangle) const
    {
        return records + triangle;
    }

    vesk_corners4 corners_of(std::uint32_t triangle) const
    {
        // The fourth lane is the normal's first component.
        static_assert(sizeof(vesk_3d_vertex_s) >= sizeof(vesk_float4), "four floats are read");
        const unsigned int *corner = records[triangle].vertex_indices;
        return {vesk_load4(vertices + corner[0]), vesk_load4(vertices + corner[1]),
                vesk_load4(vertices + corner[2])};
    }

    static const float *corners_by_number()
    {
        return nullptr;
    }

    static bool overlaps(const vesk_vector3 *corners, const box &space)
    {
        const vesk_vector3 half = (space.max - space.min) * 0.5f;
        return vesk_triangle_box_overlap(space.min + half, half, corners);
    }

private:
    static vesk_float4 lanes_of(const vesk_vector3 &v)
    {
        return vesk_float4{v.x, v.y, v.z, 0.0f};
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

octree_kind kind_of(const vesk_mesh &mesh)
{
    return {mesh.vertex_array, reinterpret_cast<vesk_octree_triangle_s *>(mesh.index_array)};
}
} // namespace

int vesk_mesh::generate_octree(unsigned int max_depth, const vesk_list<unsigned int> *subsets,
                               int (*cancel_callback)(void))
{
    if (instance_octree)
        return 0;
    free_octree();

    const unsigned int triangle_count = index_count / 7;
    const octree_kind kind = kind_of(*this);
    vesk_tree_builder<octree_kind> builder(kind, root_box(*this), triangle_count, cancel_callback);
    if (triangle_count < 3)
        octree = builder.build_small(triangle_count);
    else if (builder.gather(triangle_count, subset_lookup_table, subsets))
        octree = builder.build(static_cast<int>(max_depth));
    else
    {
        ___push_error(L"Failed to add any triangles to the octree root node. Subsets not found.");
        return 0;
    }
    if (!octree)
        ___push_error(L"Memory Allocation Error: Failed to allocate octree root node.");
    return octree != nullptr;
}

void vesk_mesh::free_octree()
{
    if (!instance_octree)
        vesk_free_own_tree(octree);
    instance_octree = 0;
    octree = nullptr;
}

unsigned int vesk_mesh::get_octree_size_bytes() const
{
    return vesk_tree_size_bytes(octree);
}
