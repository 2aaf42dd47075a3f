#include "support/bits.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"

namespace
{
/// Words that count up: no two fields of a file are equal.
void add_counting(byte_vector &bytes, std::uint32_t first, std::uint32_t count)
{
    for (std::uint32_t i = 0; i < count; ++i)
        add_words(bytes, {first + i});
}

constexpr std::uint32_t uv_words = 0x41000000;

/// A file of the current version: one triangle, channels of 3, 4 ... UVs.
byte_vector current_file(std::uint32_t channel_count, std::uint32_t channel,
                         std::uint32_t tangent_count)
{
    byte_vector bytes;
    add_words(bytes, {1, 0, 5, 0, 3, 7, channel_count});
    add_counting(bytes, 3, channel_count);
    add_words(bytes, {channel, tangent_count, 1});
    add_counting(bytes, 0x3F800000, 6 + 18); // box and vertices
    for (std::uint32_t c = 0; c < channel_count; ++c)
        add_counting(bytes, uv_words + 1000 * c, (3 + c) * 2);
    for (std::uint32_t c = 0; c < channel_count; ++c)
        add_counting(bytes, 100 + 1000 * c, 3);
    const bool in_range = channel < channel_count;
    const std::uint32_t shown = in_range ? 100 + 1000 * channel : 0, step = in_range;
    add_words(bytes, {0, 1, 2, shown, shown + step, shown + 2 * step, 0, 0, 1});
    add_counting(bytes, 0x42000000, tangent_count * 4);
    return bytes;
}
} // namespace

TEST(MeshFile, EveryVersionHasItsLayout)
{
    const struct
    {
        std::uint32_t major, minor, revision;
        bool has_compressed, legacy;
    } rows[] = {{0, 0, 0, false, true},  {0, 0, 2, false, true},      {0, 0, 3, false, true},
                {1, 0, 0, true, true},   {1, 0, 3, true, true},       {0, 0, 4, false, false},
                {0, 1, 0, false, false}, {0, 7, 9, false, false},     {1, 0, 4, true, false},
                {1, 0, 6, true, false},  {1, 1, 0, true, false},      {2, 0, 0, true, false},
                {2, 0, 5, true, false},  {~0u, ~0u, ~0u, true, false}};
    owned_mesh mesh(random_soup(1, 3));
    test_random random(1);
    add_random_tangents(mesh, random, 9);
    const byte_vector current = saved(mesh, 0), legacy = legacy_bytes(mesh);
    for (const auto &r : rows)
    {
        SCOPED_TRACE(testing::Message() << r.major << '.' << r.minor << '.' << r.revision);
        byte_vector bytes;
        add_words(bytes, {r.major, r.minor, r.revision});
        if (r.has_compressed)
            add_words(bytes, {r.legacy}); // the legacy layout does not heed it
        bytes.insert(bytes.end(), r.legacy ? legacy.begin() + 12 : current.begin() + 16,
                     r.legacy ? legacy.end() : current.end());
        owned_mesh loaded;
        ASSERT_EQ(load(loaded, bytes), 1);
        EXPECT_TRUE(same_mesh(loaded, mesh));
    }
}

TEST(MeshFile, KeepsTheChannelAlsoOutOfRange)
{
    for (const std::uint32_t channel_count : {0u, 3u})
        for (const std::uint32_t channel : {0u, 2u, 9u})
        {
            SCOPED_TRACE(testing::Message() << channel << " of " << channel_count);
            const byte_vector bytes = current_file(channel_count, channel, 3);
            byte_vector strange = bytes; // records are rewritten from the index sections
            std::fill_n(strange.end() - 3 * 16 - 8 - 16, 12, std::uint8_t{0xAB});
            owned_mesh mesh;
            ASSERT_EQ(load(mesh, strange), 1);
            const bool in_range = channel < channel_count;
            EXPECT_EQ(mesh.get_cur_uv_channel(), channel);
            EXPECT_EQ(mesh.get_uv_count(), in_range ? 3 + channel : 0u);
            EXPECT_BITS(mesh.get_uv_array()->x, in_range ? uv_words + 1000 * channel : 0u);
            EXPECT_EQ(saved(mesh, 0), bytes);

            const byte_vector compressed = saved(mesh, 7);
            EXPECT_EQ(compressed[12], 7u);
            ASSERT_EQ(load(mesh, compressed), 1);
            EXPECT_EQ(saved(mesh, 0), bytes);
        }
}

