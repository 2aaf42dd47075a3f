#include "files/fbx/binary_values.h"

#include "files/fbx/byte_order.h"
#include "files/fbx/decimal.h"

#include <algorithm>
#include <libdeflate.h>
#include <limits>
#include <new>
#include <type_traits>

namespace vesk_fbx
{
namespace
{
/// A deflate stream cannot unpack to more than this many times its length; what claims more is
/// refused before anything is allocated.
constexpr std::uint64_t max_inflate_ratio = 1032;

/// Shorter arrays are copied: they should not keep a file that is done with.
constexpr std::size_t least_shared_bytes = 4096;

/// Bytes of a single value or of an array's element; 0 for texts and unknown codes.
std::size_t number_bytes(char code)
{
    switch (code)
    {
    case 'C':
    case 'B':
    case 'Z':
    case 'b':
    case 'c':
        return 1;
    case 'Y':
        return 2;
    case 'I':
    case 'F':
    case 'i':
    case 'f':
        return 4;
    case 'L':
    case 'D':
    case 'l':
    case 'd':
        return 8;
    default:
        return 0;
    }
}

bool take(std::string_view &rest, std::size_t count, std::string_view &out)
{
    if (rest.size() < count)
        return false;
    out = rest.substr(0, count);
    rest.remove_prefix(count);
    return true;
}

bool take_u32(std::string_view &rest, bool big_endian, std::uint32_t &out)
{
    std::string_view bytes;
    if (!take(rest, sizeof(out), bytes))
        return false;
    out = load_number<std::uint32_t>(bytes.data(), big_endian);
    return true;
}

/// Calls `f` with a number of the type that `code` stands for; false for other codes.
template <typename F> bool with_number_type(char code, F f)
{
    switch (code)
    {
    case 'C':
    case 'B':
    case 'Z':
    case 'b':
    case 'c':
        f(std::uint8_t{});
        return true;
    case 'Y':
        f(std::int16_t{});
        return true;
    case 'I':
    case 'i':
        f(std::int32_t{});
        return true;
    case 'L':
    case 'l':
        f(std::int64_t{});
        return true;
    case 'F':
    case 'f':
        f(float{});
        return true;
    case 'D':
    case 'd':
        f(double{});
        return true;
    default:
        return false;
    }
}

void convert(double from, double &to)
{
    to = from;
}
void convert(std::int64_t from, double &to)
{
    to = static_cast<double>(from);
}
void convert(double from, std::int64_t &to)
{
    to = to_integer(from);
}
void convert(std::int64_t from, std::int64_t &to)
{
    to = from;
}
template <typename From> void convert(From from, int &to)
{
    std::int64_t wide;
    convert(from, wide);
    to = static_cast<int>(std::clamp<std::int64_t>(wide, std::numeric_limits<int>::min(),
                                                   std::numeric_limits<int>::max()));
}

/// The wider of the two kinds of number, which holds any of its kind exactly.
template <typename T> using widest =
    std::conditional_t<std::is_floating_point_v<T>, double, std::int64_t>;

template <typename To> bool convert_value(const binary_value &value, bool big_endian, To &out)
{
    return !is_array_code(value.code) &&
           with_number_type(value.code,
                            [&](auto type)
                            {
                                using from = decltype(type);
                                const from number =
                                    load_number<from>(value.bytes.data(), big_endian);
                                convert(static_cast<widest<from>>(number), out);
                            });
}

/// `stride` is the distance from one number to the next.
template <typename From, typename To> void
convert_numbers(const char *bytes, bool big_endian, std::size_t stride, std::size_t count, To *out)
{
    for (std::size_t i = 0; i < count; ++i)
        convert(static_cast<widest<From>>(load_number<From>(bytes + i * stride, big_endian)),
                out[i]);
}

template <typename T> bool stored_as(char code, bool big_endian)
{
    bool same = false;
    with_number_type(code, [&](auto type) { same = std::is_same_v<decltype(type), T>; });
    return same && big_endian == host_is_big_endian;
}

/// Whether an array's bytes can hold what it claims.
bool is_plausible(const binary_value &array, std::uint64_t total_bytes)
{
    switch (array.array_encoding)
    {
    case 0:
        return total_bytes == array.bytes.size();
    case 1:
        return total_bytes <= max_inflate_ratio * array.bytes.size();
    default:
        return false;
    }
}

template <typename T>
bool read_array(const binary_value &array, const binary_source &source, number_array<T> &out)
{
    const std::uint64_t claimed = std::uint64_t{array.count} * number_bytes(array.code);
    if (!is_plausible(array, claimed) || claimed > std::numeric_limits<std::size_t>::max() / 16)
        return false;
    if (array.count == 0)
        return true;
    const std::size_t total_bytes = static_cast<std::size_t>(claimed);
    const bool deflated = array.array_encoding == 1;

    const bool as_in_memory = stored_as<T>(array.code, source.big_endian);
    if (deflated && as_in_memory)
        return source.unpacker.unpack(array.bytes, out.allocate(array.count), total_bytes);
    if (as_in_memory && total_bytes >= least_shared_bytes)
    {
        out.refer_to(array.bytes.data(), array.count, source.file);
        return true;
    }
    std::unique_ptr<char[]> unpacked;
    const char *bytes = array.bytes.data();
    if (deflated)
    {
        unpacked.reset(new char[total_bytes]);
        if (!source.unpacker.unpack(array.bytes, unpacked.get(), total_bytes))
            return false;
        bytes = unpacked.get();
    }
    T *const numbers = out.allocate(array.count);
    with_number_type(array.code,
                     [&](auto type)
                     {
                         using from = decltype(type);
                         convert_numbers<from>(bytes, source.big_endian, sizeof(from), array.count,
                                               numbers);
                     });
    return true;
}

template <typename T> bool read_values(const record &r, bool big_endian, number_array<T> &out)
{
    T *const numbers =
        out.allocate(r.value_count); // a value takes two bytes at least: this is in bounds
    const char code = uniform_number_code(r);
    if (with_number_type(code,
                         [&](auto type)
                         {
                             using from = decltype(type);
                             convert_numbers<from>(r.values.data() + 1, big_endian,
                                                   1 + sizeof(from), r.value_count, numbers);
                         }))
        return true;
    std::string_view rest = r.values;
    binary_value value;
    for (std::uint32_t i = 0; i < r.value_count; ++i)
        if (next_binary_value(rest, big_endian, value) != value_step::value ||
            !convert_value(value, big_endian, numbers[i]))
            return false;
    return true;
}
} // namespace

bool is_array_code(char code)
{
    return code >= 'a' && code <= 'z';
}

char uniform_number_code(const record &r)
{
    const char code = r.values.empty() ? '\0' : r.values.front();
    const std::size_t stride = 1 + number_bytes(code);
    if (stride == 1 || is_array_code(code) || r.values.size() % stride != 0 ||
        r.values.size() / stride != r.value_count)
        return '\0';
    for (std::size_t at = 0; at < r.values.size(); at += stride)
        if (r.values[at] != code)
            return '\0';
    return code;
}

value_step next_binary_value(std::string_view &rest, bool big_endian, binary_value &out)
{
    if (rest.empty())
        return value_step::end;
    out.code = rest.front();
    rest.remove_prefix(1);
    std::uint32_t byte_count = 0;
    if (out.code == 'S' || out.code == 'R')
    {
        if (!take_u32(rest, big_endian, byte_count))
            return value_step::damaged;
    }
    else
    {
        byte_count = static_cast<std::uint32_t>(number_bytes(out.code));
        if (byte_count == 0)
            return value_step::unknown_code;
        if (is_array_code(out.code) && (!take_u32(rest, big_endian, out.count) ||
                                        !take_u32(rest, big_endian, out.array_encoding) ||
                                        !take_u32(rest, big_endian, byte_count)))
            return value_step::damaged;
    }
    return take(rest, byte_count, out.bytes) ? value_step::value : value_step::damaged;
}

inflater::~inflater()
{
    if (m_decompressor != nullptr)
        libdeflate_free_decompressor(m_decompressor);
}

bool inflater::unpack(std::string_view stream, void *to, std::size_t count)
{
    if (m_decompressor == nullptr)
        m_decompressor = libdeflate_alloc_decompressor();
    if (m_decompressor == nullptr)
        throw std::bad_alloc();
    return libdeflate_zlib_decompress(m_decompressor, stream.data(), stream.size(), to, count,
                                      nullptr) == LIBDEFLATE_SUCCESS;
}

bool binary_integer(const binary_value &value, bool big_endian, std::int64_t &out)
{
    return convert_value(value, big_endian, out);
}

bool binary_real(const binary_value &value, bool big_endian, double &out)
{
    return convert_value(value, big_endian, out);
}

template <typename T>
bool read_binary_numbers(const record &r, const binary_source &source, number_array<T> &out)
{
    if (r.value_count == 0)
        return true;
    std::string_view rest = r.values;
    binary_value first;
    if (r.value_count == 1 &&
        next_binary_value(rest, source.big_endian, first) == value_step::value &&
        is_array_code(first.code))
        return read_array(first, source, out);
    return read_values(r, source.big_endian, out);
}

template bool read_binary_numbers(const record &, const binary_source &, number_array<double> &);
template bool read_binary_numbers(const record &, const binary_source &, number_array<int> &);
} // namespace vesk_fbx
