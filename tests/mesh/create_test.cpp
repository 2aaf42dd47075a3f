#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"

#include <cstring>

TEST(MeshCreate, CopiesArraysAndTakesUvWordsFromTheFirstChannel)
{
    mesh_source source = displaced_sphere(300, 3);
    split_subsets(source, 4);
    owned_mesh mesh(source);

    ASSERT_EQ(mesh.is_valid(), 1);
    EXPECT_EQ(std::memcmp(static_cast<void *>(mesh.vertex_array), source.vertices.data(),
                          source.vertices.size() * sizeof(vesk_3d_vertex_s)),
              0);
    for (unsigned int word = 0; word < source.index_count(); ++word)
    {
        const unsigned int corner = word / 7 * 3 + word % 7 - 3;
        const bool is_uv = word % 7 >= 3 && word % 7 < 6;
        ASSERT_EQ(mesh.index_array[word],
                  is_uv ? source.channels[0].indices[corner] : source.indices[word]);
    }
    ASSERT_EQ(mesh.get_uv_channel_count(), 3u);
    for (unsigned int channel = 0; channel < 3; ++channel)
    {
        const channel_source &expected = source.channels[channel];
        EXPECT_EQ(mesh.uv_channel_counts[channel], expected.uvs.size());
        EXPECT_EQ(std::memcmp(static_cast<void *>(mesh.uv_channel_arrays[channel]),
                              expected.uvs.data(), expected.uvs.size() * sizeof(vesk_vector2)),
                  0);
        EXPECT_EQ(std::memcmp(mesh.uv_index_arrays[channel], expected.indices.data(),
                              expected.indices.size() * sizeof(unsigned int)),
                  0);
    }
    EXPECT_EQ(mesh.uv_array, mesh.uv_channel_arrays[0]);
    EXPECT_EQ(mesh.uv_count, source.channels[0].uvs.size());
    EXPECT_EQ(mesh.get_subset_count(), 4u);

    const vesk_vector3 low = mesh.bounding_box_min, high = mesh.bounding_box_max;
    mesh.calculate_bounding_box();
    EXPECT_TRUE(low == mesh.bounding_box_min && high == mesh.bounding_box_max);
    EXPECT_LT(low.x, high.x);
}

TEST(MeshCreate, RoomForTheHostIsZeroedAndHasNoSubsets)
{
    mesh_source source = grid(4, 3, 2);
    owned_mesh mesh;
    ASSERT_EQ(mesh.create(source.vertex_count(), source.index_count(), source.uv_data()), 1);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        EXPECT_TRUE(mesh.vertex_array[v].position.is_zero());
        EXPECT_TRUE(mesh.vertex_array[v].normal.is_zero());
    }
    for (unsigned int t = 0; t < source.triangle_count(); ++t)
        for (unsigned int c = 0; c < 3; ++c)
            EXPECT_EQ(mesh.index_array[t * 7 + 3 + c], source.channels[0].indices[t * 3 + c]);
    EXPECT_EQ(mesh.get_subset_count(), 0u);
    EXPECT_TRUE(mesh.bounding_box_min.is_zero() && mesh.bounding_box_max.is_zero());
}

TEST(MeshCreate, MeshesWithoutSomethingSucceedAndAreNotValid)
{
    const vesk_mesh_uv_data_s no_channels;
    const vesk_list<unsigned int> no_subsets;
    owned_mesh mesh;

    mesh_source bare = grid(2, 2, 0);
    ASSERT_EQ(bare.fill(mesh), 1);
    EXPECT_EQ(mesh.get_uv_channel_count() + mesh.get_uv_count() + mesh.get_cur_uv_channel(), 0u);
    ASSERT_NE(mesh.uv_array, nullptr);
    EXPECT_TRUE(mesh.uv_array->is_zero());
    for (unsigned int t = 0; t < bare.triangle_count(); ++t)
        EXPECT_EQ(mesh.index_array[t * 7 + 3] | mesh.index_array[t * 7 + 4] |
                      mesh.index_array[t * 7 + 5],
                  0u);
    EXPECT_EQ(mesh.is_valid(), 0);

    ASSERT_EQ(mesh.create(nullptr, nullptr, 0, 0, no_channels, no_subsets), 1);
    EXPECT_NE(mesh.vertex_array, nullptr);
    EXPECT_NE(mesh.index_array, nullptr);
    EXPECT_GT(mesh.bounding_box_min.x, mesh.bounding_box_max.x);
    EXPECT_EQ(mesh.is_valid(), 0);
    ASSERT_EQ(mesh.create(0, 0, no_channels), 1);
    EXPECT_TRUE(mesh.bounding_box_min.is_zero() && mesh.bounding_box_max.is_zero());

    mesh_source loose = grid(2, 2);
    loose.subsets.clear();
    ASSERT_EQ(loose.fill(mesh), 1);
    EXPECT_EQ(mesh.get_subset_count(), 0u);
    EXPECT_EQ(mesh.is_valid(), 0);
}

TEST(MeshDeepCopy, EqualsItsSourceAndSharesNothing)
{
    mesh_source source = random_web(11, 200, 40);
    source.channels.push_back(source.channels[0]);
    source.channels[1].uvs[3] = vesk_vector2(7.0f, 8.0f);
    scatter_subsets(source, 12);
    for (const unsigned int channel : {0u, 1u, 5u})
    {
        SCOPED_TRACE(channel);
        owned_mesh copy;
        owned_mesh expected(source);
        expected.bounding_box_min = vesk_vector3(1.0f, 2.0f, 3.0f); // stored, not computed
        test_random random(3), again(3);
        add_random_tangents(expected, random, 600);
        expected.set_uv_channel(channel);
        expected.uv_count = channel == 5 ? 0 : expected.uv_count;
        {
            owned_mesh original(source);
            original.bounding_box_min = expected.bounding_box_min;
            add_random_tangents(original, again, 600);
            original.set_uv_channel(channel);
            ASSERT_EQ(copy.create(original), 1);
        }
        EXPECT_TRUE(same_mesh(copy, expected)); // reads the copy alone: the source is gone
    }
}
