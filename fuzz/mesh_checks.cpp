#include "mesh_checks.h"

#include "vesk/validate.h"

#include <cfloat>

namespace
{
/// Asks for the hits of a ray or a line in all three forms.
void ask(const vesk_mesh &mesh, byte_source &source)
{
    const unsigned int kind = source.below(4);
    const vesk_vector3 origin = take_point(source), direction = take_point(source);
    const float length = source.number();
    float least_distance = source.number(), distance = 0.0f;
    float *const limit = kind & 2 ? &least_distance : nullptr;
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;
    vesk_octree_triangle_s triangle;
    vesk_vector2 barycentric;
    int any, every, closest;
    if (kind & 1)
    {
        any = mesh.is_line_intersect(origin, direction, length, limit);
        every = mesh.is_line_intersect(origin, direction, length, distances, triangles,
                                       barycentrics, limit);
        closest = mesh.is_line_intersect_closest(origin, direction, length, distance, triangle,
                                                 barycentric, limit);
    }
    else
    {
        any = mesh.is_ray_intersect(origin, direction, limit);
        every = mesh.is_ray_intersect(origin, direction, distances, triangles, barycentrics, limit);
        closest = mesh.is_ray_intersect_closest(origin, direction, distance, triangle, barycentric,
                                                limit);
    }
    FUZZ_CHECK(any == every && any == closest && any == (distances.count > 0));
    FUZZ_CHECK(triangles.count == distances.count && barycentrics.count == distances.count);

    float least = FLT_MAX; // the first of equals in walk order
    for (unsigned int i = 0; i < distances.count; ++i)
        if (least > distances[i])
            least = distances[i];
    FUZZ_CHECK(std::memcmp(&distance, &least, sizeof(least)) == 0);
}
} // namespace

bool is_sound(const vesk_mesh &mesh)
{
    vesk_mesh_fault_s fault;
    if (vesk_mesh_validate(mesh, &fault))
        return true;
    if (fault.kind != vesk_mesh_fault_position_not_finite &&
        fault.kind != vesk_mesh_fault_normal_not_finite)
        return false;

    // Vertices are looked at before records: without them the rest has to pass.
    vesk_3d_vertex_s *const copy = new vesk_3d_vertex_s[mesh.vertex_count];
    vesk_mesh finite(mesh); // a field copy
    finite.vertex_array = copy;
    const bool is_rest_sound = vesk_mesh_validate(finite, nullptr) == 1;
    delete[] copy;
    return is_rest_sound;
}

std::uint64_t digest_of(const vesk_mesh &mesh)
{
    std::uint64_t digest = mesh.get_octree_size_bytes();
    const auto fold = [&digest](const void *bytes, std::size_t byte_count)
    {
        const unsigned char *const data = static_cast<const unsigned char *>(bytes);
        for (std::size_t i = 0; i < byte_count; ++i)
            digest = (digest ^ data[i]) * 0x100000001B3u;
    };
    fold(mesh.vertex_array, mesh.vertex_count * 24u);
    fold(mesh.index_array, mesh.index_count * 4u);
    fold(mesh.tangent_array, mesh.tangent_count * 16u);
    fold(mesh.uv_lookup_vertex_array, mesh.uv_lookup_vertex_count * 12u);
    fold(mesh.uv_lookup_index_array, mesh.uv_lookup_index_count * 4u);
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        fold(mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c] * 8u);
    return digest + mesh.get_uv_lookup_quadtree_size_bytes();
}

vesk_vector3 take_point(byte_source &source)
{
    const float x = source.number(), y = source.number(), z = source.number();
    return vesk_vector3(x, y, z);
}

void run_queries(const vesk_mesh &mesh, byte_source &source)
{
    if (mesh.octree)
        ask(mesh, source);
    vesk_uv_lookup_triangle_s triangle;
    vesk_vector2 barycentric;
    const float column = source.number() * 16.0f, row = source.number() * 16.0f;
    if (mesh.is_point_intersect_uv_lookup(vesk_vector2(column, row), triangle, barycentric))
        for (const unsigned int index : triangle.vertex_indices)
            FUZZ_CHECK(index < mesh.uv_lookup_vertex_count);
}
