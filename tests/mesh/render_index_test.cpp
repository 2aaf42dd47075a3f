#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

#include <algorithm>
#include <array>
#include <map>

namespace
{
/// Subset, colour, first index and triangle count.
using run = std::array<unsigned int, 4>;

std::vector<run> runs_of(const vesk_mesh &mesh)
{
    const vesk_list<vesk_subset_color_lookup_s> *table;
    mesh.get_render_color_lookup_table(&table);
    std::vector<run> result;
    for (unsigned int s = 0; s < table->count; ++s)
        for (unsigned int i = 0; i < (*table)[s].runs.count; ++i)
        {
            const vesk_triangle_color_data_s &entry = (*table)[s].runs[i];
            result.push_back({s, entry.color, entry.first_index, entry.triangle_count});
        }
    return result;
}

std::vector<unsigned int> words_of(const vesk_mesh &mesh)
{
    const unsigned int *words = mesh.get_render_index_array();
    return std::vector<unsigned int>(words, words + mesh.get_render_index_count());
}

/// Sorts and compares with a plain sort, triangle by triangle. Triangles of one colour keep record
/// order, so the comparison is of every word.
void expect_sorted(vesk_mesh &mesh, const vesk_list<unsigned long> &colors)
{
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    std::vector<unsigned int> words = words_of(mesh);
    std::vector<run> runs;
    unsigned int next_color = 0, out = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
    {
        const unsigned int *record = mesh.index_array + mesh.subset_lookup_table[s * 2];
        std::multimap<std::uint32_t, const unsigned int *> ordered; // equal keys keep their order
        for (unsigned int t = 0; t < mesh.subset_lookup_table[s * 2 + 1]; ++t, record += 7)
            ordered.emplace(static_cast<std::uint32_t>(colors[next_color++]), record);
        for (const auto &[color, corners] : ordered)
        {
            if (runs.empty() || runs.back()[0] != s || runs.back()[1] != color)
                runs.push_back({s, color, out, 0});
            ++runs.back()[3];
            std::copy(corners, corners + 3, words.begin() + out);
            out += 3;
        }
    }
    for (int round = 0; round < 2; ++round) // the second one starts from sorted words
    {
        ASSERT_EQ(mesh.sort_render_index_by_subset_color(colors), 1);
        ASSERT_EQ(mesh.render_color_lookup_table.count, mesh.get_subset_count());
        ASSERT_EQ(runs_of(mesh), runs);
        ASSERT_EQ(words_of(mesh), words);
    }
}
} // namespace

TEST(ColorSort, AgreesWithAPlainSort)
{
    std::uint64_t seed = 0;
    for (const unsigned int triangle_count : {1u, 2u, 31u, 32u, 33u, 100u, 700u, 3000u})
        for (const unsigned int color_count : {1u, 2u, 255u, 256u, 257u, 2000u})
            for (const bool any_bits : {false, true})
            {
                SCOPED_TRACE(testing::Message() << triangle_count << " triangles, " << color_count
                                                << " colours, seed " << ++seed);
                test_random random(seed);
                mesh_source source = random_web(seed, triangle_count, 50);
                if (seed % 5 < 2)
                    scatter_subsets(source, seed); // in any order, and empty ones
                if (seed % 5 == 2)
                    split_subsets(source, 3);
                if (seed % 5 == 3)
                    source.subsets.push_back(14); // half a pair
                if (seed % 5 == 4)
                    source.subsets.clear();
                owned_mesh mesh(source);

                std::vector<unsigned long> palette(color_count);
                for (unsigned int i = 0; i < color_count; ++i)
                    palette[i] = any_bits ? random.next() : i;
                vesk_list<unsigned long> colors;
                for (unsigned int t = 0; t < triangle_count; ++t) // 32 bits of a long count
                    colors.push_back(palette[random.below(color_count)] | ~0ul << 16 << 16);
                if (seed % 2)
                    std::reverse(colors.data, colors.data + colors.count);
                colors.reversed = seed % 2;
                expect_sorted(mesh, colors);
            }
}

TEST(RenderIndex, HoldsVertexIndexesInRecordOrderWheneverNoColoursDo)
{
    mesh_source source = random_soup(6, 10);
    source.subsets = {0, 10, 0, 1};
    owned_mesh mesh(source);
    vesk_list<unsigned long> colors;
    assign_list(colors, std::vector<unsigned long>{5, 1, 5, 5, 5, 5, 5, 5, 5, 5, 5});
    EXPECT_EQ(mesh.sort_render_index_by_subset_color(colors), 0); // no index
    EXPECT_TRUE(has_message(mesh, nullptr));
    EXPECT_EQ(mesh.get_render_index_count(), 0u);

    std::vector<unsigned int> record_order;
    for (unsigned int corner = 0; corner < 30; ++corner)
        record_order.push_back(source.indices[corner / 3 * 7 + corner % 3]);
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    EXPECT_EQ(words_of(mesh), record_order);
    // Together the subsets name more triangles than there are.
    EXPECT_EQ(mesh.sort_render_index_by_subset_color(colors), 0);
    EXPECT_EQ(words_of(mesh), record_order);

    mesh.subset_lookup_table[1] = 9; // as many as there are, one of them twice
    EXPECT_EQ(mesh.sort_render_index_by_subset_color(colors), 1);
    EXPECT_EQ(runs_of(mesh).size(), 3u);
    ASSERT_EQ(mesh.generate_render_index_array(), 1);
    EXPECT_EQ(words_of(mesh), record_order);
    EXPECT_TRUE(runs_of(mesh).empty());
    mesh.free_render_index_array();
    EXPECT_EQ(mesh.get_render_index_count(), 0u);
}
