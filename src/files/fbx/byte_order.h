#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vesk_fbx
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
constexpr bool host_is_big_endian = true;
#else
constexpr bool host_is_big_endian = false;
#endif

inline std::uint8_t swap_bytes(std::uint8_t v)
{
    return v;
}
inline std::uint16_t swap_bytes(std::uint16_t v)
{
    return __builtin_bswap16(v);
}
inline std::uint32_t swap_bytes(std::uint32_t v)
{
    return __builtin_bswap32(v);
}
inline std::uint64_t swap_bytes(std::uint64_t v)
{
    return __builtin_bswap64(v);
}

template <std::size_t Bytes> struct word_of;
template <> struct word_of<1>
{
    using type = std::uint8_t;
};
template <> struct word_of<2>
{
    using type = std::uint16_t;
};
template <> struct word_of<4>
{
    using type = std::uint32_t;
};
template <> struct word_of<8>
{
    using type = std::uint64_t;
};

/// The number whose bytes begin at `bytes`, at any address and in either byte order.
template <typename T> T load_number(const char *bytes, bool big_endian)
{
    typename word_of<sizeof(T)>::type word;
    std::memcpy(&word, bytes, sizeof(word));
    if (big_endian != host_is_big_endian)
        word = swap_bytes(word);
    T value;
    std::memcpy(&value, &word, sizeof(value));
    return value;
}
} // namespace vesk_fbx
