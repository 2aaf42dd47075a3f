#include "spatial/octree_walk.h"
#include "support/bits.h"
#include "support/plain_query.h"
#include "support/soup.h"

// The walks for every instruction set that this machine has, over own trees and over the same
// trees as a borrower sees them.

namespace
{
struct listed_hit
{
    float t, u, v;
    vesk_octree_triangle_s *triangle;
};

bool operator==(const listed_hit &a, const listed_hit &b)
{
    return same_bits(a.t, b.t) && same_bits(a.u, b.u) && same_bits(a.v, b.v) &&
           a.triangle == b.triangle;
}

class hit_log final : public vesk_octree_hits
{
public:
    std::vector<listed_hit> hits;

    void take(float t, float u, float v, vesk_octree_triangle_s *triangle) override
    {
        hits.push_back({t, u, v, triangle});
    }
};

std::vector<const vesk_octree_walks *> walks_of_this_machine()
{
    std::vector<const vesk_octree_walks *> walks = {&vesk_octree_walks_baseline};
#if defined(VESK_OCTREE_WALKS_AVX2)
    if (__builtin_cpu_supports("avx2"))
        walks.push_back(&vesk_octree_walks_avx2);
#endif
    return walks;
}

unsigned int compare(const vesk_mesh &mesh, const plain::question &q)
{
    std::vector<listed_hit> expected;
    bool stopped = false;
    auto take = [&](const plain::hit &h, vesk_octree_triangle_s *record)
    {
        expected.push_back({h.t, h.u, h.v, record});
        return false;
    };
    const int found = plain::walk(*mesh.octree, mesh.vertex_array, q, take, stopped);

    for (const vesk_octree_walks *walks : walks_of_this_machine())
        for (const bool is_own : {true, false})
        {
            const vesk_octree_question question = {mesh.octree,    mesh.vertex_array, is_own,
                                                   q.is_line != 0, q.origin,          q.direction,
                                                   q.length,       q.minimum_distance};
            hit_log log;
            EXPECT_EQ(walks->any(question), found);
            EXPECT_EQ(walks->every(question, log), found);
            EXPECT_TRUE(log.hits == expected)
                << (is_own ? "own, " : "lent, ") << log.hits.size() << " of " << expected.size();
        }
    return static_cast<unsigned int>(expected.size());
}

vesk_vector3 draw(dice &random, float reach)
{
    vesk_vector3 v = random.point(reach);
    if (random.below(3) == 0)
        v[random.below(3)] = random.below(2) ? 0.0f : random.special();
    if (random.below(4) == 0)
        for (unsigned int axis = 0; axis < 3; ++axis)
            v[axis] = static_cast<float>(random.below(5)) * 0.5f - 1.0f;
    return v;
}

void compare_many(soup &s, unsigned int ray_count, unsigned int &hit_count)
{
    for (unsigned int i = 0; i < ray_count && !testing::Test::HasFailure(); ++i)
    {
        SCOPED_TRACE(testing::Message() << "ray " << i);
        const vesk_vector3 origin = draw(s.random, 2.0f);
        const vesk_vector3 direction =
            s.random.below(2) ? draw(s.random, 1.0f)
                              : s.vertices[s.random.below(s.mesh.vertex_count)].position - origin;
        const float limit = s.random.below(2) ? 0.0f : s.random.between(-1.0f, 1.0f);
        hit_count += compare(s.mesh, {origin, direction, 0, 0.0f, nullptr});
        hit_count += compare(s.mesh, {origin, direction, 0, 0.0f, &limit});
        hit_count += compare(s.mesh, {origin, direction, 1, 1.0f, nullptr});
        hit_count += compare(s.mesh, {origin, direction, 1, 0.5f, &limit});
    }
}
} // namespace

TEST(OctreeWalk, OwnTreesGiveThePlainWalksHitsOnEveryInstructionSet)
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
                compare_many(s, 100, hit_count);

            // Positions move, boxes stay.
            for (vesk_3d_vertex_s &vertex : s.vertices)
                vertex.position.x = vertex.position.x * 1.5f + 0.25f;
            if (seed > 0)
                compare_many(s, 20, hit_count);
        }
        EXPECT_GT(hit_count, hits_before);
    }
}

TEST(OctreeWalk, BoxesWithoutExtentOrWithoutBoundsAreSplitAlike)
{
    soup s(soup_kind::gridded, 60, 4);
    const float boxes[][2] = {{0.0f, 0.0f},     {-0.0f, 0.0f},   {-3.0e38f, 3.0e38f},
                              {1.0e-42f, 0.0f}, {-1.0f, 1.0e9f}, {16777216.0f, 16777218.0f}};
    for (const auto &box : boxes)
    {
        SCOPED_TRACE(testing::Message() << box[0] << " to " << box[1]);
        s.mesh.bounding_box_min = vesk_vector3(box[0], -1.0f, box[0]);
        s.mesh.bounding_box_max = vesk_vector3(box[1], 1.0f, box[1]);
        unsigned int hit_count = 0;
        if (s.mesh.generate_octree(4, nullptr, nullptr))
            compare_many(s, 60, hit_count);
    }
}
