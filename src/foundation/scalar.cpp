#define VESK_EMIT_KIT
#include "vesk/scalar.h"

#include <climits>

float vesk_sine(float radians)
{
    return static_cast<float>(std::sin(static_cast<double>(radians)));
}

float vesk_cosine(float radians)
{
    return static_cast<float>(std::cos(static_cast<double>(radians)));
}

float vesk_arccosine(float x)
{
    return static_cast<float>(std::acos(static_cast<double>(x)));
}

float vesk_arctangent(float x)
{
    return static_cast<float>(std::atan(static_cast<double>(x)));
}

float vesk_arctangent2(float y, float x)
{
    return static_cast<float>(std::atan2(static_cast<double>(y), static_cast<double>(x)));
}

float vesk_exponent(float base, float power)
{
    return static_cast<float>(std::pow(static_cast<double>(base), static_cast<double>(power)));
}

float vesk_mod(float value, float divisor)
{
    if (divisor <= 0.0f)
        return 0.0f;
    return static_cast<float>(std::fmod(static_cast<double>(value), static_cast<double>(divisor)));
}

float vesk_maximize_angles(float a, float b)
{
    return vesk_arccosine(vesk_cosine(a) / vesk_cosine(b));
}

unsigned int vesk_round(float value)
{
    if (!(value > 0.0f))
        return 0; // NaN too
    if (value >= 4294967296.0f)
        return UINT_MAX;
    const float fraction = static_cast<float>(std::fmod(static_cast<double>(value), 1.0));
    const unsigned int whole = static_cast<unsigned int>(value - fraction);
    return fraction >= 0.5f ? whole + 1 : whole; // no fraction from 2 to the 23rd on: no wrap
}
