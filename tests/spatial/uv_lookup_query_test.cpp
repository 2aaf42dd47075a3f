#include "spatial/texel_descent.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/plain_query.h"
#include "support/soup.h"

namespace
{
/// A raster of eight by eight texels whose corners, records and nodes are drawn by lot.
class random_raster
{
public:
    random_raster(unsigned int triangle_count, unsigned int depth, unsigned int seed) : random(seed)
    {
        for (unsigned int t = 0; t < triangle_count; ++t)
        {
            const bool gridded = random.below(2) != 0;
            for (unsigned int c = 0; c < 3; ++c)
            {
                words.push_back(t * 3 + c);
                corners.emplace_back(random.between(-1.0f, 9.0f), 0.0f,
                                     random.between(-1.0f, 9.0f));
                if (gridded)
                    corners.back() = vesk_vector3(static_cast<float>(random.below(9)), 0.0f,
                                                  static_cast<float>(random.below(9)));
                if (random.below(30) == 0)
                    corners.back()[random.below(3)] = random.special();
            }
            for (unsigned int c = 0; c < 4; ++c)
                words.push_back(random.below(1000));
        }
        mesh.uv_lookup_vertex_array = corners.data();
        mesh.uv_lookup_index_array = words.data();
        vesk_quadtree_aa_bounding_rect_s rect;
        rect.min = vesk_vector2(-0.01f, -0.01f);
        rect.max = vesk_vector2(8.01f, 8.01f);
        mesh.uv_lookup_root = random_node(rect, depth);
        mesh.instance_uv_lookup = 1;
    }

    ~random_raster()
    {
        mesh.reset();
    }

    vesk_uv_lookup_triangle_s *record(unsigned int triangle)
    {
        return reinterpret_cast<vesk_uv_lookup_triangle_s *>(&words[triangle * 7]);
    }

    dice random;
    vesk_mesh mesh;
    std::vector<vesk_vector3> corners;
    std::vector<unsigned int> words;
    std::vector<std::unique_ptr<vesk_uv_lookup_node_s>> nodes;

private:
    vesk_uv_lookup_node_s *random_node(const vesk_quadtree_aa_bounding_rect_s &rect,
                                       unsigned int depth)
    {
        nodes.push_back(std::make_unique<vesk_uv_lookup_node_s>());
        vesk_uv_lookup_node_s *node = nodes.back().get();
        node->bounding_rect = rect;
        const unsigned int triangle_count = static_cast<unsigned int>(words.size() / 7);
        for (unsigned int left = random.below(7); left > 0; --left)
            node->triangles.push_back(record(random.below(triangle_count)));
        node->triangles.reversed = random.below(4) == 0;
        for (unsigned int i = 0; depth > 0 && i < 4; ++i)
            if (random.below(3))
                node->children[i] = random_node(quadrant(rect, i), depth - 1);
        return node;
    }

