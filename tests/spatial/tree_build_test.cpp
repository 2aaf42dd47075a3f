#include "support/hard_cases.h"
#include "support/mesh_compare.h"
#include "support/tree_compare.h"

#include <functional>

namespace
{
/// Whether the callback stops a build at a poll, by the number of the poll.
using stops = std::function<bool(int poll)>;
stops stops_build;
int polls;

int poll()
{
    return stops_build(polls++);
}

const stops never = [](int) { return false; };
const stops always = [](int) { return true; };

using subset_list = vesk_list<unsigned int>;

struct octree_case
{
    static constexpr auto root = &vesk_mesh::octree;
    static constexpr auto plain = plain::build_octree;
    static constexpr const wchar_t *no_root =
        L"Memory Allocation Error: Failed to allocate octree root node.";

    static int generate(vesk_mesh &mesh, unsigned int depth, const subset_list *subsets,
                        int (*cancel)(void))
    {
        return mesh.generate_octree(depth, subsets, cancel);
    }
};

struct quadtree_case
{
    static constexpr auto root = &vesk_mesh::uv_lookup_root;
    static constexpr auto plain = plain::build_uv_lookup;
    static constexpr const wchar_t *no_root =
        L"Memory Allocation Error: Failed to allocate quadtree root node.";

    static int generate(vesk_mesh &mesh, unsigned int depth, const subset_list *subsets,
                        int (*cancel)(void))
    {
        return mesh.generate_uv_lookup_quadtree(64, 48, depth, 0, 0, subsets, cancel);
    }
};

/// Builds both ways and holds one against the other: trees, polls and result. Gives the polls.
template <typename Case> int expect_plain_tree(vesk_mesh &mesh, unsigned int depth,
                                               const subset_list *subsets = nullptr,
                                               const stops &given_stops = nullptr)
{
    stops_build = given_stops;
    polls = 0;
    const auto callback = given_stops ? poll : nullptr;
    const int result = Case::generate(mesh, depth, subsets, callback);
    const int polls_of_library = polls;
    polls = 0;
    auto *const expected = Case::plain(mesh, depth, subsets, callback);
    EXPECT_TRUE(same_tree(mesh.*Case::root, expected));
    EXPECT_EQ(result, expected != nullptr);
    EXPECT_EQ(polls_of_library, polls);
    plain::free_tree(expected);
    return polls;
}

template <typename Case> class TreeBuild : public ::testing::Test
{
};
using cases = ::testing::Types<octree_case, quadtree_case>;
TYPED_TEST_SUITE(TreeBuild, cases, );
} // namespace

