#include "spatial/octree_walk.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/plain_query.h"
#include "support/soup.h"

#include <algorithm>

namespace
{
constexpr float largest_float = std::numeric_limits<float>::max();

struct hit_lists
{
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;
};

struct closest_hit
{
    float distance = -7.0f;
    vesk_octree_triangle_s triangle = {};
    vesk_vector2 barycentric = vesk_vector2(-1.0f, -2.0f);
};

int ask_any(const vesk_mesh &mesh, const plain::question &q)
{
    float *const minimum = const_cast<float *>(q.minimum_distance);
    return q.is_line ? mesh.is_line_intersect(q.origin, q.direction, q.length, minimum)
                     : mesh.is_ray_intersect(q.origin, q.direction, minimum);
}

int ask_all(const vesk_mesh &mesh, const plain::question &q, hit_lists &hits)
{
    float *const minimum = const_cast<float *>(q.minimum_distance);
    return q.is_line ? mesh.is_line_intersect(q.origin, q.direction, q.length, hits.distances,
                                              hits.triangles, hits.barycentrics, minimum)
                     : mesh.is_ray_intersect(q.origin, q.direction, hits.distances, hits.triangles,
                                             hits.barycentrics, minimum);
}

int ask_closest(const vesk_mesh &mesh, const plain::question &q, closest_hit &hit)
{
    float *const minimum = const_cast<float *>(q.minimum_distance);
    return q.is_line ? mesh.is_line_intersect_closest(q.origin, q.direction, q.length, hit.distance,
                                                      hit.triangle, hit.barycentric, minimum)
                     : mesh.is_ray_intersect_closest(q.origin, q.direction, hit.distance,
                                                     hit.triangle, hit.barycentric, minimum);
}

struct listed_hit
{
    float t, u, v;
    vesk_octree_triangle_s *triangle;

    bool operator==(const listed_hit &other) const
    {
        return same_bits(t, other.t) && same_bits(u, other.u) && same_bits(v, other.v) &&
               triangle == other.triangle;
    }
};

class hit_log final : public vesk_octree_hits
{
public:
    std::vector<listed_hit> hits;

