#include "support/same_meshes.h"

bool same_meshes(const vesk_mesh &a, const vesk_mesh &b)
{
    if (a.vertex_count != b.vertex_count || a.index_count != b.index_count ||
        a.tangent_count != b.tangent_count || a.cur_uv_channel != b.cur_uv_channel ||
        a.uv_count != b.uv_count || a.uv_channel_arrays.count != b.uv_channel_arrays.count ||
        a.subset_lookup_table.count != b.subset_lookup_table.count)
        return false;
    for (unsigned int c = 0; c < a.uv_channel_arrays.count; ++c)
        if (a.uv_channel_counts[c] != b.uv_channel_counts[c] ||
            !same_arrays(a.uv_channel_arrays[c], b.uv_channel_arrays[c], a.uv_channel_counts[c]) ||
            !same_arrays(a.uv_index_arrays[c], b.uv_index_arrays[c], a.index_count / 7 * 3))
            return false;
    return same_arrays(a.vertex_array, b.vertex_array, a.vertex_count) &&
           same_arrays(a.index_array, b.index_array, a.index_count) &&
           same_arrays(a.tangent_array, b.tangent_array, a.tangent_count) &&
           same_arrays(a.subset_lookup_table.data, b.subset_lookup_table.data,
                       a.subset_lookup_table.count) &&
           same_arrays(&a.bounding_box_min, &b.bounding_box_min, 1) &&
           same_arrays(&a.bounding_box_max, &b.bounding_box_max, 1);
}
