#include "support/mesh_builder.h"
#include "vesk/mesh.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <lz4.h>
#include <memory>
#include <string>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

// The binary mesh file against the bare work that gives the same bytes: one fwrite or fread a
// section, with LZ4's calls in between for compressed files. Both ways run in turn within each
// iteration, so that whatever else the machine does hits both; `ratio` is the median of ours by
// bare. The file lies in the system's temporary folder: TMPDIR=/dev/shm takes the disk out of the
// figures.

namespace
{
constexpr std::size_t chunk_bytes = 0x200000;
constexpr std::size_t block_capacity = LZ4_COMPRESSBOUND(chunk_bytes);

/// A stretch of the file. Head and subset table are never compressed.
struct section
{
    const void *bytes;
    std::size_t size;
    bool plain = false;
};

using section_list = std::vector<section>;
using byte_block = std::unique_ptr<char[]>;

section_list sections_of(const vesk_mesh &mesh, const std::string &head)
{
    const std::size_t corner_count = mesh.index_count / 7 * 3;
    section_list sections{{head.data(), head.size(), true},
                          {mesh.vertex_array, mesh.vertex_count * sizeof(vesk_3d_vertex_s)}};
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        sections.push_back(
            {mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c] * sizeof(vesk_vector2)});
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        sections.push_back({mesh.uv_index_arrays[c], corner_count * 4});
    sections.push_back({mesh.index_array, mesh.index_count * std::size_t(4)});
    sections.push_back({mesh.subset_lookup_table.data, mesh.subset_lookup_table.count * 4, true});
    return sections;
}

void write_compressed(const section &s, std::FILE *file)
{
    const byte_block work(new char[block_capacity]);
    const std::size_t chunk_count = (s.size + chunk_bytes - 1) / chunk_bytes;
    std::fwrite(&chunk_count, 4, 1, file);
    for (std::size_t at = 0; at < s.size; at += chunk_bytes)
    {
        const int size = LZ4_compress_default(static_cast<const char *>(s.bytes) + at, work.get(),
                                              static_cast<int>(std::min(chunk_bytes, s.size - at)),
                                              int(block_capacity));
        std::fwrite(&size, 4, 1, file);
        std::fwrite(work.get(), 1, static_cast<std::size_t>(size), file);
    }
}

void bare_save(const section_list &sections, const std::string &path, bool compressed)
{
    std::FILE *file = std::fopen(path.c_str(), "wb");
    for (const section &s : sections)
    {
        if (compressed && !s.plain)
            write_compressed(s, file);
        else
            std::fwrite(s.bytes, 1, s.size, file);
    }
    std::fclose(file);
}

void read_compressed(char *to, std::size_t size, std::FILE *file)
{
    const byte_block work(new char[block_capacity]);
    int chunk_count = 0;
    if (std::fread(&chunk_count, 4, 1, file) != 1)
        return;
    for (std::size_t at = 0; at < size; at += chunk_bytes)
    {
        int block = 0;
        if (std::fread(&block, 4, 1, file) != 1 ||
            std::fread(work.get(), 1, static_cast<std::size_t>(block), file) == 0)
            return;
        LZ4_decompress_safe(work.get(), to + at, block,
                            static_cast<int>(std::min(chunk_bytes, size - at)));
    }
}

void bare_load(const section_list &sections, const std::string &path, bool compressed)
{
    std::FILE *file = std::fopen(path.c_str(), "rb");
    std::vector<byte_block> blocks;
    for (const section &s : sections)
        blocks.emplace_back(new char[s.size]);
    for (std::size_t i = 0; i < sections.size(); ++i)
    {
        if (compressed && !sections[i].plain)
            read_compressed(blocks[i].get(), sections[i].size, file);
        else
            benchmark::DoNotOptimize(std::fread(blocks[i].get(), 1, sections[i].size, file));
    }
    std::fclose(file);
}

