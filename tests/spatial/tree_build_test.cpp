#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/plain_tree.h"
#include "support/tree_compare.h"

#include <cmath>
#include <functional>
#include <random>
#include <set>

namespace
{
const wchar_t *const no_octree_root =
    L"Memory Allocation Error: Failed to allocate octree root node.";
const wchar_t *const no_quadtree_root =
    L"Memory Allocation Error: Failed to allocate quadtree root node.";
const wchar_t *const no_subsets =
    L"Failed to add any triangles to the octree root node. Subsets not found.";

// Answers of the callback: 0, but for the polls that are named. Counts all of them.
int polls;
std::set<int> stopping_polls;
int stop_from;

int count_polls()
{
    const int poll = polls++;
    return stopping_polls.count(poll) || poll >= stop_from;
}

void restart_polls(int new_stop_from, const std::set<int> &stops = {})
{
    polls = 0;
    stop_from = new_stop_from;
    stopping_polls = stops;
}

struct octree_case
{
    using node = vesk_octree_node_s;

    static int generate(vesk_mesh &mesh, unsigned int depth, const vesk_list<unsigned int> *subsets,
                        int (*cancel)(void))
    {
        return mesh.generate_octree(depth, subsets, cancel);
    }
    static node *plain(const vesk_mesh &mesh, unsigned int depth,
                       const vesk_list<unsigned int> *subsets, int (*cancel)(void))
    {
        return plain::build_octree(mesh, depth, subsets, cancel);
    }
    static const node *root(const vesk_mesh &mesh)
    {
        return mesh.octree;
    }
    static const wchar_t *no_root()
    {
        return no_octree_root;
    }
};

struct quadtree_case
{
    using node = vesk_uv_lookup_node_s;

    static int generate(vesk_mesh &mesh, unsigned int depth, const vesk_list<unsigned int> *subsets,
                        int (*cancel)(void))
    {
        return mesh.generate_uv_lookup_quadtree(64, 48, depth, 0, 0, subsets, cancel);
    }
    static node *plain(const vesk_mesh &mesh, unsigned int depth,
                       const vesk_list<unsigned int> *subsets, int (*cancel)(void))
    {
        return plain::build_uv_lookup(mesh, depth, subsets, cancel);
    }
    static const node *root(const vesk_mesh &mesh)
    {
        return mesh.uv_lookup_root;
    }
    static const wchar_t *no_root()
    {
        return no_quadtree_root;
    }
};

/// Builds both ways and holds one against the other: trees, polls, result and message.
template <typename Case> void expect_plain_tree(vesk_mesh &mesh, unsigned int depth,
                                                const vesk_list<unsigned int> *subsets = nullptr,
                                                int new_stop_from = -1,
                                                const std::set<int> &stops = {})
{
    const bool is_polled = new_stop_from >= 0;
    restart_polls(new_stop_from, stops);
    const int result = Case::generate(mesh, depth, subsets, is_polled ? count_polls : nullptr);
    const int polls_of_library = polls;
    restart_polls(new_stop_from, stops);
    typename Case::node *expected =
        Case::plain(mesh, depth, subsets, is_polled ? count_polls : nullptr);
    EXPECT_TRUE(same_tree<typename Case::node>(Case::root(mesh), expected));
    EXPECT_EQ(result, expected != nullptr);
    EXPECT_EQ(polls_of_library, polls);
    plain::free_tree(expected);
}

template <typename Case> class TreeBuild : public ::testing::Test
{
};
using cases = ::testing::Types<octree_case, quadtree_case>;
TYPED_TEST_SUITE(TreeBuild, cases, );

constexpr int never = 1 << 30;

std::vector<mesh_source> sources_of_all_kinds(std::uint64_t seed)
{
    std::vector<mesh_source> sources = {
        random_soup(seed, 60),  random_web(seed, 200, 40), grid(8, 8),
        displaced_sphere(1500), clustered(seed, 400),      degenerate(seed, 300),
        nan_bearing(seed, 300)};
    // Coordinates on the planes that boxes are split at, in a box without the usual margin.
    mesh_source aligned = random_soup(seed, 300);
    for (vesk_3d_vertex_s &vertex : aligned.vertices)
        for (unsigned int axis = 0; axis < 3; ++axis)
            vertex.position[axis] = std::floor(vertex.position[axis] * 8.0f) / 8.0f;
    for (vesk_vector2 &uv : aligned.channels[0].uvs)
        uv = vesk_vector2(std::floor(uv.x * 8.0f) / 8.0f, std::floor(uv.y * 8.0f) / 8.0f);
    sources.push_back(aligned);
    // UVs as odd as the positions.
    mesh_source odd = nan_bearing(seed + 1, 300);
    for (unsigned int i = 0; i < odd.channels[0].uvs.size(); ++i)
        if (i % 5 == 0)
            odd.channels[0].uvs[i].x = odd.vertices[i % odd.vertices.size()].position.x;
    sources.push_back(odd);
    return sources;
}
} // namespace

