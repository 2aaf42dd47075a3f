#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

#include <limits>
#include <memory>
#include <utility>

namespace
{
/// A mesh over the source's own arrays, as it has to look with this channel: its indexes are in
/// the UV words of every record, zeros where there is no such channel.
struct plain_mesh : vesk_mesh
{
    plain_mesh(mesh_source &source, unsigned int channel, unsigned int former_uv_count = 0)
    {
        vertex_array = source.vertices.data();
        vertex_count = source.vertex_count();
        index_array = source.indices.data();
        index_count = source.index_count();
        assign_list(subset_lookup_table, source.subsets);
        const vesk_mesh_uv_data_s uv_data = source.uv_data();
        for (unsigned int c = 0; c < uv_data.channel_count; ++c)
        {
            uv_channel_arrays.push_back(uv_data.uv_arrays[c]);
            uv_channel_counts.push_back(uv_data.uv_counts[c]);
            uv_index_arrays.push_back(uv_data.uv_index_arrays[c]);
        }
        cur_uv_channel = channel;
        const bool exists = channel < uv_data.channel_count;
        uv_array = exists ? uv_channel_arrays[channel] : &zero;
        uv_count = exists ? uv_channel_counts[channel] : former_uv_count;
        for (unsigned int corner = 0; corner < index_count / 7 * 3; ++corner)
            index_array[corner / 3 * 7 + 3 + corner % 3] =
                exists ? uv_index_arrays[channel][corner] : 0;
        calculate_bounding_box();
    }
    vesk_vector2 zero;
};
} // namespace

TEST(MeshCreate, ANewMeshIsEmptyAndItsBoxHoldsNoPoint)
{
    vesk_mesh mesh;
    EXPECT_TRUE(is_empty_mesh(mesh) && has_message(mesh, nullptr));
    vesk_vector3 low, high;
    mesh.calculate_bounding_box();
    mesh.get_bounding_box(low, high);
    EXPECT_EQ(low.y, std::numeric_limits<float>::max());
    EXPECT_EQ(high.y, -low.y);
    mesh.free();
    mesh.free();
    EXPECT_TRUE(is_empty_mesh(mesh));
}

TEST(MeshCreate, CopiesWhatItIsGivenAndZeroesWhatIsTheHosts)
{
    mesh_source whole = displaced_sphere(300, 3), bare = random_web(4, 20, 9), empty;
    split_subsets(whole, 4);
    bare.channels.clear();
    for (mesh_source *source : {&whole, &bare, &empty})
    {
        SCOPED_TRACE(source->vertex_count());
        owned_mesh mesh;
        ASSERT_EQ(source->fill(mesh), 1);
        EXPECT_TRUE(same_mesh(mesh, plain_mesh(*source, 0)));
        EXPECT_EQ(mesh.is_valid(), source == &whole);
        EXPECT_TRUE(mesh.vertex_array && mesh.index_array && mesh.uv_array);
        for (const auto count :
             {&vesk_mesh::vertex_count, &vesk_mesh::index_count, &vesk_mesh::uv_count})
        {
            const unsigned int kept = std::exchange(mesh.*count, 0u);
            EXPECT_EQ(mesh.is_valid(), 0);
            mesh.*count = kept;
        }

        source->subsets.clear();
        ASSERT_EQ(mesh.create(source->vertex_count(), source->index_count(), source->uv_data()), 1);
        source->vertices.assign(mesh.vertex_count, vesk_3d_vertex_s());
        for (unsigned int w = 0; w < mesh.index_count; ++w)
            if (w % 7 < 3 || w % 7 == 6) // the host's to write
                mesh.index_array[w] = source->indices[w];
        EXPECT_EQ(mesh.is_valid(), 0); // has no subsets
        plain_mesh expected(*source, 0);
        expected.bounding_box_min = expected.bounding_box_max = vesk_vector3();
        EXPECT_TRUE(same_mesh(mesh, expected));
    }
}

TEST(MeshCreate, CopiesAMeshAndSharesNothing)
{
    mesh_source source = displaced_sphere(200, 2);
    scatter_subsets(source, 12);
    for (const unsigned int channel : {0u, 1u, 5u})
    {
        SCOPED_TRACE(channel);
        auto original = std::make_unique<owned_mesh>(source);
        owned_mesh twin(source), copy;
        for (owned_mesh *mesh : {original.get(), &twin})
        {
            mesh->generate_tangents();
            mesh->set_uv_channel(channel);
            mesh->bounding_box_min = vesk_vector3(1, 2, 3); // stored, not computed
        }
        ASSERT_EQ(copy.create(*original), 1);
        original.reset();
        twin.uv_count = channel == 5 ? 0 : twin.uv_count;
        EXPECT_TRUE(same_mesh(copy, twin));
    }
}

TEST(UvChannels, EachKeepsItsOwnIndexes)
{
    mesh_source source = displaced_sphere(200, 3);
    owned_mesh mesh(source);
    // Out of range is a state: the count of the channel before stays, and nothing is lost.
    for (const unsigned int channel : {1u, 5u, 0u, 3u, 2u, 0xFFFFFFFFu, 0u})
    {
        SCOPED_TRACE(channel);
        const unsigned int former_uv_count = mesh.get_uv_count();
        mesh.set_uv_channel(channel);
        EXPECT_TRUE(same_mesh(mesh, plain_mesh(source, channel, former_uv_count)));
    }
}
