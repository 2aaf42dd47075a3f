// load_from_file beside a common importer on the same files, in turns in one process. Built with
// VESK_BENCH_PEERS only. `same_work` has the importer cut polygons and join vertices, which a load
// does as well; `bare` has it read the file and nothing else. A ratio below 1 is in our favour.
// Further files, such as examples/data/workshop.fbx, can be named behind the options.

#include "fbx_grid.h"
#include "interleaved.h"
#include "vesk/mesh.h"

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <memory>

namespace
{
unsigned int triangle_count(const aiScene *scene)
{
    unsigned int count = 0;
    for (unsigned int m = 0; scene && m < scene->mNumMeshes; ++m)
        for (unsigned int f = 0; f < scene->mMeshes[m]->mNumFaces; ++f)
            count += scene->mMeshes[m]->mFaces[f].mNumIndices - 2;
    return count;
}

void against_importer(benchmark::State &state, const std::filesystem::path &path,
                      unsigned int steps)
{
    const std::wstring wide_path = path.wstring();
    const std::string narrow_path = path.string();
    const auto load = [&](vesk_mesh &mesh) { return mesh.load_from_file(wide_path.c_str()); };

    vesk_mesh mesh;
    Assimp::Importer importer;
    if (!load(mesh) || triangle_count(importer.ReadFile(narrow_path, steps)) == 0)
    {
        state.SkipWithError("one of the two cannot read the file");
        return;
    }
    state.counters["triangles"] = mesh.index_count / 7;
    state.counters["importer_triangles"] = triangle_count(importer.GetScene());
    // Both start with nothing and leave nothing.
    mesh.free();
    run_interleaved(
        state,
        [&]
        {
            vesk_mesh loaded;
            load(loaded);
            loaded.free();
        },
        [&]
        {
            Assimp::Importer fresh;
            fresh.ReadFile(narrow_path, steps);
        });
}

void add_file(const std::string &name, const std::filesystem::path &path)
{
    constexpr unsigned int same_work = aiProcess_Triangulate | aiProcess_JoinIdenticalVertices;
    for (const unsigned int steps : {same_work, 0u})
        benchmark::RegisterBenchmark((name + (steps ? "/same_work" : "/bare")).c_str(),
                                     against_importer, path, steps)
            ->UseManualTime()
            ->Iterations(9)
            ->Unit(benchmark::kMillisecond);
}
} // namespace

int main(int argc, char **argv)
{
    struct grid
    {
        const char *name;
        int size;
        fbx_encoding encoding;
    };
    const grid grids[] = {
        {"text/10k", 71, {true, 7400, false, false}},
        {"text/100k", 224, {true, 7400, false, false}},
        {"raw/10k", 71, {false, 7400, false, false}},
        {"raw/100k", 224, {false, 7400, false, false}},
        {"deflated/10k", 71, {false, 7400, false, true}},
        {"deflated/100k", 224, {false, 7400, false, true}},
    };
    std::vector<std::unique_ptr<fbx_file>> files;
    for (const grid &g : grids)
    {
        files.push_back(std::make_unique<fbx_file>(write_fbx_grid(g.size, g.encoding)));
        add_file(g.name, files.back()->path);
    }
    benchmark::Initialize(&argc, argv);
    for (int i = 1; i < argc; ++i)
        add_file(std::filesystem::path(argv[i]).filename().string(), argv[i]);
    benchmark::RunSpecifiedBenchmarks();
}