TYPED_TEST(TreeBuild, EqualsThePlainTreeOnMeshesOfAllKinds)
{
    for (std::uint64_t seed = 1; seed <= 2; ++seed)
        for (const mesh_source &source : sources_of_all_kinds(seed))
        {
            owned_mesh mesh(source);
            for (unsigned int depth : {0u, 1u, 3u, 5u})
            {
                SCOPED_TRACE(::testing::Message() << "seed " << seed << " triangles "
                                                  << source.triangle_count() << " depth " << depth);
                expect_plain_tree<TypeParam>(mesh, depth);
            }
        }
}

// More triangles than are brought together at a time; some of them twice.
TYPED_TEST(TreeBuild, EqualsThePlainTreeOnLargeMeshes)
{
    mesh_source source = displaced_sphere(36000);
    source.subsets = {0, 35000, 34000 * 7, 2000, 0, 300};
    owned_mesh mesh(source);
    expect_plain_tree<TypeParam>(mesh, 4);
    vesk_list<unsigned int> subsets;
    assign_list(subsets, {0, 1, 2});
    expect_plain_tree<TypeParam>(mesh, 4, &subsets);
}

namespace
{
/// A side of some box on one axis of a root from `low` to `high`, or a float close by.
float beside_a_side(std::mt19937 &random, float low, float high)
{
    for (auto levels = random() % 6; levels > 0; --levels)
    {
        const float half = (high - low) * 0.5f;
        low = random() % 2 ? low + half : low;
        high = low + half;
    }
    float side = random() % 2 ? low : high;
    for (auto steps = random() % 5; steps > 0; --steps)
        side = std::nextafter(side, random() % 2 ? 1e9f : -1e9f);
    return side;
}
} // namespace

// Corners within a few roundings of the sides of boxes, near the origin and far from it.
TYPED_TEST(TreeBuild, EqualsThePlainTreeBesideTheSidesOfBoxes)
{
    std::mt19937 random(12);
    for (float offset : {0.0f, 5.0f, -300.0f, 70000.0f})
    {
        SCOPED_TRACE(offset);
        mesh_source source = random_soup(9, 150);
        const float low = offset - 1.0f, high = offset + 1.0f;
        for (vesk_3d_vertex_s &vertex : source.vertices)
            for (unsigned int axis = 0; axis < 3; ++axis)
                vertex.position[axis] = random() % 4
                                            ? beside_a_side(random, low - 0.01f, high + 0.01f)
                                            : vertex.position[axis] + offset;
        for (vesk_vector2 &uv : source.channels[0].uvs)
            uv = vesk_vector2((beside_a_side(random, -0.01f, 64.01f) + 0.5f) / 64.0f,
                              (47.5f - beside_a_side(random, -0.01f, 48.01f)) / 48.0f);
        owned_mesh mesh(source);
        mesh.bounding_box_min = vesk_vector3(low, low, low);
        mesh.bounding_box_max = vesk_vector3(high, high, high);
        for (unsigned int depth : {3u, 5u})
            expect_plain_tree<TypeParam>(mesh, depth);
    }
}

