#pragma once

#include "math/float4.h"

/// @file
/// Geometry in four lanes. Every operation is the scalar one, lane for lane, with the same
/// rounding; comparisons are ordered, so that a NaN lane answers no.

/// Clears the signs.
inline vesk_float4 vesk_abs4(vesk_float4 value)
{
    vesk_mask4 bits;
    std::memcpy(&bits, &value, sizeof(bits));
    bits &= 0x7FFFFFFF;
    std::memcpy(&value, &bits, sizeof(bits));
    return value;
}

/// Bit i of the result is lane i of the mask.
inline unsigned int vesk_lane_bits(vesk_mask4 mask)
{
#if defined(__SSE2__)
    __m128 signs;
    std::memcpy(&signs, &mask, sizeof(signs));
    return static_cast<unsigned int>(_mm_movemask_ps(signs));
#else
    return (mask[0] & 1u) | (mask[1] & 2u) | (mask[2] & 4u) | (mask[3] & 8u);
#endif
}

/// Three of the four columns of four rows.
struct vesk_columns4
{
    vesk_float4 x, y, z;
};

/// Columns 0, 1 and 2.
inline vesk_columns4 vesk_columns_of(vesk_float4 a, vesk_float4 b, vesk_float4 c, vesk_float4 d)
{
#if defined(__SSE2__)
    const __m128 ab_low = _mm_unpacklo_ps(a, b), cd_low = _mm_unpacklo_ps(c, d);
    const __m128 ab_high = _mm_unpackhi_ps(a, b), cd_high = _mm_unpackhi_ps(c, d);
    return {_mm_movelh_ps(ab_low, cd_low), _mm_movehl_ps(cd_low, ab_low),
            _mm_movelh_ps(ab_high, cd_high)};
#else
    return {vesk_float4{a[0], b[0], c[0], d[0]}, vesk_float4{a[1], b[1], c[1], d[1]},
            vesk_float4{a[2], b[2], c[2], d[2]}};
#endif
}

/// A vector in every lane.
inline vesk_columns4 vesk_broadcast_columns(float x, float y, float z)
{
    return {vesk_splat4(x), vesk_splat4(y), vesk_splat4(z)};
}

inline vesk_columns4 operator-(const vesk_columns4 &a, const vesk_columns4 &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

/// The dot product, summed in component order.
inline vesk_float4 vesk_dot4(const vesk_columns4 &a, const vesk_columns4 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// The cross product.
inline vesk_columns4 vesk_cross4(const vesk_columns4 &a, const vesk_columns4 &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
