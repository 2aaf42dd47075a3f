#include "spatial/child_lists_avx2.h"

#if defined(__AVX2__)

#include <cstring>
#include <immintrin.h>

namespace
{
void pick_by_eight(const std::uint32_t *numbers, const std::uint8_t *sets, std::uint32_t count,
                   unsigned int member, std::uint32_t *to)
{
    const __m128i to_sign = _mm_cvtsi32_si128(static_cast<int>(7 - member));
    for (std::uint32_t i = 0; i < count; i += 8)
    {
        // Behind the end there is nothing in the sets.
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, sets + i, 8);
        if (count - i < 8)
            bytes &= (std::uint64_t{1} << 8 * (count - i)) - 1;
        const __m128i lanes = _mm_cvtsi64_si128(static_cast<long long>(bytes));
        const unsigned int picked =
            static_cast<unsigned int>(_mm_movemask_epi8(_mm_sll_epi16(lanes, to_sign)));
        const __m256i order = _mm256_cvtepu8_epi32(
            _mm_loadl_epi64(reinterpret_cast<const __m128i *>(vesk_members.of[picked])));
        const __m256i all = _mm256_loadu_si256(reinterpret_cast<const __m256i *>(numbers + i));
        _mm256_storeu_si256(reinterpret_cast<__m256i *>(to),
                            _mm256_permutevar8x32_epi32(all, order));
        to += __builtin_popcount(picked);
    }
}
} // namespace

vesk_list_picker vesk_pick_list_picker_avx2()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt") ? pick_by_eight
                                                                              : nullptr;
}

#else

vesk_list_picker vesk_pick_list_picker_avx2()
{
    return nullptr;
}

#endif
