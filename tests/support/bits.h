#pragma once

#include "vesk/vector.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>

/// The bit pattern of a float: how results are compared.
inline std::uint32_t bits_of(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof(bits));
    return bits;
}

/// The float of a bit pattern.
inline float float_of(std::uint32_t bits)
{
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

/// Bit equality, where any NaN equals any other: payloads are the platform's.
inline bool same_bits(float a, float b)
{
    return bits_of(a) == bits_of(b) || (a != a && b != b);
}

inline bool same_bits(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return same_bits(a.x, b.x) && same_bits(a.y, b.y);
}

inline bool same_bits(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return same_bits(a.x, b.x) && same_bits(a.y, b.y) && same_bits(a.z, b.z);
}

inline bool same_bits(const vesk_vector4 &a, const vesk_vector4 &b)
{
    return same_bits(a.x, b.x) && same_bits(a.y, b.y) && same_bits(a.z, b.z) && same_bits(a.w, b.w);
}

#define EXPECT_BITS(actual, expected) EXPECT_EQ(bits_of(actual), expected)
