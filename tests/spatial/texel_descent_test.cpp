#include "spatial/texel_descent.h"
#include "support/bits.h"
#include "support/plain_query.h"
#include "support/soup.h"

// The way of a texel down an own quadtree, for every instruction set that this machine has.

namespace
{
std::vector<const vesk_texel_descent *> descents_of_this_machine()
{
    std::vector<const vesk_texel_descent *> descents = {&vesk_texel_descent_baseline};
#if defined(VESK_TEXEL_DESCENT_AVX2)
    if (__builtin_cpu_supports("avx2"))
        descents.push_back(&vesk_texel_descent_avx2);
#endif
    return descents;
}

/// How often a descent came to an end of its own.
unsigned int compare(const vesk_mesh &mesh, const vesk_vector2 &point)
{
    vesk_uv_lookup_triangle_s expected = {};
    vesk_vector2 expected_weights;
    const int found = plain::texel(*mesh.uv_lookup_root, mesh.uv_lookup_vertex_array, point,
                                   expected, expected_weights);
    unsigned int ended = 0;
    for (const vesk_texel_descent *descent : descents_of_this_machine())
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
        else if (node)
            EXPECT_EQ(node, mesh.uv_lookup_root);
        else
            EXPECT_EQ(found, 0);
        ended += triangle || !node;
    }
    return ended;
}
} // namespace

TEST(TexelDescent, GivesThePlainWalksAnswersOnEveryInstructionSet)
{
    unsigned int ended = 0;
    for (unsigned int seed = 0; seed < 24; ++seed)
    {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        const unsigned int triangle_count = seed * 4;
        soup s(soup_kind::scattered, triangle_count, seed);
        std::vector<vesk_vector2> uvs(triangle_count * 3);
        for (unsigned int i = 0; i < triangle_count * 3; ++i)
        {
            const float reach = seed % 2 ? 0.2f : 3.0f;
            uvs[i] = i % 3 ? uvs[i / 3 * 3] : vesk_vector2(s.random.between(0.0f, 1.0f), 0.5f);
            uvs[i] = uvs[i] +
                     vesk_vector2(s.random.between(-reach, reach), s.random.between(-reach, reach));
            if (seed % 5 == 4 && s.random.below(9) == 0)
                uvs[i][s.random.below(2)] = s.random.special();
            s.words[i / 3 * 7 + 3 + i % 3] = i;
        }
        s.mesh.uv_array = uvs.data();
        ASSERT_EQ(s.mesh.generate_uv_lookup_quadtree(16, 16, seed % 4, 0, 0, nullptr, nullptr), 1);
        for (int i = 0; i < 600 && !HasFailure(); ++i)
        {
            vesk_vector2 point(s.random.between(-1.0f, 17.0f), s.random.between(-1.0f, 17.0f));
            if (i % 2)
                point = vesk_vector2(static_cast<float>(s.random.below(17)),
                                     static_cast<float>(s.random.below(17)));
            if (i % 16 == 3)
                point[s.random.below(2)] = s.random.special();
            ended += compare(s.mesh, point);
        }
        s.mesh.free_uv_lookup_quadtree();
    }
    EXPECT_GT(ended, 10000u);
}
