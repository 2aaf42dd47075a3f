#include "spatial/octree_walk.h"
#include "vesk/mesh.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace
{
const vesk_octree_walks &walks()
{
#if defined(VESK_OCTREE_WALKS_AVX2)
    if (__builtin_cpu_supports("avx2"))
        return vesk_octree_walks_avx2;
#endif
    return vesk_octree_walks_baseline;
}

vesk_octree_question ray_question(const vesk_mesh &mesh, const vesk_vector3 &origin,
                                  const vesk_vector3 &direction, const float *minimum_distance)
{
    return {mesh.octree, mesh.vertex_array, !mesh.instance_octree, false, origin, direction,
            0.0f,        minimum_distance};
}

vesk_octree_question line_question(const vesk_mesh &mesh, const vesk_vector3 &origin,
                                   const vesk_vector3 &direction, float length,
                                   const float *minimum_distance)
{
    return {mesh.octree, mesh.vertex_array, !mesh.instance_octree, true, origin, direction,
            length,      minimum_distance};
}

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

class all_hits final : public vesk_octree_hits
{
public:
    all_hits(vesk_list<float> &new_distances, vesk_list<vesk_octree_triangle_s *> &new_triangles,
             vesk_list<vesk_vector2> &new_barycentrics)
        : distances(new_distances)
        , triangles(new_triangles)
        , barycentrics(new_barycentrics)
    {
    }

    /// A hit that not all three lists have room for enters none of them: they stay parallel.
    void take(float t, float u, float v, vesk_octree_triangle_s *triangle) override
    {
        if (!make_room(distances) || !make_room(barycentrics) || !make_room(triangles))
            return;
        distances.push_back(t);
        barycentrics.push_back(vesk_vector2(u, v));
        triangles.push_back(triangle);
    }

private:
    vesk_list<float> &distances;
    vesk_list<vesk_octree_triangle_s *> &triangles;
    vesk_list<vesk_vector2> &barycentrics;
};

class closest_hit final : public vesk_octree_hits
{
public:
    /// The first of equals stays, and a parameter that is NaN never leads.
    void take(float t, float u, float v, vesk_octree_triangle_s *triangle) override
    {
        if (distance > t)
        {
            distance = t;
            weights = vesk_vector2(u, v);
            leader = triangle;
            is_shared = false;
        }
        else if (distance == t && leader != triangle)
            is_shared = true;
    }

    float distance = std::numeric_limits<float>::max();
    vesk_vector2 weights;
    const vesk_octree_triangle_s *leader = nullptr;
    bool is_shared = false; ///< another triangle is as close: their order decides
};

/// Equals are rare, so that their order is asked for only where there are some.
int find_closest(const vesk_octree_question &question, float &distance,
                 vesk_octree_triangle_s &triangle, vesk_vector2 &barycentric)
{
    closest_hit closest;
    const int found = walks().unordered(question, closest);
    if (closest.is_shared)
    {
        closest = closest_hit();
        walks().all(question, closest);
    }
    distance = closest.distance;
    if (closest.leader)
    {
        triangle = *closest.leader;
        barycentric = closest.weights;
    }
    return found;
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
    return walks().any(ray_question(*this, origin, direction, minimum_distance));
}

int vesk_mesh::is_ray_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                vesk_list<float> &distances,
                                vesk_list<vesk_octree_triangle_s *> &triangles,
                                vesk_list<vesk_vector2> &barycentrics,
                                float *minimum_distance) const
{
    if (!octree)
        return 0;
    all_hits hits(distances, triangles, barycentrics);
    return walks().all(ray_question(*this, origin, direction, minimum_distance), hits);
}

int vesk_mesh::is_ray_intersect_closest(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                        float &distance, vesk_octree_triangle_s &triangle,
                                        vesk_vector2 &barycentric, float *minimum_distance) const
{
    distance = std::numeric_limits<float>::max();
    if (!octree)
        return 0;
    return find_closest(ray_question(*this, origin, direction, minimum_distance), distance,
                        triangle, barycentric);
}

int vesk_mesh::is_line_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                 float length, float *minimum_distance) const
{
    if (!octree)
        return 0;
    return walks().any(line_question(*this, origin, direction, length, minimum_distance));
}

int vesk_mesh::is_line_intersect(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                 float length, vesk_list<float> &distances,
                                 vesk_list<vesk_octree_triangle_s *> &triangles,
                                 vesk_list<vesk_vector2> &barycentrics,
                                 float *minimum_distance) const
{
    if (!octree)
        return 0;
    all_hits hits(distances, triangles, barycentrics);
    return walks().all(line_question(*this, origin, direction, length, minimum_distance), hits);
}

int vesk_mesh::is_line_intersect_closest(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                         float length, float &distance,
                                         vesk_octree_triangle_s &triangle,
                                         vesk_vector2 &barycentric, float *minimum_distance) const
{
    distance = std::numeric_limits<float>::max();
    if (!octree)
        return 0;
    return find_closest(line_question(*this, origin, direction, length, minimum_distance), distance,
                        triangle, barycentric);
}
