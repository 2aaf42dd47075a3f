#include "vesk/mesh.h"

#include <gtest/gtest.h>

namespace
{
// Three triangles on top of each other in the octant of low coordinates, one in the middle.
struct small_mesh
{
    vesk_mesh mesh;

    small_mesh()
    {
        const float positions[6][3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0},
                                       {8, 8, 8}, {8, 7, 8}, {7, 8, 8}};
        mesh.create(6, 28, vesk_mesh_uv_data_s());
        for (unsigned int v = 0; v < 6; ++v)
            mesh.vertex_array[v].position =
                vesk_vector3(positions[v][0], positions[v][1], positions[v][2]);
        for (unsigned int t = 0; t < 4; ++t)
            for (unsigned int c = 0; c < 3; ++c)
                mesh.index_array[t * 7 + c] = (t < 3 ? 0 : 3) + c;
        mesh.calculate_bounding_box();
        mesh.add_subset_lookup_table_entry(0, 3);
    }
    ~small_mesh()
    {
        mesh.free();
    }
};
} // namespace

TEST(OctreeBuild, AnOctantWithThreeTrianglesGetsAChildAndOneWithFewerDoesNot)
{
    small_mesh small;
    ASSERT_EQ(small.mesh.generate_octree(1, nullptr, nullptr), 1);
    const vesk_octree_node_s *root = small.mesh.get_octree();
    ASSERT_NE(root->children[0], nullptr);
    EXPECT_EQ(root->children[0]->triangles.count, 3u);
    EXPECT_EQ(root->children[7], nullptr);
    ASSERT_EQ(root->triangles.count, 1u);
    EXPECT_EQ(root->triangles.size, 1u);
    EXPECT_EQ(static_cast<const void *>(root->triangles.data[0]), small.mesh.index_array + 21);
    EXPECT_EQ(small.mesh.get_octree_size_bytes(), 2 * 56u + 4 * 4u);
}
