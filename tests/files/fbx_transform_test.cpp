#include "files/fbx/sdk_math.h"
#include "files/fbx/sine.h"
#include "files/fbx/transform.h"
#include "support/mesh_builder.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace vesk_fbx;

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
    const double turns[] = {degrees.x, degrees.y, degrees.z};
    plain_matrix r;
    for (const char letter : axes)
    {
        const int axis = letter - 'x', u = (axis + 1) % 3, v = (axis + 2) % 3;
        const double angle = turns[axis] * std::acos(-1.0) / 180;
        plain_matrix one;
        one.m[u][u] = one.m[v][v] = std::cos(angle);
        one.m[v][u] = std::sin(angle);
        one.m[u][v] = -std::sin(angle);
        r = one * r;
    }
    return r;
}

/// Of a rotation.
plain_matrix inverse(const plain_matrix &a)
{
    plain_matrix t;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            t.m[i][j] = a.m[j][i];
    return t;
}

/// A node's global matrix, and the product of all rotations down to it.
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
            inverse(turned(p.post_rotation, "xyz"));
    const plain_matrix local = translated(p.translation) * translated(p.rotation_offset) *
                               translated(p.rotation_pivot) * q * translated(p.rotation_pivot, -1) *
                               translated(p.scaling_offset) * translated(p.scaling_pivot) *
                               scaled(p.scaling) * translated(p.scaling_pivot, -1);

    plain_matrix gathered = inverse(parent.rotation) * parent.global; // but for the translation
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

vector3 random_vector(test_random &random, float most)
{
    const vesk_vector3 v = random.point(-most, most);
    return {v.x, v.y, v.z};
}

node_properties random_properties(test_random &random)
{
    node_properties p;
    p.translation = random_vector(random, 5);
    p.rotation = random_vector(random, 180);
    p.pre_rotation = random_vector(random, 180);
    p.post_rotation = random_vector(random, 180);
    p.rotation_offset = random_vector(random, 3);
    p.rotation_pivot = random_vector(random, 3);
    p.scaling_offset = random_vector(random, 3);
    p.scaling_pivot = random_vector(random, 3);
    for (double *scale : {&p.scaling.x, &p.scaling.y, &p.scaling.z})
        *scale = (random.below(3) ? 1.0 : -1.0) * (0.6 + static_cast<double>(random.unit()));
    p.order = static_cast<rotation_order>(random.below(7));
    p.inherit = static_cast<inherit_type>(random.below(3));
    p.rotation_active = random.below(4) != 0;
    p.rotation_space_for_limit_only = random.below(4) == 0;
    return p;
}
} // namespace

TEST(FbxTransform, ChainsAgreeWithProductsOfPlainMatrices)
{
    test_random random(17);
    for (int round = 0; round < 300; ++round)
    {
        SCOPED_TRACE(round);
        node_frame frame;
        plain_node expected;
        for (int depth = 0; depth < 5; ++depth)
        {
            const node_properties p = random_properties(random);
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
    for (const double length : {1.0, 1e-300, 1e300, 3e-320, 0.0})
    {
        FbxVector4 v(3 * length, 0, -4 * length);
        v.Normalize();
        EXPECT_NEAR(v[0], length > 0.0 ? 0.6 : 0.0, 1e-3) << length;
        EXPECT_NEAR(v[2], length > 0.0 ? -0.8 : 0.0, 1e-3) << length;
    }
}

TEST(FbxTransform, SinesAreWithinTwoUnitsOfThePlatforms)
{
    test_random random(5);
    for (int i = 0; i < 200000; ++i)
    {
        double degrees = i % 721 - 360;
        if (i >= 721)
            degrees = std::ldexp(static_cast<double>(random.next()) - 2147483648.0,
                                 -23 - static_cast<int>(random.below(50)));
        const sine_cosine mine = sine_cosine_of_degrees(degrees);
        const double angle = degrees * 0.017453292519943295;
        const auto expect_close = [&](double value, double reference)
        {
            double tolerance = std::nextafter(std::fabs(reference), 2.0) - std::fabs(reference);
#if defined(_WIN32) // its x87 instruction reduces by a pi of 66 bits
            tolerance += std::ldexp(std::fabs(angle), -67);
#endif
            ASSERT_NEAR(value, reference, 2.0 * tolerance) << degrees;
        };
        expect_close(mine.sine, std::sin(angle));
        expect_close(mine.cosine, std::cos(angle));
    }
    // A half turn keeps the sine of the double next to pi.
    EXPECT_EQ(sine_cosine_of_degrees(180.0).sine, 0x1.1a62633145c07p-53);
    EXPECT_EQ(sine_cosine_of_degrees(180.0 + 360.0 * 1024).sine, 0x1.1a62633145c07p-53);
    EXPECT_TRUE(std::isnan(sine_cosine_of_degrees(INFINITY).cosine));
}
