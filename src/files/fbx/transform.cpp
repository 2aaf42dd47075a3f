#include "files/fbx/transform.h"

#include "files/fbx/sine.h"

#include <cmath>

namespace vesk_fbx
{
namespace
{
vector3 operator+(const vector3 &a, const vector3 &b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

vector3 operator-(const vector3 &a, const vector3 &b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

vector3 scaled(const vector3 &v, const vector3 &scale)
{
    return {v.x * scale.x, v.y * scale.y, v.z * scale.z};
}

/// The product of `a` and the diagonal matrix of `scale`.
matrix3 scaled(const matrix3 &a, const vector3 &scale)
{
    matrix3 result = a;
    for (auto &row : result.m)
    {
        row[0] *= scale.x;
        row[1] *= scale.y;
        row[2] *= scale.z;
    }
    return result;
}

matrix3 axis_rotation(int axis, double degrees)
{
    const auto [s, c] = sine_cosine_of_degrees(degrees);
    const int u = (axis + 1) % 3;
    const int v = (axis + 2) % 3;
    matrix3 result;
    result.m[u][u] = c;
    result.m[u][v] = -s;
    result.m[v][u] = s;
    result.m[v][v] = c;
    return result;
}

matrix3 local_rotation(const node_properties &p)
{
    if (!p.rotation_active || p.rotation_space_for_limit_only)
        return rotation_matrix(p.rotation, rotation_order::xyz);
    const matrix3 pre = rotation_matrix(p.pre_rotation, rotation_order::xyz);
    const matrix3 post = rotation_matrix(p.post_rotation, rotation_order::xyz);
    return pre * rotation_matrix(p.rotation, p.order) * transposed(post);
}

/// Where the node's own origin lands in its parent: translation, offsets and both pivots.
vector3 local_translation(const node_properties &p, const matrix3 &rotation)
{
    const vector3 around_scaling_pivot =
        p.scaling_offset + p.scaling_pivot - scaled(p.scaling_pivot, p.scaling);
    const vector3 turned = rotation * (around_scaling_pivot - p.rotation_pivot);
    return p.translation + p.rotation_offset + p.rotation_pivot + turned;
}
} // namespace

matrix3 operator*(const matrix3 &a, const matrix3 &b)
{
    matrix3 result;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            result.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
    return result;
}

vector3 operator*(const matrix3 &a, const vector3 &v)
{
    const auto &m = a.m;
    return {m[0][0] * v.x + m[0][1] * v.y + m[0][2] * v.z,
            m[1][0] * v.x + m[1][1] * v.y + m[1][2] * v.z,
            m[2][0] * v.x + m[2][1] * v.y + m[2][2] * v.z};
}

matrix3 transposed(const matrix3 &a)
{
    matrix3 result;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            result.m[i][j] = a.m[j][i];
    return result;
}

matrix3 rotation_matrix(const vector3 &degrees, rotation_order order)
{
    const matrix3 x = axis_rotation(0, degrees.x);
    const matrix3 y = axis_rotation(1, degrees.y);
    const matrix3 z = axis_rotation(2, degrees.z);
    // The axis named first turns first, so it stands rightmost.
    switch (order)
    {
    case rotation_order::xzy:
        return y * z * x;
    case rotation_order::yzx:
        return x * z * y;
    case rotation_order::yxz:
        return z * x * y;
    case rotation_order::zxy:
        return y * x * z;
    case rotation_order::zyx:
        return x * y * z;
    case rotation_order::xyz:
    case rotation_order::spheric_xyz:
        break;
    }
    return z * y * x;
}

node_frame child_frame(const node_frame &parent, const node_properties &p)
{
    const matrix3 rotation = local_rotation(p);
    node_frame frame;
    frame.rotation = parent.rotation * rotation;
    switch (p.inherit)
    {
    case inherit_type::rrss:
        frame.outer_scale = scaled(parent.outer_scale, parent.own_scale);
        break;
    case inherit_type::rsrs:
        frame.outer_scale =
            transposed(rotation) * scaled(parent.outer_scale, parent.own_scale) * rotation;
        break;
    case inherit_type::rrs:
        frame.outer_scale = parent.outer_scale;
        break;
    }
    frame.own_scale = p.scaling;
    frame.linear = frame.rotation * scaled(frame.outer_scale, frame.own_scale);
    frame.translation = parent.linear * local_translation(p, rotation) + parent.translation;
    return frame;
}
} // namespace vesk_fbx
