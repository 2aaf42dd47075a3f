#include "equal_trees.h"
#include "fitting_octree.h"
#include "interleaved.h"
#include "ray_sets.h"
#include "support/plain_query.h"
#include "support/plain_tree.h"
#include "surface_meshes.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <string>

// Rays and lines per second through the octree, beside the plain walk's over the equal tree that
// the plain builder makes: its nodes and lists lie on the heap where that builder puts them.

namespace plain
{
inline int any(const vesk_mesh &mesh, const question &q)
{
    bool stopped = false;
    auto take = [](const hit &, vesk_octree_triangle_s *) { return true; };
    return walk(*mesh.octree, mesh.vertex_array, q, take, stopped);
}

inline int all(const vesk_mesh &mesh, const question &q, vesk_list<float> &distances,
               vesk_list<vesk_octree_triangle_s *> &triangles,
               vesk_list<vesk_vector2> &barycentrics)
{
    bool stopped = false;
    auto take = [&](const hit &h, vesk_octree_triangle_s *record)
    {
        distances.push_back(h.t);
        barycentrics.push_back(vesk_vector2(h.u, h.v));
        triangles.push_back(record);
        return false;
    };
    return walk(*mesh.octree, mesh.vertex_array, q, take, stopped);
}

inline int closest(const vesk_mesh &mesh, const question &q, float &distance,
                   vesk_octree_triangle_s &triangle, vesk_vector2 &barycentric)
{
    bool stopped = false;
    distance = 3.4028235e+38f;
    auto take = [&](const hit &h, vesk_octree_triangle_s *record)
    {
        if (distance > h.t)
        {
            distance = h.t;
            triangle = *record;
            barycentric = vesk_vector2(h.u, h.v);
        }
        return false;
    };
    return walk(*mesh.octree, mesh.vertex_array, q, take, stopped);
}
} // namespace plain

namespace
{
constexpr unsigned int triangle_count = 100000;

enum class form
{
    any,
    all,
    closest
};

/// A mesh with its octree, and the plain builder's under a second mesh.
struct scene
{
    explicit scene(void (*build)(surface &, unsigned int)) : plain_root(nullptr)
    {
        build(shape, triangle_count);
        shape.show(mesh);
        shape.show(plain_mesh);
        const unsigned int depth = build_fitting_octree(mesh);
        plain_root = plain::build_octree(plain_mesh, depth, nullptr, nullptr);
        if (!equal_trees(mesh.octree, plain_root))
        {
            std::fputs("the library's tree and the plain one differ\n", stderr);
            std::exit(1);
        }
        plain_mesh.octree = plain_root;
        plain_mesh.instance_octree = 1;
    }

    surface shape;
    vesk_mesh mesh, plain_mesh;
    vesk_octree_node_s *plain_root;
};

std::vector<plain::question> questions_along(const std::vector<aimed_ray> &rays, bool lines,
                                             float length)
{
    std::vector<plain::question> questions;
    for (const aimed_ray &ray : rays)
        questions.push_back({ray.origin, ray.direction, lines, length, nullptr});
    return questions;
}

struct hit_lists
{
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;

    void empty()
    {
        distances.count = triangles.count = barycentrics.count = 0;
    }
};

unsigned int ask(const vesk_mesh &mesh, const plain::question &q, form asked, hit_lists &hits)
{
    float distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 weights;
    hits.empty();
    int found = 0;
    switch (asked)
    {
    case form::any:
        found = q.is_line ? mesh.is_line_intersect(q.origin, q.direction, q.length, nullptr)
                          : mesh.is_ray_intersect(q.origin, q.direction, nullptr);
        break;
    case form::all:
        found = q.is_line ? mesh.is_line_intersect(q.origin, q.direction, q.length, hits.distances,
                                                   hits.triangles, hits.barycentrics, nullptr)
                          : mesh.is_ray_intersect(q.origin, q.direction, hits.distances,
                                                  hits.triangles, hits.barycentrics, nullptr);
        break;
    case form::closest:
        found = q.is_line ? mesh.is_line_intersect_closest(q.origin, q.direction, q.length,
                                                           distance, triangle, weights, nullptr)
                          : mesh.is_ray_intersect_closest(q.origin, q.direction, distance, triangle,
                                                          weights, nullptr);
        break;
    }
    return static_cast<unsigned int>(found) + hits.triangles.count;
}

unsigned int ask_plain(const vesk_mesh &mesh, const plain::question &q, form asked, hit_lists &hits)
{
    float distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 weights;
    hits.empty();
    int found = 0;
    switch (asked)
    {
    case form::any:
        found = plain::any(mesh, q);
        break;
    case form::all:
        found = plain::all(mesh, q, hits.distances, hits.triangles, hits.barycentrics);
        break;
    case form::closest:
        found = plain::closest(mesh, q, distance, triangle, weights);
        break;
    }
    return static_cast<unsigned int>(found) + hits.triangles.count;
}

void compare(benchmark::State &state, const scene &s, const std::vector<plain::question> &rays,
             form asked)
{
    hit_lists hits;
    unsigned int found = 0, plain_found = 0;
    run_interleaved(
        state,
        [&]
        {
            found = 0;
            for (const plain::question &q : rays)
                found += ask(s.mesh, q, asked, hits);
        },
        [&]
        {
            plain_found = 0;
            for (const plain::question &q : rays)
                plain_found += ask_plain(s.plain_mesh, q, asked, hits);
        });
    if (found != plain_found)
        state.SkipWithError("the library and the plain walk disagree");
    state.SetItemsProcessed(static_cast<std::int64_t>(rays.size()) * state.iterations());
    state.counters["hits_per_query"] =
        static_cast<double>(found) / static_cast<double>(rays.size());
}
} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    const struct
    {
        const char *name;
        void (*build)(surface &, unsigned int);
    } shapes[] = {{"sphere", displaced_sphere}, {"terrain", terrain}, {"soup", scattered_soup}};
    const struct
    {
        const char *name;
        form asked;
    } forms[] = {{"any", form::any}, {"all", form::all}, {"closest", form::closest}};

    for (const auto &shape : shapes)
    {
        const scene *s = new scene(shape.build); // lives to the end of the program
        for (const auto &f : forms)
            for (const bool lines : {false, true})
                for (const bool coherent : {true, false})
                {
                    const std::vector<plain::question> rays =
                        coherent ? questions_along(coherent_rays(64, 32), lines, 4.0f)
                                 : questions_along(incoherent_rays(2048), lines, 1.0f);
                    const std::string name = std::string(shape.name) + "/" + f.name +
                                             (lines ? "/line" : "/ray") +
                                             (coherent ? "/coherent" : "/incoherent");
                    const form asked = f.asked;
                    benchmark::RegisterBenchmark(name.c_str(),
                                                 [s, rays, asked](benchmark::State &state)
                                                 { compare(state, *s, rays, asked); })
                        ->UseManualTime()
                        ->Unit(benchmark::kMillisecond);
                }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
