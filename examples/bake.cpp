// Textures of a mesh, by texel lookup and line queries.

#include "support/bake.h"
#include "support/command_line.h"
#include "support/console.h"
#include "support/load.h"
#include "support/options.h"
#include "support/trees.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
const char program[] = "vesk_bake";
const char usage[] =
    "usage: vesk_bake INPUT FOLDER [--kind KIND] [--size WxH] [--channel N] [--padding N]\n"
    "                 [--digest]\n"
    "\n"
    "Bakes textures of INPUT into FOLDER, a PNG file for each kind. INPUT is an FBX file when its\n"
    "name ends in .fbx, and a mesh file otherwise.\n"
    "\n"
    "  --kind KIND     normal, position or occlusion (all three)\n"
    "  --size WxH      size of a texture, up to 16384 either way (512x512)\n"
    "  --channel N     the UV channel, from 0 (the last one, by custom the atlas in which no two\n"
    "                  places share a texel)\n"
    "  --padding N     texels by which surfaces grow at seams, up to 64 (4)\n"
    "  --digest        prints a hash of size and texels for each kind\n"
    "\n"
    "Exit status: 0 when all is written, 1 when not, 2 for bad usage.\n";

std::vector<bake_kind> take_kinds(command_line &line)
{
    const char *wanted = line.text("--kind", nullptr);
    std::vector<bake_kind> kinds;
    for (const bake_kind kind : all_bake_kinds)
        if (!wanted || std::strcmp(wanted, name_of(kind)) == 0)
            kinds.push_back(kind);
    if (kinds.empty())
        line.reject(std::string("--kind does not take ") + wanted);
    return kinds;
}
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    const std::vector<bake_kind> kinds = take_kinds(line);
    const raster_size size = take_size(line, {512, 512});
    const std::optional<unsigned int> channel = take_channel(line);
    unsigned int padding = 4;
    line.numbers("--padding", ',', {&padding}, 0u, 64u);
    const bool digest = line.flag("--digest");
    if (const std::optional<int> status = line.ends(2, 2))
        return *status;

    vesk_owned_mesh mesh;
    if (!load_mesh(program, line.word(0), *mesh) || !select_channel(program, *mesh, channel) ||
        !build_quadtree(program, *mesh, size.width, size.height) || !build_octree(program, *mesh))
        return 1;
    const std::filesystem::path folder = output_folder(line.word(1));
    for (const bake_kind kind : kinds)
    {
        const picture image = bake_texture(*mesh, kind, padding);
        const std::string path = (folder / name_of(kind)).string() + ".png";
        if (!save_picture(program, image, path))
            return 1;
        if (digest)
            std::printf("%s %016llx\n", name_of(kind), image.digest());
    }
    return 0;
}
