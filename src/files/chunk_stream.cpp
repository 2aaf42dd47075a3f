#include "vesk/chunk_stream.h"

#include "files/chunk_stream.h"
#include "foundation/scratch.h"

#include <algorithm>
#include <climits>
#include <lz4.h>

namespace
{
constexpr std::uint32_t chunk_bytes = 0x200000;
/// The most that a chunk can need compressed, and so the largest block that a stream can hold.
constexpr std::uint32_t block_capacity = LZ4_COMPRESSBOUND(chunk_bytes);
static_assert(block_capacity == 0x202030, "the stream's limit is fixed, whatever LZ4's is");

std::uint64_t chunk_count_of(std::uint64_t size)
{
    return size <= chunk_bytes ? 1 : (size - 1) / chunk_bytes + 1;
}

/// One chunk: its compressed size and its block, which passes through the work buffer.
bool write_chunk(std::FILE *file, const char *bytes, std::uint32_t size, char *work)
{
    // An empty chunk still is a block, of one byte; LZ4 wants an address for it.
    const int block_bytes = LZ4_compress_default(size ? bytes : work, work, static_cast<int>(size),
                                                 static_cast<int>(block_capacity));
    if (block_bytes <= 0)
        return false;
    vesk_write_word(file, static_cast<unsigned int>(block_bytes));
    std::fwrite(work, 1, static_cast<std::size_t>(block_bytes), file);
    return true;
}

/// A length of a block's token: 15 goes on in bytes, up to the first that is not 255.
std::uint32_t read_length(std::uint32_t length, const unsigned char *&at, const unsigned char *end)
{
    unsigned char more = length == 15 ? 255 : 0;
    while (more == 255 && at != end)
    {
        more = *at++;
        length += more;
    }
    return length;
}

/// The bytes that a block yields, told by its tokens alone. Means nothing for a damaged block.
std::uint32_t length_of_block(const char *block, std::uint32_t block_bytes)
{
    const unsigned char *at = reinterpret_cast<const unsigned char *>(block);
    const unsigned char *const end = at + block_bytes;
    std::uint32_t length = 0;
    while (at != end)
    {
        const unsigned int token = *at++;
        const std::uint32_t literals = read_length(token >> 4, at, end);
        length += literals;
        // Two bytes behind literals tell where the match is; the last ones have no match.
        if (end - at < static_cast<std::ptrdiff_t>(literals) + 2)
            break;
        at += literals + 2;
        length += read_length(token & 15, at, end) + 4;
    }
    return length;
}

/// Decompresses the next chunk to `bytes`. Gives the bytes that it yields, or 0 for a failure.
std::uint32_t read_chunk(std::FILE *file, char *bytes, std::uint64_t capacity,
                         vesk_behind_stream behind, char *work)
{
    unsigned int block_bytes = 0;
    if (!vesk_read_word(file, block_bytes) || block_bytes > block_capacity)
        return 0;
    if (std::fread(work, 1, block_bytes, file) != block_bytes)
        return 0;
    // No block yields INT_MAX bytes: each of its bytes stands for 255 at the most.
    const int room = capacity > INT_MAX ? INT_MAX : static_cast<int>(capacity);
    // Matches are copied in steps of some bytes, as far as there is room.
    int tight_room = room;
    if (behind == vesk_behind_stream::kept)
        tight_room =
            static_cast<int>(std::min<std::int64_t>(room, length_of_block(work, block_bytes)));
    int yielded = LZ4_decompress_safe(work, bytes, static_cast<int>(block_bytes), tight_room);
    if (yielded <= 0 && tight_room < room)
        // LZ4 wants the last match to end well within the room.
        yielded = LZ4_decompress_safe(work, bytes, static_cast<int>(block_bytes), room);
    return yielded > 0 ? static_cast<std::uint32_t>(yielded) : 0;
}
} // namespace

bool vesk_write_chunk_stream(std::FILE *file, const void *bytes, std::uint64_t size,
                             bool swap) noexcept
{
    // Swapping needs room for one more chunk, behind the block's.
    vesk_scratch<char> work(swap ? block_capacity + chunk_bytes : block_capacity);
    if (!work.data)
        return false;
    char *const swapped = work.data + (swap ? block_capacity : 0);

    vesk_write_word(file, static_cast<unsigned int>(chunk_count_of(size)));
    const char *from = static_cast<const char *>(bytes);
    do
    {
        const std::uint32_t piece =
            size < chunk_bytes ? static_cast<std::uint32_t>(size) : chunk_bytes;
        if (swap)
            vesk_swap_words(swapped, from, piece / 4);
        if (!write_chunk(file, swap ? swapped : from, piece, work.data))
            return false;
        from += piece;
        size -= piece;
    } while (size > 0);
    return true;
}

bool vesk_read_chunk_stream(std::FILE *file, void *bytes, std::uint64_t size,
                            vesk_behind_stream behind, std::uint64_t &filled) noexcept
{
    filled = 0;
    vesk_scratch<char> work(block_capacity);
    unsigned int chunk_count = 0;
    bool ok = work.data && vesk_read_word(file, chunk_count);
    for (unsigned int chunk = 0; ok && chunk < chunk_count; ++chunk)
    {
        const std::uint32_t yielded =
            read_chunk(file, static_cast<char *>(bytes) + filled, size - filled, behind, work.data);
        filled += yielded;
        ok = yielded != 0;
    }
    return ok;
}

int vesk_compress_bytes_to_file_lz4(const void *bytes, unsigned int size, FILE *file)
{
    return vesk_write_chunk_stream(file, bytes, size, false);
}

int vesk_decompress_bytes_from_file_lz4(void *bytes, unsigned int size, FILE *file)
{
    std::uint64_t filled = 0;
    return vesk_read_chunk_stream(file, bytes, size, vesk_behind_stream::kept, filled);
}
