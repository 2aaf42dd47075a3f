#include "mesh/shared_zero_uv.h"
#include "vesk/mesh.h"

// Only read. A mesh shows it whenever its current channel does not exist.
vesk_vector2 vesk_shared_zero_uv;

void vesk_mesh::set_uv_channel(unsigned int channel)
{
    if (instance_geometry)
        return;

    const unsigned int triangle_count = index_count / 7;
    if (channel < uv_channel_arrays.count)
    {
        uv_array = uv_channel_arrays[channel];
        uv_count = uv_channel_counts[channel];
        const unsigned int *from = uv_index_arrays[channel];
        for (std::size_t t = 0; t < triangle_count; ++t)
        {
            unsigned int *uv_indices = index_array + t * 7 + 3;
            uv_indices[0] = from[t * 3];
            uv_indices[1] = from[t * 3 + 1];
            uv_indices[2] = from[t * 3 + 2];
        }
    }
    else
    {
        uv_array = &vesk_shared_zero_uv;
        for (std::size_t t = 0; t < triangle_count; ++t)
        {
            unsigned int *uv_indices = index_array + t * 7 + 3;
            uv_indices[0] = 0;
            uv_indices[1] = 0;
            uv_indices[2] = 0;
        }
    }
    cur_uv_channel = channel;
}
