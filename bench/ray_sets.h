#pragma once

#include "surface_meshes.h"
#include "vesk/vector.h"

#include <vector>

/// @file
/// The two sets of rays that the query benchmarks ask: those of a camera, neighbours in a row, and
/// those of no order.

struct aimed_ray
{
    vesk_vector3 origin, direction;
};

/// Through the middles of a picture of `width` by `height`, row by row.
inline std::vector<aimed_ray> coherent_rays(unsigned int width, unsigned int height)
{
    std::vector<aimed_ray> rays;
    for (unsigned int row = 0; row < height; ++row)
        for (unsigned int column = 0; column < width; ++column)
        {
            const float x = static_cast<float>(column) / static_cast<float>(width) - 0.5f;
            const float y = static_cast<float>(row) / static_cast<float>(height) - 0.5f;
            rays.push_back(
                {vesk_vector3(0.3f, 0.2f, -3.0f), vesk_vector3(x * 0.8f, y * 0.8f, 1.0f)});
        }
    return rays;
}

/// From anywhere around the mesh to anywhere in it.
inline std::vector<aimed_ray> incoherent_rays(unsigned int count)
{
    std::vector<aimed_ray> rays;
    lcg random(99);
    for (unsigned int i = 0; i < count; ++i)
    {
        const vesk_vector3 origin = random.point(2.0f);
        rays.push_back({origin, random.point(1.0f) - origin});
    }
    return rays;
}
