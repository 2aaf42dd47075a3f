#include "support/bits.h"
#include "support/mesh_compare.h"

TEST(MeshLifecycle, ANewMeshIsEmptyAndItsBoxHoldsNoPoint)
{
    vesk_mesh mesh;
    EXPECT_TRUE(is_empty_mesh(mesh) && has_message(mesh, nullptr));
    vesk_vector3 low, high;
    mesh.calculate_bounding_box();
    mesh.get_bounding_box(low, high);
    EXPECT_BITS(low.y, 0x7F7FFFFFu);
    EXPECT_BITS(high.y, 0xFF7FFFFFu);
    mesh.add_subset_lookup_table_entry(14, 2);
    EXPECT_EQ((*mesh.get_subset_lookup_table())[1], 2u);
    mesh.free();
    mesh.free();
    EXPECT_TRUE(is_empty_mesh(mesh));
}
