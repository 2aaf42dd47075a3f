#include "interleaved.h"
#include "support/plain_query.h"
#include "surface_meshes.h"

#include <benchmark/benchmark.h>

// A bake: every texel of a 1024 by 1024 raster mapped to the surface, beside the plain walk's time
// on plain heap nodes.

namespace
{
constexpr unsigned int side = 1024;

vesk_uv_lookup_node_s *copy_plain(const vesk_uv_lookup_node_s &from)
{
    vesk_uv_lookup_node_s *to = new vesk_uv_lookup_node_s;
    to->bounding_rect = from.bounding_rect;
    for (unsigned int i = 0; i < from.triangles.count; ++i)
        to->triangles.push_back(from.triangles[i]);
    if (to->triangles.count)
        to->triangles.trim();
    for (unsigned int i = 0; i < 4; ++i)
        if (from.children[i])
            to->children[i] = copy_plain(*from.children[i]);
    return to;
}

template <typename Ask> double bake(Ask ask)
{
    double covered = 0.0;
    vesk_uv_lookup_triangle_s triangle;
    vesk_vector2 weights;
    for (unsigned int row = 0; row < side; ++row)
        for (unsigned int column = 0; column < side; ++column)
            covered += ask(vesk_vector2(static_cast<float>(column), static_cast<float>(row)),
                           triangle, weights);
    return covered;
}

void bake_texture(benchmark::State &state)
{
    surface shape;
    displaced_sphere(shape, 100000);
    vesk_mesh mesh;
    shape.show(mesh);
    mesh.generate_uv_lookup_quadtree(side, side, 7, 0, 0, nullptr, nullptr);
    const vesk_uv_lookup_node_s *plain_root = copy_plain(*mesh.uv_lookup_root); // never released
    const vesk_vector3 *corners = mesh.uv_lookup_vertex_array;

    double covered = 0.0, plain_covered = 0.0;
    run_interleaved(
        state,
        [&]
        {
            covered = bake([&](const vesk_vector2 &point, vesk_uv_lookup_triangle_s &triangle,
                               vesk_vector2 &weights)
                           { return mesh.is_point_intersect_uv_lookup(point, triangle, weights); });
        },
        [&]
        {
            plain_covered =
                bake([&](const vesk_vector2 &point, vesk_uv_lookup_triangle_s &triangle,
                         vesk_vector2 &weights)
                     { return plain::texel(*plain_root, corners, point, triangle, weights); });
        });
    if (covered != plain_covered)
        state.SkipWithError("the library and the plain walk disagree");
    state.SetItemsProcessed(static_cast<std::int64_t>(side) * side * state.iterations());
    state.counters["covered"] = covered / (double(side) * side);
    mesh.free_uv_lookup_quadtree();
}
BENCHMARK(bake_texture)->UseManualTime()->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
