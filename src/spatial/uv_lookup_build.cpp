#include "foundation/alloc.h"
#include "spatial/tree_build.h"
#include "spatial/triangle_box.h"
#include "vesk/mesh.h"

namespace
{
/// The quadtree, as the builder of both trees needs it: raster corners lie on the plane y = 0, and
/// a rectangle is a flat slab around that plane. Columns are x, rows are z.
struct quadtree_kind
{
    using node = vesk_uv_lookup_node_s;
    using box = vesk_quadtree_aa_bounding_rect_s;
    static constexpr unsigned int child_count = 4;
    static constexpr bool is_flat = true;

    const vesk_vector3 *corners; // three for each triangle, and one more that is only read
    vesk_uv_lookup_triangle_s *records;

    static box &box_of(node &of)
    {
        return of.bounding_rect;
    }

    static void split(box space, box *children)
    {
        space.split_into_four(children);
    }

    static vesk_octant_boxes octants_of(const box &space)
    {
        vesk_octant_boxes octants = vesk_octants_of(lanes_of(space.min), lanes_of(space.max));
        octants.low_half[1] = octants.high_half[1] = 0.5f;
        return octants;
    }

    static void lay_grid(const box &space, unsigned int levels, vesk_triangle_grid &grid)
    {
        grid.lay(lanes_of(space.min), lanes_of(space.max), vesk_mask4{-1, 0, -1, 0}, levels);
    }

    static bool is_tame(const box &space)
    {
        return vesk_is_tame(vesk_vector3(space.min.x, 0.0f, space.min.y)) &&
               vesk_is_tame(vesk_vector3(space.max.x, 0.0f, space.max.y)) &&
               space.min.x <= space.max.x && space.min.y <= space.max.y;
    }

    vesk_uv_lookup_triangle_s *record_of(std::uint32_t triangle) const
    {
        return records + triangle;
    }

    vesk_corners4 corners_of(std::uint32_t triangle) const
    {
        const vesk_vector3 *first = corners + std::size_t{triangle} * 3;
        return {vesk_load4(first), vesk_load4(first + 1), vesk_load4(first + 2)};
    }

    const float *corners_by_number() const
    {
        return &corners->x;
    }

    static bool overlaps(const vesk_vector3 *triangle, const box &space)
    {
        const vesk_vector2 half = (space.max - space.min) * 0.5f;
        return vesk_triangle_box_overlap(
            vesk_vector3(space.min.x + half.x, 0.0f, space.min.y + half.y),
            vesk_vector3(half.x, 0.5f, half.y), triangle);
    }

private:
    static vesk_float4 lanes_of(const vesk_vector2 &v)
    {
        return vesk_float4{v.x, 0.0f, v.y, 0.0f};
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

quadtree_kind kind_of(const vesk_mesh &mesh)
{
    return {mesh.uv_lookup_vertex_array,
            reinterpret_cast<vesk_uv_lookup_triangle_s *>(mesh.uv_lookup_index_array)};
}
} // namespace

int vesk_mesh::generate_uv_lookup_quadtree(unsigned int width, unsigned int height,
                                           unsigned int max_depth, int uv_offset_u, int uv_offset_v,
                                           const vesk_list<unsigned int> *subsets,
                                           int (*cancel_callback)(void))
{
    free_uv_lookup_quadtree();

    const unsigned int triangle_count = index_count / 7;
    // One more than is used, so that any corner can be read as four floats.
    uv_lookup_vertex_array = vesk_alloc_array<vesk_vector3>(std::size_t{triangle_count} * 3 + 1);
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

    const quadtree_kind kind = kind_of(*this);
    vesk_tree_builder<quadtree_kind> builder(kind, root_rect(space), triangle_count,
                                             cancel_callback);
    if (triangle_count < 3)
        uv_lookup_root = builder.build_small(triangle_count);
    else if (builder.gather(triangle_count, subset_lookup_table, subsets))
        uv_lookup_root = builder.build(static_cast<int>(max_depth));
    else
    {
        ___push_error(L"Failed to add any triangles to the octree root node. Subsets not found.");
        return 0;
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
        vesk_free_own_tree(uv_lookup_root);
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
