#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

/// Decisions out of the bytes of a fuzz input; zeros when they have run out.
class byte_source
{
public:
    byte_source(const std::uint8_t *bytes, std::size_t byte_count)
        : next(bytes)
        , end(bytes + byte_count)
    {
    }

    bool is_empty() const
    {
        return next == end;
    }

    std::uint8_t byte()
    {
        return next == end ? std::uint8_t(0) : *next++;
    }

    unsigned int below(unsigned int limit)
    {
        return byte() % limit;
    }

    /// Mostly a small number with a few binary places, sometimes any float at all.
    float number()
    {
        const std::uint8_t first = byte();
        if (first != 0xFF)
            return static_cast<float>(static_cast<std::int8_t>(first)) / 16.0f;
        std::uint32_t bits = 0;
        for (int i = 0; i < 4; ++i)
            bits = bits << 8 | byte();
        float value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }

private:
    const std::uint8_t *next;
    const std::uint8_t *end;
};
