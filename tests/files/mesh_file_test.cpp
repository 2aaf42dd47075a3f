#include "support/bits.h"
#include "support/byte_file.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"
#include "vesk/mesh.h"

namespace
{
/// Words that count up: no two fields of a file are equal.
void add_counting(byte_vector &bytes, std::uint32_t first, std::uint32_t count)
{
    for (std::uint32_t i = 0; i < count; ++i)
        add_words(bytes, {first + i});
}

constexpr std::uint32_t box_words = 0x3F800000, vertex_words = 0x40000000, uv_words = 0x41000000,
                        uv_index_words = 100, tangent_words = 0x42000000;

/// The current layout behind its head: one triangle, and as many channels as wanted.
void add_current_body(byte_vector &bytes, std::uint32_t channel_count, std::uint32_t channel,
                      std::uint32_t tangent_count)
{
    add_words(bytes, {3, 7, channel_count});
    for (std::uint32_t c = 0; c < channel_count; ++c)
        add_words(bytes, {3 + c});
    add_words(bytes, {channel, tangent_count, 1});
    add_counting(bytes, box_words, 6);
    add_counting(bytes, vertex_words, 18);
    for (std::uint32_t c = 0; c < channel_count; ++c)
        add_counting(bytes, uv_words + 1000 * c, (3 + c) * 2);
    for (std::uint32_t c = 0; c < channel_count; ++c)
        add_counting(bytes, uv_index_words + 1000 * c, 3);
    const std::uint32_t shown = channel < channel_count ? uv_index_words + 1000 * channel : 0;
    const std::uint32_t step = channel < channel_count ? 1 : 0;
    add_words(bytes, {0, 1, 2, shown, shown + step, shown + 2 * step, 0});
    add_words(bytes, {0, 1});
    add_counting(bytes, tangent_words, tangent_count * 4);
}

/// A file of the current version.
byte_vector current_file(std::uint32_t channel_count, std::uint32_t channel,
                         std::uint32_t tangent_count)
{
    byte_vector bytes;
    add_words(bytes, {1, 0, 5, 0});
    add_current_body(bytes, channel_count, channel, tangent_count);
    return bytes;
}

/// The legacy layout behind its head.
void add_legacy_body(byte_vector &bytes)
{
    add_words(bytes, {3, 4, 3, 7, 1});
    add_counting(bytes, box_words, 6);
    add_counting(bytes, vertex_words, 18);
    add_counting(bytes, uv_words, 8);
    add_words(bytes, {0, 1, 2, 3, 1, 0, 0});
    add_words(bytes, {0, 1});
    add_counting(bytes, tangent_words, 12);
}

void expect_common_fields(const vesk_mesh &mesh)
{
    EXPECT_EQ(mesh.is_valid(), 1);
    ASSERT_EQ(mesh.vertex_count, 3u);
    EXPECT_BITS(mesh.vertex_array[0].position.x, vertex_words);
    EXPECT_BITS(mesh.vertex_array[2].normal.z, vertex_words + 17);
    EXPECT_BITS(mesh.bounding_box_min.x, box_words);
    EXPECT_BITS(mesh.bounding_box_max.z, box_words + 5);
    ASSERT_EQ(mesh.index_count, 7u);
    EXPECT_EQ(mesh.index_array[2], 2u);
    EXPECT_EQ(mesh.get_subset_count(), 1u);
    EXPECT_EQ((*mesh.get_subset_lookup_table())[1], 1u);
}
} // namespace

