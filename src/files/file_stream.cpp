// Offsets of 64 bits on 32-bit systems too; has to stand before the first system header.
#if !defined(_FILE_OFFSET_BITS)
#define _FILE_OFFSET_BITS 64
#endif

#include "files/file_stream.h"

#include "files/utf8.h"

#include <cstring>

#if defined(_WIN32)
#include <io.h>
#else
#include <sys/stat.h>
#endif

namespace
{
#if defined(_WIN32)
std::FILE *open_wide(const wchar_t *path, vesk_open_mode mode)
{
    return _wfopen(path, mode == vesk_open_mode::read ? L"rb" : L"wb");
}

/// Length and position of a regular file, or false.
bool measure(std::FILE *file, std::int64_t &length, std::int64_t &position)
{
    length = _filelengthi64(_fileno(file));
    position = _ftelli64(file);
    return length >= 0 && position >= 0;
}
#else
// As long as any path that the system takes (PATH_MAX), and no allocation that could fail.
constexpr std::size_t path_bytes = 4096;

std::FILE *open_wide(const wchar_t *path, vesk_open_mode mode)
{
    char utf8[path_bytes];
    const std::size_t bytes = vesk_utf8_from_wide(path, utf8, sizeof(utf8));
    if (bytes == 0 || bytes > sizeof(utf8))
        return nullptr;
    return std::fopen(utf8, mode == vesk_open_mode::read ? "rb" : "wb");
}

/// Length and position of a regular file, or false.
bool measure(std::FILE *file, std::int64_t &length, std::int64_t &position)
{
    struct stat status;
    if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    length = status.st_size;
    position = ftello(file);
    return position >= 0;
}
#endif
} // namespace

std::FILE *vesk_open_file(const wchar_t *path, vesk_open_mode mode) noexcept
{
    return open_wide(path, mode);
}

std::uint64_t vesk_bytes_left(std::FILE *file) noexcept
{
    std::int64_t length = 0;
    std::int64_t position = 0;
    if (!measure(file, length, position) || position > length)
        return 0;
    return static_cast<std::uint64_t>(length - position);
}

bool vesk_read_word(std::FILE *file, unsigned int &value) noexcept
{
    unsigned char b[4];
    if (std::fread(b, 1, sizeof(b), file) != sizeof(b))
        return false;
    value = static_cast<unsigned int>(b[0]) | static_cast<unsigned int>(b[1]) << 8 |
            static_cast<unsigned int>(b[2]) << 16 | static_cast<unsigned int>(b[3]) << 24;
    return true;
}

void vesk_write_word(std::FILE *file, unsigned int value) noexcept
{
    const unsigned char b[4] = {
        static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
        static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
    std::fwrite(b, 1, sizeof(b), file);
}

bool vesk_read_section(std::FILE *file, void *words, std::size_t word_count, bool swap) noexcept
{
    if (word_count == 0)
        return true;
    if (std::fread(words, 4, word_count, file) != word_count)
        return false;
    if (swap)
        vesk_swap_words(words, words, word_count);
    return true;
}

void vesk_write_section(std::FILE *file, const void *words, std::size_t word_count,
                        bool swap) noexcept
{
    if (word_count == 0)
        return;
    if (!swap)
    {
        std::fwrite(words, 4, word_count, file);
        return;
    }

    constexpr std::size_t piece_words = 4096;
    unsigned char piece[piece_words * 4];
    const unsigned char *from = static_cast<const unsigned char *>(words);
    while (word_count > 0)
    {
        const std::size_t count = word_count < piece_words ? word_count : piece_words;
        vesk_swap_words(piece, from, count);
        std::fwrite(piece, 4, count, file);
        from += count * 4;
        word_count -= count;
    }
}

void vesk_swap_words(void *to, const void *from, std::size_t word_count) noexcept
{
    unsigned char *out = static_cast<unsigned char *>(to);
    const unsigned char *in = static_cast<const unsigned char *>(from);
    for (std::size_t i = 0; i < word_count; ++i)
    {
        std::uint32_t word;
        std::memcpy(&word, in + i * 4, 4);
        word = word << 24 | (word & 0xFF00) << 8 | (word >> 8 & 0xFF00) | word >> 24;
        std::memcpy(out + i * 4, &word, 4);
    }
}
