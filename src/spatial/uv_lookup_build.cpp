#include "spatial/subset_gather.h"
#include "spatial/tree_build.h"
#include "spatial/triangle_box.h"

namespace
{
struct quadtree_kind
{
    using node = vesk_uv_lookup_node_s;
    using box = vesk_quadtree_aa_bounding_rect_s;
    using triangle = vesk_uv_lookup_triangle_s;
    static constexpr unsigned int child_count = 4;

    const vesk_vector3 *corners;

    static box &space_of(node &of)
    {
        return of.bounding_rect;
    }

    static void split(box space, box *children)
    {
        space.split_into_four(children);
    }

    // The rectangle is a flat slab around the plane y = 0 that all corners lie on.
    bool overlaps(const triangle &record, const box &space) const
    {
        const vesk_vector2 half = (space.max - space.min) * 0.5f;
        const vesk_vector3 triangle_corners[3] = {corners[record.vertex_indices[0]],
                                                  corners[record.vertex_indices[1]],
                                                  corners[record.vertex_indices[2]]};
        return vesk_triangle_box_overlap(
            vesk_vector3(space.min.x + half.x, 0.0f, space.min.y + half.y),
            vesk_vector3(half.x, 0.5f, half.y), triangle_corners);
    }
};

struct raster
{
    float width;
    float height;
    float offset_u;
    float offset_v;
};

// Three corners of its own for each triangle, on the plane y = 0; row 0 is at the high end of V.
void fill_raster_corners(vesk_mesh &mesh, const raster &space)
{
    const unsigned int triangle_count = mesh.index_count / 7;
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const unsigned int *record = mesh.index_array + std::size_t{t} * 7;
        unsigned int *lookup_record = mesh.uv_lookup_index_array + std::size_t{t} * 7;
        for (unsigned int c = 0; c < 3; ++c)
        {
            const unsigned int vertex = t * 3 + c;
            const vesk_vector2 &uv = mesh.uv_array[record[3 + c]];
            vesk_vector3 &corner = mesh.uv_lookup_vertex_array[vertex];
            corner.x = (uv.x + space.offset_u) * space.width - 0.5f;
            corner.y = 0.0f;
            corner.z = space.height - (uv.y + space.offset_v) * space.height - 0.5f;
            lookup_record[c] = vertex;
            lookup_record[3 + c] = record[3 + c];
        }
        lookup_record[6] = t * 7;
    }
}

// A little wider than the raster, so that what lies on its edges is inside.
vesk_quadtree_aa_bounding_rect_s root_rect(const raster &space)
{
    vesk_quadtree_aa_bounding_rect_s rect;
    rect.min = vesk_vector2(-0.01f, -0.01f);
    rect.max = vesk_vector2(space.width + 0.01f, space.height + 0.01f);
    return rect;
}

vesk_uv_lookup_triangle_s *records_of(const vesk_mesh &mesh)
{
    return reinterpret_cast<vesk_uv_lookup_triangle_s *>(mesh.uv_lookup_index_array);
}

vesk_uv_lookup_node_s *small_mesh_root(const vesk_mesh &mesh, const raster &space)
{
    vesk_uv_lookup_node_s *root = vesk_new_tree_node<vesk_uv_lookup_node_s>();
    if (!root)
        return nullptr;
    root->bounding_rect = root_rect(space);
    vesk_gather_triangles(records_of(mesh), mesh.uv_lookup_index_count / 7,
                          mesh.subset_lookup_table, nullptr, root->triangles);
    return root;
}
} // namespace

int vesk_mesh::generate_uv_lookup_quadtree(unsigned int width, unsigned int height,
                                           unsigned int max_depth, int uv_offset_u, int uv_offset_v,
                                           const vesk_list<unsigned int> *subsets,
                                           int (*cancel_callback)(void))
{
    free_uv_lookup_quadtree();

    const unsigned int triangle_count = index_count / 7;
    uv_lookup_vertex_array = vesk_alloc_array<vesk_vector3>(std::size_t{triangle_count} * 3);
    if (!uv_lookup_vertex_array)
    {
        ___push_error(L"Memory Allocation Error: Failed to allocate uv lookup vertex array.");
        return 0;
    }
    uv_lookup_index_array = vesk_alloc_array<unsigned int>(std::size_t{triangle_count} * 7);
    if (!uv_lookup_index_array)
    {
        ___push_error(L"Memory Allocation Error: Failed to allocate uv lookup index array.");
        return 0;
    }

    const raster space = {static_cast<float>(width), static_cast<float>(height),
                          static_cast<float>(uv_offset_u), static_cast<float>(uv_offset_v)};
    fill_raster_corners(*this, space);
    uv_lookup_width = width;
    uv_lookup_height = height;
    uv_lookup_vertex_count = triangle_count * 3;
    uv_lookup_index_count = triangle_count * 7;

    if (uv_lookup_index_count < 21)
    {
        uv_lookup_root = small_mesh_root(*this, space);
    }
    else
    {
        vesk_list<vesk_uv_lookup_triangle_s *> list;
        vesk_gather_triangles(records_of(*this), triangle_count, subset_lookup_table, subsets,
                              list);
        if (subsets && !list.count)
        {
            ___push_error(
                L"Failed to add any triangles to the octree root node. Subsets not found.");
            return 0;
        }
        const quadtree_kind tree = {uv_lookup_vertex_array};
        const vesk_tree_builder<quadtree_kind> builder(tree, cancel_callback);
        uv_lookup_root = builder.build(list, root_rect(space), static_cast<int>(max_depth));
    }
    if (!uv_lookup_root)
        ___push_error(L"Memory Allocation Error: Failed to allocate quadtree root node.");
    return uv_lookup_root != nullptr;
}

void vesk_mesh::free_uv_lookup_quadtree()
{
    if (!instance_uv_lookup)
    {
        vesk_free_array(uv_lookup_vertex_array);
        vesk_free_array(uv_lookup_index_array);
        vesk_free_tree(uv_lookup_root);
    }
    uv_lookup_vertex_array = nullptr;
    uv_lookup_index_array = nullptr;
    uv_lookup_root = nullptr;
    uv_lookup_width = 0;
    uv_lookup_height = 0;
    uv_lookup_vertex_count = 0;
    uv_lookup_index_count = 0;
    instance_uv_lookup = 0;
}

unsigned int vesk_mesh::get_uv_lookup_quadtree_size_bytes() const
{
    return vesk_tree_size_bytes(uv_lookup_root);
}