    void take(float t, float u, float v, vesk_octree_triangle_s *triangle) override
    {
        hits.push_back({t, u, v, triangle});
    }
};

bool all_among(const std::vector<listed_hit> &some, const std::vector<listed_hit> &others)
{
    return std::all_of(some.begin(), some.end(),
                       [&](const listed_hit &hit)
                       { return std::find(others.begin(), others.end(), hit) != others.end(); });
}

/// The walks for every instruction set that this machine has, over the tree as its owner and, which
/// counts on nothing, as a borrower sees it.
void compare_walks(const vesk_mesh &mesh, const plain::question &q,
                   const std::vector<listed_hit> &expected)
{
    std::vector<const vesk_octree_walks *> walks_of_this_machine = {&vesk_octree_walks_baseline};
#if defined(VESK_OCTREE_WALKS_AVX2)
    if (__builtin_cpu_supports("avx2"))
        walks_of_this_machine.push_back(&vesk_octree_walks_avx2);
#endif
    for (const vesk_octree_walks *walks : walks_of_this_machine)
        for (const bool is_own : {false, true})
        {
            if (is_own && mesh.instance_octree)
                continue;
            const vesk_octree_question question = {mesh.octree,    mesh.vertex_array, is_own,
                                                   q.is_line != 0, q.origin,          q.direction,
                                                   q.length,       q.minimum_distance};
            hit_log log, unordered;
            EXPECT_EQ(walks->any(question), !expected.empty());
            EXPECT_EQ(walks->all(question, log), !expected.empty());
            EXPECT_TRUE(log.hits == expected)
                << (is_own ? "own, " : "lent, ") << log.hits.size() << " of " << expected.size();
            EXPECT_EQ(walks->unordered(question, unordered), !expected.empty());
            EXPECT_TRUE(all_among(expected, unordered.hits) && all_among(unordered.hits, expected));
        }
}

/// Puts one question in all three forms to the library and to the plain walk. Returns the number
/// of hits, so that a test can tell that it asked something.
unsigned int compare(const vesk_mesh &mesh, const plain::question &q)
{
    std::vector<listed_hit> expected;
    closest_hit least;
    least.distance = largest_float;
    auto take = [&](const plain::hit &h, vesk_octree_triangle_s *record)
    {
        expected.push_back({h.t, h.u, h.v, record});
        if (least.distance > h.t)
            least = {h.t, *record, vesk_vector2(h.u, h.v)};
        return false;
    };
    bool stopped = false;
    const int found = plain::walk(*mesh.octree, mesh.vertex_array, q, take, stopped);
    compare_walks(mesh, q, expected);

    EXPECT_EQ(ask_any(mesh, q), found);
    hit_lists hits;
    EXPECT_EQ(ask_all(mesh, q, hits), found);
    EXPECT_TRUE(hits.triangles.count == hits.distances.count &&
                hits.barycentrics.count == hits.distances.count);
    std::vector<listed_hit> listed;
    for (unsigned int i = 0; i < hits.distances.count; ++i)
        listed.push_back(
            {hits.distances[i], hits.barycentrics[i].x, hits.barycentrics[i].y, hits.triangles[i]});
    EXPECT_TRUE(listed == expected);

    closest_hit closest;
    EXPECT_EQ(ask_closest(mesh, q, closest), found);
    EXPECT_TRUE(same_bits(closest.distance, least.distance));
    EXPECT_EQ(std::memcmp(&closest.triangle, &least.triangle, sizeof(closest.triangle)), 0);
    EXPECT_TRUE(same_bits(closest.barycentric, least.barycentric));
    return hits.triangles.count;
}

/// A direction of a kind drawn by lot; now and then one that is no direction at all.
vesk_vector3 draw_direction(dice &random)
{
    vesk_vector3 direction = random.point(1.0f);
    switch (random.below(8))
    {
    case 0:
        direction = vesk_vector3();
        direction[random.below(3)] = random.below(2) ? 1.0f : -2.0f;
        break;
    case 1:
        direction[random.below(3)] = random.below(2) ? 0.0f : -0.0f;
        break;
    case 2:
        direction = direction * (random.below(2) ? 1.0e-39f : 1.0e19f);
        break;
    case 3:
        direction[random.below(3)] = random.special();
        break;
    case 4:
        direction = vesk_vector3(1.0f, 1.0f, random.below(2) ? 1.0f : 0.0f);
        break;
    default:
        break;
    }
    return direction;
}

vesk_vector3 draw_origin(soup &s)
{
    dice &random = s.random;
    switch (random.below(6))
    {
    case 0: // a corner of the mesh
        return s.vertices[random.below(s.mesh.vertex_count)].position;
    case 1: // the middle of an edge
        return (s.vertices[0].position + s.vertices[1].position) * 0.5f;
    case 2: // on the grid
        return vesk_vector3(static_cast<float>(random.below(5)) * 0.5f - 1.0f,
                            static_cast<float>(random.below(5)) * 0.5f - 1.0f, -3.0f);
    case 3:
    {
        vesk_vector3 origin = random.point(1.0f);
        origin[random.below(3)] = random.special();
        return origin;
    }
    case 4:
        return random.point(10.0f);
    default:
        return random.point(1.0f);
    }
}

/// Many questions; limits lie exactly on parameters that the mesh gives.
unsigned int compare_many(soup &s, unsigned int ray_count)
{
    unsigned int hit_count = 0;
    for (unsigned int i = 0; i < ray_count && !testing::Test::HasFailure(); ++i)
    {
        SCOPED_TRACE(testing::Message() << "ray " << i);
        const vesk_vector3 origin = draw_origin(s);
        const vesk_vector3 direction =
            s.random.below(4) ? draw_direction(s.random)
                              : s.vertices[s.random.below(s.mesh.vertex_count)].position - origin;
        plain::question ray{origin, direction, 0, 0.0f, nullptr};
        plain::question line{origin, direction, 1, s.random.between(-1.0f, 3.0f), nullptr};
        hit_count += compare(s.mesh, ray) + compare(s.mesh, line);

        hit_lists hits;
        ask_all(s.mesh, ray, hits);
        float limit = hits.distances.count ? hits.distances[s.random.below(hits.distances.count)]
                                           : s.random.special();
        ray.minimum_distance = &limit;
        line.minimum_distance = &limit;
        line.length = limit;
        hit_count += compare(s.mesh, ray) + compare(s.mesh, line);
        limit = s.random.below(2) ? 0.0f : s.random.special();
        line.length = s.random.below(2) ? 2.0f : s.random.special();
        hit_count += compare(s.mesh, ray) + compare(s.mesh, line);
    }
    return hit_count;
}

/// One triangle in the plane z = 1, under a root that is a little larger.
class one_triangle : public testing::Test
{
protected:
    one_triangle() : s(soup_kind::scattered, 1, 1)
    {
        s.vertices[0].position = vesk_vector3(0.0f, 0.0f, 1.0f);
        s.vertices[1].position = vesk_vector3(1.0f, 0.0f, 1.0f);
        s.vertices[2].position = vesk_vector3(0.0f, 1.0f, 1.0f);
        root.box.min = vesk_vector3(-0.5f, -0.5f, 0.5f);
        root.box.max = vesk_vector3(1.5f, 1.5f, 1.5f);
        root.triangles.push_back(s.record(0));
        s.mesh.octree = &root;
        s.mesh.instance_octree = 1;
    }