TEST(MeshFile, EveryVersionHasItsLayout)
{
    struct row
    {
        std::uint32_t major, minor, revision;
        bool has_compressed, legacy;
    };
    const row rows[] = {
        {0, 0, 0, false, true},  {0, 0, 2, false, true},      {0, 0, 3, false, true},
        {1, 0, 0, true, true},   {1, 0, 3, true, true},       {0, 0, 4, false, false},
        {0, 1, 0, false, false}, {0, 7, 9, false, false},     {1, 0, 4, true, false},
        {1, 0, 6, true, false},  {1, 1, 0, true, false},      {2, 0, 0, true, false},
        {2, 0, 5, true, false},  {~0u, ~0u, ~0u, true, false}};
    for (const row &r : rows)
    {
        SCOPED_TRACE(testing::Message() << r.major << '.' << r.minor << '.' << r.revision);
        byte_vector bytes;
        add_words(bytes, {r.major, r.minor, r.revision});
        if (r.has_compressed)
            add_words(bytes, {r.legacy ? 1u : 0u}); // the legacy layout does not heed it
        if (r.legacy)
            add_legacy_body(bytes);
        else
            add_current_body(bytes, 2, 1, 3);

        vesk_mesh mesh;
        ASSERT_EQ(load(mesh, bytes), 1);
        expect_common_fields(mesh);
        EXPECT_EQ(mesh.get_uv_channel_count(), r.legacy ? 1u : 2u);
        EXPECT_EQ(mesh.get_cur_uv_channel(), r.legacy ? 0u : 1u);
        EXPECT_EQ(mesh.uv_count, 4u);
        EXPECT_EQ(mesh.uv_channel_counts[mesh.cur_uv_channel], 4u);
        EXPECT_BITS(mesh.uv_array[3].y, uv_words + (r.legacy ? 0 : 1000) + 7);
        EXPECT_EQ(mesh.uv_index_arrays[0][0], r.legacy ? 3u : uv_index_words);
        EXPECT_EQ(mesh.index_array[3], r.legacy ? 3u : uv_index_words + 1000);
        EXPECT_EQ(mesh.tangent_count, 3u);
        EXPECT_BITS(mesh.tangent_array[2].handedness, tangent_words + 11);
        mesh.free();
    }
}

TEST(MeshFile, KeepsTheChannelAlsoOutOfRange)
{
    for (const std::uint32_t channel_count : {0u, 3u})
        for (const std::uint32_t channel : {0u, 2u, 9u})
        {
            SCOPED_TRACE(testing::Message() << channel << " of " << channel_count);
            const byte_vector bytes = current_file(channel_count, channel, 3);
            vesk_mesh mesh;
            ASSERT_EQ(load(mesh, bytes), 1);
            const bool in_range = channel < channel_count;
            EXPECT_EQ(mesh.get_cur_uv_channel(), channel);
            EXPECT_EQ(mesh.get_uv_count(), in_range ? 3 + channel : 0u);
            EXPECT_BITS(mesh.get_uv_array()->x, in_range ? uv_words + 1000 * channel : 0u);
            EXPECT_EQ(saved(mesh, 0), bytes);

            const byte_vector compressed = saved(mesh, 7);
            EXPECT_EQ(compressed[12], 7u);
            ASSERT_EQ(load(mesh, compressed), 1);
            EXPECT_EQ(saved(mesh, 0), bytes);
            mesh.free();
        }
}

TEST(MeshFile, SaveThenLoadGivesTheSameMeshAndTheSameBytes)
{
    test_random random(1);
    for (std::uint64_t seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        // The last ones have sections of several chunks.
        const unsigned int triangle_count = seed < 57 ? random.below(40) + 1 : 80000;
        mesh_source source = seed % 3 == 0 ? random_web(seed, triangle_count, 30)
                             : seed % 3 == 1
                                 ? random_soup(seed, triangle_count, random.below(4) + 1)
                                 : nan_bearing(seed, triangle_count);
        scatter_subsets(source, seed);
        owned_mesh mesh(source);
        mesh.set_uv_channel(random.below(mesh.get_uv_channel_count()));
        if (seed % 2 == 0)
            add_random_tangents(mesh, random, random.below(triangle_count * 3) + 1);

        const byte_vector plain = saved(mesh, 0);
        const byte_vector packed = saved(mesh, -1);
        for (const byte_vector &bytes : {plain, packed})
        {
            owned_mesh loaded;
            ASSERT_EQ(load(loaded, bytes), 1);
            EXPECT_TRUE(same_mesh(mesh, loaded));
            EXPECT_TRUE(saved(loaded, 0) == plain);
            EXPECT_TRUE(saved(loaded, -1) == packed);
        }
    }
}

