#include "vesk/debug_write.h"

#include "golden/digest.h"
#include "support/bits.h"
#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <functional>
#include <gtest/gtest.h>
#include <locale>
#include <sstream>

namespace
{
constexpr unsigned int all_depths = 0xFFFFFFFFu;

std::string text_of(const temp_file &file)
{
    const byte_vector bytes = file.bytes();
    return std::string(bytes.begin(), bytes.end());
}

/// Whether a line of these words ends in the floats, to the bit; the C library judges.
bool ends_in(const std::vector<std::string> &words, const float *expected, std::size_t count)
{
    bool same = words.size() == count + 1;
    for (std::size_t i = 0; same && i < count; ++i)
        same = same_bits(expected[i], std::strtof(words[1 + i].c_str(), nullptr));
    return same;
}

/// The number of the first subset that names each triangle, -1 without one, by the plain loop.
int plain_subset_of(const vesk_mesh &mesh, unsigned int triangle)
{
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
    {
        const unsigned int first = mesh.subset_lookup_table[s * 2] / 7;
        if (triangle >= first && triangle - first < mesh.subset_lookup_table[s * 2 + 1])
            return static_cast<int>(s);
    }
    return -1;
}

void expect_obj_is_mesh(const std::string &text, const vesk_mesh &mesh)
{
    std::istringstream stream(text);
    std::string line, group;
    unsigned int v = 0, vn = 0, vt = 0, f = 0;
    while (std::getline(stream, line))
    {
        SCOPED_TRACE(line);
        std::istringstream fields(line);
        fields.imbue(std::locale::classic());
        const std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
        if (words.at(0) == "v")
            ASSERT_TRUE(ends_in(words, &mesh.vertex_array[v++].position.x, 3));
        else if (words[0] == "vn")
            ASSERT_TRUE(ends_in(words, &mesh.vertex_array[vn++].normal.x, 3));
        else if (words[0] == "vt")
            ASSERT_TRUE(ends_in(words, &mesh.uv_array[vt++].x, 2));
        else if (words[0] == "g")
            group = words.at(1);
        else
        {
            ASSERT_EQ(words[0], "f");
            const unsigned int *record = mesh.index_array + f * 7;
            for (unsigned int c = 0; c < 3; ++c)
            {
                const std::string vertex = std::to_string(record[c] + 1ull);
                const std::string uv = std::to_string(record[3 + c] + 1ull);
                EXPECT_EQ(words.at(1 + c), vertex + "/" + uv + "/" + vertex);
            }
            const int subset = plain_subset_of(mesh, f++);
            EXPECT_EQ(group, subset < 0 ? "no_subset" : "subset_" + std::to_string(subset));
        }
    }
    EXPECT_TRUE(v == mesh.vertex_count && vn == v && vt == mesh.uv_count);
    EXPECT_EQ(f, mesh.index_count / 7);
}
} // namespace

TEST(DebugWrite, ObjReadsBackAsTheMesh)
{
    mesh_source source = nan_bearing(7, 60);
    scatter_subsets(source, 3);
    const owned_mesh awkward(source);
    owned_mesh channels(random_soup(5, 20, 3));
    channels.set_uv_channel(2); // the current one shows
    for (const vesk_mesh *mesh : {&awkward, &std::as_const(channels)})
    {
        const temp_file file;
        ASSERT_EQ(vesk_debug_write_obj(*mesh, file.wide()), 1);
        expect_obj_is_mesh(text_of(file), *mesh);
    }
}

