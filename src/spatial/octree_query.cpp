#include "spatial/ray_triangle.h"
#include "spatial/tree_walk.h"
#include "vesk/mesh.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace
{
constexpr float no_length = std::numeric_limits<float>::infinity();

/// The terms of a query, formed once.
struct query_terms
{
    vesk_triangle_question question;
    vesk_columns4 reach; ///< absolute values of the direction
    const vesk_3d_vertex_s *vertices;

    query_terms(const vesk_3d_vertex_s *new_vertices, const vesk_vector3 &origin,
                const vesk_vector3 &direction, float length, const float *minimum_distance)
        : question(origin, direction, length, minimum_distance)
        , reach{vesk_abs4(question.direction.x), vesk_abs4(question.direction.y),
                vesk_abs4(question.direction.z)}
        , vertices(new_vertices)
    {
    }
};

/// The test of `intersect_ray` on four boxes, lane for lane the same operations.
unsigned int boxes_met(const query_terms &terms, const vesk_columns4 &min, const vesk_columns4 &max)
{
    const vesk_columns4 size = max - min;
    const vesk_columns4 h = {size.x * 0.5f, size.y * 0.5f, size.z * 0.5f};
    const vesk_columns4 c = {min.x + h.x, min.y + h.y, min.z + h.z};
    const vesk_columns4 d = terms.question.origin - c;
    const vesk_columns4 &direction = terms.question.direction;
    const vesk_columns4 &a = terms.reach;
    const vesk_columns4 across = vesk_cross4(direction, d);

    const vesk_mask4 missed = ((vesk_abs4(d.x) > h.x) & (direction.x * d.x >= 0.0f)) |
                              ((vesk_abs4(d.y) > h.y) & (direction.y * d.y >= 0.0f)) |
                              ((vesk_abs4(d.z) > h.z) & (direction.z * d.z >= 0.0f)) |
                              (vesk_abs4(across.x) > a.y * h.z + a.z * h.y) |
                              (vesk_abs4(across.y) > a.x * h.z + a.z * h.x) |
                              (vesk_abs4(across.z) > a.x * h.y + a.y * h.x);
    return vesk_lane_bits(~missed);
}

/// The test of the boxes of up to four nodes; lanes from `count` on answer no.
unsigned int nodes_met(const query_terms &terms, const vesk_octree_node_s *const *nodes,
                       unsigned int count)
{
    static_assert(sizeof(vesk_octree_aa_bounding_box_s) == 24, "a box is read as two times four");
    vesk_float4 low[4], high[4];
    for (unsigned int lane = 0; lane < 4; ++lane)
    {
        const vesk_octree_aa_bounding_box_s &box = nodes[lane < count ? lane : 0]->box;
        low[lane] = vesk_load4(&box);
        high[lane] = vesk_load4(&box.min.z);
    }
    const vesk_columns4 min = vesk_columns_of(low[0], low[1], low[2], low[3]);
    const vesk_columns4 max = vesk_columns_from_1(high[0], high[1], high[2], high[3]);
    return boxes_met(terms, min, max) & ((1u << count) - 1u);
}

/// Writes the children whose boxes the ray meets, the last one first. Returns how many.
unsigned int reach_children(const query_terms &terms, const vesk_octree_node_s &node,
                            const vesk_octree_node_s **reached)
{
    const vesk_octree_node_s *present[8];
    unsigned int present_count = 0;
    for (unsigned int i = 8; i-- > 0;)
    {
        present[present_count] = node.children[i];
        present_count += node.children[i] != nullptr;
    }

    unsigned int reached_count = 0;
    for (unsigned int first = 0; first < present_count; first += 4)
    {
        const unsigned int count = present_count - first < 4 ? present_count - first : 4;
        const unsigned int met = nodes_met(terms, present + first, count);
        for (unsigned int lane = 0; lane < count; ++lane)
        {
            reached[reached_count] = present[first + lane];
            reached_count += met >> lane & 1u;
        }
    }
    return reached_count;
}

enum class shape
{
    ray,
    limited_ray, ///< a ray with a smallest parameter
    line
};

template <shape SHAPE>
unsigned int triangles_tested(const vesk_triangle_question &question, const vesk_triangles4 &four)
{
    if (SHAPE == shape::line)
        return vesk_line_triangle_test(question, four);
    return vesk_ray_triangle_test<SHAPE == shape::limited_ray>(question, four);
}

template <shape SHAPE> unsigned int triangles_hit(const vesk_triangle_question &question,
                                                  const vesk_triangles4 &four,
                                                  vesk_triangle_hits4 &hits)
{
    if (SHAPE == shape::line)
        return vesk_line_triangle_hit(question, four, hits);
    return vesk_ray_triangle_hit(question, four, hits);
}

template <shape SHAPE> struct any_hit
{
    const query_terms &terms;

    unsigned int reach(const vesk_octree_node_s &node, const vesk_octree_node_s **reached)
    {
        return reach_children(terms, node, reached);
    }

    bool visit(const vesk_octree_node_s &node)
    {
        return vesk_any_four_triangles(
            node.triangles, terms.vertices,
            [&](const vesk_triangles4 &four, vesk_octree_triangle_s *const *, unsigned int lanes)
            { return (triangles_tested<SHAPE>(terms.question, four) & lanes) != 0; });
    }
};

/// Hands every hit to `output.take`, in the order of the walk.
template <shape SHAPE, typename Output> struct every_hit
{
    const query_terms &terms;
    Output output;
    int found;

    unsigned int reach(const vesk_octree_node_s &node, const vesk_octree_node_s **reached)
    {
        return reach_children(terms, node, reached);
    }

    bool visit(const vesk_octree_node_s &node)
    {
        return vesk_any_four_triangles(
            node.triangles, terms.vertices,
            [&](const vesk_triangles4 &four, vesk_octree_triangle_s *const *records,
                unsigned int lanes)
            {
                vesk_triangle_hits4 hits;
                lanes &= triangles_hit<SHAPE>(terms.question, four, hits);
                if (lanes)
                    take(hits, records, lanes);
                return false;
            });
    }

    void take(const vesk_triangle_hits4 &hits, vesk_octree_triangle_s *const *records,
              unsigned int lanes)
    {
        found = 1;
        for (unsigned int lane = 0; lane < 4; ++lane)
            if (lanes >> lane & 1u)
                output.take(hits.t[lane], vesk_vector2(hits.u[lane], hits.v[lane]), records[lane]);
    }
};

/// Whether one more element fits, after growing as `push_back` grows.
template <typename T> bool make_room(vesk_list<T> &list)
{
    if (list.count < list.size)
        return true;
    if (list.size > UINT32_MAX / 2)
        return false;
    list.set_size(list.size == 0 ? 1 : list.size * 2);
    return list.count < list.size;
}

struct hit_lists
{
    vesk_list<float> &distances;
    vesk_list<vesk_octree_triangle_s *> &triangles;
    vesk_list<vesk_vector2> &barycentrics;

    /// A hit that not all three lists have room for enters none of them: they stay parallel.
    void take(float t, const vesk_vector2 &uv, vesk_octree_triangle_s *record)
    {
        if (!make_room(distances) || !make_room(barycentrics) || !make_room(triangles))
            return;
        distances.push_back(t);
        barycentrics.push_back(uv);
        triangles.push_back(record);
    }
};

struct closest_hit
{
    float &distance;
    vesk_octree_triangle_s &triangle;
    vesk_vector2 &barycentric;

    /// The first of equals stays, and a parameter that is NaN never leads.
    void take(float t, const vesk_vector2 &uv, const vesk_octree_triangle_s *record)
    {
        if (!(distance > t))
            return;
        distance = t;
        triangle = *record;
        barycentric = uv;
    }
};

template <typename Query>
bool walk(const vesk_octree_node_s *node, const query_terms &terms, Query &&query)
{
    return nodes_met(terms, &node, 1) && vesk_walk_reached(*node, query);
}

template <shape SHAPE, typename Output>
int walk_all(const vesk_octree_node_s *node, const query_terms &terms, const Output &output)
{
    every_hit<SHAPE, Output> query{terms, output, 0};
    walk(node, terms, query);
    return query.found;
}

int vesk_octree_walk_ray_any(const vesk_octree_node_s *node, const vesk_3d_vertex_s *vertices,
                             const vesk_vector3 &origin, const vesk_vector3 &direction,
                             const float *minimum_distance)
{
    const query_terms terms(vertices, origin, direction, no_length, minimum_distance);
    if (minimum_distance)
        return walk(node, terms, any_hit<shape::limited_ray>{terms});
    return walk(node, terms, any_hit<shape::ray>{terms});
}

int vesk_octree_walk_ray_all(const vesk_octree_node_s *node, const vesk_3d_vertex_s *vertices,
                             const vesk_vector3 &origin, const vesk_vector3 &direction,
                             const hit_lists &hits, const float *minimum_distance)
{
    const query_terms terms(vertices, origin, direction, no_length, minimum_distance);
    return walk_all<shape::ray>(node, terms, hits);
}

int vesk_octree_walk_ray_closest(const vesk_octree_node_s *node, const vesk_3d_vertex_s *vertices,
                                 const vesk_vector3 &origin, const vesk_vector3 &direction,
                                 const closest_hit &hit, const float *minimum_distance)
{
    const query_terms terms(vertices, origin, direction, no_length, minimum_distance);
    return walk_all<shape::ray>(node, terms, hit);
}

int vesk_octree_walk_line_any(const vesk_octree_node_s *node, const vesk_3d_vertex_s *vertices,
                              const vesk_vector3 &origin, const vesk_vector3 &direction,
                              float length, const float *minimum_distance)
{
    const query_terms terms(vertices, origin, direction, length, minimum_distance);
    return walk(node, terms, any_hit<shape::line>{terms});
}

int vesk_octree_walk_line_all(const vesk_octree_node_s *node, const vesk_3d_vertex_s *vertices,
                              const vesk_vector3 &origin, const vesk_vector3 &direction,
                              float length, const hit_lists &hits, const float *minimum_distance)
{
    const query_terms terms(vertices, origin, direction, length, minimum_distance);
    return walk_all<shape::line>(node, terms, hits);
}

int vesk_octree_walk_line_closest(const vesk_octree_node_s *node, const vesk_3d_vertex_s *vertices,
                                  const vesk_vector3 &origin, const vesk_vector3 &direction,
                                  float length, const closest_hit &hit,
                                  const float *minimum_distance)
{
    const query_terms terms(vertices, origin, direction, length, minimum_distance);
    return walk_all<shape::line>(node, terms, hit);
}
} // namespace

