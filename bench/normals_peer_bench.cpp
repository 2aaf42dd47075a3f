// Smooth normals of the same sphere here and in a common importer, which finds shared positions by
// a sorted list. Built with VESK_BENCH_PEERS only.

#include "interleaved.h"
#include "support/mesh_builder.h"

#include <assimp/config.h>
#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <cstdio>
#include <string>

namespace
{
// The importer takes files only, and its generator wants a vertex for each corner, which it makes
// of this one.
std::string as_text(const vesk_mesh &mesh)
{
    std::string text;
    char line[128];
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        const vesk_vector3 &p = mesh.vertex_array[v].position;
        std::snprintf(line, sizeof(line), "v %.9g %.9g %.9g\n", double(p.x), double(p.y),
                      double(p.z));
        text += line;
    }
    for (unsigned int word = 0; word + 7 <= mesh.index_count; word += 7)
    {
        const unsigned int *corners = mesh.index_array + word;
        std::snprintf(line, sizeof(line), "f %u %u %u\n", corners[0] + 1, corners[1] + 1,
                      corners[2] + 1);
        text += line;
    }
    return text;
}

void against_importer(benchmark::State &state)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0))));
    const std::string text = as_text(mesh);
    Assimp::Importer importer;
    const aiScene *scene = importer.ReadFileFromMemory(text.data(), text.size(), 0, "obj");
    if (!scene || scene->mNumMeshes != 1 || scene->mMeshes[0]->mNumFaces != mesh.index_count / 7)
    {
        state.SkipWithError("the importer did not read the sphere");
        return;
    }
    // The same work for both: a vertex of its own for each corner.
    mesh_source unshared;
    for (unsigned int t = 0; t < mesh.index_count / 7; ++t)
    {
        for (unsigned int c = 0; c < 3; ++c)
            unshared.vertices.push_back(mesh.vertex_array[mesh.index_array[t * 7 + c]]);
        unshared.add_triangle(t * 3, t * 3 + 1, t * 3 + 2);
    }
    owned_mesh corners(unshared);
    run_interleaved(
        state, [&corners] { corners.generate_normals(); },
        [&importer]
        { importer.ApplyPostProcessing(aiProcess_GenSmoothNormals | aiProcess_ForceGenNormals); });
    if (!scene->mMeshes[0]->HasNormals())
        state.SkipWithError("the importer made no normals");
}
BENCHMARK(against_importer)
    ->Arg(10000)
    ->Arg(100000)
    ->UseManualTime()
    ->Iterations(9)
    ->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