    soup s;
    vesk_octree_node_s root;
    const vesk_vector3 up = vesk_vector3(0.0f, 0.0f, 1.0f);
};
using OctreeQueryOneTriangle = one_triangle;
} // namespace

TEST(OctreeQuery, HostBuiltTreesOfAnyShapeGiveThePlainWalksAnswers)
{
    for (soup_kind kind : all_soup_kinds)
    {
        unsigned int hit_count = 0;
        for (unsigned int seed = 0; seed < 12; ++seed)
        {
            SCOPED_TRACE(testing::Message()
                         << "kind " << static_cast<int>(kind) << ", seed " << seed);
            soup s(kind, 5 + seed * 9, seed);
            s.lend_random_tree(seed % 4);
            hit_count += compare_many(s, 150);
        }
        EXPECT_GT(hit_count, 1000u);
    }
}

TEST(OctreeQuery, OwnTreesGiveThePlainWalksAnswers)
{
    unsigned int hit_count = 0;
    for (soup_kind kind : all_soup_kinds)
    {
        const unsigned int hits_before = hit_count;
        for (unsigned int seed = 0; seed < 8; ++seed)
        {
            SCOPED_TRACE(testing::Message()
                         << "kind " << static_cast<int>(kind) << ", seed " << seed);
            soup s(kind, seed * seed * 9, seed);
            if (kind == soup_kind::special && seed % 4)
            {
                // Infinities in the mesh's own box would leave no node for a ray to reach.
                s.mesh.bounding_box_min = vesk_vector3(-1.0f, -1.0f, -1.0f);
                s.mesh.bounding_box_max = vesk_vector3(1.0f, 1.0f, 1.0f);
            }
            vesk_list<unsigned int> second_half;
            second_half.push_back(1);
            const bool by_subset = seed % 3 == 2;
            ASSERT_EQ(s.mesh.generate_octree(seed % 5, by_subset ? &second_half : nullptr, nullptr),
                      1);
            if (seed > 0)
                hit_count += compare_many(s, 60);

            // Positions move, boxes stay.
            for (vesk_3d_vertex_s &vertex : s.vertices)
                vertex.position.x = vertex.position.x * 1.5f + 0.25f;
            if (seed > 0)
                hit_count += compare_many(s, 15);
        }
        EXPECT_GT(hit_count, hits_before);
    }
}