int vesk_octree_aa_bounding_box_s::intersect_ray(const vesk_vector3 &origin,
                                                 const vesk_vector3 &direction) const
{
    const vesk_vector3 h((max.x - min.x) * 0.5f, (max.y - min.y) * 0.5f, (max.z - min.z) * 0.5f);
    const vesk_vector3 c(min.x + h.x, min.y + h.y, min.z + h.z);
    const vesk_vector3 d(origin.x - c.x, origin.y - c.y, origin.z - c.z);
    const vesk_vector3 a(std::fabs(direction.x), std::fabs(direction.y), std::fabs(direction.z));

    if (std::fabs(d.x) > h.x && direction.x * d.x >= 0.0f)
        return 0;
    if (std::fabs(d.y) > h.y && direction.y * d.y >= 0.0f)
        return 0;
    if (std::fabs(d.z) > h.z && direction.z * d.z >= 0.0f)
        return 0;
    if (std::fabs(direction.y * d.z - direction.z * d.y) > a.y * h.z + a.z * h.y)
        return 0;
    if (std::fabs(direction.z * d.x - direction.x * d.z) > a.x * h.z + a.z * h.x)
        return 0;
    if (std::fabs(direction.x * d.y - direction.y * d.x) > a.x * h.y + a.y * h.x)
        return 0;
    return 1;
}

