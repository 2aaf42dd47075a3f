#include "fbx_grid.h"
#include "files/fbx/document.h"

#include <benchmark/benchmark.h>
#include <string>

// What reading FBX costs in each encoding, from bytes in memory to number arrays, for grids of
// about 100 thousand and a million triangles: ten times the triangles should cost ten times the
// time.

using namespace vesk_fbx;

namespace
{
template <typename T>
void decode(benchmark::State &state, const document &doc, const record *parent, const char *name)
{
    number_array<T> numbers;
    const record *const r = document::find_child(*parent, name);
    if (r == nullptr || !doc.read_numbers(*r, numbers) || numbers.count == 0)
        state.SkipWithError("the numbers cannot be read");
    benchmark::DoNotOptimize(numbers.bytes);
}

void read_document(benchmark::State &state, fbx_encoding encoding)
{
    const int n = static_cast<int>(state.range(0));
    const std::string bytes = write_fbx_grid(n, encoding);
    for (auto _ : state)
    {
        document doc;
        if (doc.open_bytes(bytes) != load_result::ok || doc.parse() != load_result::ok)
            state.SkipWithError("the document cannot be read");
        const record *const geometry = doc.find_top("Objects")->first_child;
        decode<double>(state, doc, geometry, "Vertices");
        decode<int>(state, doc, geometry, "PolygonVertexIndex");
        decode<double>(state, doc, document::find_child(*geometry, "LayerElementNormal"),
                       "Normals");
        const record *const uv = document::find_child(*geometry, "LayerElementUV");
        decode<double>(state, doc, uv, "UV");
        decode<int>(state, doc, uv, "UVIndex");
    }
    const auto passes = static_cast<std::int64_t>(state.iterations());
    state.SetBytesProcessed(passes * static_cast<std::int64_t>(bytes.size()));
    state.SetItemsProcessed(passes * 2 * n * n); // triangles
}

BENCHMARK_CAPTURE(read_document, text_7400, fbx_encoding{true, 7400, false, false})
    ->Arg(224)
    ->Arg(707)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_document, raw_7400, fbx_encoding{false, 7400, false, false})
    ->Arg(224)
    ->Arg(707)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_document, deflated_7400, fbx_encoding{false, 7400, false, true})
    ->Arg(224)
    ->Arg(707)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_document, values_6100, fbx_encoding{false, 6100, false, false})
    ->Arg(224)
    ->Arg(707)
    ->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
