#pragma once

#include "vesk/list.h"
#include "vesk/vector.h"

/// @file
/// Records of the octree that answers ray and line queries. `vesk_mesh::generate_octree` builds
/// it, `vesk_mesh::is_ray_intersect` and its sisters walk it.

/// An axis-aligned box.
struct VESK_API vesk_octree_aa_bounding_box_s
{
    vesk_vector3 min; ///< lowest corner
    vesk_vector3 max; ///< highest corner

    /// All six floats 0.0f.
    vesk_octree_aa_bounding_box_s();
    /// Copies the six floats.
    vesk_octree_aa_bounding_box_s(const vesk_octree_aa_bounding_box_s &other);
    /// Nothing to release.
    ~vesk_octree_aa_bounding_box_s();
    /// Copies the six floats.
    vesk_octree_aa_bounding_box_s &operator=(const vesk_octree_aa_bounding_box_s &other);

    /// Writes the eight octants to `children[0]` to `children[7]`. Bit 0 of the index selects
    /// the upper half in x, bit 1 in z, bit 2 in y. An octant's `max` is its `min` plus half the
    /// box's size, so that it can differ from the box's `max` in the last bit.
    void split_into_eight(vesk_octree_aa_bounding_box_s *children);

    /// 1 when the half-line from `origin` along `direction` meets the box, else 0. Touching
    /// counts; there is no epsilon. `direction` may have any length.
    int intersect_ray(const vesk_vector3 &origin, const vesk_vector3 &direction) const;
};

/// A triangle record of `vesk_mesh::index_array` as a type: seven words.
struct VESK_API vesk_octree_triangle_s
{
    unsigned int vertex_indices[3]; ///< corners, as indexes into the mesh's vertices
    unsigned int uv_indices[3];     ///< corners, as indexes into the UVs of the current channel
    unsigned int record_offset;     ///< word offset of the record in its array

    /// Leaves the words alone: the record is a plain value.
    vesk_octree_triangle_s() = default;
    /// A copy.
    vesk_octree_triangle_s(const vesk_octree_triangle_s &other) = default;
    /// Copies the seven words.
    vesk_octree_triangle_s &operator=(const vesk_octree_triangle_s &other);
};

/// One node of the octree. A node without children is a leaf; any node can hold triangles.
struct VESK_API vesk_octree_node_s
{
    vesk_octree_aa_bounding_box_s box;             ///< the space of this node
    vesk_list<vesk_octree_triangle_s *> triangles; ///< records in the mesh's `index_array`
    vesk_octree_node_s *children[8];               ///< in the order of `split_into_eight`

    /// A zero box, no triangles, no children.
    vesk_octree_node_s();
    /// Copies all fields as they stand: the copy shares the list's storage and the children with
    /// its source, and only one of the two may be destroyed later.
    vesk_octree_node_s(const vesk_octree_node_s &other);
    /// Releases the storage of `triangles`; the children stay.
    ~vesk_octree_node_s();
    /// Copies the box and the child pointers; `triangles` gets storage of its own.
    vesk_octree_node_s &operator=(const vesk_octree_node_s &other);

    /// 56 plus 4 for each entry of `triangles`, for this node alone.
    unsigned int get_size_bytes() const;
};

static_assert(sizeof(vesk_octree_triangle_s) == 28, "a triangle record is seven words");
