// Tangent generation: how it grows, against a plain fused loop over triangles that writes the
// same records, and against reading and writing the same bytes.

#include "interleaved.h"
#include "support/mesh_builder.h"
#include "support/plain_derive.h"

#include <cstdlib>
#include <cstring>

namespace
{
void generate(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    for (auto _ : state)
        mesh.generate_tangents();
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}
BENCHMARK(generate)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

// Both passes in one, a triangle at a time, with the float root.
void fused_tangents(const vesk_mesh &mesh, vesk_mesh_tangent_s *out)
{
    for (unsigned int t = 0; t < mesh.index_count / 7; ++t)
    {
        const unsigned int *record = mesh.index_array + t * 7;
        const vesk_3d_vertex_s *corners[3] = {&mesh.vertex_array[record[0]],
                                              &mesh.vertex_array[record[1]],
                                              &mesh.vertex_array[record[2]]};
        const vesk_vector3 x1 = corners[1]->position - corners[0]->position;
        const vesk_vector3 x2 = corners[2]->position - corners[0]->position;
        const vesk_vector2 w1 = mesh.uv_array[record[4]] - mesh.uv_array[record[3]];
        const vesk_vector2 w2 = mesh.uv_array[record[5]] - mesh.uv_array[record[3]];
        const float r = 1.0f / (w1.x * w2.y - w2.x * w1.y);
        const vesk_vector3 tangent = vesk_vector3() + (x1 * w2.y - x2 * w1.y) * r;
        const vesk_vector3 b = (x2 * w1.x - x1 * w2.x) * r;
        for (unsigned int c = 0; c < 3; ++c)
        {
            const vesk_vector3 &n = corners[c]->normal;
            const float d = (tangent.x * n.x + tangent.y * n.y) + tangent.z * n.z;
            vesk_vector3 unit = tangent - n * d;
            const float length = std::sqrt((unit.x * unit.x + unit.y * unit.y) + unit.z * unit.z);
            unit = length > 0.0f ? unit / length : vesk_vector3();
            const vesk_vector3 side = vesk_vec_cross_product(n, unit);
            const float facing = (b.x * side.x + b.y * side.y) + b.z * side.z;
            out[t * 3 + c].tangent = unit;
            out[t * 3 + c].handedness = facing < 0.0f ? -1.0f : 1.0f;
        }
    }
}

// Both release the former records and allocate new ones.
void against_fused_loop(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    const std::size_t bytes = mesh.index_count / 7 * 3 * sizeof(vesk_mesh_tangent_s);
    void *records = nullptr;
    run_interleaved(
        state, [&mesh] { mesh.generate_tangents(); },
        [&mesh, &records, bytes]
        {
            std::free(records);
            records = std::malloc(bytes);
            fused_tangents(mesh, static_cast<vesk_mesh_tangent_s *>(records));
            benchmark::DoNotOptimize(records);
        });
    std::free(records);
}
BENCHMARK(against_fused_loop)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->UseManualTime()
    ->Iterations(25)
    ->Unit(benchmark::kMicrosecond);

template <typename word> word sum_of(const void *data, std::size_t bytes)
{
    const word *words = static_cast<const word *>(data);
    word sum = 0;
    for (std::size_t i = 0; i < bytes / sizeof(word); ++i)
        sum += words[i];
    return sum;
}

// Every input read once from front to back, every record written once.
void against_memory_traffic(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    const std::size_t bytes = mesh.index_count / 7 * 3 * sizeof(vesk_mesh_tangent_s);
    void *records = nullptr;
    run_interleaved(
        state, [&mesh] { mesh.generate_tangents(); },
        [&mesh, &records, bytes]
        {
            std::free(records);
            records = std::malloc(bytes);
            const unsigned int sum =
                sum_of<unsigned int>(mesh.vertex_array,
                                     mesh.vertex_count * sizeof(vesk_3d_vertex_s)) +
                sum_of<unsigned int>(mesh.uv_array, mesh.uv_count * sizeof(vesk_vector2)) +
                sum_of<unsigned int>(mesh.index_array, mesh.index_count * sizeof(unsigned int));
            std::memset(records, static_cast<int>(sum & 255), bytes);
            benchmark::DoNotOptimize(records);
        });
    std::free(records);
}
BENCHMARK(against_memory_traffic)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->UseManualTime()
    ->Iterations(25)
    ->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
