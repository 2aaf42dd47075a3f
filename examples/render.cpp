// A picture of a mesh, by nothing but ray and line queries.

#include "support/render.h"
#include "support/boxes.h"
#include "support/command_line.h"
#include "support/console.h"
#include "support/load.h"
#include "support/options.h"
#include "support/trees.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <algorithm>
#include <cstdio>
#include <thread>

namespace
{
const char program[] = "vesk_render";
const char usage[] =
    "usage: vesk_render INPUT OUTPUT.png [--size WxH] [--from X,Y,Z] [--threads N]\n"
    "                   [--boxes N] [--digest]\n"
    "\n"
    "Draws INPUT with one closest-hit ray and one shadow line a pixel. INPUT is an FBX file when\n"
    "its name ends in .fbx, and a mesh file otherwise.\n"
    "\n"
    "  --size WxH     size of the picture, up to 16384 either way (840x560)\n"
    "  --from X,Y,Z   where the camera stands, as seen from the mesh (-0.35,0.42,1)\n"
    "  --threads N    threads that draw (all that the machine has); the picture stays the same\n"
    "  --boxes N      draws the boxes of the octree too, down to depth N\n"
    "  --digest       prints a hash of size and pixels\n"
    "\n"
    "Exit status: 0 when the picture is written, 1 when not, 2 for bad usage.\n";
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    const raster_size size = take_size(line, {840, 560});
    const vesk_vector3 view = take_view(line);
    unsigned int threads = std::max(1u, std::thread::hardware_concurrency());
    line.numbers("--threads", ',', {&threads}, 1u, 1024u);
    unsigned int deepest = 0;
    const bool boxes = line.numbers("--boxes", ',', {&deepest}, 0u, 1000u);
    const bool digest = line.flag("--digest");
    if (const std::optional<int> status = line.ends(2, 2))
        return *status;

    vesk_owned_mesh mesh;
    if (!load_mesh(program, line.word(0), *mesh) || !build_octree(program, *mesh))
        return 1;
    const camera from = camera_around(*mesh, view);
    picture image = render_mesh(*mesh, from, size.width, size.height, threads);
    if (boxes)
        draw_boxes(*mesh, from, deepest, image);
    if (!save_picture(program, image, line.word(1)))
        return 1;
    if (digest)
        std::printf("%016llx\n", image.digest());
    return 0;
}
