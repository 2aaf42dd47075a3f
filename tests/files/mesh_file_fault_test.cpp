#include "support/failing_new.h"
#include "support/mesh_compare.h"
#include "support/mesh_file.h"

#include <algorithm>

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

/// Loads a damaged file. Whatever comes of it: little memory, a state as promised, nothing that was
/// in the heap before, and the mesh can be filled again. Gives the result.
int load_damaged(const byte_vector &bytes, const temp_file &good)
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
        EXPECT_TRUE(ok || is_half_loaded(mesh) ||
                    (is_empty_mesh(mesh) && has_message(mesh, short_file)));
        if (mesh.vertex_array)
            shown[round] = saved(mesh, 0);
        EXPECT_EQ(mesh.load_binary(good.wide()), 1);
        EXPECT_EQ(mesh.is_valid(), 1);
    }
    EXPECT_TRUE(shown[0] == shown[1]);
    return ok;
}

/// With some bytes from `at` on turned over.
byte_vector flipped(byte_vector bytes, std::size_t at, std::size_t count, unsigned char bits)
{
    for (std::size_t i = at; i < std::min(at + count, bytes.size()); ++i)
        bytes[i] ^= bits;
    return bytes;
}
} // namespace

TEST(MeshFileFault, EveryCutIsToldAndEveryByteAndWordMayBeWrong)
{
    small_mesh mesh;
    const temp_file good;
    good.set_bytes(saved(mesh, 0));
    for (const byte_vector &whole : {saved(mesh, 0), saved(mesh, 1), legacy_bytes(mesh)})
        for (std::size_t at = 0; at < whole.size(); ++at)
        {
            SCOPED_TRACE(at);
            EXPECT_EQ(load_damaged({whole.begin(), whole.begin() + static_cast<long>(at)}, good),
                      0);
            load_damaged(flipped(whole, at, 1, 0x01), good);
            load_damaged(flipped(whole, at, 1, 0xFF), good);
            if (at % 4 == 0)
                load_damaged(flipped(whole, at, 4, 0xFF), good);
        }
}

TEST(MeshFileFault, ClaimsAreHeldAgainstTheFileAllTogether)
{
    // Each section alone would fit behind the head, compressed; products of 32-bit counts too
    // large for 64 bits are among them.
    const std::uint32_t all = 0xFFFFFFFF;
    const struct
    {
        std::uint32_t vertices, words, uvs, tangents;
    } rows[] = {{all, 0, 0, 0},       {0, all, 0, 0},          {0, 0, all, 0},
                {all, all, all, all}, {150000, 1200000, 0, 0}, {150000, 0, 0, 400000}};
    for (const std::uint32_t compressed : {0u, 1u})
        for (const auto &claim : rows)
        {
            byte_vector bytes;
            add_words(bytes, {1, 0, 5, compressed, claim.vertices, claim.words, 1, claim.uvs, 0,
                              claim.tangents, 0, 0, 0, 0, 0, 0, 0});
            bytes.resize(200);
            const temp_file file;
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
    small_mesh mesh;
    const byte_vector plain = saved(mesh, 0), packed = saved(mesh, 1);
    // What stands in front of each kind of section and of the subsets.
    constexpr long body = body_offset, uvs = body + 9 * 24, uv_indices = uvs + (9 + 10) * 8,
                   records = uv_indices + 2 * 9 * 4, subsets = records + 21 * 4,
                   read_ends[] = {body, uvs, uv_indices, records, subsets, subsets + 16};
    std::vector<std::wstring> messages;
    owned_mesh loaded;
    fill_allocations(0xA5);
    for (std::size_t length = body_offset + 2 * 8; length < packed.size(); ++length)
    {
        const byte_vector cut(packed.begin(), packed.begin() + static_cast<long>(length));
        EXPECT_EQ(load(loaded, cut), 0);
        const std::wstring message = loaded.error_stack[0];
        if (messages.empty() || messages.back() != message)
            messages.push_back(message);
        if (message == short_file)
            continue;
        // What was read stays, the rest is zero; the subsets of a table that was read too.
        const byte_vector shown = saved(loaded, 0);
        const auto zeros =
            std::mismatch(shown.begin() + body_offset, shown.end(), plain.begin() + body_offset);
        EXPECT_GE(zeros.first - shown.begin(), read_ends[messages.size() - 1]);
        EXPECT_TRUE(std::all_of(zeros.first, shown.end(), [](int byte) { return byte == 0; }));
        EXPECT_EQ(loaded.get_subset_count(), messages.size() == 6 ? 2u : 0u);
    }
    const std::wstring failed = L"Compression Error: Failed to decompress ";
    const std::vector<std::wstring> expected = {failed + L"vertices from file.",
                                                failed + L"uv arrays from file.",
                                                failed + L"uv index arrays from file.",
                                                failed + L"indices from file.",
                                                short_file, // subsets
                                                failed + L"tangents from file."};
    EXPECT_EQ(messages, expected);

    // What streams without chunks do not fill is zero as well.
    byte_vector bytes(packed.begin(), packed.begin() + body_offset);
    add_words(bytes, {0, 0, 0, 0, 0, 0, /* subsets */ 0, 1, 7, 2, /* tangents */ 0});
    EXPECT_EQ(load(loaded, bytes), 1);
    fill_allocations(-1);
    EXPECT_EQ(loaded.is_valid(), 1);
    loaded.subset_lookup_table.clear();
    const byte_vector shown = saved(loaded, 0);
    EXPECT_TRUE(
        std::all_of(shown.begin() + body_offset, shown.end(), [](int byte) { return byte == 0; }));
}
