#include "mesh/uv_channels.h"

#include "mesh/shared_zero_uv.h"

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
    for (std::size_t t = 0; t < triangle_count; ++t, to += 7, from += 7)
    {
        to[0] = from[0];
        to[1] = from[1];
        to[2] = from[2];
        to[3] = uv_indices ? uv_indices[t * 3] : 0;
        to[4] = uv_indices ? uv_indices[t * 3 + 1] : 0;
        to[5] = uv_indices ? uv_indices[t * 3 + 2] : 0;
        to[6] = from[6];
    }
}

void vesk_mesh::set_uv_channel(unsigned int channel)
{
    if (instance_geometry)
        return;

    const std::size_t triangle_count = index_count / 7;
    const unsigned int *uv_indices = vesk_select_uv_channel(*this, channel);
    for (std::size_t t = 0; t < triangle_count; ++t)
    {
        unsigned int *uv_words = index_array + t * 7 + 3;
        uv_words[0] = uv_indices ? uv_indices[t * 3] : 0;
        uv_words[1] = uv_indices ? uv_indices[t * 3 + 1] : 0;
        uv_words[2] = uv_indices ? uv_indices[t * 3 + 2] : 0;
    }
}
