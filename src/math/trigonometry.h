#pragma once

#include <cmath>

/// Sine of the widened angle, rounded to float.
inline float vesk_sine(float radians)
{
    return static_cast<float>(std::sin(static_cast<double>(radians)));
}

/// Cosine of the widened angle, rounded to float.
inline float vesk_cosine(float radians)
{
    return static_cast<float>(std::cos(static_cast<double>(radians)));
}