TEST(MeshFile, BorrowedUvsAreNotStored)
{
    owned_mesh lender(grid(2, 2));
    vesk_mesh mesh;
    mesh.instance_geometry = 1;
    mesh.vertex_array = lender.vertex_array;
    mesh.uv_array = lender.uv_array;
    mesh.index_array = lender.index_array;
    mesh.vertex_count = lender.vertex_count;
    mesh.uv_count = lender.uv_count;
    mesh.index_count = lender.index_count;
    for (const int compress : {0, 1})
    {
        owned_mesh loaded;
        ASSERT_EQ(load(loaded, saved(mesh, compress)), 1);
        EXPECT_EQ(loaded.get_uv_channel_count(), 0u);
        EXPECT_TRUE(loaded.uv_array->is_zero());
        EXPECT_EQ(loaded.uv_count, 0u);
        EXPECT_EQ(loaded.index_count, lender.index_count);
        EXPECT_TRUE(same_bits(loaded.vertex_array[8].position, lender.vertex_array[8].position));
    }
    mesh.free();
}

TEST(MeshFile, RecordsAreRewrittenFromTheIndexSections)
{
    byte_vector bytes = current_file(1, 0, 0);
    const byte_vector right = bytes;
    const std::size_t record = 212 - 8 - 28;
    for (std::size_t i = record + 12; i < record + 24; ++i)
        bytes[i] = 0xAB;
    vesk_mesh mesh;
    ASSERT_EQ(load(mesh, bytes), 1);
    EXPECT_EQ(saved(mesh, 0), right);
    mesh.free();
}

TEST(MeshFile, SavesMeshesThatAreNotValid)
{
    vesk_mesh mesh;
    byte_vector empty;
    add_words(empty, {1, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(saved(mesh, 0), empty);

    // Counts without arrays, and a table with half a pair: the file holds what there is.
    mesh.vertex_count = 3;
    mesh.index_count = 7;
    mesh.tangent_count = 3;
    mesh.subset_lookup_table.push_back(5);
    EXPECT_EQ(saved(mesh, 0), empty);
    EXPECT_EQ(mesh.get_error_stack()->count, 0u);

    // Tangents without a count make no section.
    vesk_mesh_tangent_s tangent;
    mesh.tangent_array = &tangent;
    mesh.tangent_count = 0;
    EXPECT_EQ(saved(mesh, 0), empty);
    mesh.reset();

    ASSERT_EQ(load(mesh, empty), 1);
    EXPECT_EQ(mesh.is_valid(), 0);
    // An empty array passes the compressing writer and not the reader.
    EXPECT_EQ(load(mesh, saved(mesh, 1)), 0);
    EXPECT_TRUE(has_message(mesh, L"Compression Error: Failed to decompress vertices from file."));
    mesh.free();
}

TEST(MeshFile, PathsAreUnicodeInAnyLocale)
{
    const temp_file file("\xC3\xBC\xCE\xB2\xE4\xB8\xAD\xF0\x9F\x98\x80",
                         L"\u00FC\u03B2\u4E2D\U0001F600");
    vesk_mesh mesh;
    ASSERT_EQ(load(mesh, current_file(1, 0, 0)), 1);
    ASSERT_EQ(mesh.save_binary(file.wide(), 0), 1);
    EXPECT_TRUE(std::filesystem::exists(file.path));
    EXPECT_EQ(mesh.load_binary(file.wide()), 1);
    expect_common_fields(mesh);
    mesh.free();
}

TEST(MeshFile, APathThatCannotBeOpenedIsTold)
{
    const temp_file missing;
    const std::wstring below = std::wstring(missing.wide()) + L"/mesh";
    vesk_mesh mesh;
    ASSERT_EQ(load(mesh, current_file(1, 0, 0)), 1);
    EXPECT_EQ(mesh.save_binary(below.c_str(), 0), 0);
    EXPECT_EQ(mesh.save_binary(below.c_str(), 1), 0);
    EXPECT_EQ(mesh.get_error_stack()->count, 2u);
    EXPECT_EQ(mesh.is_valid(), 1);

    EXPECT_EQ(mesh.load_binary(missing.wide()), 0);
    EXPECT_TRUE(has_message(mesh, L"Failed to open file."));
    EXPECT_TRUE(is_empty_mesh(mesh));
    mesh.free();
}
