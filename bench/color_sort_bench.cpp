#include "interleaved.h"
#include "support/mesh_builder.h"

#include <algorithm>

// The colour sort beside what a host would write: std::sort on entries of 16 bytes for each
// subset; and beside the least possible work, reading and writing everything once.

namespace
{
struct entry
{
    unsigned int color, a, b, c;
};

struct fixture
{
    mesh_source source;
    owned_mesh mesh;
    vesk_list<unsigned long> colors;
    std::vector<entry> entries;
    std::vector<unsigned int> words;
    std::vector<vesk_triangle_color_data_s> runs;

    /// `any_bits`: colours are random words instead of small numbers.
    fixture(unsigned int triangle_count, unsigned int color_count, unsigned int subset_count,
            bool any_bits)
        : source(displaced_sphere(triangle_count))
    {
        split_subsets(source, subset_count);
        source.fill(mesh);
        mesh.generate_render_index_array();
        words.resize(mesh.get_render_index_count());

        test_random random(color_count);
        std::vector<unsigned int> palette(color_count);
        for (unsigned int i = 0; i < color_count; ++i)
            palette[i] = any_bits ? random.next() : i;
        colors.set_size(source.triangle_count());
        colors.set_count_to_size();
        for (unsigned int t = 0; t < colors.count; ++t)
            colors.data[t] = palette[random.below(color_count)];
    }

    void library_sort()
    {
        mesh.sort_render_index_by_subset_color(colors);
        benchmark::DoNotOptimize(mesh.render_index_array);
    }

    void plain_sort()
    {
        runs.clear();
        unsigned int *out = words.data();
        unsigned int next_color = 0;
        for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        {
            const unsigned int *record = mesh.index_array + mesh.subset_lookup_table[s * 2];
            entries.resize(mesh.subset_lookup_table[s * 2 + 1]);
            for (entry &e : entries)
            {
                e = {static_cast<unsigned int>(colors[next_color++]), record[0], record[1],
                     record[2]};
                record += 7;
            }
            std::sort(entries.begin(), entries.end(),
                      [](const entry &a, const entry &b) { return a.color < b.color; });
            for (const entry &e : entries)
            {
                if (runs.empty() || runs.back().color != e.color)
                {
                    runs.emplace_back();
                    runs.back().color = e.color;
                }
                out[0] = e.a;
                out[1] = e.b;
                out[2] = e.c;
                out += 3;
            }
        }
        benchmark::DoNotOptimize(words.data());
    }

    void read_and_write_once()
    {
        const unsigned int *record = mesh.index_array;
        unsigned int *out = words.data();
        unsigned long all = 0;
        for (unsigned int t = 0; t < colors.count; ++t, record += 7, out += 3)
        {
            all |= colors.data[t];
            out[0] = record[0];
            out[1] = record[1];
            out[2] = record[2];
        }
        benchmark::DoNotOptimize(all);
        benchmark::DoNotOptimize(words.data());
    }
};

/// Arguments: triangles, colours, subsets, whether colours are random words.
void beside_std_sort(benchmark::State &state)
{
    fixture f(static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1)),
              static_cast<unsigned int>(state.range(2)), state.range(3) != 0);
    run_interleaved(
        state, [&] { f.library_sort(); }, [&] { f.plain_sort(); });
    state.SetItemsProcessed(state.iterations() * f.colors.count);
}

void beside_one_pass(benchmark::State &state)
{
    fixture f(static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1)),
              static_cast<unsigned int>(state.range(2)), state.range(3) != 0);
    run_interleaved(
        state, [&] { f.library_sort(); }, [&] { f.read_and_write_once(); });
    state.SetItemsProcessed(state.iterations() * f.colors.count);
}

/// Arguments: triangles.
void generate_beside_one_pass(benchmark::State &state)
{
    fixture f(static_cast<unsigned int>(state.range(0)), 1, 1, false);
    run_interleaved(
        state, [&] { f.mesh.generate_render_index_array(); }, [&] { f.read_and_write_once(); });
    state.SetItemsProcessed(state.iterations() * f.colors.count);
}
} // namespace

BENCHMARK(beside_std_sort)
    ->ArgNames({"triangles", "colors", "subsets", "any_bits"})
    ->ArgsProduct({{500000}, {1, 4, 256, 65536}, {1}, {0, 1}})
    ->ArgsProduct({{500000}, {4, 256}, {100, 5000, 50000}, {1}})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(25);
BENCHMARK(beside_one_pass)
    ->ArgNames({"triangles", "colors", "subsets", "any_bits"})
    ->Args({500000, 1, 1, 0})
    ->Args({500000, 1, 100, 0})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(25);
BENCHMARK(generate_beside_one_pass)
    ->Arg(500000)
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(25);
BENCHMARK_MAIN();
