#pragma once

#include <cmath>
#include <cstddef>
#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// @file
/// Four floats in one register. Every operation rounds each lane as the scalar operation does,
/// so a loop over lanes gives the bits of the plain loop. Where the target has no such register
/// the compiler splits the vectors.

/// Four floats.
typedef float vesk_float4 __attribute__((vector_size(16)));
/// Four lanes of all or no bits, as comparisons of `vesk_float4` give them.
typedef int vesk_mask4 __attribute__((vector_size(16)));

/// Four floats from any address.
inline vesk_float4 vesk_load4(const void *from)
{
    vesk_float4 lanes;
    std::memcpy(&lanes, from, sizeof(lanes));
    return lanes;
}

/// Four floats to any address.
inline void vesk_store4(float *to, vesk_float4 lanes)
{
    std::memcpy(to, &lanes, sizeof(lanes));
}

/// One value in all lanes.
inline vesk_float4 vesk_splat4(float value)
{
    return vesk_float4{value, value, value, value};
}

/// Lane by lane `mask ? a : b`, without touching a bit of either: NaN payloads pass.
inline vesk_float4 vesk_select4(vesk_mask4 mask, vesk_float4 a, vesk_float4 b)
{
    return (vesk_float4)((mask & (vesk_mask4)a) | (~mask & (vesk_mask4)b));
}

/// Whether all lanes hold the same bits.
inline bool vesk_same_bits4(vesk_float4 a, vesk_float4 b)
{
#if defined(__SSE2__)
    const __m128i equal = _mm_cmpeq_epi32(_mm_castps_si128(a), _mm_castps_si128(b));
    return _mm_movemask_epi8(equal) == 0xFFFF;
#else
    return std::memcmp(&a, &b, sizeof(a)) == 0;
#endif
}

/// Lane by lane `a < b ? a : b`: `b` where either is NaN, and where both are zeros.
inline vesk_float4 vesk_min4(vesk_float4 a, vesk_float4 b)
{
#if defined(__SSE2__)
    return _mm_min_ps(a, b);
#else
    return vesk_select4(a < b, a, b);
#endif
}

/// Lane by lane `a > b ? a : b`: `b` where either is NaN, and where both are zeros.
inline vesk_float4 vesk_max4(vesk_float4 a, vesk_float4 b)
{
#if defined(__SSE2__)
    return _mm_max_ps(a, b);
#else
    return vesk_select4(a > b, a, b);
#endif
}

/// The float root. For every float it equals the root taken in double and rounded once.
inline float vesk_sqrt(float value)
{
#if defined(__SSE2__)
    // Not std::sqrt: that has to set errno for negative arguments, which costs a branch.
    return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(value)));
#else
    return static_cast<float>(std::sqrt(static_cast<double>(value)));
#endif
}

/// `vesk_sqrt` of each lane.
inline vesk_float4 vesk_sqrt4(vesk_float4 lanes)
{
#if defined(__SSE2__)
    return _mm_sqrt_ps(lanes);
#else
    return vesk_float4{vesk_sqrt(lanes[0]), vesk_sqrt(lanes[1]), vesk_sqrt(lanes[2]),
                       vesk_sqrt(lanes[3])};
#endif
}

/// Turns four rows into four columns: lane i of `d` goes to lane 3 of the i-th, and so on.
inline void vesk_transpose4(vesk_float4 &a, vesk_float4 &b, vesk_float4 &c, vesk_float4 &d)
{
#if defined(__SSE2__)
    _MM_TRANSPOSE4_PS(a, b, c, d);
#else
    const vesk_float4 rows[4] = {a, b, c, d};
    a = vesk_float4{rows[0][0], rows[1][0], rows[2][0], rows[3][0]};
    b = vesk_float4{rows[0][1], rows[1][1], rows[2][1], rows[3][1]};
    c = vesk_float4{rows[0][2], rows[1][2], rows[2][2], rows[3][2]};
    d = vesk_float4{rows[0][3], rows[1][3], rows[2][3], rows[3][3]};
#endif
}

/// Two floats from each of four addresses: the first of each in `first`, the second in `second`.
inline void vesk_load_pairs4(const float *p0, const float *p1, const float *p2, const float *p3,
                             vesk_float4 &first, vesk_float4 &second)
{
#if defined(__SSE2__)
    const auto halves = [](const float *low, const float *high)
    {
        const __m128d half = _mm_load_sd(reinterpret_cast<const double *>(low));
        return _mm_castpd_ps(_mm_loadh_pd(half, reinterpret_cast<const double *>(high)));
    };
    const __m128 p01 = halves(p0, p1), p23 = halves(p2, p3);
    first = _mm_shuffle_ps(p01, p23, _MM_SHUFFLE(2, 0, 2, 0));
    second = _mm_shuffle_ps(p01, p23, _MM_SHUFFLE(3, 1, 3, 1));
#else
    first = vesk_float4{p0[0], p1[0], p2[0], p3[0]};
    second = vesk_float4{p0[1], p1[1], p2[1], p3[1]};
#endif
}

/// The counterpart of `vesk_load_pairs4`.
inline void vesk_store_pairs4(float *p0, float *p1, float *p2, float *p3, vesk_float4 first,
                              vesk_float4 second)
{
#if defined(__SSE2__)
    const __m128d p01 = _mm_castps_pd(_mm_unpacklo_ps(first, second));
    const __m128d p23 = _mm_castps_pd(_mm_unpackhi_ps(first, second));
    _mm_storel_pd(reinterpret_cast<double *>(p0), p01);
    _mm_storeh_pd(reinterpret_cast<double *>(p1), p01);
    _mm_storel_pd(reinterpret_cast<double *>(p2), p23);
    _mm_storeh_pd(reinterpret_cast<double *>(p3), p23);
#else
    float *const to[4] = {p0, p1, p2, p3};
    for (int i = 0; i < 4; ++i)
    {
        to[i][0] = first[i];
        to[i][1] = second[i];
    }
#endif
}
