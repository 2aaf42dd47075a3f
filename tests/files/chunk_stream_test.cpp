#include "vesk/chunk_stream.h"

#include "support/byte_file.h"

#include <gtest/gtest.h>
#include <random>

namespace
{
constexpr unsigned int chunk = 0x200000;

/// A file opened for both, at its start.
struct stream_file
{
    std::FILE *file = std::tmpfile();
    ~stream_file()
    {
        std::fclose(file);
    }
    void put(const byte_vector &bytes)
    {
        for (const unsigned char byte : bytes)
            std::fputc(byte, file);
    }
    byte_vector bytes()
    {
        std::rewind(file);
        byte_vector all;
        for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file))
            all.push_back(static_cast<unsigned char>(c));
        std::rewind(file);
        return all;
    }
};

/// A stretch that compresses, or one that does not.
byte_vector sample(std::size_t size, bool compressible)
{
    std::mt19937 random(7);
    byte_vector bytes(size);
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = compressible ? static_cast<unsigned char>(i / 100)
                                : static_cast<unsigned char>(random());
    return bytes;
}

std::uint32_t word_at(const byte_vector &bytes, std::size_t at)
{
    return bytes[at] | std::uint32_t(bytes[at + 1]) << 8 | std::uint32_t(bytes[at + 2]) << 16 |
           std::uint32_t(bytes[at + 3]) << 24;
}

/// A stream of blocks that hold literals only.
byte_vector literal_stream(const std::vector<byte_vector> &blocks)
{
    byte_vector stream;
    add_words(stream, {static_cast<std::uint32_t>(blocks.size())});
    for (const byte_vector &block : blocks)
    {
        add_words(stream, {static_cast<std::uint32_t>(block.size() + 1)});
        stream.push_back(static_cast<unsigned char>(block.size() << 4)); // up to 14 bytes
        stream.insert(stream.end(), block.begin(), block.end());
    }
    return stream;
}

int decompress(const byte_vector &stream, byte_vector &out)
{
    stream_file file;
    file.put(stream);
    std::rewind(file.file);
    return vesk_decompress_bytes_from_file_lz4(out.data(), static_cast<unsigned int>(out.size()),
                                               file.file);
}
} // namespace

TEST(ChunkStream, CutsAtTwoMebibytesAndReadsBackInARow)
{
    const unsigned int sizes[] = {1, 12, chunk - 1, chunk, chunk + 1, 2 * chunk, 2 * chunk + 5};
    for (const bool compressible : {false, true})
    {
        stream_file file;
        for (const unsigned int size : sizes)
        {
            const byte_vector bytes = sample(size, compressible);
            const long before = std::ftell(file.file);
            ASSERT_EQ(vesk_compress_bytes_to_file_lz4(bytes.data(), size, file.file), 1);
            // A plain field between the streams.
            std::fputc(static_cast<int>(size & 0x7F), file.file);
            if (!compressible)
            {
                EXPECT_GT(std::ftell(file.file) - before, static_cast<long>(size));
            }
        }
        const byte_vector all = file.bytes();
        std::size_t at = 0;
        for (const unsigned int size : sizes)
        {
            EXPECT_EQ(word_at(all, at), (size + chunk - 1) / chunk) << size;
            byte_vector back(size);
            ASSERT_EQ(vesk_decompress_bytes_from_file_lz4(back.data(), size, file.file), 1);
            EXPECT_TRUE(back == sample(size, compressible)) << size;
            EXPECT_EQ(std::fgetc(file.file), static_cast<int>(size & 0x7F));
            at = static_cast<std::size_t>(std::ftell(file.file));
        }
    }
}

TEST(ChunkStream, AnEmptyArrayIsWrittenAndNotReadBack)
{
    stream_file file;
    ASSERT_EQ(vesk_compress_bytes_to_file_lz4(nullptr, 0, file.file), 1);
    EXPECT_EQ(file.bytes(), (byte_vector{1, 0, 0, 0, 1, 0, 0, 0, 0}));
    unsigned char none = 0;
    EXPECT_EQ(vesk_decompress_bytes_from_file_lz4(&none, 0, file.file), 0);
}

TEST(ChunkStream, TakesChunksOfAnySizeAndLeavesTheTail)
{
    byte_vector out(9, 0xEE);
    EXPECT_EQ(decompress(literal_stream({{1, 2, 3}, {4}, {5, 6}}), out), 1);
    EXPECT_EQ(out, (byte_vector{1, 2, 3, 4, 5, 6, 0xEE, 0xEE, 0xEE}));

    // Matches near the end, which LZ4 copies in steps that reach beyond it.
    for (unsigned int size = 30; size < 300; ++size)
    {
        byte_vector bytes = sample(size, false);
        std::copy_n(bytes.begin(), 8, bytes.end() - 14);
        stream_file file;
        ASSERT_EQ(vesk_compress_bytes_to_file_lz4(bytes.data(), size, file.file), 1);
        bytes.resize(size + 40, 0xEE);
        byte_vector with_rest(size + 40, 0xEE);
        EXPECT_EQ(decompress(file.bytes(), with_rest), 1);
        EXPECT_EQ(with_rest, bytes) << size;
    }

    byte_vector untouched(4, 0xEE);
    EXPECT_EQ(decompress({0, 0, 0, 0}, untouched), 1); // no chunk at all
    EXPECT_EQ(untouched, byte_vector(4, 0xEE));
}

TEST(ChunkStream, RefusesWhatDoesNotFit)
{
    const byte_vector good = literal_stream({{1, 2, 3}, {4, 5}});
    byte_vector out(5);
    ASSERT_EQ(decompress(good, out), 1);
    for (std::size_t cut = 0; cut < good.size(); ++cut)
        EXPECT_EQ(decompress(byte_vector(good.begin(), good.begin() + static_cast<long>(cut)), out),
                  0)
            << cut;

    byte_vector small(4);
    EXPECT_EQ(decompress(good, small), 0);
    EXPECT_EQ(small, (byte_vector{1, 2, 3, 0})); // what came before the failure stays

    byte_vector more_chunks = good;
    more_chunks[0] = 3;
    EXPECT_EQ(decompress(more_chunks, out), 0);
}

TEST(ChunkStream, ABlockAboveTheWorkBufferIsNotRead)
{
    // One run of literals that fills the block, which LZ4 itself would take at either size.
    const auto stream_of = [](unsigned int block_bytes)
    {
        const unsigned int full_count = (block_bytes - 17) / 256;
        byte_vector stream;
        add_words(stream, {1, block_bytes});
        stream.push_back(0xF0);
        stream.insert(stream.end(), full_count, 255);
        stream.push_back(static_cast<unsigned char>((block_bytes - 17) % 256));
        stream.resize(8 + block_bytes, 0x55);
        return stream;
    };
    byte_vector out(0x202030);
    EXPECT_EQ(decompress(stream_of(0x202030), out), 1);
    EXPECT_EQ(decompress(stream_of(0x202031), out), 0);
}
