#include "vesk/mesh.h"

#include <gtest/gtest.h>

// The two ways to copy a node of a host's own tree differ in who owns the list.

template <typename Node> class TreeNode : public testing::Test
{
};
using node_types = testing::Types<vesk_octree_node_s, vesk_uv_lookup_node_s>;
TYPED_TEST_SUITE(TreeNode, node_types);

TYPED_TEST(TreeNode, ConstructionSharesTheListAndAssignmentCopiesIt)
{
    TypeParam child, node, assigned;
    node.triangles.push_back(nullptr);
    node.triangles.push_back(nullptr);
    node.children[3] = &child;
    assigned.triangles.push_back(nullptr);

    TypeParam shared(node);
    EXPECT_EQ(shared.triangles.data, node.triangles.data);
    EXPECT_EQ(shared.triangles.count, 2u);
    EXPECT_EQ(shared.children[3], &child);
    shared.triangles.data = nullptr; // only one of the two may release it

    assigned = node;
    EXPECT_NE(assigned.triangles.data, node.triangles.data);
    EXPECT_EQ(assigned.triangles.count, 2u);
    EXPECT_EQ(assigned.children[3], &child);
    EXPECT_EQ(assigned.children[2], nullptr);
}
