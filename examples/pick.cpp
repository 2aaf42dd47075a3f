// What a ray meets first, and the UV there.

#include "support/command_line.h"
#include "support/load.h"
#include "support/options.h"
#include "support/render.h"
#include "support/surface.h"
#include "support/trees.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cfloat>
#include <cstdio>

namespace
{
const char program[] = "vesk_pick";
const char usage[] =
    "usage: vesk_pick INPUT [--pixel X,Y] [--size WxH] [--from X,Y,Z] [--channel N]\n"
    "       vesk_pick INPUT --origin X,Y,Z --direction X,Y,Z [--channel N]\n"
    "\n"
    "Tells what a ray meets first: the ray through a pixel of the picture that vesk_render draws,\n"
    "or one by origin and direction. INPUT is an FBX file when its name ends in .fbx, and a mesh\n"
    "file otherwise.\n"
    "\n"
    "  --pixel X,Y          column and row, from 0 on top (the middle)\n"
    "  --size WxH           size of that picture, up to 16384 either way (840x560)\n"
    "  --from X,Y,Z         where its camera stands, as seen from the mesh (-0.35,0.42,1)\n"
    "  --origin X,Y,Z       where the ray begins\n"
    "  --direction X,Y,Z    where it goes, of any length: distances are multiples of it\n"
    "  --channel N          the UV channel, from 0 (0)\n"
    "\n"
    "Exit status: 0 whether or not anything is hit, 1 when INPUT cannot be used, 2 for bad "
    "usage.\n";

struct ray
{
    vesk_vector3 origin;
    vesk_vector3 direction;
};

void print_hit(const vesk_mesh &mesh, const ray &asked, float distance,
               const vesk_octree_triangle_s &triangle, const vesk_vector2 &weights)
{
    const surface_point point = point_on_triangle(mesh, triangle.vertex_indices, weights);
    const vesk_vector2 uv = uv_on_triangle(mesh, triangle.uv_indices, weights);
    const vesk_vector3 along = asked.origin + distance * asked.direction;
    std::printf("distance  %.9g\n", distance);
    std::printf("triangle  %u\n", triangle.record_offset / 7);
    std::printf("weights   %.9g %.9g\n", weights.x, weights.y);
    std::printf("position  %.9g %.9g %.9g\n", point.position.x, point.position.y, point.position.z);
    std::printf("on ray    %.9g %.9g %.9g\n", along.x, along.y, along.z);
    std::printf("normal    %.9g %.9g %.9g\n", point.normal.x, point.normal.y, point.normal.z);
    std::printf("uv        %.9g %.9g (channel %u)\n", uv.x, uv.y, mesh.get_cur_uv_channel());
}
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    ray asked;
    const bool has_origin = take_vector(line, "--origin", asked.origin);
    const bool has_direction = take_vector(line, "--direction", asked.direction);
    if (has_origin != has_direction)
        line.reject("--origin and --direction go together");
    const vesk_vector3 view = take_view(line);
    const raster_size size = take_size(line, {840, 560});
    unsigned int column = size.width / 2;
    unsigned int row = size.height / 2;
    line.numbers("--pixel", ',', {&column, &row}, 0u, 16383u);
    const unsigned int channel = take_channel(line).value_or(0);
    if (const std::optional<int> status = line.ends(1, 1))
        return *status;

    vesk_owned_mesh mesh;
    if (!load_mesh(program, line.word(0), *mesh) || !select_channel(program, *mesh, channel) ||
        !build_octree(program, *mesh))
        return 1;
    if (!has_origin)
    {
        const camera from = camera_around(*mesh, view);
        asked = {from.eye, pixel_direction(from, size.width, size.height, column, row)};
    }

    // A ray may also report what lies behind its origin, at its distance: docs/queries.md.
    float distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 weights;
    if (mesh->is_ray_intersect_closest(asked.origin, asked.direction, distance, triangle, weights,
                                       nullptr))
        print_hit(*mesh, asked, distance, triangle, weights);
    else
        std::printf("no hit\n");
    return 0;
}
