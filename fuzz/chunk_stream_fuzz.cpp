#include "byte_source.h"
#include "mesh_checks.h"
#include "vesk/chunk_stream.h"

#include <algorithm>
#include <cstdio>
#include <vector>

// Any bytes as a chunk stream into a buffer of some size, and what came out of it written and read
// again.

namespace
{
constexpr std::uint8_t untouched = 0xA5;

/// A temporary file that closes itself.
struct stream_file
{
    std::FILE *file = std::tmpfile();
    stream_file()
    {
        FUZZ_CHECK(file);
    }
    ~stream_file()
    {
        std::fclose(file);
    }
    stream_file(const stream_file &) = delete;
    stream_file &operator=(const stream_file &) = delete;
};

void write_and_read_again(const std::vector<std::uint8_t> &bytes)
{
    const unsigned int size = static_cast<unsigned int>(bytes.size());
    const stream_file stream;
    FUZZ_CHECK(vesk_compress_bytes_to_file_lz4(bytes.data(), size, stream.file) == 1);
    const long end = std::ftell(stream.file);
    std::rewind(stream.file);
    std::vector<std::uint8_t> again(bytes.size(), untouched);
    FUZZ_CHECK(vesk_decompress_bytes_from_file_lz4(again.data(), size, stream.file) ==
               (size > 0 ? 1 : 0));
    FUZZ_CHECK(again == bytes && (size == 0 || std::ftell(stream.file) == end));
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    byte_source head(data, std::min<std::size_t>(size, 2));
    const unsigned int buffer_bytes = head.byte() * 64u + head.byte();
    const std::size_t stream_bytes = size > 2 ? size - 2 : 0;

    const stream_file stream;
    FUZZ_CHECK(std::fwrite(data + size - stream_bytes, 1, stream_bytes, stream.file) ==
               stream_bytes);
    std::rewind(stream.file);
    std::vector<std::uint8_t> buffer(buffer_bytes, untouched);
    const int result =
        vesk_decompress_bytes_from_file_lz4(buffer.data(), buffer_bytes, stream.file);
    FUZZ_CHECK(result == 0 || result == 1);
    FUZZ_CHECK(std::ftell(stream.file) <= static_cast<long>(stream_bytes));
    if (result == 1)
        write_and_read_again(buffer);
    return 0;
}
