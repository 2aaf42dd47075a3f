// How long the octree takes to build and to release, beside the plain builder in the same run.
// Arguments: triangles and depth; the depths leave 8 to 16 triangles in a leaf.

#include "support/mesh_builder.h"
#include "support/plain_octree.h"

#include <benchmark/benchmark.h>
#include <map>
#include <utility>

namespace
{
using mesh_maker = mesh_source (*)(unsigned int);

mesh_source make_sphere(unsigned int triangle_count)
{
    return displaced_sphere(triangle_count);
}

mesh_source make_clusters(unsigned int triangle_count)
{
    return clustered(7, triangle_count);
}

// A soup whose triangles are small enough that they sit in few leaves.
mesh_source make_soup(unsigned int triangle_count)
{
    mesh_source source = random_soup(11, triangle_count);
    const float scale = 1.0f / 32.0f;
    for (unsigned int t = 0; t < triangle_count; ++t)
        for (unsigned int c = 1; c < 3; ++c)
        {
            const vesk_vector3 &first = source.vertices[t * 3].position;
            vesk_vector3 &corner = source.vertices[t * 3 + c].position;
            corner = first + (corner - first) * scale;
        }
    return source;
}

/// Meshes are made once and kept.
vesk_mesh &mesh_of(mesh_maker maker, const benchmark::State &state)
{
    static std::map<std::pair<mesh_maker, long long>, owned_mesh> meshes;
    const auto key = std::make_pair(maker, static_cast<long long>(state.range(0)));
    auto found = meshes.find(key);
    if (found == meshes.end())
    {
        found = meshes.try_emplace(key).first;
        mesh_source source = maker(static_cast<unsigned int>(state.range(0)));
        source.fill(found->second);
    }
    return found->second;
}

struct tree_counts
{
    double nodes = 0, leaves = 0, references = 0, leaf_references = 0;

    void add(const vesk_octree_node_s &node)
    {
        bool is_leaf = true;
        for (const vesk_octree_node_s *child : node.children)
            if (child)
            {
                is_leaf = false;
                add(*child);
            }
        nodes += 1;
        references += node.triangles.count;
        leaves += is_leaf;
        leaf_references += is_leaf ? node.triangles.count : 0;
    }
};

void report(benchmark::State &state, const vesk_octree_node_s *root, unsigned int triangle_count)
{
    tree_counts counts;
    counts.add(*root);
    state.counters["per_leaf"] = counts.leaf_references / counts.leaves;
    state.counters["nodes"] = counts.nodes;
    state.counters["bytes"] =
        (counts.nodes * sizeof(vesk_octree_node_s) + counts.references * sizeof(void *)) /
        triangle_count;
    state.SetItemsProcessed(state.iterations() * triangle_count);
}

void build(benchmark::State &state, mesh_maker maker)
{
    vesk_mesh &mesh = mesh_of(maker, state);
    for (auto _ : state)
    {
        mesh.generate_octree(static_cast<unsigned int>(state.range(1)), nullptr, nullptr);
        state.PauseTiming();
        if (state.iterations() > 0)
            report(state, mesh.octree, mesh.index_count / 7);
        mesh.free_octree();
        state.ResumeTiming();
    }
}

void build_plain(benchmark::State &state, mesh_maker maker)
{
    vesk_mesh &mesh = mesh_of(maker, state);
    for (auto _ : state)
    {
        vesk_octree_node_s *root =
            plain::build_octree(mesh, static_cast<unsigned int>(state.range(1)), nullptr, nullptr);
        state.PauseTiming();
        report(state, root, mesh.index_count / 7);
        plain::free_tree(root);
        state.ResumeTiming();
    }
}

void release(benchmark::State &state, mesh_maker maker)
{
    vesk_mesh &mesh = mesh_of(maker, state);
    for (auto _ : state)
    {
        state.PauseTiming();
        mesh.generate_octree(static_cast<unsigned int>(state.range(1)), nullptr, nullptr);
        state.ResumeTiming();
        mesh.free_octree();
    }
}

void sizes(benchmark::internal::Benchmark *bench)
{
    bench->Unit(benchmark::kMillisecond);
    bench->Args({10000, 5})->Args({100000, 6})->Args({100000, 7})->Args({1000000, 8});
}
} // namespace

BENCHMARK_CAPTURE(build, sphere, make_sphere)->Apply(sizes);
BENCHMARK_CAPTURE(build_plain, sphere, make_sphere)->Apply(sizes);
BENCHMARK_CAPTURE(release, sphere, make_sphere)->Apply(sizes)->Iterations(10);
BENCHMARK_CAPTURE(build, clusters, make_clusters)->Apply(sizes);
BENCHMARK_CAPTURE(build_plain, clusters, make_clusters)->Apply(sizes);
BENCHMARK_CAPTURE(build, soup, make_soup)->Apply(sizes);
BENCHMARK_CAPTURE(build_plain, soup, make_soup)->Apply(sizes);
BENCHMARK_MAIN();
