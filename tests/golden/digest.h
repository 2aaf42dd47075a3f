#pragma once

#include "vesk/vesk.h"

#include <cstdint>
#include <cstring>

/// Folds result bits into one number (FNV-1a, 64 bits), the same on every platform: words go in
/// byte by byte from the lowest, and every NaN counts as the same one.
class digest
{
public:
    /// Numbers, vectors, quaternions and matrices, one after the other.
    template <typename... Values> void add(const Values &...values)
    {
        (add_one(values), ...);
    }

    template <typename Value> void add_array(const Value *values, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            add_one(values[i]);
    }

    std::uint64_t value() const
    {
        return m_hash;
    }

private:
    void add_one(std::uint32_t word)
    {
        for (unsigned int shift = 0; shift < 32; shift += 8)
            m_hash = (m_hash ^ (word >> shift & 0xFFu)) * 1099511628211ull;
    }

    void add_one(int number)
    {
        add_one(static_cast<std::uint32_t>(number));
    }

    void add_one(float number)
    {
        std::uint32_t bits = 0x7FC00000u;
        if (number == number)
            std::memcpy(&bits, &number, sizeof(bits));
        add_one(bits);
    }

    /// What is made of floats, in storage order.
    template <typename T> void add_one(const T &object)
    {
        float numbers[sizeof(T) / sizeof(float)];
        std::memcpy(numbers, &object, sizeof(T));
        for (const float number : numbers)
            add_one(number);
    }

    std::uint64_t m_hash = 1469598103934665603ull;
};
