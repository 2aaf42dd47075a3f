#pragma once

// Where a node stands: its transform properties and what they make of its parent's frame.
// All in double, angles in degrees, matrices acting on column vectors.

namespace vesk_fbx
{
struct vector3
{
    double x = 0.0, y = 0.0, z = 0.0;
};

struct matrix3
{
    double m[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
};

matrix3 operator*(const matrix3 &a, const matrix3 &b);
vector3 operator*(const matrix3 &a, const vector3 &v);
matrix3 transposed(const matrix3 &a);

/// The order in which a rotation turns about the axes. The numbers are those of the files.
enum class rotation_order
{
    xyz = 0,
    xzy = 1,
    yzx = 2,
    yxz = 3,
    zxy = 4,
    zyx = 5,
    spheric_xyz = 6 ///< turns like `xyz`
};

matrix3 rotation_matrix(const vector3 &degrees, rotation_order order);

/// How a node takes over its parent's scale (R and S: the parent's rotation and scale,
/// r and s: its own).
enum class inherit_type
{
    rrss = 0, ///< own rotation goes before the parent's scale: no shear
    rsrs = 1, ///< plain matrix product
    rrs = 2   ///< like `rrss`, but the parent's own local scale is left out
};

/// The transform properties of a node, with the values that hold where a file says nothing.
struct node_properties
{
    vector3 translation, rotation, scaling{1.0, 1.0, 1.0};
    vector3 pre_rotation, post_rotation;
    vector3 rotation_offset, rotation_pivot, scaling_offset, scaling_pivot;
    vector3 geometric_translation, geometric_rotation, geometric_scaling{1.0, 1.0, 1.0};
    rotation_order order = rotation_order::xyz;
    inherit_type inherit = inherit_type::rrss;
    /// Pre rotation, post rotation and order count only with the first set and the second clear.
    bool rotation_active = false, rotation_space_for_limit_only = false;
};

/// A node's global transform, in the parts from which its children's are made. The linear part
/// is always `rotation * scale`, so nothing is ever divided by a scale that may be zero.
struct node_frame
{
    matrix3 rotation;    ///< product of all rotations from the root down
    matrix3 outer_scale; ///< scale and shear gathered above, without the node's own scale
    vector3 own_scale{1.0, 1.0, 1.0};
    matrix3 linear; ///< rotation * outer_scale * own_scale
    vector3 translation;
};

/// The frame of a node with these properties below `parent`; the root's is the default one.
node_frame child_frame(const node_frame &parent, const node_properties &properties);
} // namespace vesk_fbx
