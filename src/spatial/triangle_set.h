#pragma once

#include "spatial/triangle_grid.h"

/// What the overlap tests read of some triangles, side by side in memory.
template <bool IS_FLAT> struct vesk_triangle_set
{
    const std::uint32_t *numbers;         ///< in the mesh; null when a place is the number itself
    const float *corners;                 ///< nine floats a triangle, and one more behind the last
    const vesk_grid_span<IS_FLAT> *spans; ///< null when there is no grid

    /// Floats for the corners of so many triangles.
    static constexpr std::size_t corner_floats(std::size_t triangle_count)
    {
        return triangle_count * 9 + 1;
    }
};

/// The corners of the triangle at some place of a set.
inline vesk_corners4 vesk_corners_at(const float *corners, std::uint32_t place)
{
    const float *first = corners + std::size_t{place} * 9;
    return {vesk_load4(first), vesk_load4(first + 3), vesk_load4(first + 6)};
}

/// Puts a triangle's corners to its place; what lies behind them is written over.
inline void vesk_put_corners(float *corners, std::uint32_t place, const vesk_corners4 &triangle)
{
    float *first = corners + std::size_t{place} * 9;
    vesk_store4(first, triangle.a);
    vesk_store4(first + 3, triangle.b);
    vesk_store4(first + 6, triangle.c);
}