TEST(OctreeQuery, BoxesWithoutExtentOrWithoutBoundsAreSplitAlike)
{
    soup s(soup_kind::gridded, 60, 4);
    const float boxes[][2] = {{0.0f, 0.0f},     {-0.0f, 0.0f},   {-3.0e38f, 3.0e38f},
                              {1.0e-42f, 0.0f}, {-1.0f, 1.0e9f}, {16777216.0f, 16777218.0f}};
    for (const auto &box : boxes)
    {
        SCOPED_TRACE(testing::Message() << box[0] << " to " << box[1]);
        s.mesh.bounding_box_min = vesk_vector3(box[0], -1.0f, box[0]);
        s.mesh.bounding_box_max = vesk_vector3(box[1], 1.0f, box[1]);
        if (s.mesh.generate_octree(4, nullptr, nullptr))
            compare_many(s, 40);
    }
}

TEST(OctreeQuery, RaysThatGrazeBoxesReachTheNodesOfThePlainWalk)
{
    // Through corners of the tree's boxes and along their sides, some a rounding beside. Large
    // triangles stand in many nodes: their repeats tell which ones were reached.
    unsigned int hit_count = 0;
    for (unsigned int seed = 0; seed < 12; ++seed)
    {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        soup s(soup_kind::scattered, 40, seed);
        const vesk_vector3 shift = s.random.point(seed % 2 ? 30.0f : 0.5f);
        for (vesk_3d_vertex_s &vertex : s.vertices)
            vertex.position = vertex.position + shift;
        s.mesh.calculate_bounding_box();
        ASSERT_EQ(s.mesh.generate_octree(5, nullptr, nullptr), 1);
        const vesk_octree_node_s *node = s.mesh.octree;
        const auto draw_corner = [&]
        {
            const vesk_octree_node_s *child = node->children[s.random.below(8)];
            node = child && s.random.below(16) ? child : s.mesh.octree;
            vesk_vector3 corner = s.random.below(2) ? node->box.min : node->box.max;
            for (unsigned int axis = 0; axis < 3; ++axis)
                if (s.random.below(2))
                    corner[axis] = node->box.min[axis];
            return corner;
        };
        for (unsigned int i = 0; i < 600; ++i)
        {
            const vesk_vector3 from = draw_corner();
            vesk_vector3 direction = draw_corner() - from;
            vesk_vector3 origin = from - direction * static_cast<float>(s.random.below(4));
            float &nudged = (i % 2 ? origin : direction)[s.random.below(3)];
            if (s.random.below(2))
                nudged = std::nextafter(nudged, s.random.between(-1000.0f, 1000.0f));
            hit_count += compare(s.mesh, {origin, direction, 0, 0.0f, nullptr});
        }
    }
    EXPECT_GT(hit_count, 10000u);
}

TEST(OctreeQuery, BoxTestIsThePlainOne)
{
    dice random(5);
    int met = 0;
    for (int i = 0; i < 200000; ++i)
    {
        vesk_octree_aa_bounding_box_s box;
        const bool gridded = random.below(2) != 0;
        vesk_vector3 origin = random.point(2.0f), direction = draw_direction(random);
        box.min = random.point(1.0f);
        box.max = box.min + random.point(1.0f);
        for (unsigned int axis = 0; gridded && axis < 3; ++axis)
        {
            box.min[axis] = static_cast<float>(random.below(2)) * 0.5f - 1.0f;
            box.max[axis] = static_cast<float>(random.below(2)) * 0.5f + 0.5f;
            origin[axis] = static_cast<float>(random.below(9)) * 0.5f - 2.0f;
            direction[axis] = static_cast<float>(random.below(3)) - 1.0f;
        }
        if (random.below(16) == 0)
            (random.below(2) ? box.min : origin)[random.below(3)] = random.special();
        const int answer = box.intersect_ray(origin, direction);
        ASSERT_EQ(answer, plain::box_meets_ray(box, origin, direction)) << i;
        met += answer;
    }
    EXPECT_GT(met, 10000);
    EXPECT_LT(met, 180000);
}