    vesk_quadtree_aa_bounding_rect_s quadrant(const vesk_quadtree_aa_bounding_rect_s &rect,
                                              unsigned int i)
    {
        const vesk_vector2 half = (rect.max - rect.min) * 0.5f;
        vesk_quadtree_aa_bounding_rect_s child;
        child.min = rect.min + vesk_vector2(i & 1u ? half.x : 0.0f, i & 2u ? half.y : 0.0f);
        child.max = child.min + half;
        if (random.below(6) == 0)
            (random.below(2) ? child.min : child.max)[random.below(2)] = random.special();
        return child;
    }
};

/// The way of a texel down an own quadtree, for every instruction set that this machine has: it
/// comes to an end with the plain answer, or leaves the root to the walk. How many came to an end.
unsigned int compare_descents(const vesk_mesh &mesh, const vesk_vector2 &point, int found,
                              const vesk_uv_lookup_triangle_s &expected,
                              const vesk_vector2 &expected_weights)
{
    std::vector<const vesk_texel_descent *> descents = {&vesk_texel_descent_baseline};
#if defined(VESK_TEXEL_DESCENT_AVX2)
    if (__builtin_cpu_supports("avx2"))
        descents.push_back(&vesk_texel_descent_avx2);
#endif
    unsigned int ended = 0;
    for (const vesk_texel_descent *descent : descents)
    {
        const vesk_texel_question question = {mesh.uv_lookup_vertex_array,
                                              mesh.uv_lookup_index_array, point};
        const vesk_uv_lookup_node_s *node = mesh.uv_lookup_root;
        vesk_vector2 weights;
        const vesk_uv_lookup_triangle_s *triangle = descent->run(question, node, weights);
        if (triangle)
        {
            EXPECT_EQ(found, 1);
            EXPECT_EQ(triangle->record_offset, expected.record_offset);
            EXPECT_TRUE(same_bits(weights, expected_weights));
        }
        else
            EXPECT_TRUE(node ? node == mesh.uv_lookup_root : found == 0);
        ended += triangle || !node;
    }
    return ended;
}

void compare(const vesk_mesh &mesh, const vesk_vector2 &point, int &found,
             unsigned int *ended = nullptr)
{
    vesk_uv_lookup_triangle_s triangle = {}, plain_triangle = {};
    vesk_vector2 weights, plain_weights;
    const int answer = mesh.is_point_intersect_uv_lookup(point, triangle, weights);
    ASSERT_EQ(answer, plain::texel(*mesh.uv_lookup_root, mesh.uv_lookup_vertex_array, point,
                                   plain_triangle, plain_weights));
    ASSERT_EQ(std::memcmp(&triangle, &plain_triangle, sizeof(triangle)), 0);
    ASSERT_TRUE(!answer || same_bits(weights, plain_weights));
    found += answer;
    if (ended)
        *ended += compare_descents(mesh, point, answer, plain_triangle, plain_weights);
}
} // namespace

TEST(UvLookupQuery, HostBuiltTreesOfAnyShapeGiveThePlainWalksAnswers)
{
    int found = 0;
    for (unsigned int seed = 0; seed < 40; ++seed)
    {
        random_raster raster(2 + seed % 9, seed % 5, seed);
        for (int i = 0; i < 400 && !HasFailure(); ++i)
        {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", point " << i);
            vesk_vector2 point(raster.random.between(-1.0f, 9.0f),
                               raster.random.between(-1.0f, 9.0f));
            if (i % 2)
                point = vesk_vector2(static_cast<float>(raster.random.below(9)),
                                     static_cast<float>(raster.random.below(9)));
            if (i % 16 == 0)
                point[raster.random.below(2)] = raster.random.special();
            compare(raster.mesh, point, found);
        }
    }
    EXPECT_GT(found, 1600);
}

TEST(UvLookupQuery, OwnTreesGiveThePlainWalksAnswers)
{
    int found = 0;
    unsigned int ended = 0;
    for (unsigned int seed = 0; seed < 24; ++seed)
    {
        const unsigned int triangle_count = seed * 4;
        const float reach = seed % 4 == 1 ? 3.0f : 0.3f;
        soup s(soup_kind::scattered, triangle_count, seed);
        std::vector<vesk_vector2> uvs(triangle_count * 3);
        for (unsigned int i = 0; i < triangle_count * 3; ++i)
        {
            const vesk_vector2 centre(s.random.between(0.0f, 1.0f), s.random.between(0.0f, 1.0f));
            uvs[i] = i % 3 == 0 ? centre
                                : uvs[i / 3 * 3] + vesk_vector2(s.random.between(-reach, reach),
                                                                s.random.between(-reach, reach));
            if (seed % 3 == 0) // texel centres on edges, corners and seams
                uvs[i] = vesk_vector2((static_cast<float>(s.random.below(17)) + 0.5f) / 16.0f,
                                      (static_cast<float>(s.random.below(17)) + 0.5f) / 16.0f);
            if (seed % 5 == 4 && s.random.below(9) == 0)
                uvs[i][s.random.below(2)] = s.random.special();
            s.words[i / 3 * 7 + 3 + i % 3] = i;
        }
        s.mesh.uv_array = uvs.data();
        ASSERT_EQ(s.mesh.generate_uv_lookup_quadtree(16, 16, seed % 6, 0, 0, nullptr, nullptr), 1);
        for (int i = 0; i < 600 && !HasFailure(); ++i)
        {
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", point " << i);
            vesk_vector2 point(s.random.between(-1.0f, 17.0f), s.random.between(-1.0f, 17.0f));
            if (i % 2)
                point = vesk_vector2(static_cast<float>(s.random.below(17)),
                                     static_cast<float>(s.random.below(17)));
            if (i % 8 == 0) // the borders of quadrants
                point = s.mesh.uv_lookup_root->bounding_rect.min +
                        (s.mesh.uv_lookup_root->bounding_rect.max -
                         s.mesh.uv_lookup_root->bounding_rect.min) *
                            0.5f;
            if (i % 16 == 3)
                point[s.random.below(2)] = s.random.special();
            compare(s.mesh, point, found, &ended);
        }
        s.mesh.free_uv_lookup_quadtree();
    }
    EXPECT_GT(found, 4000);
    EXPECT_GT(ended, 4000u);
}

