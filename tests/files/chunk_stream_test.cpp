#include "vesk/chunk_stream.h"

#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>

namespace
{
constexpr unsigned int chunk = 0x200000;

using stream = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

/// A file of these bytes, at its start.
stream stream_of(const byte_vector &bytes)
{
    stream file(std::tmpfile(), std::fclose);
    if (!bytes.empty()) // whose data may be null, which no write takes
        std::fwrite(bytes.data(), 1, bytes.size(), file.get());
    std::rewind(file.get());
    return file;
}

byte_vector compressed(const byte_vector &bytes)
{
    const temp_file target;
    const stream file(std::fopen(target.path.string().c_str(), "wb"), std::fclose);
    const unsigned int size = static_cast<unsigned int>(bytes.size());
    EXPECT_EQ(vesk_compress_bytes_to_file_lz4(size ? bytes.data() : nullptr, size, file.get()), 1);
    std::fflush(file.get());
    return target.bytes();
}

int decompress(std::FILE *file, byte_vector &out)
{
    return vesk_decompress_bytes_from_file_lz4(out.data(), static_cast<unsigned int>(out.size()),
                                               file);
}

int decompress(const byte_vector &bytes, byte_vector &out)
{
    return decompress(stream_of(bytes).get(), out);
}

/// A stretch that compresses, or one that does not.
byte_vector sample(std::size_t size, bool compressible)
{
    test_random random(7);
    byte_vector bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<unsigned char>(compressible ? i / 100 : random.next());
    return bytes;
}

/// A stream of blocks that hold literals only, up to 14 each.
byte_vector literal_stream(const std::vector<byte_vector> &blocks)
{
    byte_vector bytes;
    add_words(bytes, {static_cast<std::uint32_t>(blocks.size())});
    for (const byte_vector &block : blocks)
    {
        add_words(bytes, {static_cast<std::uint32_t>(block.size() + 1)});
        bytes.push_back(static_cast<unsigned char>(block.size() << 4));
        bytes.insert(bytes.end(), block.begin(), block.end());
    }
    return bytes;
}
} // namespace

TEST(ChunkStream, CutsAtTwoMebibytesAndReadsBackInARow)
{
    const unsigned int sizes[] = {1, 12, chunk - 1, chunk, chunk + 1, 2 * chunk, 2 * chunk + 5};
    byte_vector all;
    for (const bool compressible : {false, true})
        for (const unsigned int size : sizes)
        {
            const byte_vector packed = compressed(sample(size, compressible));
            EXPECT_EQ(packed.size() > size, !compressible || size < 100) << size;
            EXPECT_EQ(word_at(packed, 0), (size + chunk - 1) / chunk) << size;
            all.insert(all.end(), packed.begin(), packed.end());
            all.push_back(static_cast<unsigned char>(size)); // a plain field between the streams
        }
    const stream file = stream_of(all);
    for (const bool compressible : {false, true})
        for (const unsigned int size : sizes)
        {
            byte_vector back(size);
            ASSERT_EQ(decompress(file.get(), back), 1);
            EXPECT_TRUE(back == sample(size, compressible)) << size;
            EXPECT_EQ(std::fgetc(file.get()), static_cast<unsigned char>(size));
        }
}

TEST(ChunkStream, TakesChunksOfAnySizeAndLeavesTheTail)
{
    byte_vector out(9, 0xEE);
    EXPECT_EQ(decompress(byte_vector{0, 0, 0, 0}, out), 1); // no chunk at all
    EXPECT_EQ(out, byte_vector(9, 0xEE));
    EXPECT_EQ(decompress(literal_stream({{1, 2, 3}, {4}, {5, 6}}), out), 1);
    EXPECT_EQ(out, (byte_vector{1, 2, 3, 4, 5, 6, 0xEE, 0xEE, 0xEE}));

    // Matches near the end, which LZ4 copies in steps that reach beyond it.
    for (unsigned int size = 30; size < 300; ++size)
    {
        byte_vector bytes = sample(size, false);
        std::copy_n(bytes.begin(), 8, bytes.end() - 14);
        const byte_vector packed = compressed(bytes);
        bytes.resize(size + 40, 0xEE);
        byte_vector with_rest(size + 40, 0xEE);
        EXPECT_EQ(decompress(packed, with_rest), 1);
        EXPECT_EQ(with_rest, bytes) << size;
    }
}

TEST(ChunkStream, RefusesWhatDoesNotFit)
{
    byte_vector none;
    none.reserve(1);
    EXPECT_EQ(compressed(none), (byte_vector{1, 0, 0, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(decompress(compressed(none), none), 0); // written and not read back

    byte_vector bytes = literal_stream({{1, 2, 3}, {4, 5}}), out(5), small(4);
    ASSERT_EQ(decompress(bytes, out), 1);
    EXPECT_EQ(decompress(bytes, small), 0);
    EXPECT_EQ(small, (byte_vector{1, 2, 3, 0})); // what came before the failure stays
    for (std::size_t cut = 0; cut < bytes.size(); ++cut)
        EXPECT_EQ(decompress({bytes.begin(), bytes.begin() + static_cast<long>(cut)}, out), 0);
    bytes[0] = 3; // chunks
    EXPECT_EQ(decompress(bytes, out), 0);
}

TEST(ChunkStream, ABlockAboveTheWorkBufferIsNotRead)
{
    byte_vector out(0x202030);
    for (const unsigned int block_bytes : {0x202030u, 0x202031u})
    {
        // One run of literals that fills the block, which LZ4 itself would take at either size.
        byte_vector bytes;
        add_words(bytes, {1, block_bytes});
        bytes.push_back(0xF0);
        bytes.insert(bytes.end(), (block_bytes - 17) / 256, 255);
        bytes.push_back(static_cast<unsigned char>((block_bytes - 17) % 256));
        bytes.resize(8 + block_bytes, 0x55);
        EXPECT_EQ(decompress(bytes, out), block_bytes == 0x202030 ? 1 : 0);
    }
}