TYPED_TEST(TreeBuild, EqualsThePlainTreeOnMeshesOfAllKindsInAnyBox)
{
    // The box is the host's field: what lies outside of it, and boxes that no test likes.
    const float limit = float_of(0x7F7FFFFFu), inf = float_of(0x7F800000u);
    const float boxes[][2] = {{-0.25f, 0.5f},
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
    for (unsigned int seed = 0; seed < 2; ++seed)
        for (const mesh_source &source : meshes_of_all_kinds(seed, 60 + 300 * seed))
        {
            owned_mesh mesh(source);
            for (const unsigned int depth : {0u, 1u, 3u, 5u})
            {
                SCOPED_TRACE(depth);
                expect_plain_tree<TypeParam>(mesh, depth);
            }
            for (const float *box : boxes)
            {
                SCOPED_TRACE(box[0]);
                mesh.bounding_box_min = vesk_vector3(box[0], -1.0f, box[0]);
                mesh.bounding_box_max = vesk_vector3(box[1], 1.0f, box[1]);
                expect_plain_tree<TypeParam>(mesh, 3);
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
    subset_list subsets;
    assign_list(subsets, {0, 1, 2});
    expect_plain_tree<TypeParam>(mesh, 4, &subsets);
}

namespace
{
/// A side of some box on one axis of a root from `low` to `high`, or a float close by.
float beside_a_side(test_random &random, float low, float high)
{
    float side = low + (high - low) * static_cast<float>(random.below(33)) / 32.0f;
    for (unsigned int steps = random.below(5); steps > 0; --steps)
        side = std::nextafter(side, random.below(2) ? 1e9f : -1e9f);
    return side;
}
} // namespace

// Corners within a few roundings of the sides of boxes, near the origin and far from it.
TYPED_TEST(TreeBuild, EqualsThePlainTreeBesideTheSidesOfBoxes)
{
    test_random random(12);
    for (const float offset : {0.0f, 5.0f, -300.0f, 70000.0f})
    {
        SCOPED_TRACE(offset);
        mesh_source source = random_soup(9, 150);
        const float low = offset - 1.0f, high = offset + 1.0f;
        for (vesk_3d_vertex_s &vertex : source.vertices)
            for (unsigned int axis = 0; axis < 3; ++axis)
                vertex.position[axis] = random.below(4)
                                            ? beside_a_side(random, low - 0.01f, high + 0.01f)
                                            : vertex.position[axis] + offset;
        for (vesk_vector2 &uv : source.channels[0].uvs)
        {
            uv.x = (beside_a_side(random, -0.01f, 64.01f) + 0.5f) / 64.0f;
            uv.y = (47.5f - beside_a_side(random, -0.01f, 48.01f)) / 48.0f;
        }
        owned_mesh mesh(source);
        mesh.bounding_box_min = vesk_vector3(low, low, low);
        mesh.bounding_box_max = vesk_vector3(high, high, high);
        for (const unsigned int depth : {3u, 5u})
            expect_plain_tree<TypeParam>(mesh, depth);
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
        subset_list subsets;
        assign_list(subsets, selection);
        for (const unsigned int depth : {0u, 3u, 5u})
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
        for (const unsigned int depth : {0u, 1u, 3u})
        {
            const int all_polls = expect_plain_tree<TypeParam>(mesh, depth, nullptr, never);
            ASSERT_GT(all_polls, 8);
            for (int stop = 0; stop < all_polls; stop += 1 + all_polls / 300)
                for (const stops &given :
                     {stops([=](int poll) { return poll >= stop; }),
                      stops([=](int poll) { return poll == stop; }),
                      stops([=](int poll) { return poll == stop || poll == stop + 11; })})
                {
                    SCOPED_TRACE(::testing::Message() << "depth " << depth << " stop " << stop);
                    expect_plain_tree<TypeParam>(mesh, depth, nullptr, given);
                }
        }
    }
}

TYPED_TEST(TreeBuild, FewerThanThreeTrianglesStandInALoneRoot)
{
    const subset_list nothing;
    for (const unsigned int triangles : {0u, 1u, 2u})
    {
        owned_mesh mesh(random_soup(1, triangles));
        EXPECT_EQ(expect_plain_tree<TypeParam>(mesh, 0x80000000u, &nothing, always), 0);
        EXPECT_NE(mesh.*TypeParam::root, nullptr);
    }
}

TYPED_TEST(TreeBuild, RefusalsLeaveNoTreeAndSayWhy)
{
    mesh_source source = random_soup(1, 8);
    source.subsets = {0, 2, 14, 6, 0, 0};
    const wchar_t *const no_subsets =
        L"Failed to add any triangles to the octree root node. Subsets not found.";
    subset_list none, two, empty_one;
    assign_list(two, {0});
    assign_list(empty_one, {2, 7});
    const struct
    {
        unsigned int depth;
        const subset_list *subsets;
        stops given;
        const wchar_t *message;
    } refusals[] = {{0x80000000u, nullptr, nullptr, TypeParam::no_root},
                    {0xFFFFFFFFu, nullptr, nullptr, TypeParam::no_root},
                    {3, &two, nullptr, TypeParam::no_root},
                    {3, nullptr, always, TypeParam::no_root},
                    {3, &none, nullptr, no_subsets},
                    {3, &empty_one, nullptr, no_subsets}};
    for (const auto &refusal : refusals)
    {
        owned_mesh mesh(source);
        ASSERT_EQ(TypeParam::generate(mesh, 3, nullptr, nullptr), 1);
        expect_plain_tree<TypeParam>(mesh, refusal.depth, refusal.subsets, refusal.given);
        EXPECT_EQ(mesh.*TypeParam::root, nullptr);
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
        source.vertices[v].position = vesk_vector3();
        source.channels[0].uvs[v] =
            vesk_vector2(v % 3 == 1 ? 9.0f : -9.0f, v % 3 == 2 ? 9.0f : -9.0f);
    }
    owned_mesh mesh(source);
    mesh.bounding_box_min = vesk_vector3(0.01f, 0.01f, 0.01f);
    polls = 0;
    stops_build = [](int poll) { return poll >= 20000; };
    ASSERT_EQ(TypeParam::generate(mesh, 0x7FFFFFFFu, nullptr, poll), 1);
    // At least two thousand levels, that many nodes.
    EXPECT_GE(mesh.get_octree_size_bytes() + mesh.get_uv_lookup_quadtree_size_bytes(),
              2000 * sizeof(*(mesh.*TypeParam::root)));
}

TEST(TreeSharing, ABorrowedOctreeStaysAndAnEmptyPlaceRefusesToo)
{
    owned_mesh lender(displaced_sphere(200)), borrower(displaced_sphere(200));
    ASSERT_EQ(lender.generate_octree(3, nullptr, nullptr), 1);
    for (vesk_octree_node_s *lent : {lender.octree, (vesk_octree_node_s *)nullptr})
    {
        borrower.set_instance_octree(lent);
        EXPECT_EQ(borrower.generate_octree(5, nullptr, nullptr), 0);
        EXPECT_TRUE(borrower.get_octree() == lent && has_message(borrower, nullptr));
    }
    borrower.free_octree();
    EXPECT_EQ(borrower.get_octree_size_bytes(), 0u);
}
