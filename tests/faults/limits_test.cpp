#include "support/failing_new.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

// Counts close to 2^32: the bytes overflow a 32-bit size, or are more than any machine has. Both
// fail like exhausted memory. Nothing is really allocated: requests above a gigabyte are refused.

namespace
{
constexpr unsigned long long gigabyte = 1ull << 30;
constexpr unsigned int most_words = 0xFFFFFFFFu / 7 * 7;

/// One channel of so many UVs, or so many channels.
vesk_mesh_uv_data_s uvs_of(unsigned int channel_count)
{
    static vesk_vector2 uv, *uvs = &uv;
    static unsigned int index = 0, *indices = &index, uv_count = 0xFFFFFFFFu;
    vesk_mesh_uv_data_s data;
    data.channel_count = channel_count;
    data.uv_arrays = &uvs;
    data.uv_counts = &uv_count;
    data.uv_index_arrays = &indices;
    return data;
}
} // namespace

TEST(Limits, CountsBeyondMemoryFailLikeExhaustedMemory)
{
    const struct
    {
        int (*run)(vesk_mesh &);
        const wchar_t *message;
    } rows[] = {{[](vesk_mesh &m) { return m.create(0xFFFFFFFFu, 7, uvs_of(0)); },
                 L"Memory Allocation Error: Failed to allocate mesh vertex array."},
                {[](vesk_mesh &m) { return m.create(1, most_words, uvs_of(0)); },
                 L"Memory Allocation Error: Failed to allocate mesh index array."},
                {[](vesk_mesh &m) { return m.create(1, 7, uvs_of(1)); },
                 L"Memory Allocation Error: Failed to allocate uv array."},
                {[](vesk_mesh &m) { return m.create(1, 7, uvs_of(0xFFFFFFFFu)); },
                 L"Memory Allocation Error: Failed to allocate uv array."},
                {[](vesk_mesh &m) { return m.generate_tangents(); },
                 L"Memory Allocation Error: Failed to allocate tangent array."},
                {[](vesk_mesh &m) { return m.generate_render_index_array(); },
                 L"Memory Allocation Error: Failed to allocate mesh render index array."},
                {[](vesk_mesh &m) { return m.generate_octree(3, nullptr, nullptr); },
                 L"Memory Allocation Error: Failed to allocate octree root node."},
                {[](vesk_mesh &m)
                 { return m.generate_uv_lookup_quadtree(64, 64, 3, 0, 0, nullptr, nullptr); },
                 L"Memory Allocation Error: Failed to allocate uv lookup vertex array."}};
    for (const auto &row : rows)
    {
        SCOPED_TRACE(std::wstring(row.message).c_str());
        owned_mesh mesh;
        mesh.index_count = most_words; // as many records as a count can say, and none there
        fail_allocations_above(gigabyte);
        EXPECT_EQ(row.run(mesh), 0);
        EXPECT_TRUE(allocation_failed() || sizeof(void *) == 4);
        EXPECT_TRUE(has_message(mesh, row.message));
        mesh.index_count = mesh.uv_lookup_width = mesh.uv_lookup_height = 0;
        EXPECT_TRUE(is_empty_mesh(mesh));
    }
}

TEST(Limits, ListsStayWhatTheyAreAtTheirLimits)
{
    vesk_list<vesk_vector2> list;
    list.push_back(vesk_vector2(1.0f, 2.0f));
    fail_allocations_above(gigabyte);
    list.set_size(0xFFFFFFFFu);
    allocation_failed();
    EXPECT_EQ(list.size, 1u);
    EXPECT_EQ(list[0].y, 2.0f);

    // Twice the capacity does not fit into the count.
    list.size = list.count = 0x80000000u;
    list.push_back(vesk_vector2(3.0f, 4.0f));
    EXPECT_EQ(list.count, 0x80000000u);
    list.size = list.count = 1;
}
