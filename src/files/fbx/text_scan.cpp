#include "files/fbx/text_scan.h"

namespace vesk_fbx
{
namespace
{
// Sixteen bytes at a time by the vector types of gcc and clang, which exist on every target. A
// lane of a mask is all ones or all zeros.
using byte_vector = unsigned char __attribute__((vector_size(16)));

byte_vector load(const char *p)
{
    byte_vector v;
    std::memcpy(&v, p, sizeof(v));
    return v;
}

bool any(byte_vector mask)
{
    std::uint64_t half[2];
    std::memcpy(half, &mask, sizeof(half));
    return (half[0] | half[1]) != 0;
}

std::uint32_t count_lanes(byte_vector mask)
{
    std::uint64_t half[2];
    std::memcpy(half, &mask, sizeof(half));
    constexpr std::uint64_t ones = 0x0101010101010101u;
    return static_cast<std::uint32_t>((((half[0] & ones) + (half[1] & ones)) * ones) >> 56);
}

byte_vector separators(byte_vector v)
{
    const byte_vector from_tab = v - '\t';
    return (byte_vector)((v == ' ') | (v == ',') | (from_tab <= '\r' - '\t'));
}

/// Bytes of numbers, and a few that only look so (`/`, a lone `e`): whoever reads the values finds
/// out.
byte_vector number_bytes(byte_vector v)
{
    const byte_vector from_plus = v - '+';
    return (byte_vector)(((from_plus <= '9' - '+') & (v != ',')) | ((v | 0x20) == 'e'));
}

bool is_separator(char c)
{
    return c == ',' || is_text_blank(c);
}

bool is_number_byte(char c)
{
    return (c >= '+' && c <= '9') || c == 'e' || c == 'E';
}
} // namespace

const char *skip_numbers(const char *p, std::uint32_t &count)
{
    const char *const begin = p;
    ++count;
    ++p; // so that there is a byte before: the number that begins at `begin` is counted
    for (;; p += sizeof(byte_vector))
    {
        const byte_vector here = load(p);
        const byte_vector separator = separators(here);
        if (any(~(separator | number_bytes(here))))
            break;
        count += count_lanes(separators(load(p - 1)) & ~separator);
    }
    for (; is_separator(*p) || is_number_byte(*p); ++p)
        if (is_separator(p[-1]) && !is_separator(*p))
            ++count;

    // The last word may belong to what comes: `5, Edges: ...`, or even `5 e : ...`.
    if (!is_word_byte(*p) && *p != ':')
        return p;
    if (*p == ':')
        while (p != begin && is_text_blank(p[-1]))
            --p;
    if (p != begin && is_word_byte(p[-1]))
    {
        --count;
        while (p != begin && is_word_byte(p[-1]))
            --p;
    }
    return p;
}

const char *find_structure(const char *p)
{
    for (;; p += sizeof(byte_vector))
    {
        const byte_vector here = load(p);
        if (any((byte_vector)((here == '"') | (here == '{') | (here == '}') | (here == ';') |
                              (here == 0))))
            break;
    }
    while (*p != '"' && *p != '{' && *p != '}' && *p != ';' && *p != '\0')
        ++p;
    return p;
}
} // namespace vesk_fbx
