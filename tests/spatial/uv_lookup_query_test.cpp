#include "spatial/texel_descent.h"
#include "support/bits.h"
#include "support/failing_new.h"
#include "support/hard_cases.h"
#include "support/plain_query.h"

namespace
{
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
            EXPECT_TRUE(found && triangle->record_offset == expected.record_offset &&
                        same_bits(weights, expected_weights));
        else
            EXPECT_TRUE(node ? node == mesh.uv_lookup_root : found == 0);
        ended += triangle || !node;
    }
    return ended;
}

/// Texels anywhere, at whole numbers, on borders of the rectangles of nodes, and no numbers.
vesk_vector2 draw_texel(const vesk_uv_lookup_node_s &root, test_random &random)
{
    vesk_vector2 texel(random.between(-1.0f, 17.0f), random.between(-1.0f, 17.0f));
    if (random.below(2))
        texel = vesk_vector2(std::floor(texel.x), std::floor(texel.y));
    const unsigned int axis = random.below(2);
    const vesk_uv_lookup_node_s *const child = root.children[random.below(4)];
    const vesk_quadtree_aa_bounding_rect_s &rect = (child ? child : &root)->bounding_rect;
    switch (random.below(8))
    {
    case 0:
        texel[axis] = rect.min[axis];
        break;
    case 1:
        texel = random.below(2) ? rect.min : rect.max;
        break;
    case 2:
        texel[axis] = random.odd();
        break;
    default:
        break;
    }
    return texel;
}

/// Asks for many texels. How many were found.
int compare_many(const vesk_mesh &mesh, test_random &random)
{
    int found = 0;
    unsigned int ended = 0;
    for (int i = 0; i < 300 && !testing::Test::HasFailure(); ++i)
    {
        SCOPED_TRACE(testing::Message() << "texel " << i);
        const vesk_vector2 texel = draw_texel(*mesh.uv_lookup_root, random);
        vesk_uv_lookup_triangle_s triangle = {}, plain_triangle = {};
        vesk_vector2 weights, plain_weights;
        const int answer = mesh.is_point_intersect_uv_lookup(texel, triangle, weights);
        EXPECT_EQ(answer, plain::texel(*mesh.uv_lookup_root, mesh.uv_lookup_vertex_array, texel,
                                       plain_triangle, plain_weights));
        EXPECT_EQ(std::memcmp(&triangle, &plain_triangle, sizeof(triangle)), 0);
        EXPECT_TRUE(!answer || same_bits(weights, plain_weights));
        found += answer;
        if (!mesh.instance_uv_lookup)
            ended += compare_descents(mesh, texel, answer, plain_triangle, plain_weights);
        for (const vesk_uv_lookup_node_s *child : mesh.uv_lookup_root->children)
            EXPECT_TRUE(!child || child->bounding_rect.intersect_point(texel) ==
                                      plain::rect_holds_point(child->bounding_rect, texel));
    }
    EXPECT_TRUE(mesh.instance_uv_lookup || ended > 100);
    return found;
}
} // namespace

TEST(UvLookupQuery, OwnAndHostBuiltTreesGiveThePlainWalksAnswers)
{
    int found = 0, found_lent = 0;
    for (unsigned int seed = 0; seed < 12; ++seed)
        for (const mesh_source &source : meshes_of_all_kinds(seed, 2 + seed * seed))
        {
            SCOPED_TRACE(testing::Message() << "seed " << seed);
            test_random random(seed);
            owned_mesh mesh(source);
            ASSERT_EQ(mesh.generate_uv_lookup_quadtree(16, 16, seed % 6, 0, 0, nullptr, nullptr),
                      1);
            found += compare_many(mesh, random);

            // The host's own tree over corners that it has moved.
            for (unsigned int v = 0; v < mesh.uv_lookup_vertex_count; v += 1 + random.below(60))
                mesh.uv_lookup_vertex_array[v].y = random.odd();
            const random_tree<plain::quadtree_kind> tree(random, mesh.uv_lookup_root->bounding_rect,
                                                         mesh.uv_lookup_index_array,
                                                         mesh.uv_lookup_index_count / 7, seed % 5);
            vesk_mesh borrower;
            borrower.set_instance_uv_lookup_quadtree(
                mesh.uv_lookup_vertex_array, mesh.uv_lookup_index_array,
                mesh.uv_lookup_vertex_count, mesh.uv_lookup_index_count, tree.root, 16, 16);
            found_lent += compare_many(borrower, random);
        }
    EXPECT_GT(found, 4000);
    EXPECT_GT(found_lent, 4000);
}

TEST(UvLookupQuery, WithoutATreeNothingIsFound)
{
    vesk_uv_lookup_triangle_s triangle = {};
    vesk_vector2 weights(-1.0f, -2.0f);
    EXPECT_EQ(vesk_mesh().is_point_intersect_uv_lookup(vesk_vector2(), triangle, weights), 0);
    EXPECT_EQ(triangle.record_offset, 0u);
}

TEST(UvLookupQuery, DeepTreesAreWalkedWithoutTheHeap)
{
    vesk_vector3 corners[] = {vesk_vector3(), vesk_vector3(8.0f, 0.0f, 0.0f),
                              vesk_vector3(0.0f, 0.0f, 8.0f)};
    unsigned int record[] = {0, 1, 2, 0, 0, 0, 0};
    constexpr unsigned int depth = 5000;
    std::vector<vesk_uv_lookup_node_s> chain(depth), side(depth);
    for (unsigned int level = 0; level < depth; ++level)
    {
        chain[level].bounding_rect.max = side[level].bounding_rect.max = vesk_vector2(8.0f, 8.0f);
        chain[level].children[0] = level + 1 < depth ? &chain[level + 1] : nullptr;
        chain[level].children[3] = &side[level];
    }
    // Only the very last node of the order has a triangle that the texel finds.
    side[0].triangles.push_back(reinterpret_cast<vesk_uv_lookup_triangle_s *>(record));
    vesk_mesh mesh;
    mesh.set_instance_uv_lookup_quadtree(corners, record, 3, 7, chain.data(), 8, 8);

    vesk_uv_lookup_triangle_s triangle = {};
    vesk_vector2 weights;
    fail_allocation(-1);
    EXPECT_EQ(mesh.is_point_intersect_uv_lookup(vesk_vector2(2.0f, 4.0f), triangle, weights), 1);
    EXPECT_EQ(allocations_seen(), 0);
    EXPECT_EQ(weights.x, 0.25f);
    EXPECT_EQ(weights.y, 0.5f);
}
