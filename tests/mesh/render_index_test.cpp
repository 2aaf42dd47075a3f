#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

#include <algorithm>
#include <map>

namespace
{
struct run
{
    unsigned int color, first_index, triangle_count;
    bool operator==(const run &other) const
    {
        return color == other.color && first_index == other.first_index &&
               triangle_count == other.triangle_count;
    }
};

/// What the sort must leave: runs for each subset and the render index.
struct sorted_index
{
    std::vector<std::vector<run>> table;
    std::vector<unsigned int> words;
};

/// The sort at its plainest: a stable one, triangle by triangle.
sorted_index plain_sort(const vesk_mesh &mesh, const std::vector<unsigned int> &record_order,
                        const std::vector<unsigned long> &colors)
{
    sorted_index result;
    result.words = record_order;
    std::size_t next_color = 0;
    unsigned int out = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
    {
        const unsigned int first = mesh.subset_lookup_table[s * 2];
        const unsigned int count = mesh.subset_lookup_table[s * 2 + 1];
        std::multimap<unsigned int, const unsigned int *> ordered; // equal keys keep their order
        for (unsigned int j = 0; j < count; ++j)
            ordered.emplace(static_cast<unsigned int>(colors[next_color++]),
                            mesh.index_array + first + j * 7);
        std::vector<run> runs;
        for (const auto &[color, record] : ordered)
        {
            if (runs.empty() || runs.back().color != color)
                runs.push_back({color, out, 0});
            ++runs.back().triangle_count;
            std::copy(record, record + 3, result.words.begin() + out);
            out += 3;
        }
        result.table.push_back(runs);
    }
    return result;
}

std::vector<std::vector<run>> table_of(const vesk_mesh &mesh)
{
    const vesk_list<vesk_subset_color_lookup_s> *table;
    mesh.get_render_color_lookup_table(&table);
    std::vector<std::vector<run>> result(table->count);
    for (unsigned int s = 0; s < table->count; ++s)
        for (unsigned int i = 0; i < (*table)[s].runs.count; ++i)
        {
            const vesk_triangle_color_data_s &entry = (*table)[s].runs[i];
            result[s].push_back({entry.color, entry.first_index, entry.triangle_count});
        }
    return result;
}

std::vector<unsigned int> words_of(const vesk_mesh &mesh)
{
    const unsigned int *words = mesh.get_render_index_array();
    return std::vector<unsigned int>(words, words + mesh.get_render_index_count());
}

/// Sorts and compares with the plain sort. Triangles of one colour keep record order, so the
/// comparison is of every word.
void expect_sorted(vesk_mesh &mesh, const std::vector<unsigned long> &values, bool reversed = false)
{
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    const sorted_index expected = plain_sort(mesh, words_of(mesh), values);
    vesk_list<unsigned long> colors;
    assign_list(colors, values);
    if (reversed)
    {
        std::reverse(colors.data, colors.data + colors.count);
        colors.reversed = 1;
    }
    for (int round = 0; round < 2; ++round) // the second one starts from sorted words
    {
        ASSERT_EQ(mesh.sort_render_index_by_subset_color(colors), 1);
        ASSERT_EQ(table_of(mesh), expected.table);
        ASSERT_EQ(words_of(mesh), expected.words);
    }
}

std::vector<unsigned long> random_colors(test_random &random, std::size_t count,
                                         std::uint32_t color_count, bool any_bits)
{
    std::vector<unsigned long> values(color_count);
    for (std::uint32_t i = 0; i < color_count; ++i)
        values[i] = any_bits ? random.next() : i;
    std::vector<unsigned long> colors(count);
    for (unsigned long &color : colors)
        color = values[random.below(color_count)];
    return colors;
}
} // namespace

TEST(RenderIndex, HoldsVertexIndexesInRecordOrder)
{
    mesh_source source = random_web(5, 100, 30);
    owned_mesh mesh(source);
    EXPECT_EQ(mesh.get_render_index_count(), 0u);
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    ASSERT_EQ(mesh.get_render_index_count(), 300u);
    for (unsigned int t = 0; t < 100; ++t)
        for (unsigned int c = 0; c < 3; ++c)
            EXPECT_EQ(mesh.get_render_index_array()[t * 3 + c], source.indices[t * 7 + c]);
    mesh.free_render_index_array();
    EXPECT_EQ(mesh.get_render_index_count(), 0u);
}

TEST(ColorSort, AgreesWithAPlainSort)
{
    const unsigned int triangle_counts[] = {1, 2, 31, 32, 33, 100, 700, 3000};
    const std::uint32_t color_counts[] = {1, 2, 255, 256, 257, 2000};
    std::uint64_t seed = 0;
    for (const unsigned int triangle_count : triangle_counts)
        for (const std::uint32_t color_count : color_counts)
            for (const bool any_bits : {false, true})
            {
                SCOPED_TRACE(testing::Message() << triangle_count << " triangles, " << color_count
                                                << " colours, seed " << ++seed);
                test_random random(seed);
                mesh_source source = random_web(seed, triangle_count, 50);
                if (seed % 3 == 0)
                    scatter_subsets(source, seed);
                if (seed % 3 == 1)
                    split_subsets(source, 3);
                owned_mesh mesh(source);
                expect_sorted(mesh, random_colors(random, triangle_count, color_count, any_bits),
                              seed % 2 != 0);
            }
}

TEST(ColorSort, EdgesOfTheTable)
{
    const struct
    {
        const char *what;
        std::vector<unsigned int> subsets;
        std::vector<unsigned long> colors;
    } rows[] = {
        {"subsets in table order", {14, 1, 0, 2}, {9, 9, 9}},
        {"an empty subset", {7, 0, 0, 3}, {2, 1, 2}},
        {"no subsets", {}, {}},
        {"half a pair", {0, 2, 14}, {4, 4}},
        {"unsigned", {0, 2}, {0x80000000u, 1}},
        {"32 bits of a long", {0, 2}, {~0ul, 0}},
    };
    for (const auto &row : rows)
    {
        SCOPED_TRACE(row.what);
        mesh_source source = random_soup(1, 3);
        source.subsets = row.subsets;
        owned_mesh mesh(source);
        expect_sorted(mesh, row.colors);
        ASSERT_EQ(mesh.generate_render_index_array(), 1);
        EXPECT_TRUE(table_of(mesh).empty());
        EXPECT_EQ(mesh.get_render_index_array()[3], 3u); // in record order again
    }
}

TEST(ColorSort, SubsetsOnEachOtherDoNotOutgrowTheArray)
{
    mesh_source source = random_soup(6, 10);
    source.subsets = {0, 10, 0, 1};
    owned_mesh mesh(source);
    EXPECT_EQ(mesh.sort_render_index_by_subset_color(vesk_list<unsigned long>()), 0); // no index
    EXPECT_TRUE(has_message(mesh, nullptr));
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    const std::vector<unsigned int> record_order = words_of(mesh);
    vesk_list<unsigned long> colors;
    assign_list(colors, std::vector<unsigned long>(11, 5));
    EXPECT_EQ(mesh.sort_render_index_by_subset_color(colors), 0);
    EXPECT_EQ(words_of(mesh), record_order);
    EXPECT_TRUE(table_of(mesh).empty());

    mesh.subset_lookup_table[1] = 9; // as many as there are, one of them twice
    EXPECT_EQ(mesh.sort_render_index_by_subset_color(colors), 1);
    EXPECT_EQ(table_of(mesh).size(), 2u);
}
