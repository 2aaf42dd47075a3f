#include "spatial/texel_descent.h"
#include "spatial/tree_walk.h"
#include "vesk/mesh.h"

#include <cstring>

namespace
{
float dot(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// A texel's question: the first triangle below a point of the raster.
class texel_query
{
public:
    texel_query(const vesk_vector3 *new_corners, const vesk_vector2 &new_point,
                vesk_uv_lookup_triangle_s &new_triangle, vesk_vector2 &new_barycentric)
        : corners(new_corners)
        , point(new_point)
        , triangle(new_triangle)
        , barycentric(new_barycentric)
    {
    }

    bool visit(const vesk_uv_lookup_node_s &node)
    {
        const vesk_list<vesk_uv_lookup_triangle_s *> &list = node.triangles;
        for (unsigned int i = 0; i < list.count; ++i)
        {
            const vesk_uv_lookup_triangle_s &record = *list[i];
            const vesk_vector3 &a = corners[record.vertex_indices[0]];
            const vesk_vector3 &b = corners[record.vertex_indices[1]];
            const vesk_vector3 &c = corners[record.vertex_indices[2]];
            if (!covers(a, b, c))
                continue;
            triangle = record;
            return true;
        }
        return false;
    }

    unsigned int reach(const vesk_uv_lookup_node_s &node, const vesk_uv_lookup_node_s **reached)
    {
        unsigned int count = 0;
        for (unsigned int i = 4; i-- > 0;)
            if (node.children[i] && node.children[i]->bounding_rect.intersect_point(point))
                reached[count++] = node.children[i];
        return count;
    }

private:
    const vesk_vector3 *corners;
    const vesk_vector2 point;
    vesk_uv_lookup_triangle_s &triangle;
    vesk_vector2 &barycentric;

    /// Möller and Trumbore 1997, two-sided, no epsilon, with a ray straight down on the raster's
    /// plane. A comparison rejects only where it holds, so that a NaN passes everything.
    bool covers(const vesk_vector3 &a, const vesk_vector3 &b, const vesk_vector3 &c)
    {
        const vesk_vector3 origin(point.x, 10.0f, point.y);
        const vesk_vector3 direction(0.0f, -1.0f, 0.0f);
        const vesk_vector3 e1 = b - a;
        const vesk_vector3 e2 = c - a;
        const vesk_vector3 h = vesk_vec_cross_product(direction, e2);
        const float det = dot(e1, h);
        if (det == 0.0f)
            return false;
        const float inv = 1.0f / det;
        const vesk_vector3 s = origin - a;
        barycentric.x = dot(s, h) * inv;
        if (0.0f > barycentric.x || barycentric.x > 1.0f)
            return false;
        const vesk_vector3 q = vesk_vec_cross_product(s, e1);
        barycentric.y = dot(direction, q) * inv;
        return !(0.0f > barycentric.y || barycentric.x + barycentric.y > 1.0f);
    }
};

const vesk_texel_descent &descent()
{
#if defined(VESK_TEXEL_DESCENT_AVX2)
    if (__builtin_cpu_supports("avx2"))
        return vesk_texel_descent_avx2;
#endif
    return vesk_texel_descent_baseline;
}

int vesk_uv_lookup_walk(const vesk_uv_lookup_node_s &node, const vesk_vector3 *corners,
                        const vesk_vector2 &point, vesk_uv_lookup_triangle_s &triangle,
                        vesk_vector2 &barycentric)
{
    if (!node.bounding_rect.intersect_point(point))
        return 0;
    texel_query query(corners, point, triangle, barycentric);
    return vesk_walk_reached(node, query);
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
    const vesk_uv_lookup_node_s *node = uv_lookup_root;
    if (!instance_uv_lookup)
    {
        const vesk_texel_question question = {uv_lookup_vertex_array, uv_lookup_index_array, point};
        if (const vesk_uv_lookup_triangle_s *found = descent().run(question, node, barycentric))
        {
            std::memcpy(static_cast<void *>(&triangle), found, sizeof(triangle));
            return 1;
        }
    }
    return node ? vesk_uv_lookup_walk(*node, uv_lookup_vertex_array, point, triangle, barycentric)
                : 0;
}
