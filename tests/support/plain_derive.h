#pragma once

#include "vesk/mesh.h"

#include <cmath>

/// @file
/// What the mesh derives from itself, written down as plainly as it is defined. The library's
/// faster ways are held against these to the bit.

inline float plain_length(const vesk_vector3 &v)
{
    const float sum = (v.x * v.x + v.y * v.y) + v.z * v.z;
    return static_cast<float>(std::sqrt(static_cast<double>(sum)));
}

inline void plain_normalize(vesk_vector3 &v)
{
    const float length = plain_length(v);
    v = length > 0.0f ? vesk_vector3(v.x / length, v.y / length, v.z / length) : vesk_vector3();
}

/// Every vertex looks at every triangle.
inline void plain_generate_normals(vesk_mesh &mesh)
{
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        const vesk_vector3 at = mesh.vertex_array[v].position;
        vesk_vector3 &normal = mesh.vertex_array[v].normal;
        bool touched = false;
        for (unsigned int word = 0; word + 7 <= mesh.index_count; word += 7)
        {
            const unsigned int *corners = mesh.index_array + word;
            const vesk_vector3 &p0 = mesh.vertex_array[corners[0]].position;
            const vesk_vector3 &p1 = mesh.vertex_array[corners[1]].position;
            const vesk_vector3 &p2 = mesh.vertex_array[corners[2]].position;
            const vesk_vector3 &here = at;
            if (p0 == here || p1 == here || p2 == here)
            {
                const vesk_vector3 n = vesk_vec_cross_product(p1 - p2, p0 - p1);
                normal = touched ? normal + n : n;
                touched = true;
            }
            plain_normalize(normal);
        }
    }
}
