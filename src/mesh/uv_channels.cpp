#include "mesh/uv_channels.h"

#include "math/float4.h"
#include "mesh/shared_zero_uv.h"

#include <cstring>

namespace
{
vesk_mask4 load_words(const unsigned int *from)
{
    vesk_mask4 words;
    std::memcpy(&words, from, sizeof(words));
    return words;
}

void store_words(unsigned int *to, vesk_mask4 words)
{
    std::memcpy(to, &words, sizeof(words));
}
} // namespace

// Only read. A mesh shows it whenever its current channel does not exist.
vesk_vector2 vesk_shared_zero_uv;

const unsigned int *vesk_select_uv_channel(vesk_mesh &mesh, unsigned int channel)
{
    mesh.cur_uv_channel = channel;
    if (channel >= mesh.uv_channel_arrays.count)
    {
        mesh.uv_array = &vesk_shared_zero_uv;
        return nullptr;
    }
    mesh.uv_array = mesh.uv_channel_arrays[channel];
    mesh.uv_count = mesh.uv_channel_counts[channel];
    return mesh.uv_index_arrays[channel];
}

void vesk_copy_records(unsigned int *to, const unsigned int *from, std::size_t triangle_count,
                       const unsigned int *uv_indices)
{
    static const unsigned int zeros[4] = {};
    const unsigned int *uv = uv_indices ? uv_indices : zeros;
    const std::size_t uv_step = uv_indices ? 3 : 0;
    if (triangle_count == 0)
        return;

    // Words 0 to 3, then 3 to 6: two stores a record instead of seven. The fourth UV index that a
    // load brings along is the next triangle's, so the last triangle goes without.
    for (std::size_t t = 1; t < triangle_count; ++t, to += 7, from += 7, uv += uv_step)
    {
        const vesk_mask4 uv_lanes = {-1, -1, -1, 0};
        const vesk_mask4 front = load_words(from);
        const vesk_mask4 back = (load_words(uv) & uv_lanes) | (load_words(from + 3) & ~uv_lanes);
        store_words(to, front);
        store_words(to + 3, back);
    }
    std::memmove(to, from, 3 * sizeof(unsigned int));
    std::memcpy(to + 3, uv, 3 * sizeof(unsigned int));
    to[6] = from[6];
}

void vesk_mesh::set_uv_channel(unsigned int channel)
{
    if (instance_geometry)
        return;
    const unsigned int *uv_indices = vesk_select_uv_channel(*this, channel);
    vesk_copy_records(index_array, index_array, index_count / 7, uv_indices);
}
