// A mesh and its trees as files that viewers show: OBJ, PLY, SVG.

#include "support/command_line.h"
#include "support/console.h"
#include "support/load.h"
#include "support/options.h"
#include "support/render.h"
#include "support/trees.h"
#include "vesk/debug_write.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cstdio>
#include <filesystem>
#include <vector>

namespace
{
const char program[] = "vesk_see";
const char usage[] =
    "usage: vesk_see INPUT FOLDER [--channel N] [--subset N] [--size WxH]\n"
    "                [--deepest N]\n"
    "\n"
    "Writes into FOLDER what is in INPUT, for the eye. INPUT is an FBX file when its name ends in\n"
    ".fbx, and a mesh file otherwise.\n"
    "\n"
    "  mesh.obj, mesh.ply   the mesh, subsets apart\n"
    "  octree.ply           the boxes of its octree as lines, coloured by depth\n"
    "  rays.ply             rays from the camera of vesk_render: hits red, misses blue\n"
    "  uv_layout.svg        the UV channel and the rectangles of its quadtree\n"
    "\n"
    "  --channel N          the UV channel, from 0 (the last one)\n"
    "  --subset N           builds the trees over one subset, from 0 (all)\n"
    "  --size WxH           size of the quadtree's texture, up to 16384 either way (512x512)\n"
    "  --deepest N          leaves out boxes and rectangles below this depth (none)\n"
    "\n"
    "Exit status: 0 when all is written, 1 when not, 2 for bad usage.\n";

std::vector<vesk_debug_ray_s> cast_rays(const vesk_mesh &mesh)
{
    constexpr unsigned int columns = 30;
    constexpr unsigned int rows = 20;
    const camera from = camera_around(mesh, default_view);
    std::vector<vesk_debug_ray_s> rays;
    for (unsigned int row = 0; row < rows; ++row)
        for (unsigned int column = 0; column < columns; ++column)
        {
            vesk_debug_ray_s ray;
            ray.origin = from.eye;
            ray.direction = pixel_direction(from, columns, rows, column, row);
            vesk_octree_triangle_s triangle;
            vesk_vector2 weights;
            ray.hit = mesh.is_ray_intersect_closest(ray.origin, ray.direction, ray.distance,
                                                    triangle, weights, nullptr);
            if (!ray.hit)
                ray.distance = vesk_vec_distance(mesh.bounding_box_max, mesh.bounding_box_min);
            rays.push_back(ray);
        }
    return rays;
}

bool report(int written, const std::filesystem::path &path)
{
    if (!written)
        std::fprintf(stderr, "%s: cannot write %s\n", program, path.string().c_str());
    return written != 0;
}
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    const std::optional<unsigned int> channel = take_channel(line);
    const raster_size size = take_size(line, {512, 512});
    unsigned int deepest = 0xFFFFFFFFu;
    line.numbers("--deepest", ',', {&deepest}, 0u, deepest);
    unsigned int subset;
    vesk_list<unsigned int> chosen;
    if (line.numbers("--subset", ',', {&subset}, 0u, 0xFFFFFFFFu))
        chosen.push_back(subset);
    const vesk_list<unsigned int> *subsets = chosen.count > 0 ? &chosen : nullptr;
    if (const std::optional<int> status = line.ends(2, 2))
        return *status;

    vesk_owned_mesh mesh;
    if (!load_mesh(program, line.word(0), *mesh) || !select_channel(program, *mesh, channel) ||
        !build_quadtree(program, *mesh, size.width, size.height, subsets) ||
        !build_octree(program, *mesh, subsets))
        return 1;
    const std::filesystem::path folder = output_folder(line.word(1));

    const auto write = [&folder](const char *name, const auto &writer)
    {
        const std::filesystem::path path = folder / name;
        return report(writer(path.wstring().c_str()), path);
    };
    const std::vector<vesk_debug_ray_s> rays = cast_rays(*mesh);
    const auto ray_count = static_cast<unsigned int>(rays.size());
    const bool all_written =
        write("mesh.obj", [&](const wchar_t *path) { return vesk_debug_write_obj(*mesh, path); }) &&
        write("mesh.ply", [&](const wchar_t *path) { return vesk_debug_write_ply(*mesh, path); }) &&
        write("octree.ply", [&](const wchar_t *path)
              { return vesk_debug_write_octree(mesh->get_octree(), deepest, path); }) &&
        write("rays.ply", [&](const wchar_t *path)
              { return vesk_debug_write_rays(rays.data(), ray_count, path); }) &&
        write("uv_layout.svg", [&](const wchar_t *path)
              { return vesk_debug_write_uv_layout(*mesh, deepest, path); });
    return all_written ? 0 : 1;
}
