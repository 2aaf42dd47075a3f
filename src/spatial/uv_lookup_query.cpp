#include "spatial/ray_triangle.h"
#include "spatial/tree_walk.h"
#include "vesk/mesh.h"

namespace
{
/// Bit i of the result tells whether the point lies in the rectangle of node i of four.
unsigned int rects_around(const vesk_columns4 &point, const vesk_uv_lookup_node_s *const *nodes)
{
    static_assert(sizeof(vesk_quadtree_aa_bounding_rect_s) == 16, "a rectangle is read as four");
    vesk_float4 rect[4];
    for (unsigned int lane = 0; lane < 4; ++lane)
        rect[lane] = vesk_load4(&nodes[lane]->bounding_rect);
    const vesk_columns4 low = vesk_columns_of(rect[0], rect[1], rect[2], rect[3]);
    const vesk_columns4 high = vesk_columns_from_1(rect[0], rect[1], rect[2], rect[3]);
    return vesk_lane_bits(
        ~((low.x > point.x) | (point.x > high.y) | (low.y > point.z) | (point.z > high.z)));
}

/// A texel's question: the first triangle below a point of the raster.
struct texel_query
{
    vesk_columns4 origin;
    vesk_columns4 direction;
    const vesk_vector3 *corners;
    vesk_uv_lookup_triangle_s &triangle;
    vesk_vector2 &barycentric;

    unsigned int reach(const vesk_uv_lookup_node_s &node, const vesk_uv_lookup_node_s **reached)
    {
        // An absent child is stood in for by its parent, whose rectangle holds the point.
        const vesk_uv_lookup_node_s *nodes[4];
        unsigned int present = 0;
        for (unsigned int i = 0; i < 4; ++i)
        {
            nodes[i] = node.children[i] ? node.children[i] : &node;
            present |= (node.children[i] ? 1u : 0u) << i;
        }
        if (!present)
            return 0;

        present &= rects_around(origin, nodes);
        unsigned int reached_count = 0;
        for (unsigned int i = 4; i-- > 0;)
        {
            reached[reached_count] = nodes[i];
            reached_count += present >> i & 1u;
        }
        return reached_count;
    }

    bool visit(const vesk_uv_lookup_node_s &node)
    {
        return vesk_any_four_triangles(
            node.triangles, corners,
            [&](const vesk_triangles4 &four, vesk_uv_lookup_triangle_s *const *records,
                unsigned int lanes)
            {
                vesk_triangle_hits4 hits;
                lanes &= vesk_lane_bits(vesk_line_meets_triangles4(origin, direction, four, hits));
                if (!lanes)
                    return false;
                unsigned int first = 0;
                while (!(lanes >> first & 1u))
                    ++first;
                triangle = *records[first];
                barycentric = vesk_vector2(hits.u[first], hits.v[first]);
                return true;
            });
    }
};

/// The ray runs straight down on the raster's plane. Where along it a triangle lies is no matter.
int vesk_uv_lookup_walk(const vesk_uv_lookup_node_s *node, const vesk_vector3 *corners,
                        const vesk_vector2 &point, vesk_uv_lookup_triangle_s &triangle,
                        vesk_vector2 &barycentric)
{
    if (!node->bounding_rect.intersect_point(point))
        return 0;
    texel_query query{vesk_broadcast_columns(point.x, 10.0f, point.y),
                      vesk_broadcast_columns(0.0f, -1.0f, 0.0f), corners, triangle, barycentric};
    return vesk_walk_reached(*node, query);
}
} // namespace

int vesk_quadtree_aa_bounding_rect_s::intersect_point(const vesk_vector2 &point) const
{
    if (min.x > point.x || point.x > max.x || min.y > point.y || point.y > max.y)
        return 0;
    return 1;
}

int vesk_mesh::is_point_intersect_uv_lookup(const vesk_vector2 &point,
                                            vesk_uv_lookup_triangle_s &triangle,
                                            vesk_vector2 &barycentric) const
{
    if (!uv_lookup_root)
        return 0;
    return vesk_uv_lookup_walk(uv_lookup_root, uv_lookup_vertex_array, point, triangle,
                               barycentric);
}
