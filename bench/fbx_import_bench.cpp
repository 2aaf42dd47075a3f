#include "fbx_grid.h"
#include "vesk/mesh.h"

#include <benchmark/benchmark.h>

// Import throughput: load_from_file of a grid with normals and UVs in each encoding, for about ten
// thousand and a hundred thousand triangles. Ten times the triangles should cost ten times the
// time. Items are triangles, bytes are those of the file.

namespace
{
void import(benchmark::State &state, fbx_encoding encoding)
{
    const int n = static_cast<int>(state.range(0));
    const std::string bytes = write_fbx_grid(n, encoding);
    const fbx_file file(bytes);
    vesk_mesh mesh;
    for (auto _ : state)
    {
        if (!mesh.load_from_file(file.wide()) ||
            mesh.index_count / 7 != static_cast<unsigned int>(2 * n * n))
            state.SkipWithError("the grid was not read");
    }
    mesh.free();
    const auto passes = static_cast<std::int64_t>(state.iterations());
    state.SetBytesProcessed(passes * static_cast<std::int64_t>(bytes.size()));
    state.SetItemsProcessed(passes * 2 * n * n);
}

void grids(benchmark::internal::Benchmark *benchmark)
{
    benchmark->Arg(71)->Arg(224)->Unit(benchmark::kMillisecond);
}
BENCHMARK_CAPTURE(import, text_7400, fbx_encoding{true, 7400, false, false})->Apply(grids);
BENCHMARK_CAPTURE(import, raw_7400, fbx_encoding{false, 7400, false, false})->Apply(grids);
BENCHMARK_CAPTURE(import, deflated_7400, fbx_encoding{false, 7400, false, true})->Apply(grids);
BENCHMARK_CAPTURE(import, text_6100, fbx_encoding{true, 6100, false, false})->Apply(grids);
BENCHMARK_CAPTURE(import, binary_6100, fbx_encoding{false, 6100, false, false})->Apply(grids);
} // namespace

BENCHMARK_MAIN();
