#include "vesk/debug_write.h"

#include "golden/digest.h"
#include "support/bits.h"
#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <gtest/gtest.h>
#include <locale>

namespace
{
constexpr unsigned int all_depths = 0xFFFFFFFFu;

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
} // namespace

TEST(DebugWrite, ObjNamesEverythingInOrderWithTheShortestDigits)
{
    mesh_source source;
    source.add_vertex({0.1f, -0.0f, 16777216.0f}, {0, 0, 1});
    source.add_vertex({1e-45f, 3.4028235e38f, 1}, {0, 1, 0});
    source.add_vertex({float_of(0x7F800000u), float_of(0xFFC00000u), 1}, {1, 0, 0});
    source.add_triangle(0, 1, 2);
    source.add_triangle(2, 1, 0xFFFFFFFEu);
    source.channels = {{{{0.5f, 0.25f}}, {0, 0, 0, 0, 0, 7}}};
    source.subsets = {7, 5};
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_obj(owned_mesh(source), file.wide()), 1);
    const byte_vector bytes = file.bytes();
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), R"(v 0.1 -0 16777216
v 1e-45 3.4028235e+38 1
v inf nan 1
vn 0 0 1
vn 0 1 0
vn 1 0 0
vt 0.5 0.25
g no_subset
f 1/1/1 2/1/2 3/1/3
g subset_0
f 3/1/3 2/1/2 4294967295/8/4294967295
)");
}

// Every text was once read back word for word: OBJ and PLY as the mesh, boxes with their corners,
// edges and depths, rays up to their hits, the layout's triangles in one direction and a path for
// each depth. What is written for fixed meshes is held by a digest since.
TEST(DebugWrite, TextsAreTheOnesThatWereReadBack)
{
    mesh_source odd_source = nan_bearing(7, 60), sphere_source = displaced_sphere(200);
    scatter_subsets(odd_source, 3);
    split_subsets(sphere_source, 3);
    owned_mesh odd(odd_source), channels(random_soup(5, 20, 3)), broken(random_soup(2, 3)), empty;
    odd.index_array[3] = odd.uv_count;    // out of range: shows as a zero UV
    owned_mesh loose(random_soup(11, 4)); // two of its triangles cannot be drawn
    loose.index_array[1 * 7 + 4] = loose.uv_count;
    loose.uv_array[loose.index_array[2 * 7 + 5]].y = float_of(0x7FC00000u);
    channels.set_uv_channel(2); // the current one shows
    broken.index_array[0] = 0xFFFFFFFFu;
    broken.subset_lookup_table[0] = 14;
    broken.subset_lookup_table[1] = 0xFFFFFFFFu;
    owned_mesh sphere(sphere_source);
    ASSERT_EQ(sphere.generate_octree(4, nullptr, nullptr), 1);
    const vesk_debug_ray_s rays[2] = {{{1.0f, 2.0f, 3.0f}, {0.0f, 0.5f, -1.0f}, 3.0f, 1},
                                      {{0.1f, 0.2f, 0.3f}, {1.0f, 0.0f, 0.0f}, 0.7f, 0}};
    vesk_list<unsigned int> second;
    second.push_back(1);

    const temp_file file;
    const wchar_t *const to = file.wide();
    const auto expect = [&file](const char *what, int written, std::uint64_t expected)
    {
        digest text;
        for (const unsigned char byte : file.bytes())
            text.add(std::uint32_t{byte});
        EXPECT_EQ(written, 1) << what;
        EXPECT_EQ(text.value(), expected) << what << std::hex << ": 0x" << text.value();
    };
    expect("odd OBJ", vesk_debug_write_obj(odd, to), 0x9d51bfeaa218c9ebu);
    expect("odd PLY", vesk_debug_write_ply(odd, to), 0x37f7020fcd789046u);
    expect("loose layout", vesk_debug_write_uv_layout(loose, all_depths, to), 0xb2417fff8eb339u);
    expect("channels OBJ", vesk_debug_write_obj(channels, to), 0x4b4511f9b9ccfa59u);
    expect("broken OBJ", vesk_debug_write_obj(broken, to), 0x97de5c60565d7e79u);
    expect("broken PLY", vesk_debug_write_ply(broken, to), 0x866308cf1e73aaf9u);
    expect("broken layout", vesk_debug_write_uv_layout(broken, all_depths, to),
           0x8d08356278dfc3a1u);
    expect("empty OBJ", vesk_debug_write_obj(empty, to), 0x14650fb0739d0383u);
    expect("empty PLY", vesk_debug_write_ply(empty, to), 0x61a4835ecc8d2b73u);
    expect("empty layout", vesk_debug_write_uv_layout(empty, all_depths, to), 0x2a143ab72ba81f2bu);
    const vesk_octree_node_s *const tree = sphere.get_octree();
    expect("octree", vesk_debug_write_octree(tree, all_depths, to), 0xeb851c0096a73f5cu);
    expect("its top", vesk_debug_write_octree(tree, 2, to), 0xb6d6d0825afcb709u);
    expect("no octree", vesk_debug_write_octree(nullptr, 2, to), 0xd14c7f9510475e30u);
    expect("rays", vesk_debug_write_rays(rays, 2, to), 0x429882c320d47870u);
    sphere.generate_uv_lookup_quadtree(64, 32, 3, 0, 0, nullptr, nullptr);
    expect("layout", vesk_debug_write_uv_layout(sphere, all_depths, to), 0x7a0417809a4b077fu);
    sphere.generate_uv_lookup_quadtree(64, 32, 3, 0, 0, &second, nullptr);
    expect("one subset", vesk_debug_write_uv_layout(sphere, 0, to), 0xf583a1b48e58c762u);
}

TEST(DebugWrite, NoLocaleGetsIntoTheNumbers)
{
    const owned_mesh mesh(grid(40, 40));
    const temp_file plain, foreign;
    EXPECT_EQ(vesk_debug_write_obj(mesh, plain.wide()), 1);
    const std::locale before = std::locale::global(std::locale(std::locale(), new comma));
    EXPECT_EQ(vesk_debug_write_obj(mesh, foreign.wide()), 1);
    std::locale::global(before);
    EXPECT_EQ(foreign.bytes(), plain.bytes());
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
