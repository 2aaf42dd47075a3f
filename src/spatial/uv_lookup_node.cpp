#include "vesk/uv_lookup.h"

vesk_quadtree_aa_bounding_rect_s::vesk_quadtree_aa_bounding_rect_s() : min(), max() {}

vesk_quadtree_aa_bounding_rect_s::vesk_quadtree_aa_bounding_rect_s(
    const vesk_quadtree_aa_bounding_rect_s &other)
    : min(other.min)
    , max(other.max)
{
}

vesk_quadtree_aa_bounding_rect_s::~vesk_quadtree_aa_bounding_rect_s() {}

vesk_quadtree_aa_bounding_rect_s &
vesk_quadtree_aa_bounding_rect_s::operator=(const vesk_quadtree_aa_bounding_rect_s &other)
{
    min = other.min;
    max = other.max;
    return *this;
}

void vesk_quadtree_aa_bounding_rect_s::split_into_four(vesk_quadtree_aa_bounding_rect_s *out)
{
    const vesk_vector2 half = (max - min) * 0.5f;
    for (unsigned int quadrant = 0; quadrant < 4; ++quadrant)
    {
        vesk_quadtree_aa_bounding_rect_s &child = out[quadrant];
        child.min.x = quadrant & 1 ? min.x + half.x : min.x;
        child.min.y = quadrant & 2 ? min.y + half.y : min.y;
        child.max = child.min + half;
    }
}

vesk_uv_lookup_triangle_s &
vesk_uv_lookup_triangle_s::operator=(const vesk_uv_lookup_triangle_s &other)
{
    for (unsigned int corner = 0; corner < 3; ++corner)
    {
        vertex_indices[corner] = other.vertex_indices[corner];
        uv_indices[corner] = other.uv_indices[corner];
    }
    record_offset = other.record_offset;
    return *this;
}

vesk_uv_lookup_node_s::vesk_uv_lookup_node_s() : bounding_rect(), triangles(), children() {}

vesk_uv_lookup_node_s::vesk_uv_lookup_node_s(const vesk_uv_lookup_node_s &other)
    : bounding_rect(other.bounding_rect)
{
    triangles.data = other.triangles.data;
    triangles.size = other.triangles.size;
    triangles.count = other.triangles.count;
    triangles.reversed = other.triangles.reversed;
    for (unsigned int child = 0; child < 4; ++child)
        children[child] = other.children[child];
}

vesk_uv_lookup_node_s::~vesk_uv_lookup_node_s() {}

vesk_uv_lookup_node_s &vesk_uv_lookup_node_s::operator=(const vesk_uv_lookup_node_s &other)
{
    bounding_rect = other.bounding_rect;
    triangles = other.triangles;
    for (unsigned int child = 0; child < 4; ++child)
        children[child] = other.children[child];
    return *this;
}

unsigned int vesk_uv_lookup_node_s::get_size_bytes() const
{
    return 32 + 4 * triangles.count;
}
