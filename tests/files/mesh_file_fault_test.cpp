#include "support/failing_new.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace
{
constexpr const wchar_t *short_file = L"Failed to read file.";
constexpr std::uint64_t small_memory = 3 << 20; // a work buffer, and what needs no proof

/// Where the small mesh's sections begin.
constexpr std::size_t body_offset = 16 + 12 + 2 * 4 + 12 + 24;

/// A small mesh with everything in it: two channels, two subsets, tangents.
struct small_mesh : owned_mesh
{
    small_mesh() : owned_mesh(small_source())
    {
        test_random random(3);
        add_random_tangents(*this, random, 9);
        set_uv_channel(1);
    }
    static mesh_source small_source()
    {
        mesh_source source = random_soup(2, 3, 2);
        split_subsets(source, 2);
        return source;
    }
};

bool is_half_loaded(const vesk_mesh &mesh)
{
    return !mesh.is_valid() && !mesh.uv_array && mesh.vertex_array && mesh.index_array &&
           (mesh.tangent_count == 0 || mesh.tangent_array);
}

/// Loads damaged files. Whatever comes of it: little memory, a state as promised, nothing that was
/// in the heap before, and the mesh can be filled again.
class damage_tester
{
public:
    explicit damage_tester(const byte_vector &good)
    {
        good_file.set_bytes(good);
    }

    /// What the load gave.
    int run(const byte_vector &bytes)
    {
        const temp_file file; // new each time: to empty an old one can take milliseconds
        file.set_bytes(bytes);
        byte_vector shown[2];
        int ok = 0;
        for (const int round : {0, 1})
        {
            owned_mesh mesh;
            fill_allocations(round == 0 ? 0 : 0xA5);
            fail_allocation(-1);
            ok = mesh.load_binary(file.wide());
            fill_allocations(-1);
            EXPECT_LE(largest_request(), small_memory);
            EXPECT_EQ(mesh.get_error_stack()->count, ok ? 0u : 1u);
            if (!ok)
            {
                EXPECT_TRUE(is_half_loaded(mesh) ||
                            (is_empty_mesh(mesh) && has_message(mesh, short_file)));
            }
            if (mesh.vertex_array)
                shown[round] = saved(mesh, 0);
            EXPECT_EQ(mesh.load_binary(good_file.wide()), 1);
            EXPECT_EQ(mesh.is_valid(), 1);
        }
        EXPECT_TRUE(shown[0] == shown[1]);
        return ok;
    }

private:
    temp_file good_file;
};

std::uint32_t word_at(const byte_vector &bytes, std::size_t at)
{
    return bytes[at] | std::uint32_t(bytes[at + 1]) << 8 | std::uint32_t(bytes[at + 2]) << 16 |
           std::uint32_t(bytes[at + 3]) << 24;
}

/// Where the chunk streams of the small mesh's compressed file begin.
std::vector<std::size_t> stream_offsets(const byte_vector &bytes)
{
    std::size_t at = body_offset;
    std::vector<std::size_t> offsets;
    for (unsigned int stream = 0; stream < 7; ++stream)
    {
        if (stream == 6)
            at += 2 * 8; // the subset table
        offsets.push_back(at);
        at += 8 + word_at(bytes, at + 4);
    }
    EXPECT_EQ(at, bytes.size());
    return offsets;
}
} // namespace

TEST(MeshFileFault, EveryCutIsToldAndEveryByteAndWordMayBeWrong)
{
    small_mesh mesh;
    const byte_vector plain = saved(mesh, 0), packed = saved(mesh, 1);
    damage_tester tester(plain);
    for (const byte_vector &whole : {plain, packed, legacy_bytes(mesh)})
        for (std::size_t at = 0; at < whole.size(); ++at)
        {
            SCOPED_TRACE(at);
            EXPECT_EQ(tester.run({whole.begin(), whole.begin() + static_cast<long>(at)}), 0);
            for (const int flip : {0x01, 0xFF})
            {
                byte_vector damaged = whole;
                damaged[at] = static_cast<unsigned char>(damaged[at] ^ flip);
                tester.run(damaged);
            }
            if (at % 4 != 0)
                continue;
            byte_vector damaged = whole;
            std::fill_n(damaged.begin() + static_cast<long>(at),
                        std::min<std::size_t>(4, whole.size() - at), std::uint8_t{0xFF});
            tester.run(damaged);
        }
}

