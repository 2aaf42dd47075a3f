#pragma once

// Inline half of scalar.h. The order of operations is the result: it is never simplified.

VESK_INLINE float vesk_degree_to_radian(float degrees)
{
    return degrees * 0.017453292f;
}

VESK_INLINE float vesk_degree_to_half_radian(float degrees)
{
    return degrees * 0.008726646f;
}

VESK_INLINE float vesk_radian_to_degree(float radians)
{
    return radians * 57.29578f;
}

VESK_INLINE float vesk_square_root(float x)
{
    return static_cast<float>(std::sqrt(static_cast<double>(x)));
}

VESK_INLINE int vesk_abs(int value)
{
    // Negated as unsigned, where the lowest int has its own image.
    return value < 0 ? static_cast<int>(0u - static_cast<unsigned int>(value)) : value;
}

VESK_INLINE float vesk_fabs(float value)
{
    return value >= 0.0f ? value : value * -1.0f;
}

VESK_INLINE unsigned long long vesk_mod(unsigned long long value, unsigned long long divisor)
{
    return divisor == 0 ? 0 : value % divisor;
}

VESK_INLINE unsigned int vesk_mod(unsigned int value, unsigned int divisor)
{
    return divisor == 0 ? 0 : value % divisor;
}

VESK_INLINE int vesk_is_angle_in_range(float angle, float low, float high)
{
    if (high > low)
        return low <= angle && angle <= high;
    return angle >= low || angle <= high;
}

VESK_INLINE float vesk_minimum_distance_between_angles(float a, float b)
{
    constexpr float pi = 3.1415927f;
    constexpr float two_pi = 6.2831855f;
    if (a == b)
        return 0.0f;
    const float d = b > a ? b - a : (two_pi - a) + b;
    return d > pi ? two_pi - d : d;
}

VESK_INLINE float vesk_clamp(float value, float low, float high)
{
    if (low > value)
        return low;
    if (value > high)
        return high;
    return value;
}

VESK_INLINE float vesk_percentage(float value, float low, float high)
{
    if (low == high)
        return 1.0f;
    if (value == low)
        return 0.0f;
    return (value - low) / (high - low);
}
