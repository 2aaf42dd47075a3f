// The figures on the page about queries (docs/queries.md): rays aimed exactly at edges and corners,
// repeats in lists of all hits, and what a tree's depth costs and brings.
// Usage: question_figures [edges|repeats|depth] [COUNT]   (default: all, 1000000 rays)

#include "support/mesh_builder.h"

#include "vesk/vesk.h"

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace
{
double processor_seconds()
{
    return double(std::clock()) / CLOCKS_PER_SEC;
}

/// Where a ray goes through the surface of a closed mesh around the origin.
enum class target
{
    corner,
    edge_middle,
    edge,
    inside
};

/// A point that floats place on the target as well as they can, of a triangle drawn by chance.
vesk_vector3 aim(const vesk_mesh &mesh, test_random &random, target where)
{
    const unsigned int *record = mesh.index_array + random.below(mesh.index_count / 7) * 7;
    const unsigned int first = random.below(3);
    const vesk_vector3 a = mesh.vertex_array[record[first]].position;
    const vesk_vector3 b = mesh.vertex_array[record[(first + 1) % 3]].position;
    const vesk_vector3 c = mesh.vertex_array[record[(first + 2) % 3]].position;
    switch (where)
    {
    case target::corner:
        return a;
    case target::edge_middle:
        return (a + b) * 0.5f;
    case target::edge:
        return a + (b - a) * random.unit();
    case target::inside:
        break;
    }
    const float weight = random.between(0.1f, 0.45f);
    return a + (b - a) * weight + (c - a) * random.between(0.1f, 0.45f);
}

void print_slips(const char *name, unsigned int ray_count, unsigned int slips)
{
    std::printf("%-28s %10u rays %8u slip through\n", name, ray_count, slips);
}

/// Lines from inside that the floats of origin and direction aim at a point of the surface, as
/// parameter 1: each should hit there or before. Whether one does is a question of edges alone.
/// What slips is asked again with the direction moved a little.
void count_slips(const vesk_mesh &mesh, const char *name, target where, unsigned int ray_count)
{
    test_random random(7);
    float ahead = 0.0f; // with a line: hits behind the origin do not count
    unsigned int slips = 0, slips_again[4] = {};
    const float moves[4] = {1e-7f, 1e-6f, 1e-5f, 1e-4f};
    for (unsigned int i = 0; i < ray_count; ++i)
    {
        const vesk_vector3 point = aim(mesh, random, where);
        const vesk_vector3 origin = random.point(-0.1f, 0.1f);
        const vesk_vector3 direction = point - origin;
        if (mesh.is_line_intersect(origin, direction, 1.001f, &ahead))
            continue;
        ++slips;
        for (unsigned int k = 0; k < 4; ++k)
        {
            const vesk_vector3 moved = direction + vesk_vector3(1.0f, 0.3f, -0.6f) * moves[k];
            slips_again[k] += !mesh.is_line_intersect(origin, moved, 1.01f, &ahead);
        }
    }
    print_slips(name, ray_count, slips);
    if (slips)
        std::printf(
            "    and again with a direction moved by 1e-7: %u, 1e-6: %u, 1e-5: %u, 1e-4: %u\n",
            slips_again[0], slips_again[1], slips_again[2], slips_again[3]);
}

/// Lines from inside in random directions: each should hit something.
void count_escapes(const vesk_mesh &mesh, unsigned int ray_count)
{
    test_random random(11);
    float ahead = 0.0f;
    unsigned int escapes = 0;
    for (unsigned int i = 0; i < ray_count; ++i)
    {
        const vesk_vector3 origin = random.point(-0.1f, 0.1f);
        const vesk_vector3 direction = random.point(-1.0f, 1.0f);
        escapes += !mesh.is_line_intersect(origin, direction, FLT_MAX, &ahead);
    }
    print_slips("in random directions", ray_count, escapes);
}

/// Rays straight down onto a flat grid whose coordinates are exact: no product rounds, so no
/// triangle lets an edge go. What slips runs exactly in a plane between boxes of the tree.
void count_grid_slips(unsigned int depth, float lean, unsigned int ray_count)
{
    owned_mesh mesh(grid(256, 256));
    mesh.generate_octree(depth, nullptr, nullptr);
    test_random random(8);
    unsigned int corners = 0, edges = 0;
    const vesk_vector3 down(lean, -1.0f, lean * 0.5f);
    for (unsigned int i = 0; i < ray_count; ++i)
    {
        // The border is left out: a ray that leans may lean out over it.
        const float x = float(1 + random.below(255)) / 256.0f;
        const float z = float(1 + random.below(255)) / 256.0f;
        const float between = random.between(0.1f, 0.9f);
        corners += !mesh.is_ray_intersect(vesk_vector3(x, 1.0f, z), down, nullptr);
        edges += !mesh.is_ray_intersect(vesk_vector3(x, 1.0f, between), down, nullptr);
    }
    std::printf("flat grid of 256 x 256, depth %u, down with a lean of %g\n", depth, double(lean));
    print_slips("at corners", ray_count, corners);
    print_slips("at edges", ray_count, edges);
}

void show_edges(unsigned int ray_count)
{
    for (const unsigned int triangle_count : {1000u, 100000u})
    {
        owned_mesh mesh(displaced_sphere(triangle_count));
        mesh.generate_octree(triangle_count < 10000 ? 4 : 7, nullptr, nullptr);
        std::printf("closed bumpy sphere, %u triangles\n", mesh.index_count / 7);
        count_slips(mesh, "aimed at corners", target::corner, ray_count);
        count_slips(mesh, "aimed at middles of edges", target::edge_middle, ray_count);
        count_slips(mesh, "aimed anywhere on edges", target::edge, ray_count);
        count_slips(mesh, "aimed inside triangles", target::inside, ray_count);
        count_escapes(mesh, ray_count);
    }
    count_grid_slips(0, 0.0f, ray_count / 1000);
    for (const float lean : {0.0f, 1e-9f, 1e-6f})
        count_grid_slips(8, lean, ray_count);
}

/// How often a triangle stands in the list of all hits of one ray, by depth.
void show_repeats(unsigned int ray_count)
{
    owned_mesh mesh(displaced_sphere(100000));
    std::printf("%5s %12s %12s %10s\n", "depth", "hits listed", "triangles", "repeats");
    for (const unsigned int depth : {0u, 2u, 4u, 6u, 8u, 10u})
    {
        mesh.generate_octree(depth, nullptr, nullptr);
        test_random random(9);
        vesk_list<float> distances;
        vesk_list<vesk_octree_triangle_s *> triangles;
        vesk_list<vesk_vector2> weights;
        unsigned int listed = 0, distinct = 0;
        const unsigned int count = depth < 4 ? ray_count / 1000 : ray_count / 10;
        for (unsigned int i = 0; i < count; ++i)
        {
            distances.count = triangles.count = weights.count = 0;
            const vesk_vector3 origin = random.point(-2.0f, 2.0f);
            mesh.is_ray_intersect(origin, random.point(-0.5f, 0.5f) - origin, distances, triangles,
                                  weights, nullptr);
            listed += triangles.count;
            for (unsigned int k = 0; k < triangles.count; ++k)
            {
                unsigned int first = 0;
                while (triangles[first] != triangles[k])
                    ++first;
                distinct += first == k;
            }
        }
        std::printf("%5u %12u %12u %9.1f%%\n", depth, listed, distinct,
                    distinct ? 100.0 * (listed - distinct) / distinct : 0.0);
    }
}

/// Best of some runs: what others do on the machine only ever adds.
template <typename Work> double best_seconds(int runs, Work &&work)
{
    double best = 1e9;
    for (int i = 0; i < runs; ++i)
    {
        const double start = processor_seconds();
        work();
        best = std::fmin(best, processor_seconds() - start);
    }
    return best;
}

void show_depths(unsigned int ray_count)
{
    std::printf("%9s %5s %10s %12s %12s\n", "triangles", "depth", "build ms", "size MB",
                "closest us");
    for (const unsigned int triangle_count : {1000u, 10000u, 100000u, 1000000u})
    {
        owned_mesh mesh(displaced_sphere(triangle_count));
        for (unsigned int depth = 2; depth <= 10; ++depth)
        {
            if (triangle_count / (1u << (2 * depth)) > 500)
                continue; // hopelessly shallow: a leaf holds hundreds of triangles
            const int runs = triangle_count > 100000 ? 2 : 5;
            const double build =
                best_seconds(runs, [&] { mesh.generate_octree(depth, nullptr, nullptr); });
            const double size = mesh.get_octree_size_bytes() / 1e6;
            const unsigned int count = ray_count / 50;
            const double query = best_seconds(
                3,
                [&]
                {
                    test_random random(10);
                    float distance;
                    vesk_octree_triangle_s triangle;
                    vesk_vector2 weights;
                    for (unsigned int i = 0; i < count; ++i)
                    {
                        const vesk_vector3 origin = random.point(-2.0f, 2.0f);
                        mesh.is_ray_intersect_closest(origin, random.point(-0.5f, 0.5f) - origin,
                                                      distance, triangle, weights, nullptr);
                    }
                });
            std::printf("%9u %5u %10.2f %12.2f %12.3f\n", mesh.index_count / 7, depth, build * 1e3,
                        size, query / count * 1e6);
            if (size > 400.0)
                break;
        }
    }
}
} // namespace

int main(int argc, char **argv)
{
    const char *what = argc > 1 ? argv[1] : "";
    const unsigned int ray_count =
        argc > 2 ? static_cast<unsigned int>(std::strtoul(argv[2], nullptr, 10)) : 1000000;
    const auto is_asked = [what](const char *name) { return !*what || !std::strcmp(what, name); };
    if (is_asked("edges"))
        show_edges(ray_count);
    if (is_asked("repeats"))
        show_repeats(ray_count);
    if (is_asked("depth"))
        show_depths(ray_count);
    return 0;
}
