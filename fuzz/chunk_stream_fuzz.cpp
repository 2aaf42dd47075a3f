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

void write_and_read_again(const std::vector<std::uint8_t> &bytes)
{
    const unsigned int size = static_cast<unsigned int>(bytes.size());
    std::FILE *const stream = std::tmpfile();
    FUZZ_CHECK(stream);
    FUZZ_CHECK(vesk_compress_bytes_to_file_lz4(bytes.data(), size, stream) == 1);
    const long end = std::ftell(stream);
    std::rewind(stream);
    std::vector<std::uint8_t> again(bytes.size(), untouched);
    FUZZ_CHECK(vesk_decompress_bytes_from_file_lz4(again.data(), size, stream) ==
               (size > 0 ? 1 : 0));
    FUZZ_CHECK(again == bytes && (size == 0 || std::ftell(stream) == end));
    std::fclose(stream);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    byte_source head(data, std::min<std::size_t>(size, 2));
    const unsigned int buffer_bytes = head.byte() * 64u + head.byte();
    const std::size_t stream_bytes = size > 2 ? size - 2 : 0;

    std::FILE *const stream = std::tmpfile();
    FUZZ_CHECK(stream);
    FUZZ_CHECK(std::fwrite(data + size - stream_bytes, 1, stream_bytes, stream) == stream_bytes);
    std::rewind(stream);
    std::vector<std::uint8_t> buffer(buffer_bytes, untouched);
    const int result = vesk_decompress_bytes_from_file_lz4(buffer.data(), buffer_bytes, stream);
    FUZZ_CHECK(result == 0 || result == 1);
    FUZZ_CHECK(std::ftell(stream) <= static_cast<long>(stream_bytes));
    std::fclose(stream);
    if (result == 1)
        write_and_read_again(buffer);
    return 0;
}
