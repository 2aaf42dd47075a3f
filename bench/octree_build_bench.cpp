// How long the octree takes to build and to release, in turns with the plain builder.
//
// Arguments: triangles and depth; per_leaf says how many triangles a leaf holds. No clock runs
// while trees are released. bytes are those of nodes and lists, held what the memory blocks come
// to, each for one triangle of the mesh.

#include "even_sphere.h"
#include "interleaved.h"
#include "spatial/block_stack.h"
#include "support/mesh_builder.h"
#include "support/plain_tree.h"

#include <map>
#include <utility>

namespace
{
using mesh_maker = mesh_source (*)(unsigned int);

mesh_source make_sphere(unsigned int triangle_count)
{
    return displaced_sphere(triangle_count);
}

mesh_source make_even_sphere(unsigned int triangle_count)
{
    return even_sphere(triangle_count);
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

// An own tree begins right behind the head of its first block.
double held_bytes(const vesk_octree_node_s *root)
{
    using block = vesk_block_stack::block;
    double bytes = 0;
    for (auto *held = reinterpret_cast<const block *>(root) - 1; held; held = held->next)
        bytes += double(sizeof(block) + held->capacity);
    return bytes;
}

void report(benchmark::State &state, const vesk_mesh &mesh)
{
    tree_counts counts;
    counts.add(*mesh.octree);
    const double triangle_count = mesh.index_count / 7;
    state.counters["per_leaf"] = counts.leaf_references / counts.leaves;
    state.counters["nodes"] = counts.nodes;
    state.counters["bytes"] =
        (counts.nodes * sizeof(vesk_octree_node_s) + counts.references * sizeof(void *)) /
        triangle_count;
    state.counters["held"] = held_bytes(mesh.octree) / triangle_count;
    state.SetItemsProcessed(state.iterations() * static_cast<long long>(triangle_count));
}

void build(benchmark::State &state, mesh_maker maker)
{
    vesk_mesh &mesh = mesh_of(maker, state);
    const auto depth = static_cast<unsigned int>(state.range(1));
    vesk_octree_node_s *plain_root = nullptr;
    run_interleaved(
        state, [&] { mesh.generate_octree(depth, nullptr, nullptr); }, [&] { mesh.free_octree(); },
        [&] { plain_root = plain::build_octree(mesh, depth, nullptr, nullptr); },
        [&] { plain::free_tree(plain_root); });
    mesh.generate_octree(depth, nullptr, nullptr);
    report(state, mesh);
    mesh.free_octree();
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
    bench->Args({10000, 5})->Args({100000, 5})->Args({100000, 6})->Args({1000000, 8});
}

void build_sizes(benchmark::internal::Benchmark *bench)
{
    bench->Apply(sizes)->UseManualTime();
}
} // namespace

BENCHMARK_CAPTURE(build, sphere, make_sphere)->Apply(build_sizes);
BENCHMARK_CAPTURE(build, even_sphere, make_even_sphere)->Apply(build_sizes);
BENCHMARK_CAPTURE(build, clusters, make_clusters)
    ->Args({10000, 5})
    ->Args({100000, 6})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime();
BENCHMARK_CAPTURE(build, soup, make_soup)->Apply(build_sizes);
BENCHMARK_CAPTURE(release, sphere, make_sphere)->Apply(sizes)->Iterations(10);
BENCHMARK_MAIN();
