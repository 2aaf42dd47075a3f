#pragma once

#include "support/bits.h"

#include <array>
#include <cmath>
#include <random>

/// A float that rounds after every single operation, whatever the compiler's flags: each one is
/// evaluated in double, where the result of two floats is either exact or rounds to the same
/// float as the exact one, and narrowed at once. Transcriptions of the library's arithmetic are
/// written in it.
struct stepped
{
    float value = 0.0f;

    stepped() = default;
    stepped(float f) : value(f) {}
    explicit stepped(double d) : value(static_cast<float>(d)) {}
    double wide() const
    {
        return static_cast<double>(value);
    }
};

inline stepped operator+(stepped a, stepped b)
{
    return stepped(a.wide() + b.wide());
}

inline stepped operator-(stepped a, stepped b)
{
    return stepped(a.wide() - b.wide());
}

inline stepped operator-(stepped a)
{
    return stepped(float_of(bits_of(a.value) ^ 0x80000000u));
}

inline stepped operator*(stepped a, stepped b)
{
    return stepped(a.wide() * b.wide());
}

inline stepped operator/(stepped a, stepped b)
{
    return stepped(a.wide() / b.wide());
}

inline stepped stepped_root(stepped a)
{
    return stepped(std::sqrt(a.wide()));
}

template <std::size_t n> using floats = std::array<stepped, n>;

/// The components of a vector, matrix, quaternion or plane, in storage order.
template <typename T> floats<sizeof(T) / sizeof(float)> floats_of(const T &object)
{
    floats<sizeof(T) / sizeof(float)> result;
    std::memcpy(static_cast<void *>(result.data()), &object, sizeof(T));
    return result;
}

/// Bit equality of all components, any NaN equal to any other.
template <typename T, std::size_t n>
testing::AssertionResult same_floats(const T &actual, const floats<n> &expected)
{
    static_assert(sizeof(T) == n * sizeof(float), "as many floats on both sides");
    const floats<n> got = floats_of(actual);
    for (std::size_t i = 0; i < n; ++i)
        if (!same_bits(got[i].value, expected[i].value))
            return testing::AssertionFailure()
                   << "component " << i << " is " << got[i].value << " (" << std::hex
                   << bits_of(got[i].value) << "), not " << expected[i].value << " ("
                   << bits_of(expected[i].value) << ")";
    return testing::AssertionSuccess();
}

/// Floats that hurt: special values, neighbours of limits, any bit pattern, and ordinary ones in
/// between, so that results are not all NaN.
class hostile_floats
{
public:
    explicit hostile_floats(unsigned int seed) : random(seed) {}

    float next()
    {
        static constexpr std::uint32_t special[] = {
            0x00000000u, 0x80000000u, 0x00000001u, 0x80000001u, 0x007fffffu, 0x00800000u,
            0x3f800000u, 0xbf800000u, 0x3f7fffffu, 0x3f800001u, 0x7f7fffffu, 0xff7fffffu,
            0x7f800000u, 0xff800000u, 0x7fc00000u, 0x1e3ce508u, 0x40c90fdbu, 0x40490fdbu};
        const std::uint32_t pick = static_cast<std::uint32_t>(random());
        switch (mood == 0 ? pick & 3u : mood)
        {
        case 0:
            return float_of(special[(pick >> 8) % (sizeof(special) / sizeof(*special))]);
        case 1:
            return float_of(static_cast<std::uint32_t>(random()));
        case 2:
            return std::uniform_real_distribution<float>(-1000.0f, 1000.0f)(random);
        default:
            return std::uniform_real_distribution<float>(-1.0f, 1.0f)(random);
        }
    }

    /// An object with every component drawn. Each object is either ordinary or hostile as a
    /// whole, or a mixture.
    template <typename T> T object()
    {
        mood = static_cast<std::uint32_t>(random()) % 4u;
        floats<sizeof(T) / sizeof(float)> components;
        for (stepped &component : components)
            component = next();
        mood = 0;
        T result;
        std::memcpy(static_cast<void *>(&result), components.data(), sizeof(T));
        return result;
    }

private:
    std::mt19937 random;
    std::uint32_t mood = 0;
};
