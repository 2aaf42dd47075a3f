#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

TEST(UvChannels, EachKeepsItsOwnIndexes)
{
    mesh_source source = displaced_sphere(200, 2);
    owned_mesh mesh(source);
    owned_mesh untouched(source);
    // Out of range is a state: the count of the channel before stays, and nothing is lost.
    for (const unsigned int channel : {1u, 5u, 0u, 2u, 1u, 0xFFFFFFFFu, 0u})
    {
        SCOPED_TRACE(channel);
        const unsigned int uv_count_before = mesh.get_uv_count();
        mesh.set_uv_channel(channel);
        const bool exists = channel < 2;
        EXPECT_EQ(mesh.get_cur_uv_channel(), channel);
        EXPECT_EQ(mesh.get_uv_count(), exists ? mesh.uv_channel_counts[channel] : uv_count_before);
        for (unsigned int t = 0; t < source.triangle_count(); ++t)
            for (unsigned int c = 0; c < 3; ++c)
                ASSERT_EQ(mesh.index_array[t * 7 + 3 + c],
                          exists ? source.channels[channel].indices[t * 3 + c] : 0u);
        if (exists)
            EXPECT_EQ(mesh.get_uv_array(), mesh.uv_channel_arrays[channel]);
        else
            EXPECT_TRUE(mesh.get_uv_array()[0].is_zero());
    }
    EXPECT_TRUE(same_mesh(mesh, untouched));
}