// The box is the host's field: what lies outside of it, and boxes that no test likes.
TYPED_TEST(TreeBuild, EqualsThePlainTreeInOddBoxes)
{
    const float limit = float_of(0x7F7FFFFFu), inf = float_of(0x7F800000u);
    const float corners[][2] = {{-0.25f, 0.5f},
                                {0.5f, -0.5f},
                                {0.0f, 0.0f},
                                {-1e30f, 1e30f},
                                {limit, -limit},
                                {-inf, inf},
                                {-1.0f, inf},
                                {0.01f, 2.0f},
                                {-4e11f, 1.0f},
                                {-limit, limit},
                                {float_of(0x7FC00000u), 1.0f}};
    for (const float *corner : corners)
        for (const mesh_source &source : {random_soup(5, 80), nan_bearing(6, 200)})
        {
            SCOPED_TRACE(corner[0]);
            owned_mesh mesh(source);
            mesh.bounding_box_min = vesk_vector3(corner[0], -1.0f, corner[0]);
            mesh.bounding_box_max = vesk_vector3(corner[1], 1.0f, corner[1]);
            expect_plain_tree<TypeParam>(mesh, 3);
        }
}

TYPED_TEST(TreeBuild, SubsetsMayRepeatOverlapBeEmptyOrBeyondTheTable)
{
    mesh_source source = displaced_sphere(800);
    source.subsets = {0, 700, 1400, 500, 700, 300, 350, 0, 2100, 2, 4, 100, 77};
    owned_mesh mesh(source);
    const std::vector<std::vector<unsigned int>> selections = {
        {0},      {1, 0},       {0, 0},    {0, 2, 2, 1},     {3, 2, 99, 0x80000000u, 3},
        {5, 2},   {6, 5, 0, 1}, {4, 4, 4}, {2, 0xFFFFFFFFu}, {4, 3},
        {6, 3, 4}};
    for (const std::vector<unsigned int> &selection : selections)
    {
        SCOPED_TRACE(::testing::PrintToString(selection));
        vesk_list<unsigned int> subsets;
        assign_list(subsets, selection);
        for (unsigned int depth : {0u, 3u, 5u})
            expect_plain_tree<TypeParam>(mesh, depth, &subsets);
        subsets.reversed = 1;
        expect_plain_tree<TypeParam>(mesh, 2, &subsets, never);
    }
}

// From some poll on, or at one or two polls alone: partial trees and the number of polls.
TYPED_TEST(TreeBuild, EqualsThePlainTreeAtEveryStop)
{
    for (const mesh_source &source : {random_soup(3, 12), degenerate(4, 20), grid(3, 2)})
    {
        owned_mesh mesh(source);
        for (unsigned int depth : {0u, 1u, 3u})
        {
            expect_plain_tree<TypeParam>(mesh, depth, nullptr, never);
            const int all_polls = polls;
            ASSERT_GT(all_polls, 8);
            for (int stop = 0; stop < all_polls; stop += 1 + all_polls / 300)
            {
                SCOPED_TRACE(::testing::Message() << "depth " << depth << " stop " << stop);
                expect_plain_tree<TypeParam>(mesh, depth, nullptr, stop);
                expect_plain_tree<TypeParam>(mesh, depth, nullptr, never, {stop});
                expect_plain_tree<TypeParam>(mesh, depth, nullptr, never, {stop, stop + 11});
            }
        }
    }
}

TYPED_TEST(TreeBuild, FewerThanThreeTrianglesStandInALoneRoot)
{
    for (unsigned int triangles : {0u, 1u, 2u})
    {
        owned_mesh mesh(random_soup(1, triangles));
        vesk_list<unsigned int> nothing;
        restart_polls(0);
        EXPECT_EQ(TypeParam::generate(mesh, 0x80000000u, &nothing, count_polls), 1);
        EXPECT_EQ(polls, 0);
        typename TypeParam::node *expected = TypeParam::plain(mesh, 5, nullptr, nullptr);
        EXPECT_TRUE(same_tree<typename TypeParam::node>(TypeParam::root(mesh), expected));
        plain::free_tree(expected);
    }
}