template <typename Run> double seconds(const Run &run)
{
    const auto start = std::chrono::steady_clock::now();
    run();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

#if defined(__GLIBC__)
/// Large blocks are new memory each time: what a load costs would otherwise depend on the order in
/// which earlier blocks went back to the heap.
const int new_blocks = mallopt(M_MMAP_THRESHOLD, 128 * 1024);
#endif

struct bench_files
{
    std::string ours, bare;

    bench_files()
    {
        const std::string stem =
            (std::filesystem::temp_directory_path() / "vesk_mesh_file_bench").string();
        ours = stem + ".ours";
        bare = stem + ".bare";
    }
    ~bench_files()
    {
        remove();
    }
    /// Emptying an old file may wait for the disk; making a new one doesn't.
    void remove() const
    {
        std::remove(ours.c_str());
        std::remove(bare.c_str());
    }
};

/// Runs both ways in turn: ours, bare, bare, ours, so that being first costs both the same.
template <typename Prepare, typename Ours, typename Bare>
void compare(benchmark::State &state, std::size_t bytes, unsigned int triangle_count,
             const Prepare &prepare, const Ours &ours, const Bare &bare)
{
    std::vector<double> ratios;
    for (auto _ : state)
    {
        double own_time = 0;
        double bare_time = 0;
        for (const bool is_own : {true, false, false, true})
        {
            prepare();
            if (is_own)
                own_time += seconds(ours);
            else
                bare_time += seconds(bare);
        }
        ratios.push_back(own_time / bare_time);
        state.SetIterationTime(own_time / 2);
    }
    std::sort(ratios.begin(), ratios.end());
    state.counters["ratio"] = ratios[ratios.size() / 2];
    state.SetBytesProcessed(static_cast<std::int64_t>(bytes * ratios.size()));
    state.SetItemsProcessed(static_cast<std::int64_t>(triangle_count * ratios.size()));
}

std::size_t total_bytes(const section_list &sections)
{
    std::size_t bytes = 0;
    for (const section &s : sections)
        bytes += s.size;
    return bytes;
}

/// The fields before the sections, as `save_binary` writes them.
std::string head_of(vesk_mesh &mesh, const std::wstring &path, const std::string &ours,
                    bool compressed)
{
    mesh.save_binary(path.c_str(), compressed);
    std::string head(16 + 12 + 4 * mesh.uv_channel_arrays.count + 12 + 24, 0);
    std::ifstream(ours, std::ios::binary).read(&head[0], static_cast<long>(head.size()));
    return head;
}

bool same_files(const bench_files &files)
{
    std::ifstream a(files.ours, std::ios::binary);
    std::ifstream b(files.bare, std::ios::binary);
    using bytes = std::istreambuf_iterator<char>;
    return std::equal(bytes(a), bytes(), bytes(b), bytes());
}

void run(benchmark::State &state, bool loads, bool compressed)
{
    owned_mesh mesh(displaced_sphere(static_cast<unsigned int>(state.range(0)), 2));
    const bench_files files;
    const std::wstring path(files.ours.begin(), files.ours.end());
    const std::string head = head_of(mesh, path, files.ours, compressed);
    const section_list sections = sections_of(mesh, head);
    bare_save(sections, files.bare, compressed);
    if (!same_files(files))
        state.SkipWithError("the bare work writes another file");

    const std::size_t bytes = total_bytes(sections);
    const unsigned int triangle_count = mesh.index_count / 7;
    const auto load_ours = [&]
    {
        vesk_mesh loaded;
        if (!loaded.load_binary(path.c_str()))
            state.SkipWithError("the file cannot be read");
        loaded.free();
    };
    if (loads)
        compare(
            state, bytes, triangle_count, [] {}, load_ours,
            [&] { bare_load(sections, files.bare, compressed); });
    else
        compare(
            state, bytes, triangle_count, [&] { files.remove(); },
            [&] { mesh.save_binary(path.c_str(), compressed); },
            [&] { bare_save(sections, files.bare, compressed); });
}

void triangle_counts(benchmark::internal::Benchmark *bench)
{
    bench->Arg(10000)->Arg(100000)->Arg(1000000)->UseManualTime();
}

BENCHMARK_CAPTURE(run, save, false, false)->Apply(triangle_counts);
BENCHMARK_CAPTURE(run, save_compressed, false, true)->Apply(triangle_counts);
BENCHMARK_CAPTURE(run, load, true, false)->Apply(triangle_counts);
BENCHMARK_CAPTURE(run, load_compressed, true, true)->Apply(triangle_counts);
} // namespace

BENCHMARK_MAIN();
