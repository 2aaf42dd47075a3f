// Normal generation: how it grows, against a pass that only adds up face normals, without working
// memory, and on normals that take millions of rounds to come to rest.

#include "interleaved.h"
#include "support/failing_new.h"
#include "support/mesh_builder.h"

namespace
{
void generate(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    for (auto _ : state)
        mesh.generate_normals();
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}
BENCHMARK(generate)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

// The same triangles in random order: neither neighbours nor caches help.
void generate_shuffled(benchmark::State &state)
{
    mesh_source source = displaced_sphere(static_cast<unsigned int>(state.range(0)));
    test_random random(1);
    for (unsigned int t = source.triangle_count(); t > 1; --t)
        std::swap_ranges(source.indices.end() - t * 7, source.indices.end() - t * 7 + 7,
                         source.indices.end() - (t - random.below(t)) * 7);
    owned_mesh mesh(source);
    for (auto _ : state)
        mesh.generate_normals();
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}
BENCHMARK(generate_shuffled)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

// A corner of its own for each triangle, as many exporters write: six vertices at each position.
void generate_unshared(benchmark::State &state)
{
    mesh_source source = displaced_sphere(static_cast<unsigned int>(state.range(0)));
    mesh_source unshared = source;
    unshared.vertices.clear();
    for (unsigned int t = 0; t < source.triangle_count(); ++t)
        for (unsigned int c = 0; c < 3; ++c)
        {
            unshared.indices[t * 7 + c] = unshared.vertex_count();
            unshared.vertices.push_back(source.vertices[source.indices[t * 7 + c]]);
        }
    owned_mesh mesh(unshared);
    for (auto _ : state)
        mesh.generate_normals();
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}
BENCHMARK(generate_unshared)->Arg(100000)->Unit(benchmark::kMicrosecond);

void generate_without_memory(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    for (auto _ : state)
    {
        fail_allocation(0);
        mesh.generate_normals();
    }
    fail_allocation(-1);
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}
BENCHMARK(generate_without_memory)
    ->Arg(500)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMicrosecond);

// Walls at 45 degrees that lean a little: their normals creep for as long as there are triangles.
void generate_creeping(benchmark::State &state)
{
    mesh_source source;
    test_random random(2);
    const unsigned int wall_count = static_cast<unsigned int>(state.range(0)) / 2;
    for (unsigned int i = 0; i < wall_count; ++i)
    {
        const float lean = random.between(1e-6f, 1e-3f);
        const vesk_vector3 at(static_cast<float>(i), 0.0f, 0.0f);
        const unsigned int a = source.add_vertex(at, vesk_vector3());
        const unsigned int b = source.add_vertex(at + vesk_vector3(0.5f, 0.5f, 0), vesk_vector3());
        const unsigned int c = source.add_vertex(at + vesk_vector3(0, lean, 1), vesk_vector3());
        const unsigned int d =
            source.add_vertex(at + vesk_vector3(0.5f, 0.5f + lean, 1), vesk_vector3());
        source.add_triangle(a, b, c);
        source.add_triangle(b, d, c);
    }
    owned_mesh mesh(source);
    for (auto _ : state)
        mesh.generate_normals();
    state.SetItemsProcessed(state.iterations() * (mesh.index_count / 7));
}
BENCHMARK(generate_creeping)->Arg(100000)->Unit(benchmark::kMicrosecond);

// What is left when neither positions nor order nor bits matter.
void add_up_face_normals(vesk_mesh &mesh)
{
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        mesh.vertex_array[v].normal = vesk_vector3();
    for (unsigned int word = 0; word < mesh.index_count; word += 7)
    {
        vesk_3d_vertex_s &a = mesh.vertex_array[mesh.index_array[word]];
        vesk_3d_vertex_s &b = mesh.vertex_array[mesh.index_array[word + 1]];
        vesk_3d_vertex_s &c = mesh.vertex_array[mesh.index_array[word + 2]];
        const vesk_vector3 n =
            vesk_vec_cross_product(b.position - c.position, a.position - b.position);
        a.normal += n;
        b.normal += n;
        c.normal += n;
    }
}

void against_adding_up(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    run_interleaved(
        state, [&mesh] { mesh.generate_normals(); }, [&mesh] { add_up_face_normals(mesh); });
}
BENCHMARK(against_adding_up)
    ->Arg(100000)
    ->UseManualTime()
    ->Iterations(25)
    ->Unit(benchmark::kMicrosecond);

// `ratio` is the time for a triangle of a million over that for one of ten thousand.
void growth(benchmark::State &state)
{
    owned_mesh large(displaced_sphere(1000000)), small(displaced_sphere(10000));
    run_interleaved(
        state, [&large] { large.generate_normals(); },
        [&small]
        {
            for (int i = 0; i < 100; ++i)
                small.generate_normals();
        });
}
BENCHMARK(growth)->UseManualTime()->Iterations(15)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
