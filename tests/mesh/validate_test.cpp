#include "vesk/validate.h"

#include "support/bits.h"
#include "support/mesh_builder.h"

#include <functional>
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
    const float infinity = std::numeric_limits<float>::infinity();
    const auto spoil_vertices = [infinity](vesk_mesh &mesh)
    {
        mesh.vertex_array[700].normal.z = infinity;
        mesh.vertex_array[900].position.x = infinity;
    };
    const auto spoil_record = [](vesk_mesh &mesh)
    {
        mesh.index_array[1999 * 7 + 2] = mesh.vertex_count;
        mesh.index_array[1999 * 7 + 3] = mesh.uv_count;
    };
    const struct
    {
        std::function<void(vesk_mesh &)> change;
        vesk_mesh_fault_kind kind;
        unsigned int vesk_mesh_fault_s::*place = nullptr;
        unsigned int number = 0;
    } rows[] = {
        {spoil_vertices, vesk_mesh_fault_normal_not_finite, &vesk_mesh_fault_s::vertex, 700},
        {spoil_record, vesk_mesh_fault_vertex_index, &vesk_mesh_fault_s::triangle, 1999},
        {spoil_record, vesk_mesh_fault_vertex_index, &vesk_mesh_fault_s::corner, 2},
        {[](vesk_mesh &m) { m.index_array[300 * 7 + 4] = m.uv_count; }, vesk_mesh_fault_uv_index,
         &vesk_mesh_fault_s::corner, 1},
        {[](vesk_mesh &m) { m.uv_index_arrays[1][3 * 513 + 1] = 0xFFFFFFFFu; },
         vesk_mesh_fault_channel_uv_index, &vesk_mesh_fault_s::triangle, 513},
        {[](vesk_mesh &m) { m.uv_index_arrays[1][3 * 513 + 1] = 0xFFFFFFFFu; },
         vesk_mesh_fault_channel_uv_index, &vesk_mesh_fault_s::value, 0xFFFFFFFFu},
        {[](vesk_mesh &m) { m.subset_lookup_table[5] += 1; }, vesk_mesh_fault_subset_range,
         &vesk_mesh_fault_s::subset, 2},
        {[](vesk_mesh &m) { m.subset_lookup_table[2] += 1; }, vesk_mesh_fault_subset_range,
         &vesk_mesh_fault_s::subset, 1},
        {[](vesk_mesh &m) { m.subset_lookup_table.push_back(7); }, vesk_mesh_fault_subset_table},
        {[](vesk_mesh &m) { m.tangent_count = 3; }, vesk_mesh_fault_tangent_count},
        {[](vesk_mesh &m) { m.uv_channel_counts.pop_back(); }, vesk_mesh_fault_channel_lists},
        {[](vesk_mesh &m) { m.uv_count -= 1; }, vesk_mesh_fault_current_channel},
        {[](vesk_mesh &m) { m.index_count -= 1; }, vesk_mesh_fault_index_count},
    };
    for (const auto &row : rows)
    {
        SCOPED_TRACE(&row - rows);
        const vesk_mesh_fault_s fault = fault_after(row.change);
        EXPECT_EQ(fault.kind, row.kind);
        EXPECT_EQ(row.place ? fault.*row.place : 0, row.number);
    }
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
