#include "vesk/mesh.h"

#include "mesh/vertex_lanes.h"

#include <cfloat>

void vesk_mesh::calculate_bounding_box()
{
    ___calculate_min_max_bounding_box();
}

void vesk_mesh::get_bounding_box(vesk_vector3 &min_corner, vesk_vector3 &max_corner)
{
    min_corner = bounding_box_min;
    max_corner = bounding_box_max;
}

void vesk_mesh::___calculate_min_max_bounding_box()
{
    // The fourth lane is the x of the normal, which nobody reads. Vertex by vertex, so that the
    // first of two zeros of different sign stands; the comparisons are false for a NaN.
    vesk_float4 low = vesk_splat4(FLT_MAX);
    vesk_float4 high = vesk_splat4(-FLT_MAX);
    // An instance may hold a count and no vertices: what it borrows is not examined.
    const std::size_t known_count = vertex_array ? vertex_count : 0;
    for (std::size_t v = 0; v < known_count; ++v)
    {
        const vesk_float4 position = vesk_load4(vesk_floats_of(vertex_array[v]));
        low = vesk_min4(position, low);
        high = vesk_max4(position, high);
    }
    bounding_box_min = vesk_vector3(low[0], low[1], low[2]);
    bounding_box_max = vesk_vector3(high[0], high[1], high[2]);
}
