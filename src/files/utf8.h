#pragma once

#include <cstddef>
#include <cstdint>

/// The code point at `text`, which moves behind it; above 0x10FFFF when there is none. Two-byte
/// characters are UTF-16 with surrogate pairs, four-byte ones UTF-32. A lone surrogate is none.
template <typename Char> std::uint32_t vesk_next_code_point(const Char *&text) noexcept
{
    static_assert(sizeof(Char) == 2 || sizeof(Char) == 4, "UTF-16 or UTF-32");
    constexpr std::uint32_t none = 0xFFFFFFFF;
    constexpr std::uint32_t unit_mask = sizeof(Char) == 2 ? 0xFFFF : 0xFFFFFFFF;

    const std::uint32_t first = static_cast<std::uint32_t>(*text++) & unit_mask;
    if (first < 0xD800 || first > 0xDFFF)
        return first;
    if (sizeof(Char) == 4 || first > 0xDBFF)
        return none;
    // The terminator is no second half, so this never reads behind it.
    const std::uint32_t second = static_cast<std::uint32_t>(*text) & unit_mask;
    if (second < 0xDC00 || second > 0xDFFF)
        return none;
    ++text;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

/// Writes the UTF-8 form of `text`, terminator included, into the `capacity` bytes at `out`.
///
/// @return the bytes of the whole form; when that is above `capacity`, what stands in `out` is of
///   no use. 0 when `text` is not valid UTF-16 or UTF-32.
template <typename Char>
std::size_t vesk_utf8_from_wide(const Char *text, char *out, std::size_t capacity) noexcept
{
    std::size_t bytes = 0;
    const auto put = [&](std::uint32_t byte)
    {
        if (bytes < capacity)
            out[bytes] = static_cast<char>(static_cast<unsigned char>(byte));
        ++bytes;
    };
    for (;;)
    {
        const std::uint32_t point = vesk_next_code_point(text);
        if (point > 0x10FFFF)
            return 0;
        if (point < 0x80)
        {
            put(point);
            if (point == 0)
                return bytes;
            continue;
        }
        // The lead byte tells the length in its high bits; each byte behind it holds six bits.
        const unsigned int trail_count = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
        put(((0xF0u << (3 - trail_count)) & 0xFF) | point >> (6 * trail_count));
        for (unsigned int left = trail_count; left > 0; --left)
            put(0x80 | (point >> (6 * (left - 1)) & 0x3F));
    }
}
