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

    static void load_columns(const float *const (&rows)[count], value (&columns)[4])
    {
        for (unsigned int i = 0; i < 4; ++i)
            columns[i] = vesk_load4(rows[i]);
        vesk_transpose4(columns[0], columns[1], columns[2], columns[3]);
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
