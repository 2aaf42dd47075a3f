#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

/// @file
/// What files are made of here: little-endian words and sections, arrays of such words that move
/// in one block. Floats are words. A big-endian host swaps; `swap` says so, and tests pass it.

static_assert(sizeof(unsigned int) == 4 && sizeof(float) == 4, "file words are 32 bits");

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr bool vesk_host_swaps = true;
#else
constexpr bool vesk_host_swaps = false;
#endif

enum class vesk_open_mode
{
    read,
    write
};

/// Opens a binary file, or gives null: also for a path that is not valid Unicode. Where the
/// system has no wide paths it gets the path in UTF-8, whatever the locale. A file to be written
/// is created or emptied.
std::FILE *vesk_open_file(const wchar_t *path, vesk_open_mode mode) noexcept;

/// Bytes from the current position to the end. 0 when that cannot be told beforehand, as for a
/// pipe or a device: claims of such a file cannot be held against anything, so it is not read.
std::uint64_t vesk_bytes_left(std::FILE *file) noexcept;

/// The next word. False at a short read: `value` then keeps what it held.
bool vesk_read_word(std::FILE *file, unsigned int &value) noexcept;

/// The result of the write is not examined.
void vesk_write_word(std::FILE *file, unsigned int value) noexcept;

/// Fills `word_count` words at `words` with one block read. False at a short read: the words are
/// then of no use.
bool vesk_read_section(std::FILE *file, void *words, std::size_t word_count,
                       bool swap = vesk_host_swaps) noexcept;

/// Writes `word_count` words with one block write; swapping goes through a buffer in pieces. The
/// results of the writes are not examined. `words` may be null when there are none.
void vesk_write_section(std::FILE *file, const void *words, std::size_t word_count,
                        bool swap = vesk_host_swaps) noexcept;

/// Copies words with the bytes of each in reverse. `to` may be `from`.
void vesk_swap_words(void *to, const void *from, std::size_t word_count) noexcept;
