// The road of one mesh: import, report, store, load again and compare, derive, ask, draw, bake.

#include "support/bake.h"
#include "support/command_line.h"
#include "support/console.h"
#include "support/render.h"
#include "support/same_meshes.h"
#include "support/trees.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cstdio>
#include <filesystem>
#include <thread>

namespace
{
const char program[] = "vesk_demo";
const char usage[] =
    "usage: vesk_demo FILE.fbx [OUTPUT_FOLDER]\n"
    "\n"
    "Imports an FBX file, stores it as a mesh file, loads it again and compares,\n"
    "derives everything that a mesh can have, renders a picture and bakes textures\n"
    "into OUTPUT_FOLDER (default: the current one).\n"
    "\n"
    "Exit status: 0 when all went well, 1 when a step failed, 2 for bad usage.\n";

int failed(const vesk_mesh &mesh)
{
    print_errors(program, mesh);
    return 1;
}

int store_and_compare(vesk_mesh &mesh, const std::filesystem::path &folder)
{
    std::uintmax_t raw_bytes = 0;
    for (const int compress : {0, 1})
    {
        const std::filesystem::path path = folder / (compress ? "mesh.lz4.vesk" : "mesh.vesk");
        stopwatch saving;
        if (!mesh.save_binary(path.wstring().c_str(), compress))
            return failed(mesh);
        const double save_seconds = saving.seconds();

        vesk_owned_mesh loaded;
        stopwatch loading;
        if (!loaded->load_binary(path.wstring().c_str()))
            return failed(*loaded);
        const double load_seconds = loading.seconds();
        if (!same_meshes(mesh, *loaded))
        {
            std::fprintf(stderr, "%s: the loaded mesh differs from the stored one\n", program);
            return 1;
        }

        const std::uintmax_t bytes = std::filesystem::file_size(path);
        if (!compress)
            raw_bytes = bytes;
        std::printf("%-10s %s bytes (%.0f %%), saved in %.1f ms, loaded in %.1f ms, equal\n",
                    compress ? "compressed" : "stored", grouped(bytes).c_str(),
                    100.0 * static_cast<double>(bytes) / static_cast<double>(raw_bytes),
                    save_seconds * 1e3, load_seconds * 1e3);
    }
    return 0;
}

/// One colour for each triangle: its subset, and whether it looks up.
void colors_by_subset_and_facing(const vesk_mesh &mesh, vesk_list<unsigned long> &colors)
{
    const vesk_list<unsigned int> &table = *mesh.get_subset_lookup_table();
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        for (unsigned int t = 0; t < table[s * 2 + 1]; ++t)
        {
            const unsigned int *record = mesh.get_index_array() + table[s * 2] + t * 7;
            const vesk_3d_vertex_s *v = mesh.get_vertex_array();
            const vesk_vector3 sum =
                v[record[0]].normal + v[record[1]].normal + v[record[2]].normal;
            colors.push_back(s * 2 + (sum.y > 0.0f ? 1 : 0));
        }
}

int derive(vesk_mesh &mesh)
{
    vesk_vector3 offset;
    float factor;
    mesh.center_and_enforce_size(1.0f, &offset, &factor);
    mesh.rotate(vesk_vector3(0.0f, 0.5f, 0.0f));
    std::printf("fitted     to radius 1 (factor %g), turned, %s tangents\n",
                static_cast<double>(factor), grouped(mesh.get_tangent_count()).c_str());

    vesk_list<unsigned long> colors;
    colors_by_subset_and_facing(mesh, colors);
    if (!mesh.generate_render_index_array() || !mesh.sort_render_index_by_subset_color(colors))
        return failed(mesh);
    const vesk_list<vesk_subset_color_lookup_s> *table;
    mesh.get_render_color_lookup_table(&table);
    for (unsigned int s = 0; s < table->count; ++s)
    {
        std::printf("  subset %-3u runs:", s);
        for (unsigned int r = 0; r < (*table)[s].runs.count; ++r)
        {
            const vesk_triangle_color_data_s &run = (*table)[s].runs[r];
            std::printf(" colour %u at %u x %u", run.color, run.first_index, run.triangle_count);
        }
        std::printf("\n");
    }

    // A second mesh on the same arrays: it owns its subset table, box and what it derives.
    vesk_owned_mesh twin;
    twin->set_instance_geometry(mesh.get_vertex_array(), mesh.get_uv_array(),
                                mesh.get_index_array(), mesh.get_vertex_count(),
                                mesh.get_uv_count(), mesh.get_index_count(),
                                *mesh.get_subset_lookup_table());
    twin->set_instance_tangents(mesh.get_tangent_array(), mesh.get_tangent_count());
    std::printf("shared     geometry and tangents with a second mesh: %s, box %s\n",
                twin->is_valid() ? "valid" : "not valid",
                same_arrays(&twin->bounding_box_min, &mesh.bounding_box_min, 1) ? "equal"
                                                                                : "different");
    return 0;
}

int draw(vesk_mesh &mesh, const std::filesystem::path &folder)
{
    stopwatch building;
    if (!build_octree(program, mesh))
        return 1;
    std::printf("octree     %s bytes in %.1f ms\n", grouped(mesh.get_octree_size_bytes()).c_str(),
                building.seconds() * 1e3);

    stopwatch drawing;
    const camera from = camera_around(mesh, vesk_vector3(-0.35f, 0.42f, 1.0f));
    const picture image = render_mesh(mesh, from, 840, 560, std::thread::hardware_concurrency());
    const std::string path = (folder / "render.png").string();
    if (!save_picture(program, image, path))
        return 1;
    std::printf("rendered   %u x %u in %.0f ms: %s\n", image.width, image.height,
                drawing.seconds() * 1e3, path.c_str());
    return 0;
}

int bake(vesk_mesh &mesh, const std::filesystem::path &folder)
{
    constexpr unsigned int size = 512;
    // By custom the last channel is the atlas, in which no two places share a texel.
    mesh.set_uv_channel(mesh.get_uv_channel_count() - 1);
    if (!build_quadtree(program, mesh, size, size))
        return 1;
    std::printf("quadtree   %s bytes\n", grouped(mesh.get_uv_lookup_quadtree_size_bytes()).c_str());

    for (const bake_kind kind : all_bake_kinds)
    {
        stopwatch baking;
        const picture image = bake_texture(mesh, kind, 4);
        const std::string path = (folder / name_of(kind)).string() + ".png";
        if (!save_picture(program, image, path))
            return 1;
        std::printf("baked      %u x %u in %.0f ms: %s\n", image.width, image.height,
                    baking.seconds() * 1e3, path.c_str());
    }
    return 0;
}
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    if (const std::optional<int> status = line.ends(1, 2))
        return *status;
    const std::filesystem::path folder = output_folder(line.word(1, "."));

    vesk_owned_mesh mesh;
    stopwatch importing;
    if (!mesh->load_from_file(wide_path(line.word(0)).c_str()))
        return failed(*mesh);
    std::printf("imported in %.1f ms\n", importing.seconds() * 1e3);
    print_contents(*mesh);

    if (const int status = store_and_compare(*mesh, folder))
        return status;
    if (const int status = derive(*mesh))
        return status;
    if (const int status = draw(*mesh, folder))
        return status;
    return bake(*mesh, folder);
}
