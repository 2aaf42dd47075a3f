// Tangent generation: how it grows, against a plain fused loop over triangles that writes the
// same records, and against reading and writing the same bytes.

#include "interleaved.h"
#include "renew_tangents.h"
#include "support/mesh_builder.h"
#include "support/plain_derive.h"

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

void against_fused_loop(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    run_interleaved(
        state, [&mesh] { mesh.generate_tangents(); },
        [&mesh]
        {
            renew_tangents(mesh, [&mesh](vesk_mesh_tangent_s *records, vesk_vector3 *)
                           { fused_tangents(mesh, records); });
        });
}
BENCHMARK(against_fused_loop)
    ->Arg(10000)
    ->Arg(100000)
    ->Arg(1000000)
    ->UseManualTime()
    ->Iterations(25)
    ->Unit(benchmark::kMicrosecond);

unsigned int sum_of_words(const void *data, std::size_t bytes)
{
    const unsigned int *words = static_cast<const unsigned int *>(data);
    unsigned int sum = 0;
    for (std::size_t i = 0; i < bytes / sizeof(*words); ++i)
        sum += words[i];
    return sum;
}

// Every input read once from front to back, every record written once.
void against_memory_traffic(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    run_interleaved(
        state, [&mesh] { mesh.generate_tangents(); },
        [&mesh]
        {
            renew_tangents(
                mesh,
                [&mesh](vesk_mesh_tangent_s *records, vesk_vector3 *)
                {
                    const unsigned int sum =
                        sum_of_words(mesh.vertex_array,
                                     mesh.vertex_count * sizeof(vesk_3d_vertex_s)) +
                        sum_of_words(mesh.uv_array, mesh.uv_count * sizeof(vesk_vector2)) +
                        sum_of_words(mesh.index_array, mesh.index_count * sizeof(unsigned int));
                    std::memset(static_cast<void *>(records), static_cast<int>(sum & 255),
                                mesh.tangent_count * sizeof(*records));
                    benchmark::ClobberMemory();
                });
        });
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