int vesk_mesh::is_ray_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                float *minimum_distance) const
{
    if (!octree)
        return 0;
    return vesk_octree_walk_ray_any(octree, vertex_array, origin, direction, minimum_distance);
}

int vesk_mesh::is_ray_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                vesk_list<float> &distances,
                                vesk_list<vesk_octree_triangle_s *> &triangles,
                                vesk_list<vesk_vector2> &barycentrics,
                                float *minimum_distance) const
{
    if (!octree)
        return 0;
    return vesk_octree_walk_ray_all(octree, vertex_array, origin, direction,
                                    {distances, triangles, barycentrics}, minimum_distance);
}

int vesk_mesh::is_ray_intersect_closest(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                        float &distance, vesk_octree_triangle_s &triangle,
                                        vesk_vector2 &barycentric, float *minimum_distance) const
{
    distance = std::numeric_limits<float>::max();
    if (!octree)
        return 0;
    return vesk_octree_walk_ray_closest(octree, vertex_array, origin, direction,
                                        {distance, triangle, barycentric}, minimum_distance);
}

int vesk_mesh::is_line_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                 float length, float *minimum_distance) const
{
    if (!octree)
        return 0;
    return vesk_octree_walk_line_any(octree, vertex_array, origin, direction, length,
                                     minimum_distance);
}

int vesk_mesh::is_line_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                 float length, vesk_list<float> &distances,
                                 vesk_list<vesk_octree_triangle_s *> &triangles,
                                 vesk_list<vesk_vector2> &barycentrics,
                                 float *minimum_distance) const
{
    if (!octree)
        return 0;
    return vesk_octree_walk_line_all(octree, vertex_array, origin, direction, length,
                                     {distances, triangles, barycentrics}, minimum_distance);
}

int vesk_mesh::is_line_intersect_closest(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                         float length, float &distance,
                                         vesk_octree_triangle_s &triangle,
                                         vesk_vector2 &barycentric, float *minimum_distance) const
{
    distance = std::numeric_limits<float>::max();
    if (!octree)
        return 0;
    return vesk_octree_walk_line_closest(octree, vertex_array, origin, direction, length,
                                         {distance, triangle, barycentric}, minimum_distance);
}