TEST(UvLookupQuery, EdgesOfTheRectangleAreInsideAndNanIsNotRejected)
{
    vesk_quadtree_aa_bounding_rect_s rect;
    rect.max = vesk_vector2(2.0f, 1.0f);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const struct
    {
        float x, y;
        int inside;
    } rows[] = {{0.0f, 0.0f, 1},  {2.0f, 1.0f, 1},       {2.0f, 0.0f, 1},      {0.5f, 0.5f, 1},
                {nan, 0.5f, 1},   {nan, nan, 1},         {nan, 1.5f, 0},       {-1e-30f, 0.5f, 0},
                {0.5f, -1.0f, 0}, {2.0000003f, 0.5f, 0}, {0.5f, 1.0000002f, 0}};
    for (const auto &row : rows)
        EXPECT_EQ(rect.intersect_point(vesk_vector2(row.x, row.y)), row.inside)
            << row.x << ", " << row.y;
}

TEST(UvLookupQuery, WithoutATreeNothingIsFound)
{
    const vesk_mesh mesh;
    vesk_uv_lookup_triangle_s triangle = {};
    vesk_vector2 weights(-1.0f, -2.0f);
    EXPECT_EQ(mesh.is_point_intersect_uv_lookup(vesk_vector2(), triangle, weights), 0);
    EXPECT_EQ(triangle.record_offset, 0u);
}

TEST(UvLookupQuery, DeepTreesAreWalkedWithoutTheHeap)
{
    random_raster raster(1, 0, 3);
    constexpr unsigned int depth = 5000;
    std::vector<vesk_uv_lookup_node_s> chain(depth), side(depth);
    raster.nodes[0]->triangles.clear();
    vesk_uv_lookup_node_s *parent = raster.nodes[0].get();
    for (unsigned int level = 0; level < depth; ++level)
    {
        chain[level].bounding_rect = side[level].bounding_rect = parent->bounding_rect;
        parent->children[0] = &chain[level];
        parent->children[3] = &side[level];
        parent = &chain[level];
    }
    // Only the very last node of the order has a triangle that the texel finds.
    raster.corners = {vesk_vector3(), vesk_vector3(8.0f, 0.0f, 0.0f),
                      vesk_vector3(0.0f, 0.0f, 8.0f)};
    raster.mesh.uv_lookup_vertex_array = raster.corners.data();
    side[0].triangles.push_back(raster.record(0));

    vesk_uv_lookup_triangle_s triangle = {};
    vesk_vector2 weights;
    fail_allocation(-1);
    EXPECT_EQ(raster.mesh.is_point_intersect_uv_lookup(vesk_vector2(2.0f, 4.0f), triangle, weights),
              1);
    EXPECT_EQ(allocations_seen(), 0);
    EXPECT_EQ(weights.x, 0.25f);
    EXPECT_EQ(weights.y, 0.5f);
}
