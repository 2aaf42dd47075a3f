// The golden run: results of every part of the library, folded into one digest a family, against
// the digests that are checked in. Equal on every platform, or it fails.
//
//     golden             compares with tests/golden/digests.txt
//     golden --write     renews that file, on purpose

#include "golden/families.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace
{
struct family
{
    const char *name;
    void (*fold)(digest &);
};

const family families[] = {
    {"scalars", fold_scalars},
    {"vectors", fold_vectors},
    {"matrices", fold_matrices},
    {"quaternions", fold_quaternions},
    {"planes", fold_planes},
    {"normals", fold_normals},
    {"tangents", fold_tangents},
    {"render_index", fold_render_index},
    {"transforms", fold_transforms},
    {"mesh_file", fold_mesh_file},
    {"fbx_import", fold_fbx_import},
    {"octree", fold_octree},
    {"octree_queries", fold_octree_queries},
    {"uv_lookup", fold_uv_lookup},
    {"uv_lookup_queries", fold_uv_lookup_queries},
};

const char digests_path[] = VESK_SOURCE_DIR "/tests/golden/digests.txt";

std::map<std::string, unsigned long long> read_digests()
{
    std::map<std::string, unsigned long long> digests;
    if (FILE *file = std::fopen(digests_path, "r"))
    {
        char name[64];
        unsigned long long value;
        while (std::fscanf(file, "%63s %llx", name, &value) == 2)
            digests[name] = value;
        std::fclose(file);
    }
    return digests;
}
} // namespace

int main(int argc, char **argv)
{
    const bool renews = argc == 2 && std::strcmp(argv[1], "--write") == 0;
    FILE *target = renews ? std::fopen(digests_path, "w") : nullptr;
    if (renews && !target)
        return 2;

    const std::map<std::string, unsigned long long> expected = read_digests();
    int different = 0;
    for (const family &f : families)
    {
        digest out;
        f.fold(out);
        const unsigned long long value = out.value();
        const auto known = expected.find(f.name);
        const bool equal = known != expected.end() && known->second == value;
        different += !equal;
        std::printf("%-18s %016llx%s\n", f.name, value, renews || equal ? "" : "  differs");
        if (target)
            std::fprintf(target, "%-18s %016llx\n", f.name, value);
    }
    if (target)
        return std::fclose(target) == 0 ? 0 : 2;
    return different ? 1 : 0;
}
