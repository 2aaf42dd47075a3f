#include "vesk/octree.h"

vesk_octree_aa_bounding_box_s::vesk_octree_aa_bounding_box_s() : min(), max() {}

vesk_octree_aa_bounding_box_s::vesk_octree_aa_bounding_box_s(
    const vesk_octree_aa_bounding_box_s &other)
    : min(other.min)
    , max(other.max)
{
}

vesk_octree_aa_bounding_box_s::~vesk_octree_aa_bounding_box_s() {}

vesk_octree_aa_bounding_box_s &
vesk_octree_aa_bounding_box_s::operator=(const vesk_octree_aa_bounding_box_s &other)
{
    min = other.min;
    max = other.max;
    return *this;
}

void vesk_octree_aa_bounding_box_s::split_into_eight(vesk_octree_aa_bounding_box_s *children)
{
    const vesk_vector3 half = (max - min) * 0.5f;
    for (unsigned int octant = 0; octant < 8; ++octant)
    {
        // The bits of the index run x, z, y; query walks count on the same order.
        vesk_octree_aa_bounding_box_s &child = children[octant];
        child.min.x = octant & 1 ? min.x + half.x : min.x;
        child.min.z = octant & 2 ? min.z + half.z : min.z;
        child.min.y = octant & 4 ? min.y + half.y : min.y;
        child.max = child.min + half;
    }
}

vesk_octree_triangle_s &vesk_octree_triangle_s::operator=(const vesk_octree_triangle_s &other)
{
    for (unsigned int corner = 0; corner < 3; ++corner)
    {
        vertex_indices[corner] = other.vertex_indices[corner];
        uv_indices[corner] = other.uv_indices[corner];
    }
    record_offset = other.record_offset;
    return *this;
}

vesk_octree_node_s::vesk_octree_node_s() : box(), triangles(), children() {}

vesk_octree_node_s::vesk_octree_node_s(const vesk_octree_node_s &other) : box(other.box)
{
    triangles.data = other.triangles.data;
    triangles.size = other.triangles.size;
    triangles.count = other.triangles.count;
    triangles.reversed = other.triangles.reversed;
    for (unsigned int child = 0; child < 8; ++child)
        children[child] = other.children[child];
}

vesk_octree_node_s::~vesk_octree_node_s() {}

vesk_octree_node_s &vesk_octree_node_s::operator=(const vesk_octree_node_s &other)
{
    box = other.box;
    triangles = other.triangles;
    for (unsigned int child = 0; child < 8; ++child)
        children[child] = other.children[child];
    return *this;
}

unsigned int vesk_octree_node_s::get_size_bytes() const
{
    return 56 + 4 * triangles.count;
}
