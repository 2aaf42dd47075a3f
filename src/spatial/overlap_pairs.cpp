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

    static value broadcast(float from)
    {
        return vesk_splat4(from);
    }

    static mask octants_of(const vesk_overlap_pair *pairs)
    {
        return mask{pairs[0] & 7, pairs[1] & 7, pairs[2] & 7, pairs[3] & 7};
    }

    // The first three columns.
    static void load_columns(const float *const (&rows)[count], value (&columns)[3])
    {
        const vesk_columns4 xyz = vesk_columns_of(vesk_load4(rows[0]), vesk_load4(rows[1]),
                                                  vesk_load4(rows[2]), vesk_load4(rows[3]));
        columns[0] = xyz.x;
        columns[1] = xyz.y;
        columns[2] = xyz.z;
    }
};

} // namespace

vesk_overlap_test vesk_pick_overlap_test(bool is_flat)
{
    if (const vesk_overlap_test by_eight = vesk_pick_overlap_test_avx2(is_flat))
        return by_eight;
    return is_flat ? vesk_test_overlap_pairs<four_lanes, true>
                   : vesk_test_overlap_pairs<four_lanes, false>;
}
