#include "spatial/overlap_pairs.h"

#include "spatial/overlap_lanes.h"
#include "spatial/overlap_pairs_avx2.h"

namespace
{
struct four_lanes
{
    using value = vesk_float4;
    using mask = vesk_mask4;
    static constexpr unsigned int count = 4;

    static unsigned int bits_of(const mask &m)
    {
        return vesk_lane_bits(m);
    }

    // The first three columns of four rows, `stride` floats apart.
    static void transpose(const vesk_float4 *rows, value *columns)
    {
        constexpr unsigned int stride = sizeof(vesk_overlap_pair) / sizeof(vesk_float4);
        const vesk_columns4 xyz =
            vesk_columns_of(rows[0], rows[stride], rows[2 * stride], rows[3 * stride]);
        columns[0] = xyz.x;
        columns[1] = xyz.y;
        columns[2] = xyz.z;
    }
};

std::uint64_t test_by_four(const vesk_overlap_pair *pairs, unsigned int count)
{
    return vesk_test_overlap_pairs<four_lanes, false>(pairs, count);
}

std::uint64_t test_flat_by_four(const vesk_overlap_pair *pairs, unsigned int count)
{
    return vesk_test_overlap_pairs<four_lanes, true>(pairs, count);
}
} // namespace

vesk_overlap_test vesk_pick_overlap_test(bool is_flat)
{
    if (vesk_overlap_test by_eight = vesk_pick_overlap_test_avx2(is_flat))
        return by_eight;
    return is_flat ? test_flat_by_four : test_by_four;
}
