// How long the quadtree of the UV lookup takes to build, beside the plain builder in the same run.
// Arguments: triangles and depth. Both release a tree in each round; the library fills in the
// raster corners as well, which the plain builder finds there.

#include "support/mesh_builder.h"
#include "support/plain_uv_lookup.h"

#include <benchmark/benchmark.h>
#include <map>

namespace
{
constexpr unsigned int raster = 1024;

/// Meshes are made once and kept.
vesk_mesh &sphere_of(const benchmark::State &state)
{
    static std::map<long long, owned_mesh> meshes;
    auto found = meshes.find(state.range(0));
    if (found == meshes.end())
    {
        found = meshes.try_emplace(state.range(0)).first;
        mesh_source source = displaced_sphere(static_cast<unsigned int>(state.range(0)));
        source.fill(found->second);
    }
    return found->second;
}

struct leaf_counts
{
    double leaves = 0, references = 0;

    void add(const vesk_uv_lookup_node_s &node)
    {
        bool is_leaf = true;
        for (const vesk_uv_lookup_node_s *child : node.children)
            if (child)
            {
                is_leaf = false;
                add(*child);
            }
        leaves += is_leaf;
        references += is_leaf ? node.triangles.count : 0;
    }
};

void report(benchmark::State &state, const vesk_mesh &mesh)
{
    leaf_counts counts;
    counts.add(*mesh.uv_lookup_root);
    state.counters["per_leaf"] = counts.references / counts.leaves;
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}

void build(benchmark::State &state)
{
    vesk_mesh &mesh = sphere_of(state);
    for (auto _ : state)
        mesh.generate_uv_lookup_quadtree(raster, raster, static_cast<unsigned int>(state.range(1)),
                                         0, 0, nullptr, nullptr);
    report(state, mesh);
    mesh.free_uv_lookup_quadtree();
}

void build_plain(benchmark::State &state)
{
    vesk_mesh &mesh = sphere_of(state);
    const unsigned int depth = static_cast<unsigned int>(state.range(1));
    mesh.generate_uv_lookup_quadtree(raster, raster, depth, 0, 0, nullptr, nullptr);
    for (auto _ : state)
        plain::free_tree(plain::build_uv_lookup(mesh, depth, nullptr, nullptr));
    report(state, mesh);
    mesh.free_uv_lookup_quadtree();
}

void sizes(benchmark::internal::Benchmark *bench)
{
    bench->Unit(benchmark::kMillisecond);
    bench->Args({10000, 5})->Args({100000, 6})->Args({100000, 7})->Args({1000000, 8});
}
} // namespace

BENCHMARK(build)->Apply(sizes);
BENCHMARK(build_plain)->Apply(sizes);
BENCHMARK_MAIN();
