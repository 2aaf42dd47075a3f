#include "vesk/mesh.h"

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
    // Kept in locals: through the fields the compiler would store after every vertex.
    vesk_vector3 low(FLT_MAX, FLT_MAX, FLT_MAX);
    vesk_vector3 high(-FLT_MAX, -FLT_MAX, -FLT_MAX);
    // An instance may hold a count and no vertices: what it borrows is not examined.
    const unsigned int known_count = vertex_array ? vertex_count : 0;
    for (unsigned int v = 0; v < known_count; ++v)
    {
        const vesk_vector3 &p = vertex_array[v].position;
        // The comparisons are false for a NaN, which so never enters the box.
        low.x = p.x < low.x ? p.x : low.x;
        low.y = p.y < low.y ? p.y : low.y;
        low.z = p.z < low.z ? p.z : low.z;
        high.x = p.x > high.x ? p.x : high.x;
        high.y = p.y > high.y ? p.y : high.y;
        high.z = p.z > high.z ? p.z : high.z;
    }
    bounding_box_min = low;
    bounding_box_max = high;
}
