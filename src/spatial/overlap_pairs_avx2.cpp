#include "spatial/overlap_pairs_avx2.h"

// Compiled for AVX2, and without fused multiply-add, which would round differently. On Windows gcc
// does not keep the stack aligned for eight lanes, so the build leaves the option away there.
#if defined(__AVX2__)

#include "spatial/overlap_lanes.h"

#include <immintrin.h>

namespace
{
struct eight_lanes
{
    typedef float value __attribute__((vector_size(32)));
    typedef int mask __attribute__((vector_size(32)));
    static constexpr unsigned int count = 8;

    static unsigned int bits_of(const mask &m)
    {
        return static_cast<unsigned int>(_mm256_movemask_ps(reinterpret_cast<const __m256 &>(m)));
    }

    static value broadcast(float from)
    {
        return _mm256_set1_ps(from);
    }

    static mask octants_of(const vesk_overlap_pair *pairs)
    {
        const __m128i packed = _mm_loadu_si128(reinterpret_cast<const __m128i *>(pairs));
        return reinterpret_cast<mask>(_mm256_cvtepu16_epi32(packed)) & 7;
    }

    static void load_columns(const float *const (&rows)[count], value (&columns)[4])
    {
        __m256 pair[4];
        for (unsigned int i = 0; i < 4; ++i)
            pair[i] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(rows[i])),
                                           _mm_loadu_ps(rows[i + 4]), 1);
        const __m256 ab_low = _mm256_unpacklo_ps(pair[0], pair[1]);
        const __m256 cd_low = _mm256_unpacklo_ps(pair[2], pair[3]);
        const __m256 ab_high = _mm256_unpackhi_ps(pair[0], pair[1]);
        const __m256 cd_high = _mm256_unpackhi_ps(pair[2], pair[3]);
        columns[0] = _mm256_shuffle_ps(ab_low, cd_low, _MM_SHUFFLE(1, 0, 1, 0));
        columns[1] = _mm256_shuffle_ps(ab_low, cd_low, _MM_SHUFFLE(3, 2, 3, 2));
        columns[2] = _mm256_shuffle_ps(ab_high, cd_high, _MM_SHUFFLE(1, 0, 1, 0));
        columns[3] = _mm256_shuffle_ps(ab_high, cd_high, _MM_SHUFFLE(3, 2, 3, 2));
    }
};

} // namespace

vesk_overlap_test vesk_pick_overlap_test_avx2(bool is_flat)
{
    if (!__builtin_cpu_supports("avx2"))
        return nullptr;
    return is_flat ? vesk_test_overlap_pairs<eight_lanes, true>
                   : vesk_test_overlap_pairs<eight_lanes, false>;
}

#else

vesk_overlap_test vesk_pick_overlap_test_avx2(bool)
{
    return nullptr;
}

#endif