TEST(OctreeQuery, WithoutATreeNothingIsHitAndNoneButDistanceIsWritten)
{
    const vesk_mesh mesh;
    const plain::question ray{vesk_vector3(), vesk_vector3(1.0f, 0.0f, 0.0f), 0, 0.0f, nullptr};
    plain::question line = ray;
    line.is_line = 1;
    line.length = 1.0f;
    for (const plain::question &q : {ray, line})
    {
        hit_lists hits;
        closest_hit closest;
        EXPECT_EQ(ask_any(mesh, q), 0);
        EXPECT_EQ(ask_all(mesh, q, hits), 0);
        EXPECT_EQ(hits.distances.size + hits.triangles.size + hits.barycentrics.size, 0u);
        EXPECT_EQ(ask_closest(mesh, q, closest), 0);
        EXPECT_EQ(closest.distance, largest_float);
        EXPECT_EQ(closest.barycentric.x, -1.0f);
        EXPECT_EQ(closest.triangle.record_offset, 0u);
    }
}

TEST_F(OctreeQueryOneTriangle, ARayFoldsItsParameterAndALineKeepsTheSign)
{
    const vesk_vector3 above(0.25f, 0.25f, 1.25f);
    float zero = 0.0f, distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 weights;
    EXPECT_EQ(s.mesh.is_ray_intersect_closest(above, up, distance, triangle, weights, nullptr), 1);
    EXPECT_EQ(distance, 0.25f);
    EXPECT_EQ(weights.x, 0.25f);
    EXPECT_EQ(weights.y, 0.25f);
    EXPECT_EQ(
        s.mesh.is_line_intersect_closest(above, up, 9.0f, distance, triangle, weights, nullptr), 1);
    EXPECT_EQ(distance, -0.25f);
    EXPECT_EQ(s.mesh.is_ray_intersect(above, up, &zero), 1);
    EXPECT_EQ(s.mesh.is_line_intersect(above, up, 9.0f, &zero), 0);
    EXPECT_EQ(s.mesh.is_line_intersect(above, up, 0.0f, nullptr), 1);
}

TEST_F(OctreeQueryOneTriangle, LimitsAreInclusive)
{
    const vesk_vector3 below(0.25f, 0.25f, 0.0f);
    float one = 1.0f, more = std::nextafter(1.0f, 2.0f);
    EXPECT_EQ(s.mesh.is_line_intersect(below, up, 1.0f, &one), 1);
    EXPECT_EQ(s.mesh.is_line_intersect(below, up, std::nextafter(1.0f, 0.0f), nullptr), 0);
    EXPECT_EQ(s.mesh.is_ray_intersect(below, up, &one), 1);
    EXPECT_EQ(s.mesh.is_ray_intersect(below, up, &more), 0);
    EXPECT_EQ(s.mesh.is_line_intersect(below, up, 0.0f, nullptr), 0);
    EXPECT_EQ(s.mesh.is_ray_intersect(vesk_vector3(0.0f, 0.5f, 0.0f), up, nullptr), 1);
    EXPECT_EQ(s.mesh.is_ray_intersect(vesk_vector3(1.0f, 0.0f, 0.0f), up, nullptr), 1);
    EXPECT_EQ(s.mesh.is_ray_intersect(vesk_vector3(0.25f, 0.25f, 1.0f), up, nullptr), 1);
    EXPECT_EQ(s.mesh.is_ray_intersect(below, vesk_vector3(), nullptr), 0);
    EXPECT_EQ(s.mesh.is_ray_intersect(vesk_vector3(-1.0f, 0.25f, 1.0f),
                                      vesk_vector3(1.0f, 0.0f, 0.0f), nullptr),
              0);
}

