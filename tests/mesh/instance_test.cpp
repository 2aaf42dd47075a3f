#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

// What a borrower shows and what a copy of it owns. That no operation writes or releases what is
// borrowed, and which flags stand after each, is for the random sequences of operations that
// tests/fuzz replays.

namespace
{
int flags_of(const vesk_mesh &mesh)
{
    return mesh.instance_geometry | mesh.instance_tangents << 1 | mesh.instance_uv_lookup << 2 |
           mesh.instance_octree << 3;
}
} // namespace

TEST(MeshInstance, ShowsWhatItBorrowsAndACopyOwnsIt)
{
    mesh_source source = displaced_sphere(100, 2);
    split_subsets(source, 3);
    owned_mesh lender(source), borrower;
    ASSERT_EQ(lender.generate_tangents(), 1);
    ASSERT_EQ(lender.generate_octree(3, nullptr, nullptr), 1);
    const std::vector<vesk_vector3> corners(3);
    const std::vector<unsigned int> records(7);
    const vesk_uv_lookup_node_s node;
    lend_geometry(lender, borrower);
    borrower.set_instance_tangents(lender.get_tangent_array(), lender.get_tangent_count());
    borrower.set_instance_uv_lookup_quadtree(corners.data(), records.data(), 3, 7, &node, 64, 32);
    borrower.set_instance_octree(lender.get_octree());

    EXPECT_EQ(flags_of(borrower), 15);
    EXPECT_EQ(borrower.is_valid(), 1);
    EXPECT_TRUE(borrower.get_vertex_array() == lender.get_vertex_array() &&
                borrower.get_uv_array() == lender.get_uv_array() &&
                borrower.get_index_array() == lender.get_index_array() &&
                borrower.get_tangent_array() == lender.get_tangent_array() &&
                borrower.get_octree() == lender.get_octree());
    EXPECT_EQ(borrower.get_uv_count(), lender.get_uv_count());
    EXPECT_EQ(borrower.get_tangent_count(), source.triangle_count() * 3);
    EXPECT_EQ(borrower.get_subset_count(), 3u);
    EXPECT_NE(borrower.subset_lookup_table.data, lender.subset_lookup_table.data);
    EXPECT_TRUE(borrower.bounding_box_min == lender.bounding_box_min &&
                borrower.bounding_box_max == lender.bounding_box_max);
    EXPECT_EQ(borrower.get_uv_channel_count(), 1u);

    const vesk_vector3 *vertices;
    const unsigned int *indices;
    const vesk_uv_lookup_node_s *root;
    unsigned int vertex_count, index_count, width, height;
    borrower.get_uv_lookup_quadtree(&vertices, &indices, vertex_count, index_count, &root, width,
                                    height);
    EXPECT_TRUE(vertices == corners.data() && indices == records.data() && root == &node);
    EXPECT_TRUE(vertex_count == 3 && index_count == 7 && width == 64 && height == 32);
    EXPECT_EQ(borrower.generate_octree(3, nullptr, nullptr), 0); // a lent one is not replaced
    EXPECT_TRUE(has_message(borrower, nullptr));

    owned_mesh copy;
    ASSERT_EQ(copy.create(borrower), 1);
    source.channels.clear(); // UVs are not among what is copied
    owned_mesh expected(source);
    EXPECT_EQ(flags_of(copy), 0);
    EXPECT_EQ(copy.get_octree(), nullptr);
    EXPECT_NE(copy.get_tangent_array(), lender.get_tangent_array());
    EXPECT_EQ(copy.get_tangent_count(), source.triangle_count() * 3);
    copy.free_tangents();
    EXPECT_TRUE(same_mesh(copy, expected));
}
