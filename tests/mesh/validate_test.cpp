#include "vesk/validate.h"

#include "support/mesh_builder.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

TEST(Validate, NamesTheFirstFaultAndItsPlace)
{
    mesh_source source = displaced_sphere(2000, 2);
    split_subsets(source, 3);
    // A fault is its kind, then vertex, triangle, corner, channel, subset and value.
    const auto expect = [&source](const vesk_mesh_fault_s &expected, auto spoil)
    {
        owned_mesh mesh(source);
        spoil(mesh);
        vesk_mesh_fault_s fault;
        EXPECT_EQ(vesk_mesh_validate(mesh, &fault), expected.kind == vesk_mesh_fault_none);
        EXPECT_EQ(vesk_mesh_validate(mesh, nullptr), expected.kind == vesk_mesh_fault_none);
        EXPECT_EQ(fault.kind, expected.kind);
        EXPECT_EQ(std::memcmp(&fault, &expected, sizeof(fault)), 0) << fault.kind;
        EXPECT_NE(vesk_mesh_fault_text(fault.kind)[0], L'\0');
    };
    const unsigned int none = 0xFFFFFFFFu, words = source.index_count();
    const unsigned int limit = source.vertex_count(); // and as many UVs in channel 0
    // Each word of the record that begins a block of the check.
    for (unsigned int word = 0; word < 6; ++word)
        expect({word < 3 ? vesk_mesh_fault_vertex_index : vesk_mesh_fault_uv_index, 0, 512,
                word % 3, 0, 0, limit},
               [=](vesk_mesh &m)
               {
                   m.index_array[512 * 7 + word] = limit;
                   m.index_array[1999 * 7] = none;
               });
    expect({vesk_mesh_fault_vertex_index, 0, 1999, 2, 0, 0, limit}, [=](vesk_mesh &m)
           { m.index_array[1999 * 7 + 2] = m.index_array[1999 * 7 + 3] = limit; });
    expect({vesk_mesh_fault_normal_not_finite, 700, 0, 0, 0, 0, 0}, [](vesk_mesh &m)
           { m.vertex_array[700].normal.z = m.vertex_array[900].position.x = INFINITY; });
    expect({vesk_mesh_fault_position_not_finite, 256, 0, 0, 0, 0, 0}, [](vesk_mesh &m)
           { m.vertex_array[256].position.y = m.vertex_array[256].normal.x = NAN; });
    expect({vesk_mesh_fault_channel_uv_index, 0, 512, 1, 1, 0, none},
           [](vesk_mesh &m) { m.uv_index_arrays[1][3 * 512 + 1] = none; });
    expect({vesk_mesh_fault_subset_range, 0, 0, 0, 0, 2, source.subsets[4]},
           [](vesk_mesh &m) { m.subset_lookup_table[5] += 1; });
    expect({vesk_mesh_fault_subset_range, 0, 0, 0, 0, 1, source.subsets[2] + 1},
           [](vesk_mesh &m) { m.subset_lookup_table[2] += 1; });
    expect({vesk_mesh_fault_subset_table, 0, 0, 0, 0, 0, 7},
           [](vesk_mesh &m) { m.subset_lookup_table.push_back(7); });
    expect({vesk_mesh_fault_tangent_count, 0, 0, 0, 0, 0, 3},
           [](vesk_mesh &m) { m.tangent_count = 3; });
    expect({vesk_mesh_fault_missing_array, 0, 0, 0, 0, 0, 0},
           [](vesk_mesh &m) { m.tangent_count = m.index_count / 7 * 3; });
    expect({vesk_mesh_fault_channel_lists, 0, 0, 0, 0, 0, 2},
           [](vesk_mesh &m) { m.uv_channel_counts.pop_back(); });
    expect({vesk_mesh_fault_missing_channel, 0, 0, 0, 2, 0, 0},
           [](vesk_mesh &m)
           {
               m.uv_channel_arrays.push_back(nullptr);
               m.uv_channel_counts.push_back(0);
               m.uv_index_arrays.push_back(nullptr);
           });
    expect({vesk_mesh_fault_current_channel, 0, 0, 0, 0, 0, 0},
           [](vesk_mesh &m) { m.uv_count -= 1; });
    expect({vesk_mesh_fault_index_count, 0, 0, 0, 0, 0, words - 1},
           [](vesk_mesh &m) { m.index_count -= 1; });
    // Out of range is no fault: every corner reads the shared zero UV.
    expect({vesk_mesh_fault_none, 0, 0, 0, 0, 0, 0}, [](vesk_mesh &m) { m.set_uv_channel(9); });
    expect({vesk_mesh_fault_missing_array, 0, 0, 0, 0, 0, 0},
           [](vesk_mesh &m) { m.uv_array = nullptr; });
    EXPECT_EQ(vesk_mesh_validate(owned_mesh(), nullptr), 1);
}
