#include "support/bits.h"
#include "support/mesh_compare.h"

#include <limits>

TEST(MeshLifecycle, ANewMeshIsEmptyFreeCanBeRepeatedAndSubsetsArePairs)
{
    vesk_mesh mesh;
    EXPECT_TRUE(is_empty_mesh(mesh) && has_message(mesh, nullptr));
    mesh.add_subset_lookup_table_entry(0, 2);
    EXPECT_EQ((*mesh.get_subset_lookup_table())[1], 2u);
    mesh.subset_lookup_table.push_back(14);
    EXPECT_EQ(mesh.get_subset_count(), 1u);
    mesh.free();
    mesh.free();
    EXPECT_TRUE(is_empty_mesh(mesh));
}

TEST(MeshBoundingBox, IgnoresNanAndHoldsNoPointWithoutVertices)
{
    vesk_mesh mesh;
    vesk_vector3 low, high;
    mesh.calculate_bounding_box();
    mesh.get_bounding_box(low, high);
    for (unsigned int axis = 0; axis < 3; ++axis)
    {
        EXPECT_BITS(low[axis], 0x7F7FFFFFu);
        EXPECT_LT(high[axis], low[axis]);
    }

    vesk_3d_vertex_s vertices[3];
    vertices[0].position = vesk_vector3(-3.0f, std::numeric_limits<float>::quiet_NaN(), -0.0f);
    vertices[1].position = vesk_vector3(-5.0f, 2.0f, 0.0f);
    vertices[2].position = vesk_vector3(-4.0f, 1.0f, -0.0f);
    mesh.vertex_array = vertices;
    mesh.vertex_count = 3;
    mesh.calculate_bounding_box();
    EXPECT_TRUE(same_bits(mesh.bounding_box_min, vesk_vector3(-5.0f, 1.0f, -0.0f)));
    EXPECT_TRUE(same_bits(mesh.bounding_box_max, vesk_vector3(-3.0f, 2.0f, -0.0f)));
    mesh.reset();
    EXPECT_TRUE(is_empty_mesh(mesh));
}