TEST_F(OctreeQueryOneTriangle, RepeatsStayAndTheFirstOfEqualsLeads)
{
    // The same corners under a second record, and both records again in a child.
    s.words.insert(s.words.end(), {0, 1, 2, 9, 9, 9, 7});
    root.triangles[0] = s.record(1);
    vesk_octree_node_s child;
    child.box = root.box;
    child.triangles.push_back(s.record(0));
    child.triangles.push_back(s.record(1));
    root.children[3] = &child;

    const plain::question ray{vesk_vector3(0.25f, 0.25f, 0.0f), up, 0, 0.0f, nullptr};
    hit_lists hits;
    closest_hit closest;
    EXPECT_EQ(ask_all(s.mesh, ray, hits), 1);
    EXPECT_EQ(ask_all(s.mesh, ray, hits), 1);
    ASSERT_EQ(hits.triangles.count, 6u);
    EXPECT_EQ(hits.distances.size, 8u);
    EXPECT_EQ(hits.triangles[3], s.record(1));
    EXPECT_EQ(hits.triangles[4], s.record(0));
    EXPECT_EQ(hits.triangles[5], s.record(1));
    EXPECT_EQ(ask_closest(s.mesh, ray, closest), 1);
    EXPECT_EQ(closest.triangle.record_offset, 7u);
}

TEST_F(OctreeQueryOneTriangle, PositionsAreThoseOfTheMomentAndBoxesThoseOfTheTree)
{
    const vesk_vector3 below(0.25f, 0.25f, 0.0f);
    for (vesk_3d_vertex_s &vertex : s.vertices)
        vertex.position.z = 5.0f;
    closest_hit closest;
    EXPECT_EQ(ask_closest(s.mesh, {below, up, 0, 0.0f, nullptr}, closest), 1);
    EXPECT_EQ(closest.distance, 5.0f);
    for (vesk_3d_vertex_s &vertex : s.vertices)
        vertex.position.x += 5.0f;
    EXPECT_EQ(s.mesh.is_ray_intersect(vesk_vector3(5.25f, 0.25f, 0.0f), up, nullptr), 0);
}

TEST_F(OctreeQueryOneTriangle, DeepTreesAreWalkedWithoutTheHeap)
{
    // A chain with a second child on every level, which is visited after everything below it, and
    // with some that hold nothing, so that more nodes wait than one stretch of a walk has room for.
    constexpr unsigned int depth = 5000;
    std::vector<vesk_octree_node_s> chain(depth), side(depth);
    vesk_octree_node_s empty;
    empty.box = root.box;
    vesk_octree_node_s *parent = &root;
    for (unsigned int level = 0; level < depth; ++level)
    {
        chain[level].box = side[level].box = root.box;
        side[level].triangles.push_back(s.record(0));
        parent->children[2] = &chain[level];
        parent->children[6] = &side[level];
        parent->children[3] = parent->children[4] = parent->children[7] = &empty;
        parent = &chain[level];
    }
    chain.back().triangles.push_back(s.record(0));

    const plain::question ray{vesk_vector3(0.25f, 0.25f, 0.0f), up, 0, 0.0f, nullptr};
    hit_lists hits;
    closest_hit closest;
    EXPECT_EQ(ask_all(s.mesh, ray, hits), 1);
    EXPECT_EQ(hits.triangles.count, depth + 2);
    fail_allocation(-1);
    EXPECT_EQ(ask_closest(s.mesh, ray, closest), 1);
    EXPECT_EQ(ask_any(s.mesh, ray), 1);
    EXPECT_EQ(allocations_seen(), 0);
    compare(s.mesh, ray);

    // Only the deepest node is left to hit.
    root.triangles.clear();
    for (vesk_octree_node_s &node : side)
        node.triangles.clear();
    EXPECT_EQ(compare(s.mesh, ray), 1u);
}
