#pragma once

#include "files/fbx/binary_reader.h"
#include "files/fbx/document.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

struct libdeflate_decompressor;

// The values of binary records: a code of one letter and the value, one after another.

namespace vesk_fbx
{
/// One value, still encoded.
struct binary_value
{
    char code = 0;
    std::string_view bytes;  ///< of the value itself, of the text, or of the array's content
    std::uint32_t count = 0; ///< elements of an array
    std::uint32_t array_encoding = 0; ///< 0 as they are, 1 deflated
};

enum class value_step
{
    value,
    end,
    unknown_code, ///< nothing behind it can be found
    damaged
};

/// Takes the value at the front of `rest` off it.
value_step next_binary_value(std::string_view &rest, bool big_endian, binary_value &out);

bool is_array_code(char code);

/// The code of a record whose values are all single numbers of one kind, or 0. That is how versions
/// before 7.0 write arrays, with 100 000 values a record, so it is worth a way of its own.
char uniform_number_code(const record &r);

/// Unpacks zlib streams. One decompressor serves a whole document.
class inflater
{
public:
    inflater() = default;
    ~inflater();
    inflater(const inflater &) = delete;
    inflater &operator=(const inflater &) = delete;

    /// False unless the stream unpacks to exactly `count` bytes. May throw std::bad_alloc.
    bool unpack(std::string_view stream, void *to, std::size_t count);

private:
    libdeflate_decompressor *m_decompressor = nullptr;
};

bool binary_integer(const binary_value &value, bool big_endian, std::int64_t &out);
bool binary_real(const binary_value &value, bool big_endian, double &out);

/// The file that records of numbers belong to.
struct binary_source
{
    bool big_endian;
    inflater &unpacker;
    std::shared_ptr<const char[]> file;
};

/// All numbers of a record, out of one array or of many single values; see document::read_numbers.
/// `out` is empty before, and of no meaning after false.
template <typename T>
bool read_binary_numbers(const record &r, const binary_source &source, number_array<T> &out);
} // namespace vesk_fbx