TEST(MeshFile, SaveThenLoadGivesTheSameMeshAndTheSameBytes)
{
    test_random random(1);
    for (std::uint64_t seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        // One has sections of several chunks.
        const unsigned int triangle_count = seed != 58 ? random.below(40) + 1 : 80000;
        mesh_source source = seed % 3 == 0 ? random_web(seed, triangle_count, 30)
                             : seed % 3 == 1
                                 ? random_soup(seed, triangle_count, random.below(4) + 1)
                                 : nan_bearing(seed, triangle_count);
        scatter_subsets(source, seed);
        owned_mesh mesh(source);
        mesh.set_uv_channel(random.below(mesh.get_uv_channel_count()));
        if (seed % 2 == 0)
            add_random_tangents(mesh, random, random.below(triangle_count * 3) + 1);

        const byte_vector plain = saved(mesh, 0), packed = saved(mesh, -1);
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
    const owned_mesh lender(grid(2, 2));
    owned_mesh mesh, loaded;
    lend_geometry(lender, mesh);
    for (const int compress : {0, 1})
    {
        ASSERT_EQ(load(loaded, saved(mesh, compress)), 1);
        EXPECT_EQ(loaded.get_uv_channel_count() + loaded.uv_count, 0u);
        EXPECT_TRUE(loaded.uv_array->is_zero());
        EXPECT_EQ(loaded.index_count, lender.index_count);
        EXPECT_TRUE(same_bits(loaded.vertex_array[8].position, lender.vertex_array[8].position));
    }
}

TEST(MeshFile, SavesMeshesThatAreNotValid)
{
    owned_mesh mesh, loaded;
    byte_vector empty;
    add_words(empty, {1, 0, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(saved(mesh, 0), empty);
    ASSERT_EQ(load(loaded, empty), 1);
    EXPECT_EQ(loaded.is_valid(), 0);
    // An empty array passes the compressing writer and not the reader.
    EXPECT_EQ(load(loaded, saved(mesh, 1)), 0);
    EXPECT_TRUE(
        has_message(loaded, L"Compression Error: Failed to decompress vertices from file."));

    // Counts without arrays, and a table with half a pair: the file holds what there is.
    mesh.vertex_count = 3;
    mesh.index_count = 7;
    mesh.tangent_count = 3;
    mesh.subset_lookup_table.push_back(5);
    EXPECT_EQ(saved(mesh, 0), empty);
    EXPECT_TRUE(has_message(mesh, nullptr));
    // Tangents without a count make no section.
    vesk_mesh_tangent_s tangent;
    mesh.tangent_array = &tangent;
    mesh.tangent_count = 0;
    EXPECT_EQ(saved(mesh, 0), empty);
    mesh.reset();
}

TEST(MeshFile, PathsAreUnicodeAndThoseThatCannotBeOpenedAreTold)
{
    const temp_file file("\xC3\xBC\xCE\xB2\xE4\xB8\xAD\xF0\x9F\x98\x80",
                         L"\u00FC\u03B2\u4E2D\U0001F600");
    owned_mesh mesh(grid(1, 1));
    ASSERT_EQ(mesh.save_binary(file.wide(), 0), 1);
    EXPECT_TRUE(std::filesystem::exists(file.path));
    EXPECT_EQ(mesh.load_binary(file.wide()), 1);

    const std::wstring below = std::wstring(file.wide()) + L"/mesh";
    for (const unsigned int failures : {1u, 2u})
    {
        EXPECT_EQ(mesh.save_binary(below.c_str(), 0), 0);
        EXPECT_EQ(mesh.get_error_stack()->count, failures);
        EXPECT_EQ(std::wstring(mesh.error_stack[0]), L"Failed to open file.");
    }
    EXPECT_EQ(mesh.is_valid(), 1);
    EXPECT_EQ(mesh.load_binary(below.c_str()), 0);
    EXPECT_TRUE(has_message(mesh, L"Failed to open file."));
    EXPECT_TRUE(is_empty_mesh(mesh));
}
