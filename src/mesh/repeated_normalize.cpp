#include "mesh/repeated_normalize.h"

#include <cstdint>

namespace
{
// Plain rounds before the first and between two tries to leap: enough for nearly every vector.
constexpr unsigned int rounds_between_leaps = 64;
// A leap has to be worth the search for its end.
constexpr unsigned int shortest_leap = 16;

constexpr std::int32_t sign_and_exponent = static_cast<std::int32_t>(0xFF800000u);
constexpr std::int32_t mantissa = 0x007FFFFF;

// In float bits: within one sign and exponent an ulp is a difference of 1, away from zero.
vesk_mask4 bits_of(vesk_float4 v)
{
    return (vesk_mask4)v;
}

vesk_float4 from_bits(vesk_mask4 bits)
{
    return (vesk_float4)bits;
}

bool same_binades(vesk_mask4 a, vesk_mask4 b)
{
    const vesk_mask4 differing = (a ^ b) & sign_and_exponent;
    return (differing[0] | differing[1] | differing[2]) == 0;
}

float length_of(vesk_float4 v)
{
    const vesk_float4 squares = v * v;
    return vesk_sqrt((squares[0] + squares[1]) + squares[2]);
}

// Two rounds that moved each component by a number of ulps: from -> middle -> from + step.
struct double_round
{
    vesk_mask4 from;
    vesk_mask4 first_step; // ulps from `from` to `middle`
    vesk_mask4 step;       // ulps from `from` to the vector after both rounds
};

// Whether a round moves each vector of the straight way from `a` to `z` (in steps of whole ulps,
// inside one binade) by the same number of ulps `step`, given that it moves `a` so.
//
// Squares, sums and root never fall when a component grows, rounding included. So when the
// vector of the smaller and the one of the larger components have one length, all between have
// it. Dividing M ulps by one length gives M / length rounded to whole ulps; with a length below
// 2 the quotient never lies half way between two floats, so its distance from M never turns back
// as M grows, and when it is `step` at both ends it is `step` all the way.
bool moves_alike(vesk_mask4 a, vesk_mask4 z, vesk_mask4 step)
{
    const vesk_mask4 a_is_less = (a & mantissa) < (z & mantissa);
    const float least = length_of(from_bits((a_is_less & a) | (~a_is_less & z)));
    const float most = length_of(from_bits((a_is_less & z) | (~a_is_less & a)));
    if (!(least == most && least > 0.5f && least < 2.0f))
        return false;
    const vesk_mask4 after = bits_of(from_bits(z) / vesk_splat4(least));
    return same_binades(after, z) && vesk_same_bits4(from_bits(after - z), from_bits(step));
}

bool holds_for(const double_round &way, std::int32_t repetitions)
{
    const vesk_mask4 last = way.from + way.step * (repetitions - 1);
    return moves_alike(way.from, last, way.first_step) &&
           moves_alike(way.from + way.first_step, last + way.first_step, way.step - way.first_step);
}

// The most repetitions that keep each component inside its binade, after both rounds of each.
std::int32_t room_in_binade(const double_round &way, unsigned int most)
{
    std::int32_t room = most < 0x00400000u ? static_cast<std::int32_t>(most) : 0x00400000;
    for (int i = 0; i < 3; ++i)
    {
        const std::int32_t at[2] = {way.from[i] & mantissa,
                                    (way.from[i] + way.first_step[i]) & mantissa};
        for (const std::int32_t m : at)
        {
            if (way.step[i] > 0 && (mantissa - m) / way.step[i] < room)
                room = (mantissa - m) / way.step[i];
            if (way.step[i] < 0 && m / -way.step[i] < room)
                room = m / -way.step[i];
        }
    }
    return room;
}

// Advances `v` as far as it creeps evenly, two rounds at a time; false when it does not.
bool leap(vesk_float4 &v, unsigned int &rounds)
{
    const vesk_mask4 from = bits_of(v);
    const vesk_mask4 middle = bits_of(vesk_normalize_lanes(v));
    const vesk_mask4 to = bits_of(vesk_normalize_lanes(from_bits(middle)));
    if (!same_binades(from, middle) || !same_binades(from, to))
        return false;

    const double_round way = {from, middle - from, to - from};
    std::int32_t beyond = room_in_binade(way, rounds / 2) + 1;
    std::int32_t reached = 1; // the pair of rounds just seen
    while (beyond - reached > 1)
    {
        const std::int32_t tried = reached + (beyond - reached) / 2;
        (holds_for(way, tried) ? reached : beyond) = tried;
    }
    if (reached < static_cast<std::int32_t>(shortest_leap))
        return false;
    v = from_bits(from + way.step * reached);
    rounds -= 2 * static_cast<unsigned int>(reached);
    return true;
}
} // namespace

vesk_float4 vesk_normalize_repeatedly(vesk_float4 v, unsigned int rounds)
{
    vesk_float4 before = v;
    // The state at the last power of two of rounds: meeting it again shows a cycle of any length
    // (Brent 1980). Cycles longer than two were never met, but nothing here depends on that.
    vesk_float4 milestone = v;
    unsigned int since_milestone = 0;
    unsigned int next_milestone = 1;
    unsigned int until_leap = rounds_between_leaps;

    while (rounds > 0)
    {
        const vesk_float4 next = vesk_normalize_lanes(v);
        --rounds;
        ++since_milestone;
        if (vesk_same_bits4(next, v))
            return v;
        if (vesk_same_bits4(next, before))
            return rounds % 2 ? v : next;
        if (vesk_same_bits4(next, milestone))
            rounds %= since_milestone;
        if (since_milestone == next_milestone)
        {
            milestone = next;
            since_milestone = 0;
            next_milestone *= 2;
        }
        before = v;
        v = next;
        if (--until_leap == 0)
        {
            until_leap = rounds_between_leaps;
            while (rounds > 2 * shortest_leap && leap(v, rounds))
                before = milestone = v;
        }
    }
    return v;
}
