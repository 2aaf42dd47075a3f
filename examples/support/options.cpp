#include "support/options.h"

#include <cfloat>
#include <cstdio>

raster_size take_size(command_line &line, const raster_size &fallback)
{
    raster_size size = fallback;
    line.numbers("--size", 'x', {&size.width, &size.height}, 1u, 16384u);
    return size;
}

bool take_vector(command_line &line, const char *name, vesk_vector3 &target)
{
    return line.numbers(name, ',', {&target.x, &target.y, &target.z}, -FLT_MAX, FLT_MAX);
}

vesk_vector3 take_view(command_line &line)
{
    vesk_vector3 view = default_view;
    take_vector(line, "--from", view);
    if (vesk_vec_normalize(view).is_zero())
        line.reject("--from does not take the mesh's own place");
    return view;
}

std::optional<unsigned int> take_channel(command_line &line)
{
    unsigned int channel;
    if (line.numbers("--channel", ',', {&channel}, 0u, 0xFFFFFFFFu))
        return channel;
    return std::nullopt;
}

bool select_channel(const char *program, vesk_mesh &mesh, std::optional<unsigned int> channel)
{
    const unsigned int count = mesh.get_uv_channel_count();
    if (count == 0 || (channel && *channel >= count))
    {
        std::fprintf(stderr, "%s: the mesh has %u UV channels\n", program, count);
        return false;
    }
    mesh.set_uv_channel(channel.value_or(count - 1));
    return true;
}
