#include "vesk/validate.h"

#include "support/bits.h"
#include "support/mesh_builder.h"

#include <limits>

namespace
{
/// The fault of a sound mesh after one change to it.
template <typename Change> vesk_mesh_fault_s fault_after(Change change)
{
    mesh_source source = displaced_sphere(2000, 2);
    split_subsets(source, 3);
    owned_mesh mesh(source);
    vesk_mesh_fault_s fault;
    EXPECT_EQ(vesk_mesh_validate(mesh, &fault), 1);
    EXPECT_EQ(fault.kind, vesk_mesh_fault_none);
    change(mesh);
    EXPECT_EQ(vesk_mesh_validate(mesh, nullptr), 0);
    EXPECT_EQ(vesk_mesh_validate(mesh, &fault), 0);
    return fault;
}
} // namespace

TEST(Validate, NamesTheFirstFaultAndItsPlace)
{
    vesk_mesh_fault_s fault = fault_after(
        [](vesk_mesh &mesh)
        {
            mesh.vertex_array[700].normal.z = std::numeric_limits<float>::infinity();
            mesh.vertex_array[900].position.x = std::numeric_limits<float>::quiet_NaN();
        });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_normal_not_finite);
    EXPECT_EQ(fault.vertex, 700u);

    fault = fault_after(
        [](vesk_mesh &mesh)
        {
            mesh.index_array[1999 * 7 + 2] = mesh.vertex_count;
            mesh.index_array[1999 * 7 + 3] = mesh.uv_count;
        });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_vertex_index);
    EXPECT_EQ(fault.triangle, 1999u);
    EXPECT_EQ(fault.corner, 2u);

    fault = fault_after([](vesk_mesh &mesh) { mesh.index_array[300 * 7 + 4] = mesh.uv_count; });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_uv_index);
    EXPECT_EQ(fault.corner, 1u);

    fault =
        fault_after([](vesk_mesh &mesh) { mesh.uv_index_arrays[1][3 * 513 + 1] = 0xFFFFFFFFu; });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_channel_uv_index);
    EXPECT_EQ(fault.channel, 1u);
    EXPECT_EQ(fault.triangle, 513u);
    EXPECT_EQ(fault.corner, 1u);
    EXPECT_EQ(fault.value, 0xFFFFFFFFu);

    fault = fault_after([](vesk_mesh &mesh) { mesh.subset_lookup_table[5] += 1; });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_subset_range);
    EXPECT_EQ(fault.subset, 2u);
    fault = fault_after([](vesk_mesh &mesh) { mesh.subset_lookup_table[2] += 1; });
    EXPECT_EQ(fault.subset, 1u);
    fault = fault_after([](vesk_mesh &mesh) { mesh.subset_lookup_table.push_back(7); });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_subset_table);

    fault = fault_after([](vesk_mesh &mesh) { mesh.tangent_count = 3; });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_tangent_count);
    fault = fault_after([](vesk_mesh &mesh) { mesh.uv_channel_counts.pop_back(); });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_channel_lists);
    fault = fault_after([](vesk_mesh &mesh) { mesh.uv_count -= 1; });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_current_channel);
    fault = fault_after([](vesk_mesh &mesh) { mesh.index_count -= 1; });
    EXPECT_EQ(fault.kind, vesk_mesh_fault_index_count);
}

TEST(Validate, StatesThatAreNoFaultsPass)
{
    owned_mesh empty;
    EXPECT_EQ(vesk_mesh_validate(empty, nullptr), 1);

    owned_mesh mesh(grid(4, 4, 2));
    mesh.set_uv_channel(9); // every corner reads the shared zero UV
    EXPECT_EQ(vesk_mesh_validate(mesh, nullptr), 1);
    mesh.uv_array = nullptr;
    EXPECT_EQ(vesk_mesh_validate(mesh, nullptr), 0);
    mesh.set_uv_channel(1);

    EXPECT_NE(vesk_mesh_fault_text(vesk_mesh_fault_vertex_index)[0], L'\0');
}
