// Transforms: each against a plain loop over the same vertices, in turn, and in bytes of vertices
// a second beside a memcpy of as many bytes.

#include "interleaved.h"
#include "renew_tangents.h"
#include "support/mesh_builder.h"
#include "support/plain_derive.h"

#include <cstring>
#include <vector>

namespace
{
constexpr unsigned int small_mesh = 2000, large_mesh = 1000000; // triangles

// Values that leave the mesh where it is however often they are used, without being constants.
vesk_vector3 offset(1e-30f, 1e-30f, 1e-30f);
vesk_vector3 factors(1.0f, 1.0f, 1.0f);

void count_bytes(benchmark::State &state, const vesk_mesh &mesh)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(
                                                     mesh.vertex_count * sizeof(vesk_3d_vertex_s)));
}

// `plain(p)` for each position in turn: what a host would write by hand.
template <typename first, typename second>
void against_loop(benchmark::State &state, const first &ours, const second &plain)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    run_interleaved(
        state, [&mesh, &ours] { ours(mesh); },
        [&mesh, &plain]
        {
            vesk_3d_vertex_s *vertices = mesh.vertex_array;
            const std::size_t vertex_count = mesh.vertex_count;
            for (std::size_t v = 0; v < vertex_count; ++v)
                plain(vertices[v].position);
            benchmark::ClobberMemory();
        });
    count_bytes(state, mesh);
}

void position(benchmark::State &state)
{
    const vesk_vector3 o = offset;
    against_loop(
        state, [](vesk_mesh &mesh) { mesh.position(offset); }, [o](vesk_vector3 &p) { p += o; });
}

void scale(benchmark::State &state)
{
    const vesk_vector3 f = factors;
    against_loop(
        state, [](vesk_mesh &mesh) { mesh.scale(factors.x); }, [f](vesk_vector3 &p) { p *= f.x; });
}

void scale_by_axis(benchmark::State &state)
{
    const vesk_vector3 f = factors;
    against_loop(
        state, [](vesk_mesh &mesh) { mesh.scale(factors); },
        [f](vesk_vector3 &p) { p = vesk_vector3(p.x * f.x, p.y * f.y, p.z * f.z); });
}

void position_and_scale(benchmark::State &state)
{
    const vesk_vector3 o = offset, f = factors;
    against_loop(
        state, [](vesk_mesh &mesh) { mesh.position_and_scale(offset, factors); },
        [o, f](vesk_vector3 &p)
        { p = vesk_vector3((p.x + o.x) * f.x, (p.y + o.y) * f.y, (p.z + o.z) * f.z); });
}

void center_and_enforce_size(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    vesk_vector3 moved;
    float factor;
    run_interleaved(
        state, [&] { mesh.center_and_enforce_size(2.0f, &moved, &factor); },
        [&] { plain_center_and_enforce_size(mesh, 2.0f, moved, factor); });
    count_bytes(state, mesh);
}

void bounding_box(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    run_interleaved(
        state, [&mesh] { mesh.calculate_bounding_box(); }, [&mesh] { plain_box(mesh); });
    count_bytes(state, mesh);
}

// Loops over vertices, tangents and box, one after the other.
void rotate(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    const vesk_vector3 angles(0.1f, 0.2f, 0.3f);
    run_interleaved(
        state, [&] { mesh.rotate(angles); },
        [&]
        {
            plain_rotate_vertices(mesh, angles);
            renew_tangents(mesh, [&mesh](vesk_mesh_tangent_s *tangents, vesk_vector3 *bi_normals)
                           { plain_tangents(mesh, tangents, bi_normals); });
        });
    count_bytes(state, mesh);
}

void rotate_vertices_alone(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    mesh.index_count = 0; // no triangles, no tangents
    const vesk_vector3 angles(0.1f, 0.2f, 0.3f);
    run_interleaved(
        state, [&] { mesh.rotate(angles); }, [&] { plain_rotate_vertices(mesh, angles); });
    count_bytes(state, mesh);
}

void copy_of_the_vertices(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    std::vector<vesk_3d_vertex_s> copy(mesh.vertex_count);
    for (auto _ : state)
    {
        std::memcpy(static_cast<void *>(copy.data()), mesh.vertex_array,
                    mesh.vertex_count * sizeof(vesk_3d_vertex_s));
        benchmark::ClobberMemory();
    }
    count_bytes(state, mesh);
}

#define VESK_BENCH(name)                                                                           \
    BENCHMARK(name)                                                                                \
        ->Arg(small_mesh)                                                                          \
        ->Arg(large_mesh)                                                                          \
        ->UseManualTime()                                                                          \
        ->Iterations(25)                                                                           \
        ->Unit(benchmark::kMicrosecond)
VESK_BENCH(position);
VESK_BENCH(scale);
VESK_BENCH(scale_by_axis);
VESK_BENCH(position_and_scale);
VESK_BENCH(center_and_enforce_size);
VESK_BENCH(bounding_box);
VESK_BENCH(rotate);
VESK_BENCH(rotate_vertices_alone);
BENCHMARK(copy_of_the_vertices)->Arg(small_mesh)->Arg(large_mesh)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
