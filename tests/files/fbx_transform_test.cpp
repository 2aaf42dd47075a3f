#include "files/fbx/sdk_math.h"
#include "files/fbx/transform.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

using vesk_fbx::child_frame;
using vesk_fbx::FbxVector4;
using vesk_fbx::inherit_type;
using vesk_fbx::node_frame;
using vesk_fbx::node_properties;
using vesk_fbx::rotation_order;
using vesk_fbx::vector3;

namespace
{
/// Matrices of 4x4 on column vectors, put together from elementary ones only.
struct plain_matrix
{
    double m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
};

plain_matrix operator*(const plain_matrix &a, const plain_matrix &b)
{
    plain_matrix c;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
        {
            c.m[i][j] = 0.0;
            for (int k = 0; k < 4; ++k)
                c.m[i][j] += a.m[i][k] * b.m[k][j];
        }
    return c;
}

plain_matrix translated(const vector3 &v, double sign = 1.0)
{
    return {{{1, 0, 0, sign * v.x}, {0, 1, 0, sign * v.y}, {0, 0, 1, sign * v.z}, {0, 0, 0, 1}}};
}

plain_matrix scaled(const vector3 &v)
{
    return {{{v.x, 0, 0, 0}, {0, v.y, 0, 0}, {0, 0, v.z, 0}, {0, 0, 0, 1}}};
}

/// Turns about the axes in the order of the letters.
plain_matrix turned(const vector3 &degrees, const std::string &axes)
{
    plain_matrix r;
    for (const char axis : axes)
    {
        const double angle = (axis == 'x'   ? degrees.x
                              : axis == 'y' ? degrees.y
                                            : degrees.z) *
                             std::acos(-1.0) / 180;
        const double c = std::cos(angle), s = std::sin(angle);
        plain_matrix one;
        if (axis == 'x')
            one = {{{1, 0, 0, 0}, {0, c, -s, 0}, {0, s, c, 0}, {0, 0, 0, 1}}};
        else if (axis == 'y')
            one = {{{c, 0, s, 0}, {0, 1, 0, 0}, {-s, 0, c, 0}, {0, 0, 0, 1}}};
        else
            one = {{{c, -s, 0, 0}, {s, c, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
        r = one * r;
    }
    return r;
}

plain_matrix transposed(const plain_matrix &a)
{
    plain_matrix t;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            t.m[i][j] = a.m[j][i];
    return t;
}

plain_matrix without_translation(plain_matrix a)
{
    a.m[0][3] = a.m[1][3] = a.m[2][3] = 0.0;
    return a;
}

/// A node's global matrix and the product of all rotations down to it.
struct plain_node
{
    plain_matrix global, rotation;
    vector3 scaling{1, 1, 1};
};

plain_node plain_child(const plain_node &parent, const node_properties &p)
{
    static const char *const orders[] = {"xyz", "xzy", "yzx", "yxz", "zxy", "zyx", "xyz"};
    plain_matrix q = turned(p.rotation, "xyz");
    if (p.rotation_active && !p.rotation_space_for_limit_only)
        q = turned(p.pre_rotation, "xyz") * turned(p.rotation, orders[static_cast<int>(p.order)]) *
            transposed(turned(p.post_rotation, "xyz"));
    const plain_matrix local = translated(p.translation) * translated(p.rotation_offset) *
                               translated(p.rotation_pivot) * q * translated(p.rotation_pivot, -1) *
                               translated(p.scaling_offset) * translated(p.scaling_pivot) *
                               scaled(p.scaling) * translated(p.scaling_pivot, -1);

    const plain_matrix gathered = transposed(parent.rotation) * without_translation(parent.global);
    const vector3 undo = {1 / parent.scaling.x, 1 / parent.scaling.y, 1 / parent.scaling.z};
    plain_node node;
    node.scaling = p.scaling;
    node.rotation = parent.rotation * q;
    node.global = parent.rotation * gathered * q * scaled(p.scaling);
    if (p.inherit == inherit_type::rrss)
        node.global = node.rotation * gathered * scaled(p.scaling);
    if (p.inherit == inherit_type::rrs)
        node.global = node.rotation * gathered * scaled(undo) * scaled(p.scaling);
    const plain_matrix moved = parent.global * local;
    for (int i = 0; i < 3; ++i)
        node.global.m[i][3] = moved.m[i][3];
    return node;
}

class random_properties
{
public:
    node_properties next()
    {
        node_properties p;
        p.translation = vector(5);
        p.rotation = vector(180);
        p.pre_rotation = vector(180);
        p.post_rotation = vector(180);
        p.rotation_offset = vector(3);
        p.rotation_pivot = vector(3);
        p.scaling_offset = vector(3);
        p.scaling_pivot = vector(3);
        p.scaling = {scale(), scale(), scale()};
        p.order = static_cast<rotation_order>(random() % 7);
        p.inherit = static_cast<inherit_type>(random() % 3);
        p.rotation_active = random() % 4 != 0;
        p.rotation_space_for_limit_only = random() % 4 == 0;
        return p;
    }

private:
    double number(double most)
    {
        return most * (static_cast<int>(random() % 20001) - 10000) / 10000.0;
    }
    vector3 vector(double most)
    {
        return {number(most), number(most), number(most)};
    }
    double scale()
    {
        return (random() % 3 ? 1.0 : -1.0) * (0.6 + std::fabs(number(1)));
    }

    std::mt19937 random{17};
};

TEST(FbxTransform, ChainsAgreeWithProductsOfPlainMatrices)
{
    random_properties properties;
    for (int round = 0; round < 300; ++round)
    {
        SCOPED_TRACE(round);
        node_frame frame;
        plain_node expected;
        for (int depth = 0; depth < 5; ++depth)
        {
            const node_properties p = properties.next();
            frame = child_frame(frame, p);
            expected = plain_child(expected, p);
        }
        const double moved[3] = {frame.translation.x, frame.translation.y, frame.translation.z};
        for (int i = 0; i < 3; ++i)
        {
            for (int j = 0; j < 3; ++j)
                EXPECT_NEAR(frame.linear.m[i][j], expected.global.m[i][j], 1e-11);
            EXPECT_NEAR(moved[i], expected.global.m[i][3], 1e-9);
        }
    }
}

TEST(FbxTransform, ScaleOfZeroStaysFinite)
{
    node_properties flat, below;
    flat.scaling = {1, 0, 1};
    below.translation = {1, 2, 3};
    for (const inherit_type inherit : {inherit_type::rrss, inherit_type::rsrs, inherit_type::rrs})
    {
        below.inherit = inherit;
        const node_frame frame = child_frame(child_frame(node_frame(), flat), below);
        EXPECT_EQ(frame.translation.y, 0.0);
        // Only the kind that leaves the parent's scale out gets its height back.
        EXPECT_EQ(frame.linear.m[1][1], inherit == inherit_type::rrs ? 1.0 : 0.0);
    }
}

TEST(FbxTransform, NormalizeReachesAllLengths)
{
    for (const double length : {1.0, 1e-300, 1e300, 3e-320})
    {
        FbxVector4 v(3 * length, 0, -4 * length);
        v.Normalize();
        EXPECT_NEAR(v[0], 0.6, 1e-3) << length;
        EXPECT_NEAR(v[2], -0.8, 1e-3) << length;
    }
    FbxVector4 zero(0, 0, 0);
    zero.Normalize();
    EXPECT_EQ(zero[0], 0.0);
}
} // namespace
