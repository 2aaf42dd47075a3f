#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

#include <algorithm>

// What a borrower shows and what a copy of it owns. That no operation writes or releases what is
// borrowed, and which flags stand after each, is for the random sequences of operations that
// tests/fuzz replays.

TEST(MeshInstance, ShowsWhatItBorrowsAndACopyOwnsIt)
{
    mesh_source source = displaced_sphere(100);
    split_subsets(source, 3);
    owned_mesh lender(source), borrower, copy;
    ASSERT_EQ(lender.generate_tangents(), 1);
    ASSERT_EQ(lender.generate_octree(3, nullptr, nullptr), 1);
    const vesk_vector3 corners[3];
    const unsigned int records[7] = {};
    const vesk_uv_lookup_node_s node;
    lend_geometry(lender, borrower);
    borrower.set_instance_tangents(lender.get_tangent_array(), lender.get_tangent_count());
    borrower.set_instance_uv_lookup_quadtree(corners, records, 3, 7, &node, 64, 32);
    borrower.set_instance_octree(lender.get_octree());

    EXPECT_TRUE(same_mesh(borrower, lender) && borrower.is_valid());
    EXPECT_TRUE(borrower.get_vertex_array() == lender.get_vertex_array() &&
                borrower.get_uv_array() == lender.get_uv_array() &&
                borrower.get_index_array() == lender.get_index_array() &&
                borrower.get_tangent_array() == lender.get_tangent_array() &&
                borrower.get_octree() == lender.get_octree());
    EXPECT_NE(borrower.subset_lookup_table.data, lender.subset_lookup_table.data);
    const vesk_vector3 *vertices;
    const unsigned int *indices;
    const vesk_uv_lookup_node_s *root;
    unsigned int vertex_count, index_count, width, height;
    borrower.get_uv_lookup_quadtree(&vertices, &indices, vertex_count, index_count, &root, width,
                                    height);
    EXPECT_TRUE(vertices == corners && indices == records && root == &node);
    EXPECT_TRUE(vertex_count == 3 && index_count == 7 && width == 64 && height == 32);
    EXPECT_EQ(borrower.generate_octree(3, nullptr, nullptr), 0); // a lent one is not replaced
    EXPECT_TRUE(has_message(borrower, nullptr));

    ASSERT_EQ(copy.create(borrower), 1);
    source.channels.clear(); // UVs are not among what is copied
    owned_mesh expected(source);
    ASSERT_EQ(expected.generate_tangents(), 1);
    std::copy_n(lender.tangent_array, lender.tangent_count, expected.tangent_array);
    EXPECT_TRUE(same_mesh(copy, expected));
    EXPECT_FALSE(copy.instance_geometry || copy.instance_tangents || copy.get_octree());
    EXPECT_NE(copy.get_tangent_array(), lender.get_tangent_array());
}
