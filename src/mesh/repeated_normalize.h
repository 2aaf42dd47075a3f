#pragma once

#include "math/float4.h"
#include "vesk/vector.h"

/// @file
/// Normalising a vector many times over, to the bit.
///
/// Dividing a vector by its length once rarely gives length 1 to the last bit, so doing it again
/// can change it again. Most vectors come to rest after one or two rounds, some swing between two
/// neighbours for ever, and a few creep by an ulp or two each round for millions of rounds.

/// x, y and z of `v` divided by its length, or zeros when the length is not above 0.0f; lane 3
/// of `v` has to be zero and stays it.
inline vesk_float4 vesk_normalize_lanes(vesk_float4 v)
{
    const vesk_float4 squares = v * v;
    const float length = vesk_sqrt((squares[0] + squares[1]) + squares[2]);
    return length > 0.0f ? v / vesk_splat4(length) : vesk_float4{};
}

/// Whether normalising leaves `v` alone for certain: the float sums of squares whose float root
/// is exactly 1.0f are 1.0f and the next larger one, and division by 1.0f changes nothing.
inline bool vesk_is_settled(vesk_float4 v)
{
    const vesk_float4 squares = v * v;
    const float sum = (squares[0] + squares[1]) + squares[2];
    return sum >= 1.0f && sum <= 0x1.000002p+0f;
}

/// What `vesk_normalize_lanes` makes of `v` when it is done `rounds` times over. The cost does
/// not grow with `rounds` beyond a few hundred: cycles are recognised, and the long way of a
/// vector that creeps is leapt over.
vesk_float4 vesk_normalize_repeatedly(vesk_float4 v, unsigned int rounds);
