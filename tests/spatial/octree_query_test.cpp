#include "spatial/octree_walk.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/hard_cases.h"
#include "support/plain_query.h"

#include <algorithm>
#include <limits>

namespace
{
constexpr float largest_float = std::numeric_limits<float>::max();

struct listed_hit
{
    float t, u, v;
    const vesk_octree_triangle_s *triangle;

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

/// One question in all three forms.
struct answers
{
    int any, all, closest;
    float distance = -7.0f; ///< of the closest
    vesk_octree_triangle_s triangle = {};
    vesk_vector2 barycentric = vesk_vector2(-1.0f, -2.0f);
    std::vector<listed_hit> hits;

    answers(const vesk_mesh &mesh, const plain::question &q)
    {
        float *const minimum = const_cast<float *>(q.minimum_distance);
        // What lists hold stays in front.
        vesk_list<float> distances;
        vesk_list<vesk_octree_triangle_s *> triangles;
        vesk_list<vesk_vector2> barycentrics;
        distances.push_back(-1.0f);
        triangles.push_back(nullptr);
        barycentrics.push_back(vesk_vector2());
        if (q.is_line)
        {
            any = mesh.is_line_intersect(q.origin, q.direction, q.length, minimum);
            all = mesh.is_line_intersect(q.origin, q.direction, q.length, distances, triangles,
                                         barycentrics, minimum);
            closest = mesh.is_line_intersect_closest(q.origin, q.direction, q.length, distance,
                                                     triangle, barycentric, minimum);
        }
        else
        {
            any = mesh.is_ray_intersect(q.origin, q.direction, minimum);
            all = mesh.is_ray_intersect(q.origin, q.direction, distances, triangles, barycentrics,
                                        minimum);
            closest = mesh.is_ray_intersect_closest(q.origin, q.direction, distance, triangle,
                                                    barycentric, minimum);
        }
        EXPECT_TRUE(distances[0] == -1.0f && triangles.count == distances.count &&
                    barycentrics.count == distances.count);
        for (unsigned int i = 1; i < distances.count; ++i)
            hits.push_back({distances[i], barycentrics[i].x, barycentrics[i].y, triangles[i]});
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

/// Puts one question in all forms to the library and to the plain walk. Returns the hits.
std::vector<listed_hit> compare(const vesk_mesh &mesh, const plain::question &q)
{
    std::vector<listed_hit> expected;
    listed_hit least = {largest_float, -1.0f, -2.0f, nullptr};
    auto take = [&](const plain::hit &h, vesk_octree_triangle_s *record)
    {
        expected.push_back({h.t, h.u, h.v, record});
        if (least.t > h.t)
            least = expected.back();
        return false;
    };
    bool stopped = false;
    const int found = plain::walk(*mesh.octree, mesh.vertex_array, q, take, stopped);
    compare_walks(mesh, q, expected);

    const answers given(mesh, q);
    EXPECT_TRUE(given.any == found && given.all == found && given.closest == found);
    EXPECT_TRUE(given.hits == expected);
    const vesk_octree_triangle_s unwritten = {},
                                 &leader = least.triangle ? *least.triangle : unwritten;
    EXPECT_TRUE(same_bits(given.distance, least.t));
    EXPECT_TRUE(same_bits(given.barycentric, vesk_vector2(least.u, least.v)));
    EXPECT_EQ(std::memcmp(&given.triangle, &leader, sizeof(leader)), 0);
    for (const vesk_octree_node_s *child : mesh.octree->children)
        EXPECT_TRUE(!child || child->box.intersect_ray(q.origin, q.direction) ==
                                  plain::box_meets_ray(child->box, q.origin, q.direction));
    return expected;
}

/// A corner of a box of the tree, or a rounding beside it.
vesk_vector3 draw_box_corner(const vesk_mesh &mesh, test_random &random)
{
    const vesk_octree_node_s *node = mesh.octree;
    for (unsigned int levels = random.below(8); levels > 0; --levels)
        if (const vesk_octree_node_s *child = node->children[random.below(8)])
            node = child;
    vesk_vector3 corner;
    for (unsigned int axis = 0; axis < 3; ++axis)
        corner[axis] = random.below(2) ? node->box.min[axis] : node->box.max[axis];
    float &nudged = corner[random.below(3)];
    if (random.below(2))
        nudged = std::nextafter(nudged, random.between(-1000.0f, 1000.0f));
    return corner;
}

vesk_vector3 draw_point(const vesk_mesh &mesh, test_random &random)
{
    vesk_vector3 point = random.point(-1.0f, 1.0f);
    switch (random.below(7))
    {
    case 0:
        return mesh.vertex_array[random.below(mesh.vertex_count)].position;
    case 1: // where there are edges on a grid
        for (unsigned int axis = 0; axis < 3; ++axis)
            point[axis] = std::floor(point[axis] * 4.0f) / 4.0f;
        break;
    case 2:
        point[random.below(3)] = random.odd();
        break;
    case 3:
    case 4:
        return draw_box_corner(mesh, random);
    case 5:
        return point * 10.0f;
    default:
        break;
    }
    return point;
}

/// Now and then it is no direction at all.
vesk_vector3 draw_direction(const vesk_vector3 &towards, test_random &random)
{
    vesk_vector3 direction = random.below(2) ? towards : random.point(-1.0f, 1.0f);
    const unsigned int axis = random.below(3);
    switch (random.below(8))
    {
    case 0:
        direction = vesk_vector3();
        direction[axis] = random.below(2) ? 1.0f : -2.0f;
        break;
    case 1:
        direction[axis] = random.below(2) ? 0.0f : -0.0f;
        break;
    case 2:
        direction = direction * (random.below(2) ? 1.0e-39f : 1.0e19f);
        break;
    case 3:
        direction[axis] = random.odd();
        break;
    default:
        break;
    }
    return direction;
}

/// Many questions; limits lie exactly on parameters that the mesh gives. Returns the number of
/// hits, so that a test can tell that it asked something.
std::size_t compare_many(const vesk_mesh &mesh, test_random &random, unsigned int ray_count)
{
    std::size_t hit_count = 0;
    for (unsigned int i = 0; i < ray_count && !testing::Test::HasFailure(); ++i)
    {
        SCOPED_TRACE(testing::Message() << "ray " << i);
        vesk_vector3 origin = draw_point(mesh, random);
        const vesk_vector3 direction = draw_direction(draw_point(mesh, random) - origin, random);
        if (random.below(2))
            origin = origin - direction * static_cast<float>(random.below(4));
        plain::question ray{origin, direction, 0, 0.0f, nullptr};
        plain::question line{origin, direction, 1, random.between(-1.0f, 3.0f), nullptr};
        const std::vector<listed_hit> hits = compare(mesh, ray);
        hit_count += hits.size() + compare(mesh, line).size();

        float limit = random.odd();
        if (!hits.empty())
            limit = hits[random.below(static_cast<std::uint32_t>(hits.size()))].t;
        ray.minimum_distance = line.minimum_distance = &limit;
        line.length = limit;
        hit_count += compare(mesh, ray).size() + compare(mesh, line).size();
        limit = random.below(2) ? 0.0f : random.odd();
        line.length = random.below(2) ? 2.0f : random.odd();
        hit_count += compare(mesh, ray).size() + compare(mesh, line).size();
    }
    return hit_count;
}
} // namespace

TEST(OctreeQuery, HostBuiltTreesOfAnyShapeGiveThePlainWalksAnswers)
{
    vesk_octree_aa_bounding_box_s box;
    box.min = vesk_vector3(-1.1f, -1.1f, -1.1f);
    box.max = vesk_vector3(1.1f, 1.1f, 1.1f);
    for (unsigned int seed = 0; seed < 8; ++seed)
        for (const mesh_source &source : meshes_of_all_kinds(seed, 5 + seed * 9))
        {
            SCOPED_TRACE(testing::Message() << "seed " << seed);
            owned_mesh mesh(source);
            test_random random(seed);
            const random_tree<plain::octree_kind> tree(random, box, mesh.index_array,
                                                       mesh.index_count / 7, seed % 4);
            mesh.set_instance_octree(tree.root);
            EXPECT_GT(compare_many(mesh, random, 100), 50u);
        }
}

TEST(OctreeQuery, OwnTreesGiveThePlainWalksAnswers)
{
    // The box is the host's field: without extent or without bounds as well.
    const float boxes[][2] = {{0.0f, 0.0f},     {-0.0f, 0.0f},   {-3.0e38f, 3.0e38f},
                              {1.0e-42f, 0.0f}, {-1.0f, 1.0e9f}, {16777216.0f, 16777218.0f}};
    std::size_t hit_count = 0;
    for (unsigned int seed = 0; seed < 12; ++seed)
        for (mesh_source &source : meshes_of_all_kinds(seed, 2 + seed * seed * 2))
        {
            SCOPED_TRACE(testing::Message() << "seed " << seed);
            test_random random(seed);
            const vesk_vector3 shift = random.point(-1.0f, 1.0f) * (seed % 4 == 3 ? 30.0f : 0.1f);
            for (vesk_3d_vertex_s &vertex : source.vertices)
                vertex.position = vertex.position + shift;
            owned_mesh mesh(source);
            if (seed % 2 == 0)
            {
                const float *const box = boxes[seed / 2];
                mesh.bounding_box_min = vesk_vector3(box[0], -1.0f, box[0]);
                mesh.bounding_box_max = vesk_vector3(box[1], 1.0f, box[1]);
            }
            if (!mesh.generate_octree(1 + seed % 5, nullptr, nullptr))
                continue;
            hit_count += compare_many(mesh, random, 30);

            // Positions move, boxes stay.
            for (unsigned int v = 0; v < mesh.vertex_count; ++v)
                mesh.vertex_array[v].position.x *= 1.5f;
            hit_count += compare_many(mesh, random, 10);
        }
    EXPECT_GT(hit_count, 10000u);
}

TEST(OctreeQuery, WithoutATreeNothingIsHitAndNoneButDistanceIsWritten)
{
    for (const int is_line : {0, 1})
    {
        const answers none(
            vesk_mesh(), {vesk_vector3(), vesk_vector3(1.0f, 0.0f, 0.0f), is_line, 1.0f, nullptr});
        EXPECT_TRUE(!none.any && !none.all && !none.closest && none.hits.empty());
        EXPECT_EQ(none.distance, largest_float);
        EXPECT_EQ(none.barycentric.x, -1.0f);
        EXPECT_EQ(none.triangle.record_offset, 0u);
    }
}

TEST(OctreeQuery, DeepTreesAreWalkedWithoutTheHeap)
{
    // A chain with a second child on every level, which is visited after everything below it, and
    // with some that hold nothing, so that more nodes wait than one stretch of a walk has room for.
    constexpr unsigned int depth = 5000;
    owned_mesh mesh(grid(1, 1));
    auto *const record = reinterpret_cast<vesk_octree_triangle_s *>(mesh.index_array);
    std::vector<vesk_octree_node_s> chain(depth), side(depth);
    vesk_octree_node_s empty;
    empty.box.min = vesk_vector3(-1.0f, -1.0f, -1.0f);
    empty.box.max = vesk_vector3(2.0f, 2.0f, 2.0f);
    for (unsigned int level = 0; level < depth; ++level)
    {
        vesk_octree_node_s &node = chain[level];
        node.box = side[level].box = empty.box;
        side[level].triangles.push_back(record);
        node.children[2] = level + 1 < depth ? &chain[level + 1] : nullptr;
        node.children[6] = &side[level];
        node.children[3] = node.children[4] = node.children[7] = &empty;
    }
    chain.back().triangles.push_back(record);
    mesh.set_instance_octree(chain.data());

    const vesk_vector3 above(0.25f, 5.0f, 0.25f), down(0.0f, -1.0f, 0.0f);
    EXPECT_EQ(compare(mesh, {above, down, 0, 0.0f, nullptr}).size(), depth + 1);
    float distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 barycentric;
    fail_allocation(-1);
    EXPECT_EQ(mesh.is_ray_intersect_closest(above, down, distance, triangle, barycentric, nullptr),
              1);
    EXPECT_EQ(mesh.is_ray_intersect(above, down, nullptr), 1);
    EXPECT_EQ(allocations_seen(), 0);
    EXPECT_EQ(distance, 5.0f);

    // Only the deepest node is left to hit.
    for (vesk_octree_node_s &node : side)
        node.triangles.clear();
    EXPECT_EQ(compare(mesh, {above, down, 0, 0.0f, nullptr}).size(), 1u);
}
