#pragma once

#include "vesk/vesk.h"

#include <cstdint>
#include <cstring>

/// Folds result bits into one number (FNV-1a, 64 bits), the same on every platform: words go in
/// byte by byte from the lowest, and every NaN counts as the same one.
class digest
{
public:
    void add(std::uint32_t word)
    {
        for (unsigned int shift = 0; shift < 32; shift += 8)
            m_hash = (m_hash ^ (word >> shift & 0xFFu)) * 1099511628211ull;
    }

    void add(int number)
    {
        add(static_cast<std::uint32_t>(number));
    }

    void add(float number)
    {
        std::uint32_t bits = 0x7FC00000u;
        if (number == number)
            std::memcpy(&bits, &number, sizeof(bits));
        add(bits);
    }

    void add(const vesk_vector2 &v)
    {
        add(v.x);
        add(v.y);
    }

    void add(const vesk_vector3 &v)
    {
        for (unsigned int i = 0; i < 3; ++i)
            add(v[i]);
    }

    void add(const vesk_vector4 &v)
    {
        for (unsigned int i = 0; i < 4; ++i)
            add(v[i]);
    }

    void add(const vesk_quaternion &q)
    {
        add(q.x);
        add(q.y);
        add(q.z);
        add(q.w);
    }

    void add(const vesk_matrix33 &a)
    {
        for (unsigned int row = 0; row < 3; ++row)
            add(a[row]);
    }

    void add(const vesk_matrix44 &a)
    {
        for (unsigned int row = 0; row < 4; ++row)
            add(a[row]);
    }

    void add_words(const unsigned int *words, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            add(words[i]);
    }

    std::uint64_t value() const
    {
        return m_hash;
    }

private:
    std::uint64_t m_hash = 1469598103934665603ull;
};