TEST(MeshFileFault, ClaimsAreHeldAgainstTheFileAllTogether)
{
    // Each section alone would fit behind the head, compressed; products of 32-bit counts too
    // large for 64 bits are among them.
    const std::uint32_t all = 0xFFFFFFFF;
    const std::uint32_t claims[][3] = {{all, 0, 0},     {0, all, 0},      {0, 0, all},
                                       {all, all, all}, {1500, 12000, 0}, {1500, 0, 4000}};
    const temp_file file;
    for (const std::uint32_t compressed : {0u, 1u})
        for (const auto &claim : claims)
        {
            const std::uint32_t scale = claim[0] == 1500 ? 100 : 1;
            byte_vector bytes;
            add_words(bytes, {1, 0, 5, compressed, claim[0] * scale, claim[1] * scale, 1,
                              claim[2] == all ? all : 0, 0, claim[2] * scale, 0, 0, 0, 0, 0, 0, 0});
            bytes.resize(200);
            file.set_bytes(bytes);
            owned_mesh mesh;
            fail_allocation(-1);
            EXPECT_EQ(mesh.load_binary(file.wide()), 0);
            EXPECT_LE(largest_request(), 100u); // the message
            EXPECT_TRUE(has_message(mesh, short_file));
            EXPECT_TRUE(is_empty_mesh(mesh));
        }
}

TEST(MeshFileFault, AStreamThatFailsLeavesTheMeshHalfLoaded)
{
    const wchar_t *const uvs = L"Compression Error: Failed to decompress uv arrays from file.";
    const wchar_t *const uv_indices =
        L"Compression Error: Failed to decompress uv index arrays from file.";
    const wchar_t *const messages[] = {
        L"Compression Error: Failed to decompress vertices from file.",
        uvs,
        uvs,
        uv_indices,
        uv_indices,
        L"Compression Error: Failed to decompress indices from file.",
        L"Compression Error: Failed to decompress tangents from file."};
    small_mesh mesh;
    const byte_vector plain = saved(mesh, 0);
    const byte_vector packed = saved(mesh, 1);
    const std::vector<std::size_t> offsets = stream_offsets(packed);
    for (std::size_t stream = 0; stream < offsets.size(); ++stream)
    {
        SCOPED_TRACE(stream);
        byte_vector damaged = packed;
        std::memset(damaged.data() + offsets[stream] + 4, 0, 4); // the block's size
        owned_mesh loaded;
        fill_allocations(0xA5);
        EXPECT_EQ(load(loaded, damaged), 0);
        fill_allocations(-1);
        EXPECT_TRUE(has_message(loaded, messages[stream]));
        EXPECT_TRUE(is_half_loaded(loaded));
        EXPECT_EQ(loaded.get_subset_count(), stream == 6 ? 2u : 0u);

        // What was read stays, the rest is zero.
        const std::size_t section_bytes[] = {9 * 24, 9 * 8, 10 * 8, 9 * 4, 9 * 4, 21 * 4 + 16};
        std::size_t read_end = body_offset;
        for (std::size_t s = 0; s < stream; ++s)
            read_end += section_bytes[s];
        const byte_vector shown = saved(loaded, 0);
        for (std::size_t i = body_offset; i < shown.size(); ++i)
            ASSERT_EQ(shown[i], i < read_end ? plain[i] : 0) << i;

        ASSERT_EQ(load(loaded, packed), 1);
        EXPECT_TRUE(same_mesh(mesh, loaded));
    }
}

TEST(MeshFileFault, WhatAShortStreamDoesNotFillIsZero)
{
    small_mesh mesh;
    const byte_vector packed = saved(mesh, 1);
    const std::vector<std::size_t> offsets = stream_offsets(packed);
    byte_vector bytes(packed.begin(), packed.begin() + static_cast<long>(offsets[0]));
    add_words(bytes, {0, 0, 0, 0, 0, 0}); // streams without chunks
    add_words(bytes, {0, 1, 7, 2});       // subsets
    add_words(bytes, {0});
    owned_mesh loaded;
    fill_allocations(0xA5);
    EXPECT_EQ(load(loaded, bytes), 1);
    fill_allocations(-1);
    EXPECT_EQ(loaded.is_valid(), 1);
    byte_vector shown = saved(loaded, 0);
    const std::size_t subsets = shown.size() - 9 * 16 - 16;
    std::fill_n(shown.begin() + static_cast<long>(subsets), 16, static_cast<unsigned char>(0));
    for (std::size_t i = body_offset; i < shown.size(); ++i)
        ASSERT_EQ(shown[i], 0) << i;
}