TYPED_TEST(TreeBuild, RefusalsLeaveNoTreeAndSayWhy)
{
    mesh_source source = random_soup(1, 8);
    source.subsets = {0, 2, 14, 6, 0, 0};
    vesk_list<unsigned int> none, two, empty_one;
    assign_list(two, {0});
    assign_list(empty_one, {2, 7});
    const struct
    {
        unsigned int depth;
        int stop;
        const vesk_list<unsigned int> *subsets;
        const wchar_t *message;
    } refusals[] = {{0x80000000u, -1, nullptr, TypeParam::no_root()},
                    {0xFFFFFFFFu, -1, nullptr, TypeParam::no_root()},
                    {3, -1, &two, TypeParam::no_root()},
                    {3, 0, nullptr, TypeParam::no_root()},
                    {3, -1, &none, no_subsets},
                    {3, -1, &empty_one, no_subsets}};
    for (const auto &refusal : refusals)
    {
        owned_mesh mesh(source);
        ASSERT_EQ(TypeParam::generate(mesh, 3, nullptr, nullptr), 1);
        restart_polls(refusal.stop);
        EXPECT_EQ(TypeParam::generate(mesh, refusal.depth, refusal.subsets,
                                      refusal.stop < 0 ? nullptr : count_polls),
                  0);
        EXPECT_EQ(TypeParam::root(mesh), nullptr);
        EXPECT_TRUE(has_message(mesh, refusal.message));
    }
}

// Coincident triangles go down as deep as they are let, past the depth at which boxes have no size;
// the callback ends it.
TYPED_TEST(TreeBuild, DepthIsBoundedByTheCallerAlone)
{
    mesh_source source = random_soup(1, 4);
    for (unsigned int v = 0; v < 9; ++v)
    {
        source.vertices[v].position = vesk_vector3(0.0f, 0.0f, 0.0f);
        source.channels[0].uvs[v] =
            vesk_vector2(v % 3 == 1 ? 9.0f : -9.0f, v % 3 == 2 ? 9.0f : -9.0f);
    }
    owned_mesh mesh(source);
    mesh.bounding_box_min = vesk_vector3(0.01f, 0.01f, 0.01f);
    restart_polls(20000);
    ASSERT_EQ(TypeParam::generate(mesh, 0x7FFFFFFFu, nullptr, count_polls), 1);
    // At least two thousand levels, that many nodes.
    EXPECT_GE(mesh.get_octree_size_bytes() + mesh.get_uv_lookup_quadtree_size_bytes(),
              2000 * sizeof(typename TypeParam::node));
}

TEST(TreeSharing, ABorrowedOctreeStaysAndAnEmptyPlaceRefusesToo)
{
    owned_mesh lender(displaced_sphere(200)), borrower(displaced_sphere(200));
    ASSERT_EQ(lender.generate_octree(3, nullptr, nullptr), 1);
    ASSERT_EQ(borrower.generate_octree(3, nullptr, nullptr), 1);
    const unsigned int bytes = lender.get_octree_size_bytes();
    borrower.set_instance_octree(lender.get_octree());
    EXPECT_EQ(borrower.generate_octree(5, nullptr, nullptr), 0);
    EXPECT_EQ(borrower.error_stack.count, 0u);
    EXPECT_EQ(borrower.get_octree(), lender.get_octree());
    borrower.free_octree();
    EXPECT_EQ(borrower.get_octree(), nullptr);
    EXPECT_EQ(borrower.get_octree_size_bytes(), 0u);
    EXPECT_EQ(lender.get_octree_size_bytes(), bytes);
    borrower.set_instance_octree(nullptr);
    EXPECT_EQ(borrower.generate_octree(5, nullptr, nullptr), 0);
}
