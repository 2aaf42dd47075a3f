#include "spatial/float_lanes.h"
#include "spatial/texel_descent.h"

#include <cstdint>
#include <cstring>

#if defined(VESK_TEXEL_DESCENT_AVX2)
#include <immintrin.h>

// What stands above stays free of AVX2: functions that other sources have too must not change
// with this one.
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC target("avx2")
#endif
#define VESK_LANES_AVX2

namespace
{
#include "spatial/lanes8.h"
#include "spatial/texel_descent.inl"
} // namespace

#if defined(__clang__)
#pragma clang attribute pop
#endif

const vesk_texel_descent vesk_texel_descent_avx2 = {run_descent};
#endif
