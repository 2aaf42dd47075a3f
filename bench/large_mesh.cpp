#include "vesk/owned_mesh.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>
#if defined(__linux__)
#include <sys/resource.h>
#endif

// One mesh near what a machine holds, through filling, saving, loading, its octree and queries:
// seconds and the most memory so far. Usage: large_mesh [MILLIONS OF TRIANGLES]   (default: 50)

namespace
{
using clock_type = std::chrono::steady_clock;

/// Gigabytes that the process held at its highest.
double peak_gigabytes()
{
#if defined(__linux__)
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / (1 << 20);
#else
    return 0.0;
#endif
}

/// Prints what a step took; stops the program when it failed.
class step
{
public:
    explicit step(const char *new_name) : name(new_name), begin(clock_type::now()) {}

    void done(int result) const
    {
        const std::chrono::duration<double> taken = clock_type::now() - begin;
        std::printf("%-28s %8.2f s   peak %6.2f GiB\n", name, taken.count(), peak_gigabytes());
        std::fflush(stdout);
        if (!result)
        {
            std::puts("failed");
            std::exit(1);
        }
    }

private:
    const char *name;
    clock_type::time_point begin;
};

/// A wavy square of `side` times `side` cells, two triangles each, over [0, 1] in x and z.
void write_vertices(vesk_mesh &mesh, unsigned int side)
{
    vesk_3d_vertex_s *vertex = mesh.get_vertex_array();
    const float cell = 1.0f / static_cast<float>(side);
    for (unsigned int row = 0; row <= side; ++row)
        for (unsigned int column = 0; column <= side; ++column, ++vertex)
        {
            const float x = static_cast<float>(column) * cell;
            const float z = static_cast<float>(row) * cell;
            vertex->position = vesk_vector3(x, x * z * (1.0f - x) * (1.0f - z), z);
            vertex->normal = vesk_vector3(0.0f, 1.0f, 0.0f);
        }
}

/// The three corners of each triangle, `stride` words apart.
void write_corners(unsigned int *words, unsigned int side, unsigned int stride)
{
    for (unsigned int row = 0; row < side; ++row)
        for (unsigned int column = 0; column < side; ++column)
        {
            const unsigned int a = row * (side + 1) + column, b = a + side + 1;
            const unsigned int corners[2][3] = {{a, b, a + 1}, {a + 1, b, b + 1}};
            for (const auto &triangle : corners)
            {
                for (unsigned int c = 0; c < 3; ++c)
                    words[c] = triangle[c];
                words += stride;
            }
        }
}

int fill(vesk_mesh &mesh, unsigned int side)
{
    const unsigned int vertex_count = (side + 1) * (side + 1), triangle_count = side * side * 2;
    std::vector<vesk_vector2> uvs(vertex_count);
    std::vector<unsigned int> uv_indices(std::size_t{triangle_count} * 3);
    write_corners(uv_indices.data(), side, 3);
    unsigned int uv_count = vertex_count;
    vesk_vector2 *uv_array = uvs.data();
    unsigned int *uv_index_array = uv_indices.data();
    vesk_mesh_uv_data_s uv_data;
    uv_data.channel_count = 1;
    uv_data.uv_arrays = &uv_array;
    uv_data.uv_counts = &uv_count;
    uv_data.uv_index_arrays = &uv_index_array;
    if (!mesh.create(vertex_count, triangle_count * 7, uv_data))
        return 0;

    write_vertices(mesh, side);
    write_corners(mesh.get_index_array(), side, 7);
    for (unsigned int t = 0; t < triangle_count; ++t)
        mesh.get_index_array()[t * std::size_t{7} + 6] = t * 7;
    mesh.add_subset_lookup_table_entry(0, triangle_count);
    mesh.calculate_bounding_box();
    return mesh.is_valid();
}

/// How many of `count` vertical rays hit.
unsigned int count_hits(const vesk_mesh &mesh, unsigned int count)
{
    unsigned int hits = 0;
    for (unsigned int i = 0; i < count; ++i)
    {
        float distance;
        vesk_octree_triangle_s triangle;
        vesk_vector2 barycentric;
        const float x = static_cast<float>(i * 37 % count) / static_cast<float>(count);
        hits += static_cast<unsigned int>(mesh.is_ray_intersect_closest(
            vesk_vector3(x, 1.0f, static_cast<float>(i) / static_cast<float>(count)),
            vesk_vector3(0.0f, -1.0f, 0.0f), distance, triangle, barycentric, nullptr));
    }
    return hits;
}
} // namespace

int main(int argument_count, char **arguments)
{
    const double millions = argument_count > 1 ? std::atof(arguments[1]) : 50.0;
    const unsigned int side = static_cast<unsigned int>(std::sqrt(millions * 1.0e6 / 2.0));
    const std::filesystem::path path = std::filesystem::temp_directory_path() / "large_mesh.vesk";
    std::printf("%u triangles\n", side * side * 2);
    vesk_owned_mesh mesh;
    const step filling("fill");
    filling.done(fill(*mesh, side));
    const step saving("save_binary");
    saving.done(mesh->save_binary(path.wstring().c_str(), 0));
    std::printf("%-28s %8.2f GiB\n", "file",
                static_cast<double>(std::filesystem::file_size(path)) / (1 << 30));
    const step loading("load_binary");
    loading.done(mesh->load_binary(path.wstring().c_str()));
    std::filesystem::remove(path);
    const step normals("generate_normals");
    mesh->generate_normals();
    normals.done(1);
    const step building("generate_octree, depth 9");
    building.done(mesh->generate_octree(9, nullptr, nullptr));
    constexpr unsigned int ray_count = 100000;
    const step asking("100000 closest hits");
    const unsigned int hits = count_hits(*mesh, ray_count);
    asking.done(1);
    std::printf("%u hits\n", hits); // a ray through an edge may slip between two triangles
}
