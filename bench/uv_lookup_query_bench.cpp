#include "equal_trees.h"
#include "interleaved.h"
#include "support/plain_query.h"
#include "support/plain_tree.h"
#include "surface_meshes.h"

#include <benchmark/benchmark.h>

// A bake: every texel of a 1024 by 1024 raster mapped to the surface, beside the plain walk's time
// over the equal tree that the plain builder makes.

namespace
{
constexpr unsigned int side = 1024;
constexpr unsigned int depth = 7; // 14 triangles a leaf

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
    mesh.generate_uv_lookup_quadtree(side, side, depth, 0, 0, nullptr, nullptr);
    vesk_uv_lookup_node_s *plain_root = plain::build_uv_lookup(mesh, depth, nullptr, nullptr);
    if (!equal_trees(mesh.uv_lookup_root, plain_root))
        state.SkipWithError("the library's tree and the plain one differ");
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
    plain::free_tree(plain_root);
    mesh.free_uv_lookup_quadtree();
}
BENCHMARK(bake_texture)->UseManualTime()->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
