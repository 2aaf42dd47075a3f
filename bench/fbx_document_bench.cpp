#include "files/fbx/document.h"
#include "support/fbx_writer.h"

#include <benchmark/benchmark.h>
#include <cmath>
#include <string>

// What reading FBX costs in each encoding, from bytes in memory to number arrays, for grids of
// about 100 thousand and a million triangles: ten times the triangles should cost ten times the
// time.

using namespace vesk_fbx;

namespace
{
/// A wavy grid of n * n quads with normals and UVs by polygon corner.
std::vector<fbx_node> grid(int n)
{
    std::vector<double> points, normals, uvs;
    std::vector<int> corners, uv_indices;
    for (int y = 0; y <= n; ++y)
        for (int x = 0; x <= n; ++x)
        {
            points.insert(points.end(),
                          {x * 0.01, y * 0.01, std::sin(x * 0.1) * std::cos(y * 0.07)});
            uvs.insert(uvs.end(), {double(x) / n, double(y) / n});
        }
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
        {
            const int first = y * (n + 1) + x;
            const int quad[4] = {first, first + 1, first + n + 2, first + n + 1};
            uv_indices.insert(uv_indices.end(), quad, quad + 4);
            corners.insert(corners.end(), {quad[0], quad[1], quad[2], ~quad[3]});
            for (int corner = 0; corner < 4; ++corner)
            {
                const double slope = -0.1 * std::cos((x + corner) * 0.1);
                const double length = std::sqrt(slope * slope + 1);
                normals.insert(normals.end(), {slope / length, 0.1 * slope, 1 / length});
            }
        }
    return {{"Objects",
             {},
             {{"Geometry",
               {std::int64_t{1}, fbx_object_name{"Geometry", ""}, "Mesh"},
               {{"Vertices", {points}, {}},
                {"PolygonVertexIndex", {corners}, {}},
                {"LayerElementNormal", {0}, {{"Normals", {normals}, {}}}},
                {"LayerElementUV", {0}, {{"UV", {uvs}, {}}, {"UVIndex", {uv_indices}, {}}}}}}}}};
}

template <typename T>
void decode(benchmark::State &state, const document &doc, const record *parent, const char *name)
{
    number_array<T> numbers;
    const record *const r = document::find_child(*parent, name);
    if (r == nullptr || !doc.read_numbers(*r, numbers) || numbers.count == 0)
        state.SkipWithError("the numbers cannot be read");
    benchmark::DoNotOptimize(numbers.data.get());
}

void read_document(benchmark::State &state, fbx_encoding encoding)
{
    const int n = static_cast<int>(state.range(0));
    const std::string bytes = write_fbx(grid(n), encoding);
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
