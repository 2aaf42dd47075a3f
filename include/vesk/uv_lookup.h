#pragma once

#include "vesk/list.h"
#include "vesk/vector.h"

/// @file
/// Records of the quadtree that maps texels to triangles.
/// `vesk_mesh::generate_uv_lookup_quadtree` builds it,
/// `vesk_mesh::is_point_intersect_uv_lookup` walks it.

/// An axis-aligned rectangle in raster space: x the column, y the row, texel centres on whole
/// numbers.
struct VESK_API vesk_quadtree_aa_bounding_rect_s
{
    vesk_vector2 min; ///< lowest column and row
    vesk_vector2 max; ///< highest column and row

    /// All four floats 0.0f.
    vesk_quadtree_aa_bounding_rect_s();
    /// Copies the four floats.
    vesk_quadtree_aa_bounding_rect_s(const vesk_quadtree_aa_bounding_rect_s &other);
    /// Nothing to release.
    ~vesk_quadtree_aa_bounding_rect_s();
    /// Copies the four floats.
    vesk_quadtree_aa_bounding_rect_s &operator=(const vesk_quadtree_aa_bounding_rect_s &other);

    /// Writes the four quadrants to `out[0]` to `out[3]`: bit 0 of the index selects the upper
    /// half of the columns, bit 1 of the rows. A quadrant's `max` is its `min` plus half the size.
    void split_into_four(vesk_quadtree_aa_bounding_rect_s *out);

    /// 1 when the point lies in the rectangle, edges included, else 0. A NaN is not rejected.
    int intersect_point(const vesk_vector2 &point) const;
};

/// The lookup record of one triangle: seven words.
struct VESK_API vesk_uv_lookup_triangle_s
{
    unsigned int vertex_indices[3]; ///< corners, as indexes into `uv_lookup_vertex_array`
    unsigned int uv_indices[3];     ///< corners, as indexes into the mesh's UVs
    unsigned int record_offset;     ///< word offset of this record, and of the mesh's own

    /// Leaves the words alone: the record is a plain value.
    vesk_uv_lookup_triangle_s() = default;
    /// A copy.
    vesk_uv_lookup_triangle_s(const vesk_uv_lookup_triangle_s &other) = default;
    /// Copies the seven words.
    vesk_uv_lookup_triangle_s &operator=(const vesk_uv_lookup_triangle_s &other);
};

/// One node of the quadtree. A node can hold triangles and children at once.
struct VESK_API vesk_uv_lookup_node_s
{
    vesk_quadtree_aa_bounding_rect_s bounding_rect;   ///< the node's rectangle
    vesk_list<vesk_uv_lookup_triangle_s *> triangles; ///< records in `uv_lookup_index_array`
    vesk_uv_lookup_node_s *children[4];               ///< in the order of `split_into_four`

    /// A zero rectangle, no triangles, no children.
    vesk_uv_lookup_node_s();
    /// Copies all fields as they stand: the copy shares the list's storage and the children with
    /// its source, and only one of the two may be destroyed later.
    vesk_uv_lookup_node_s(const vesk_uv_lookup_node_s &other);
    /// Releases the storage of `triangles`; the children stay.
    ~vesk_uv_lookup_node_s();
    /// Copies the rectangle and the child pointers; `triangles` gets storage of its own.
    vesk_uv_lookup_node_s &operator=(const vesk_uv_lookup_node_s &other);

    /// 32 plus 4 for each entry of `triangles`, for this node alone.
    unsigned int get_size_bytes() const;
};

static_assert(sizeof(vesk_uv_lookup_triangle_s) == 28, "a triangle record is seven words");
