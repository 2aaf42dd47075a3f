// Building the octree and asking it beside an AABB-tree library and a ray tracer, in turns in one
// process and on one thread. Built with VESK_BENCH_PEERS only. A ratio below 1 is in our favour.
//
// All are asked the same: hits ahead of the origin, however far. Here that is a line without an end
// and with a least distance of 0. The other two prune by distance, which the walk's promises forbid
// here. They also round in other ways, so that rays at edges may get another answer: the counter
// `other_answers` has their share, and more than one in a hundred is an error.

#include "fitting_octree.h"
#include "interleaved.h"
#include "ray_sets.h"

#include <cfloat>
#include <CGAL/AABB_traits.h>
#include <CGAL/AABB_tree.h>
#include <CGAL/AABB_triangle_primitive.h>
#include <CGAL/Simple_cartesian.h>
#include <cmath>
#include <embree3/rtcore.h>
#include <memory>
#include <string>

namespace
{
constexpr unsigned int triangle_count = 100000;
constexpr float no_hit = -1.0f;

// Each of the three has `build` and `release`, `any`, and `closest`, which gives the parameter
// along the direction or `no_hit`.

class own_octree
{
public:
    explicit own_octree(surface &shape)
    {
        shape.show(mesh);
        depth = build_fitting_octree(mesh);
        release();
    }

    void build()
    {
        mesh.generate_octree(depth, nullptr, nullptr);
    }
    void release()
    {
        mesh.free_octree();
    }
    bool any(const aimed_ray &ray) const
    {
        return mesh.is_line_intersect(ray.origin, ray.direction, FLT_MAX, &ahead) != 0;
    }
    float closest(const aimed_ray &ray) const
    {
        float distance;
        vesk_octree_triangle_s triangle;
        vesk_vector2 weights;
        return mesh.is_line_intersect_closest(ray.origin, ray.direction, FLT_MAX, distance,
                                              triangle, weights, &ahead)
                   ? distance
                   : no_hit;
    }

private:
    mutable float ahead = 0.0f; // the queries only read it
    unsigned int depth;
    vesk_mesh mesh;
};

class aabb_tree
{
public:
    explicit aabb_tree(const surface &shape)
    {
        const auto corner = [&shape](std::size_t word)
        {
            const vesk_vector3 &p = shape.vertices[shape.words[word]].position;
            return kernel::Point_3(p.x, p.y, p.z);
        };
        for (std::size_t word = 0; word < shape.words.size(); word += 7)
            triangles.emplace_back(corner(word), corner(word + 1), corner(word + 2));
    }

    void build()
    {
        tree = std::make_unique<tree_type>(triangles.cbegin(), triangles.cend());
        tree->build();
    }
    void release()
    {
        tree.reset();
    }
    bool any(const aimed_ray &ray) const
    {
        return tree->do_intersect(ray_of(ray));
    }
    float closest(const aimed_ray &ray) const
    {
        const auto hit = tree->first_intersection(ray_of(ray));
        if (!hit)
            return no_hit;
        const kernel::Point_3 *point = boost::get<kernel::Point_3>(&hit->first);
        const kernel::Segment_3 *segment = boost::get<kernel::Segment_3>(&hit->first);
        const kernel::Point_3 at = point ? *point : segment->source();
        const kernel::Vector_3 way = at - origin_of(ray), along = direction_of(ray);
        return static_cast<float>(std::sqrt(way.squared_length() / along.squared_length()));
    }

private:
    using kernel = CGAL::Simple_cartesian<double>;
    using triangle_list = std::vector<kernel::Triangle_3>;
    using primitive = CGAL::AABB_triangle_primitive<kernel, triangle_list::const_iterator>;
    using tree_type = CGAL::AABB_tree<CGAL::AABB_traits<kernel, primitive>>;

    static kernel::Point_3 origin_of(const aimed_ray &ray)
    {
        return {ray.origin.x, ray.origin.y, ray.origin.z};
    }
    static kernel::Vector_3 direction_of(const aimed_ray &ray)
    {
        return {ray.direction.x, ray.direction.y, ray.direction.z};
    }
    static kernel::Ray_3 ray_of(const aimed_ray &ray)
    {
        return {origin_of(ray), direction_of(ray)};
    }

    triangle_list triangles;
    std::unique_ptr<tree_type> tree;
};

/// The hierarchy of medium quality, its default.
class ray_tracer
{
public:
    explicit ray_tracer(const surface &new_shape)
        : shape(new_shape)
        , device(rtcNewDevice("threads=1"))
        , scene(nullptr)
    {
        for (std::size_t word = 0; word < shape.words.size(); word += 7)
            corners.insert(corners.end(),
                           {shape.words[word], shape.words[word + 1], shape.words[word + 2]});
        // Its reads of a position take 16 bytes.
        for (const vesk_3d_vertex_s &vertex : shape.vertices)
            positions.insert(positions.end(),
                             {vertex.position.x, vertex.position.y, vertex.position.z, 0.0f});
    }
    ~ray_tracer()
    {
        release();
        rtcReleaseDevice(device);
    }
    ray_tracer(const ray_tracer &) = delete;
    ray_tracer &operator=(const ray_tracer &) = delete;

