#include "support/failing_new.h"
#include "support/mesh_compare.h"

#include <functional>

// Counts close to 2^32: the bytes overflow a 32-bit size, or are more than any machine has. Both
// fail like exhausted memory. Nothing is really allocated: requests above a gigabyte are refused.

namespace
{
constexpr unsigned long long gigabyte = 1ull << 30;
constexpr unsigned int most_words = 0xFFFFFFFFu / 7 * 7;

/// A mesh that claims as many records as a count can say, and has none.
struct boundless_mesh : vesk_mesh
{
    boundless_mesh()
    {
        index_count = most_words;
    }
    ~boundless_mesh()
    {
        index_count = 0;
        free();
    }
};

int with_little_memory(vesk_mesh &mesh, const std::function<int(vesk_mesh &)> &run)
{
    fail_allocations_above(gigabyte);
    const int result = run(mesh);
    EXPECT_TRUE(allocation_failed() || sizeof(void *) == 4);
    return result;
}
} // namespace

TEST(Limits, CountsBeyondMemoryFailLikeExhaustedMemory)
{
    vesk_mesh_uv_data_s no_uvs;
    vesk_vector2 uv;
    vesk_vector2 *uvs = &uv;
    unsigned int index = 0, *indices = &index, uv_count = 0xFFFFFFFFu;
    vesk_mesh_uv_data_s many_uvs;
    many_uvs.channel_count = 1;
    many_uvs.uv_arrays = &uvs;
    many_uvs.uv_counts = &uv_count;
    many_uvs.uv_index_arrays = &indices;
    vesk_mesh_uv_data_s many_channels = many_uvs;
    many_channels.channel_count = 0xFFFFFFFFu;
    struct row
    {
        unsigned int vertices, words;
        const vesk_mesh_uv_data_s &uv_data;
        const wchar_t *message;
    };
    for (const row &r :
         {row{0xFFFFFFFFu, 7, no_uvs,
              L"Memory Allocation Error: Failed to allocate mesh vertex array."},
          row{1, most_words, no_uvs,
              L"Memory Allocation Error: Failed to allocate mesh index array."},
          row{1, 7, many_uvs, L"Memory Allocation Error: Failed to allocate uv array."},
          row{1, 7, many_channels, L"Memory Allocation Error: Failed to allocate uv array."}})
    {
        SCOPED_TRACE(std::wstring(r.message).c_str());
        vesk_mesh mesh;
        EXPECT_EQ(with_little_memory(mesh, [&r](vesk_mesh &m)
                                     { return m.create(r.vertices, r.words, r.uv_data); }),
                  0);
        EXPECT_TRUE(has_message(mesh, r.message));
        EXPECT_TRUE(is_empty_mesh(mesh));
        mesh.free();
    }
}

TEST(Limits, DerivingFromAMeshBeyondMemoryFails)
{
    struct row
    {
        std::function<int(vesk_mesh &)> run;
        const wchar_t *message;
    };
    const row rows[] = {
        {[](vesk_mesh &m) { return m.generate_tangents(); },
         L"Memory Allocation Error: Failed to allocate tangent array."},
        {[](vesk_mesh &m) { return m.generate_render_index_array(); },
         L"Memory Allocation Error: Failed to allocate mesh render index array."},
        {[](vesk_mesh &m) { return m.generate_octree(3, nullptr, nullptr); },
         L"Memory Allocation Error: Failed to allocate octree root node."},
        {[](vesk_mesh &m)
         { return m.generate_uv_lookup_quadtree(64, 64, 3, 0, 0, nullptr, nullptr); },
         L"Memory Allocation Error: Failed to allocate uv lookup vertex array."}};
    for (const row &r : rows)
    {
        boundless_mesh mesh;
        EXPECT_EQ(with_little_memory(mesh, r.run), 0);
        EXPECT_TRUE(has_message(mesh, r.message));
        EXPECT_TRUE(!mesh.tangent_array && !mesh.render_index_array && !mesh.octree &&
                    !mesh.uv_lookup_root);
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
