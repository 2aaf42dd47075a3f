// The road of one mesh: import, report, store, load again and compare, derive, ask, draw, bake.

#include "support/bake.h"
#include "support/console.h"
#include "support/render.h"
#include "vesk/cancel_scope.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>

namespace
{
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
    print_errors("vesk_demo", mesh);
    return 1;
}

void report(const vesk_mesh &mesh, double seconds)
{
    const vesk_vector3 &low = mesh.bounding_box_min;
    const vesk_vector3 &high = mesh.bounding_box_max;
    std::printf("imported in %.1f ms\n", seconds * 1e3);
    std::printf("  vertices   %s\n", grouped(mesh.get_vertex_count()).c_str());
    std::printf("  triangles  %s\n", grouped(mesh.get_index_count() / 7).c_str());
    std::printf("  box        (%g, %g, %g) to (%g, %g, %g)\n", low.x, low.y, low.z, high.x, high.y,
                high.z);
    const vesk_list<unsigned int> &table = *mesh.get_subset_lookup_table();
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        std::printf("  subset %-3u %s triangles\n", s, grouped(table[s * 2 + 1]).c_str());
    for (unsigned int c = 0; c < mesh.get_uv_channel_count(); ++c)
        std::printf("  channel %-2u %s UVs\n", c, grouped(mesh.uv_channel_counts[c]).c_str());
}

template <typename T> bool same_arrays(const T *a, const T *b, std::size_t count)
{
    return count == 0 || std::memcmp(static_cast<const void *>(a), static_cast<const void *>(b),
                                     count * sizeof(T)) == 0;
}

/// Every field that a mesh file stores, compared by its bits.
bool same_meshes(const vesk_mesh &a, const vesk_mesh &b)
{
    if (a.vertex_count != b.vertex_count || a.index_count != b.index_count ||
        a.tangent_count != b.tangent_count || a.cur_uv_channel != b.cur_uv_channel ||
        a.uv_count != b.uv_count || a.uv_channel_arrays.count != b.uv_channel_arrays.count ||
        a.subset_lookup_table.count != b.subset_lookup_table.count)
        return false;
    for (unsigned int c = 0; c < a.uv_channel_arrays.count; ++c)
        if (a.uv_channel_counts[c] != b.uv_channel_counts[c] ||
            !same_arrays(a.uv_channel_arrays[c], b.uv_channel_arrays[c], a.uv_channel_counts[c]) ||
            !same_arrays(a.uv_index_arrays[c], b.uv_index_arrays[c], a.index_count / 7 * 3))
            return false;
    return same_arrays(a.vertex_array, b.vertex_array, a.vertex_count) &&
           same_arrays(a.index_array, b.index_array, a.index_count) &&
           same_arrays(a.tangent_array, b.tangent_array, a.tangent_count) &&
           same_arrays(a.subset_lookup_table.data, b.subset_lookup_table.data,
                       a.subset_lookup_table.count) &&
           same_arrays(&a.bounding_box_min, &b.bounding_box_min, 1) &&
           same_arrays(&a.bounding_box_max, &b.bounding_box_max, 1);
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
            std::fprintf(stderr, "vesk_demo: the loaded mesh differs from the stored one\n");
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

/// A depth that leaves about ten triangles a leaf on a surface: each level has four times as
/// many boxes along it.
unsigned int depth_for(const vesk_mesh &mesh)
{
    unsigned int depth = 1;
    for (unsigned int left = mesh.get_index_count() / 7; left > 10; left /= 4)
        ++depth;
    return depth;
}

int draw(vesk_mesh &mesh, const std::filesystem::path &folder)
{
    stopwatch building;
    {
        progress_bar bar("octree");
        auto poll = [&bar]
        {
            bar.tick();
            return 0;
        };
        const vesk_cancel_scope scope(poll);
        if (!mesh.generate_octree(depth_for(mesh), nullptr, scope.callback()))
            return failed(mesh);
    }
    std::printf("octree     %s bytes in %.1f ms\n", grouped(mesh.get_octree_size_bytes()).c_str(),
                building.seconds() * 1e3);

    stopwatch drawing;
    progress_bar bar("render");
    const camera from = camera_around(mesh, vesk_vector3(-0.35f, 0.42f, 1.0f));
    const picture image = render_mesh(mesh, from, 840, 560, std::thread::hardware_concurrency(),
                                      [&bar](double part) { bar.show(part); });
    const std::string path = (folder / "render.png").string();
    if (!image.write_png(path.c_str()))
    {
        std::fprintf(stderr, "vesk_demo: cannot write %s\n", path.c_str());
        return 1;
    }
    std::printf("rendered   %u x %u in %.0f ms: %s\n", image.width, image.height,
                drawing.seconds() * 1e3, path.c_str());
    return 0;
}

int bake(vesk_mesh &mesh, const std::filesystem::path &folder)
{
    constexpr unsigned int size = 512;
    // By custom the last channel is the atlas, in which no two places share a texel.
    mesh.set_uv_channel(mesh.get_uv_channel_count() - 1);
    const vesk_list<unsigned int> *all = nullptr;
    if (!mesh.generate_uv_lookup_quadtree(size, size, depth_for(mesh), 0, 0, all, nullptr))
        return failed(mesh);
    std::printf("quadtree   %s bytes\n", grouped(mesh.get_uv_lookup_quadtree_size_bytes()).c_str());

    struct
    {
        bake_kind kind;
        const char *name;
    } const textures[] = {{bake_kind::normal, "normal.png"},
                          {bake_kind::position, "position.png"},
                          {bake_kind::occlusion, "occlusion.png"}};
    for (const auto &texture : textures)
    {
        stopwatch baking;
        progress_bar bar("bake");
        const picture image =
            bake_texture(mesh, texture.kind, 4, [&bar](double part) { bar.show(part); });
        const std::string path = (folder / texture.name).string();
        if (!image.write_png(path.c_str()))
        {
            std::fprintf(stderr, "vesk_demo: cannot write %s\n", path.c_str());
            return 1;
        }
        std::printf("baked      %u x %u in %.0f ms: %s\n", image.width, image.height,
                    baking.seconds() * 1e3, path.c_str());
    }
    return 0;
}
} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0))
    {
        std::fputs(usage, stdout);
        return 0;
    }
    if (argc < 2 || argc > 3)
    {
        std::fputs(usage, stderr);
        return 2;
    }
    const std::filesystem::path folder = argc == 3 ? argv[2] : ".";
    std::error_code ignored; // a folder that cannot be made shows when files are written
    std::filesystem::create_directories(folder, ignored);

    vesk_owned_mesh mesh;
    stopwatch importing;
    if (!mesh->load_from_file(wide_path(argv[1]).c_str()))
        return failed(*mesh);
    report(*mesh, importing.seconds());

    if (const int status = store_and_compare(*mesh, folder))
        return status;
    if (const int status = derive(*mesh))
        return status;
    if (const int status = draw(*mesh, folder))
        return status;
    return bake(*mesh, folder);
}
