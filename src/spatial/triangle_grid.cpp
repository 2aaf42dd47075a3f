#include "spatial/triangle_grid.h"

#include <algorithm>

vesk_triangle_grid::vesk_triangle_grid()
    : cell_count(0)
    , axes()
    , origin()
    , cells_per_unit()
    , last_cell()
    , margin()
{
}

void vesk_triangle_grid::lay(vesk_float4 low, vesk_float4 high, vesk_mask4 is_axis,
                             unsigned int levels)
{
    const vesk_float4 zero = {}, one = vesk_splat4(1.0f);
    const vesk_float4 width = vesk_select4(is_axis, high - low, one);
    const vesk_float4 magnitude =
        vesk_select4(is_axis, vesk_max4(vesk_abs4(low), vesk_abs4(high)), zero);
    // Far above all numbers that lose bits to underflow.
    if (vesk_lane_bits(width > vesk_splat4(0x1p-60f)) != 15)
        return;

    for (levels = std::min(levels, max_levels); levels > 0; --levels)
    {
        const vesk_float4 cells = vesk_splat4(static_cast<float>(1 << levels));
        const float roundings = 0x1p-24f * static_cast<float>(4 * levels + 16);
        margin = magnitude * roundings * (cells / width);
        // Cells that are mostly margin would keep most triangles off the grid.
        if (vesk_lane_bits(margin < vesk_splat4(1.0f / 64.0f)) != 15)
            continue;
        cell_count = static_cast<short>(1 << levels);
        origin = low;
        axes = is_axis;
        cells_per_unit = cells / width;
        last_cell = cells - one;
        return;
    }
}
