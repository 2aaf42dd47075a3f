// An FBX file becomes a mesh file; a mesh file is written anew.

#include "support/command_line.h"
#include "support/console.h"
#include "support/load.h"
#include "support/same_meshes.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cstdio>
#include <filesystem>

namespace
{
const char program[] = "vesk_convert";
const char usage[] =
    "usage: vesk_convert INPUT OUTPUT [--compress] [--tangents]\n"
    "\n"
    "Stores INPUT as the mesh file OUTPUT. INPUT is an FBX file when its name ends in .fbx, and a\n"
    "mesh file otherwise. OUTPUT is read back and compared, so that a full disk is told.\n"
    "\n"
    "  --compress   stores the large arrays as LZ4 chunks\n"
    "  --tangents   generates tangents, which are stored too\n"
    "\n"
    "Exit status: 0 when OUTPUT holds the mesh, 1 when not, 2 for bad usage.\n";

bool store(vesk_mesh &mesh, const char *path, bool compress)
{
    const work_sign sign("store");
    const bool stored = mesh.save_binary(wide_path(path).c_str(), compress) != 0;
    if (!stored)
        print_errors(program, mesh);
    return stored;
}

bool holds(const char *path, const vesk_mesh &mesh)
{
    const work_sign sign("compare");
    vesk_owned_mesh stored;
    if (stored->load_binary(wide_path(path).c_str()) && same_meshes(mesh, *stored))
        return true;
    print_errors(program, *stored);
    std::fprintf(stderr, "%s: %s does not hold the mesh\n", program, path);
    return false;
}
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    const bool compress = line.flag("--compress");
    const bool tangents = line.flag("--tangents");
    if (const std::optional<int> status = line.ends(2, 2))
        return *status;

    vesk_owned_mesh mesh;
    if (!load_mesh(program, line.word(0), *mesh))
        return 1;
    if (tangents && !mesh->generate_tangents())
    {
        print_errors(program, *mesh);
        return 1;
    }
    const char *output = line.word(1);
    if (!store(*mesh, output, compress) || !holds(output, *mesh))
        return 1;
    std::printf("%s: %s triangles, %s bytes\n", output,
                grouped(mesh->get_index_count() / 7).c_str(),
                grouped(std::filesystem::file_size(output)).c_str());
    return 0;
}
