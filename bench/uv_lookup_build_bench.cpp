// How long the quadtree of the UV lookup takes to build, in turns with the plain builder. Both fill
// in new raster corners and lookup records and build the tree over them; no clock runs while they
// are released. Arguments: triangles and depth; per_leaf says how many triangles a leaf holds.

#include "interleaved.h"
#include "support/mesh_builder.h"
#include "support/plain_tree.h"

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

// Raster corners and lookup records of a mesh, into arrays that have room for them.
void fill_raster(const vesk_mesh &mesh, unsigned int width, unsigned int height,
                 vesk_vector3 *corners, unsigned int *records)
{
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    for (unsigned int i = 0; i < mesh.index_count / 7 * 7; i += 7)
    {
        for (unsigned int c = 0; c < 3; ++c)
        {
            const unsigned int corner = i / 7 * 3 + c;
            const vesk_vector2 &uv = mesh.uv_array[mesh.index_array[i + 3 + c]];
            corners[corner].x = uv.x * w - 0.5f;
            corners[corner].y = 0.0f;
            corners[corner].z = h - uv.y * h - 0.5f;
            records[i + c] = corner;
            records[i + 3 + c] = mesh.index_array[i + 3 + c];
        }
        records[i + 6] = i;
    }
}

// What the plain builder works on: the mesh with arrays of its own.
struct plain_lookup
{
    vesk_mesh arrays;
    vesk_uv_lookup_node_s *root = nullptr;

    void generate(const vesk_mesh &mesh, unsigned int depth)
    {
        const std::size_t triangle_count = mesh.index_count / 7;
        arrays.uv_lookup_width = arrays.uv_lookup_height = raster;
        arrays.uv_lookup_index_count = mesh.index_count;
        arrays.uv_lookup_vertex_array = new vesk_vector3[triangle_count * 3];
        arrays.uv_lookup_index_array = new unsigned int[triangle_count * 7];
        fill_raster(mesh, raster, raster, arrays.uv_lookup_vertex_array,
                    arrays.uv_lookup_index_array);
        root = plain::build_uv_lookup(arrays, depth, nullptr, nullptr);
    }

    void release()
    {
        plain::free_tree(root);
        delete[] arrays.uv_lookup_vertex_array;
        delete[] arrays.uv_lookup_index_array;
    }
};

void build(benchmark::State &state)
{
    vesk_mesh &mesh = sphere_of(state);
    const auto depth = static_cast<unsigned int>(state.range(1));
    const auto generate = [&]
    { mesh.generate_uv_lookup_quadtree(raster, raster, depth, 0, 0, nullptr, nullptr); };
    plain_lookup baseline;
    run_interleaved(
        state, generate, [&] { mesh.free_uv_lookup_quadtree(); },
        [&] { baseline.generate(mesh, depth); }, [&] { baseline.release(); });
    generate();
    report(state, mesh);
    mesh.free_uv_lookup_quadtree();
}

void sizes(benchmark::internal::Benchmark *bench)
{
    bench->Unit(benchmark::kMillisecond)->UseManualTime();
    bench->Args({10000, 5})->Args({100000, 6})->Args({100000, 7})->Args({1000000, 8});
}
} // namespace

BENCHMARK(build)->Apply(sizes);
BENCHMARK_MAIN();
