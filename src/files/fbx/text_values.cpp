#include "files/fbx/text_values.h"

#include "files/fbx/decimal.h"
#include "files/fbx/text_scan.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vesk_fbx
{
namespace
{
const char *end_of(std::string_view text)
{
    return text.data() + text.size();
}

const char *read_number(const char *p, const char *end, double &out)
{
    return read_real(p, end, out);
}

const char *read_number(const char *p, const char *end, int &out)
{
    std::int64_t wide;
    p = read_integer(p, end, wide);
    if (p != nullptr)
        out = static_cast<int>(std::clamp<std::int64_t>(wide, std::numeric_limits<int>::min(),
                                                        std::numeric_limits<int>::max()));
    return p;
}

/// `*N`, which announces that the numbers stand in a child record. N itself is only a hint.
bool announces_array(const record &r)
{
    const char *const p = skip_blanks<true>(r.values.data());
    return p < end_of(r.values) && *p == '*';
}

template <typename T> bool read_values(const record &r, number_array<T> &out)
{
    // Counted when the structure was read, and no more than one to two bytes of the file.
    T *const numbers = out.allocate(r.value_count);
    const char *const end = end_of(r.values);
    std::size_t count = 0;
    for (const char *p = r.values.data();;)
    {
        p = skip_blanks<true>(p);
        if (p >= end)
            break;
        if (count == r.value_count)
            return false;
        p = read_number(p, end, numbers[count]);
        if (p == nullptr || (p != end && is_word_byte(*p)))
            return false;
        ++count;
    }
    out.count = count;
    return true;
}

/// Value number `i` of a record: a string without its quotation marks, or the bytes of a number or
/// bare word. False when the record has fewer.
bool find_text_value(const record &r, std::uint32_t i, std::string_view &out, bool &is_string)
{
    const char *const end = end_of(r.values);
    const char *p = r.values.data();
    for (std::uint32_t at = 0;; ++at)
    {
        p = skip_blanks<true>(p);
        if (p >= end)
            return false;
        is_string = *p == '"';
        const char *const begin = is_string ? p + 1 : p;
        const char *behind = is_string ? static_cast<const char *>(std::memchr(
                                             begin, '"', static_cast<std::size_t>(end - begin)))
                                       : skip_word(begin);
        if (behind == nullptr || (!is_string && behind == begin))
            return false;
        if (at == i)
        {
            out = {begin, static_cast<std::size_t>(behind - begin)};
            return true;
        }
        p = is_string ? behind + 1 : behind;
    }
}
} // namespace

bool text_integer(const record &r, std::uint32_t i, std::int64_t &out)
{
    std::string_view value;
    bool is_string;
    return find_text_value(r, i, value, is_string) && !is_string &&
           read_integer(value.data(), end_of(value), out) == end_of(value);
}

bool text_real(const record &r, std::uint32_t i, double &out)
{
    std::string_view value;
    bool is_string;
    return find_text_value(r, i, value, is_string) && !is_string &&
           read_real(value.data(), end_of(value), out) == end_of(value);
}

bool text_text(const record &r, std::uint32_t i, std::string_view &out)
{
    std::string_view value;
    bool is_string;
    if (!find_text_value(r, i, value, is_string) || (!is_string && starts_number(value.data())))
        return false;
    out = value;
    return true;
}

template <typename T> bool read_text_numbers(const record &r, number_array<T> &out)
{
    if (!announces_array(r))
        return read_values(r, out);
    const record *const content = document::find_child(r, "a");
    return content == nullptr || read_values(*content, out);
}

template bool read_text_numbers(const record &, number_array<double> &);
template bool read_text_numbers(const record &, number_array<int> &);
} // namespace vesk_fbx
