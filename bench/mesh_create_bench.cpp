#include "interleaved.h"
#include "support/mesh_builder.h"

#include <cstring>
#include <new>

// What `create` costs beside memcpy of the same arrays into new blocks. Both release their former
// blocks first, as a refilled mesh does.

namespace
{
struct block
{
    const void *from;
    std::size_t bytes;
};

/// Copies blocks into new ones.
class block_copier
{
public:
    explicit block_copier(std::vector<block> sources)
        : blocks(std::move(sources))
        , copies(blocks.size(), nullptr)
    {
    }
    ~block_copier()
    {
        release();
    }
    block_copier(const block_copier &) = delete;
    block_copier &operator=(const block_copier &) = delete;

    void copy()
    {
        release();
        for (std::size_t i = 0; i < blocks.size(); ++i)
        {
            copies[i] = ::operator new[](blocks[i].bytes);
            std::memcpy(copies[i], blocks[i].from, blocks[i].bytes);
        }
        benchmark::ClobberMemory();
    }

    double bytes() const
    {
        double sum = 0;
        for (const block &source : blocks)
            sum += double(source.bytes);
        return sum;
    }

private:
    void release()
    {
        for (void *&copy : copies)
        {
            ::operator delete[](copy);
            copy = nullptr;
        }
    }

    std::vector<block> blocks;
    std::vector<void *> copies;
};

template <typename T> block block_of(const std::vector<T> &values)
{
    return {values.data(), values.size() * sizeof(T)};
}

std::vector<block> blocks_of(const mesh_source &source)
{
    std::vector<block> blocks = {block_of(source.vertices), block_of(source.indices)};
    for (const channel_source &channel : source.channels)
    {
        blocks.push_back(block_of(channel.uvs));
        blocks.push_back(block_of(channel.indices));
    }
    return blocks;
}

void rate(benchmark::State &state, const block_copier &copier)
{
    state.counters["bytes"] =
        benchmark::Counter(copier.bytes(), benchmark::Counter::kIsIterationInvariantRate);
}

/// Arguments: triangles, channels.
void create_from_arrays(benchmark::State &state)
{
    mesh_source source = displaced_sphere(static_cast<unsigned int>(state.range(0)),
                                          static_cast<unsigned int>(state.range(1)));
    block_copier copier(blocks_of(source));
    owned_mesh mesh;
    run_interleaved(
        state, [&] { source.fill(mesh); }, [&] { copier.copy(); });
    rate(state, copier);
}

void create_from_mesh(benchmark::State &state)
{
    mesh_source source = displaced_sphere(static_cast<unsigned int>(state.range(0)),
                                          static_cast<unsigned int>(state.range(1)));
    const std::vector<vesk_mesh_tangent_s> tangents(source.triangle_count() * 3);
    owned_mesh from(source);
    from.set_instance_tangents(tangents.data(), static_cast<unsigned int>(tangents.size()));
    std::vector<block> blocks = blocks_of(source);
    blocks.push_back(block_of(tangents));
    block_copier copier(blocks);
    owned_mesh mesh;
    run_interleaved(
        state, [&] { mesh.create(from); }, [&] { copier.copy(); });
    rate(state, copier);
}
} // namespace

BENCHMARK(create_from_arrays)
    ->ArgsProduct({{1000, 100000, 1000000}, {0, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(25);
BENCHMARK(create_from_mesh)
    ->ArgsProduct({{1000, 100000, 1000000}, {0, 2}})
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(25);
BENCHMARK_MAIN();