    void build()
    {
        release();
        scene = rtcNewScene(device);
        rtcSetSceneBuildQuality(scene, RTC_BUILD_QUALITY_MEDIUM);
        RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                   positions.data(), 0, 16, positions.size() / 4);
        rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                                   corners.data(), 0, 12, corners.size() / 3);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(scene, geometry);
        rtcReleaseGeometry(geometry);
        rtcCommitScene(scene);
    }
    void release()
    {
        if (scene)
            rtcReleaseScene(scene);
        scene = nullptr;
    }
    bool any(const aimed_ray &ray) const
    {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRay asked = ray_of(ray);
        rtcOccluded1(scene, &context, &asked);
        return asked.tfar < 0.0f;
    }
    float closest(const aimed_ray &ray) const
    {
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        RTCRayHit asked;
        asked.ray = ray_of(ray);
        asked.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        rtcIntersect1(scene, &context, &asked);
        return asked.hit.geomID == RTC_INVALID_GEOMETRY_ID ? no_hit : asked.ray.tfar;
    }

private:
    static RTCRay ray_of(const aimed_ray &ray)
    {
        RTCRay asked = {};
        asked.org_x = ray.origin.x;
        asked.org_y = ray.origin.y;
        asked.org_z = ray.origin.z;
        asked.dir_x = ray.direction.x;
        asked.dir_y = ray.direction.y;
        asked.dir_z = ray.direction.z;
        asked.tfar = INFINITY;
        asked.mask = ~0u;
        return asked;
    }

    const surface &shape;
    RTCDevice device;
    RTCScene scene;
    std::vector<unsigned int> corners;
    std::vector<float> positions;
};

template <typename Peer> void add_build(const std::string &name, surface &shape)
{
    benchmark::RegisterBenchmark(name.c_str(),
                                 [&shape](benchmark::State &state)
                                 {
                                     own_octree own(shape);
                                     Peer peer(shape);
                                     run_interleaved(
                                         state,
                                         [&own]
                                         {
                                             own.build();
                                             own.release();
                                         },
                                         [&peer]
                                         {
                                             peer.build();
                                             peer.release();
                                         });
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

template <typename Own, typename Peers>
double share_of_other_answers(const std::vector<aimed_ray> &rays, Own &&own, Peers &&peers)
{
    std::size_t others = 0;
    for (const aimed_ray &ray : rays)
    {
        const float ours = own(ray), theirs = peers(ray);
        others += !(std::fabs(ours - theirs) <= 1e-3f * std::fabs(theirs));
    }
    return static_cast<double>(others) / static_cast<double>(rays.size());
}

/// `Ask` takes one of the three and a ray.
template <typename Peer, typename Ask>
void add_query(const std::string &name, surface &shape, const std::vector<aimed_ray> &rays, Ask ask)
{
    const auto compare = [&shape, rays, ask](benchmark::State &state)
    {
        own_octree own(shape);
        Peer peer(shape);
        own.build();
        peer.build();
        state.counters["other_answers"] = share_of_other_answers(
            rays, [&](const aimed_ray &ray) { return ask(own, ray); },
            [&](const aimed_ray &ray) { return ask(peer, ray); });
        if (state.counters["other_answers"] > 0.01)
            return state.SkipWithError("the two disagree");
        const auto ask_all = [&rays, &ask](const auto &tree)
        {
            float sum = 0.0f;
            for (const aimed_ray &ray : rays)
                sum += ask(tree, ray);
            benchmark::DoNotOptimize(sum);
        };
        run_interleaved(
            state, [&] { ask_all(own); }, [&] { ask_all(peer); });
        state.SetItemsProcessed(static_cast<std::int64_t>(rays.size()) * state.iterations());
    };
    benchmark::RegisterBenchmark(name.c_str(), compare)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

template <typename Peer> void add_all(const std::string &name, surface &shape)
{
    const auto any = [](const auto &tree, const aimed_ray &ray)
    { return static_cast<float>(tree.any(ray)); };
    const auto closest = [](const auto &tree, const aimed_ray &ray) { return tree.closest(ray); };

    add_build<Peer>(name + "/build", shape);
    add_query<Peer>(name + "/any/coherent", shape, coherent_rays(64, 32), any);
    add_query<Peer>(name + "/any/incoherent", shape, incoherent_rays(2048), any);
    add_query<Peer>(name + "/closest/coherent", shape, coherent_rays(64, 32), closest);
    add_query<Peer>(name + "/closest/incoherent", shape, incoherent_rays(2048), closest);
}
} // namespace

int main(int argc, char **argv)
{
    benchmark::Initialize(&argc, argv);
    const struct
    {
        const char *name;
        void (*make)(surface &, unsigned int);
    } scenes[] = {{"sphere", displaced_sphere}, {"terrain", terrain}, {"soup", scattered_soup}};
    surface shapes[3];
    for (unsigned int i = 0; i < 3; ++i)
    {
        scenes[i].make(shapes[i], triangle_count);
        add_all<aabb_tree>(std::string("aabb_tree/") + scenes[i].name, shapes[i]);
        add_all<ray_tracer>(std::string("ray_tracer/") + scenes[i].name, shapes[i]);
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
