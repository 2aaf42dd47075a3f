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