// The other formats were once read back word for word: PLY as the mesh, boxes with their corners,
// edges and depths, rays up to their hits, the layout's triangles in one direction and a path for
// each depth. What they write for fixed meshes is held by a digest since.
TEST(DebugWrite, TextsAreTheOnesThatWereReadBack)
{
    mesh_source awkward_source = nan_bearing(7, 60), sphere_source = displaced_sphere(200);
    scatter_subsets(awkward_source, 3);
    split_subsets(sphere_source, 3);
    owned_mesh awkward(awkward_source), sphere(sphere_source), loose(random_soup(11, 4));
    awkward.index_array[3] = awkward.uv_count; // out of range: shows as a zero UV
    loose.index_array[1 * 7 + 4] = loose.uv_count;
    loose.uv_array[loose.index_array[2 * 7 + 5]].y = float_of(0x7FC00000u);
    vesk_list<unsigned int> second;
    second.push_back(1);
    ASSERT_EQ(sphere.generate_octree(4, nullptr, nullptr), 1);
    const vesk_debug_ray_s rays[2] = {{{1.0f, 2.0f, 3.0f}, {0.0f, 0.5f, -1.0f}, 3.0f, 1},
                                      {{0.1f, 0.2f, 0.3f}, {1.0f, 0.0f, 0.0f}, 0.7f, 0}};
    const auto build = [&](const vesk_list<unsigned int> *subsets)
    { ASSERT_EQ(sphere.generate_uv_lookup_quadtree(64, 32, 3, 0, 0, subsets, nullptr), 1); };
    const temp_file file;
    const wchar_t *const to = file.wide();
    const struct
    {
        const char *what;
        std::function<int()> write;
        std::uint64_t expected;
    } rows[] = {
        {"mesh", [&] { return vesk_debug_write_ply(awkward, to); }, 0x66fda5009277219bu},
        {"octree", [&] { return vesk_debug_write_octree(sphere.get_octree(), all_depths, to); },
         0xeb851c0096a73f5cu},
        {"its top", [&] { return vesk_debug_write_octree(sphere.get_octree(), 2, to); },
         0xb6d6d0825afcb709u},
        {"rays", [&] { return vesk_debug_write_rays(rays, 2, to); }, 0x429882c320d47870u},
        {"layout",
         [&] { return build(nullptr), vesk_debug_write_uv_layout(sphere, all_depths, to); },
         0x7a0417809a4b077fu},
        {"one subset", [&] { return build(&second), vesk_debug_write_uv_layout(sphere, 0, to); },
         0xf583a1b48e58c762u},
        {"no quadtree", [&] { return vesk_debug_write_uv_layout(loose, all_depths, to); },
         0xb2417fff8eb339u},
    };
    for (const auto &row : rows)
    {
        ASSERT_EQ(row.write(), 1);
        digest text;
        for (const unsigned char byte : file.bytes())
            text.add(std::uint32_t{byte});
        EXPECT_EQ(text.value(), row.expected) << row.what << std::hex << ": 0x" << text.value();
    }
}

TEST(DebugWrite, NoLocaleGetsIntoTheNumbers)
{
    struct comma : std::numpunct<char>
    {
        char do_decimal_point() const override
        {
            return ',';
        }
        std::string do_grouping() const override
        {
            return "\3";
        }
    };
    const owned_mesh mesh(grid(40, 40));
    const temp_file file;
    const std::locale before = std::locale::global(std::locale(std::locale(), new comma));
    const int written = vesk_debug_write_obj(mesh, file.wide());
    std::locale::global(before);
    ASSERT_EQ(written, 1);
    EXPECT_EQ(text_of(file).find(','), std::string::npos);
    expect_obj_is_mesh(text_of(file), mesh);
}

TEST(DebugWrite, EmptyAndBrokenMeshesAreWritten)
{
    owned_mesh empty, broken(random_soup(2, 3));
    broken.index_array[0] = 0xFFFFFFFFu;
    broken.subset_lookup_table[0] = 14;
    broken.subset_lookup_table[1] = 0xFFFFFFFFu;
    const temp_file file;
    for (vesk_mesh *mesh : {&empty, &broken})
    {
        EXPECT_EQ(vesk_debug_write_ply(*mesh, file.wide()), 1);
        EXPECT_EQ(vesk_debug_write_uv_layout(*mesh, all_depths, file.wide()), 1);
        EXPECT_EQ(vesk_debug_write_octree(mesh->get_octree(), all_depths, file.wide()), 1);
        ASSERT_EQ(vesk_debug_write_obj(*mesh, file.wide()), 1);
        expect_obj_is_mesh(text_of(file), *mesh);
    }
    EXPECT_NE(text_of(file).find("f 4294967296/"), std::string::npos);
}

TEST(DebugWrite, FilesThatCannotBeWrittenGiveZero)
{
    const owned_mesh mesh(grid(2, 2));
    EXPECT_EQ(vesk_debug_write_obj(mesh, L"no_such_folder/mesh.obj"), 0);
#if defined(__linux__)
    EXPECT_EQ(vesk_debug_write_ply(mesh, L"/dev/full"), 0);
    const wchar_t half_of_a_pair[] = {L'a', static_cast<wchar_t>(0xD800), L'\0'};
    EXPECT_EQ(vesk_debug_write_ply(mesh, half_of_a_pair), 0);
#endif
}
