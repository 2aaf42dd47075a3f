#include "files/fbx/sdk_math.h"
#include "files/fbx/sine.h"
#include "files/fbx/transform.h"
#include "support/mesh_builder.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace vesk_fbx;

namespace
{
// Plain products of elementary matrices, which the first test holds against quarter turns.

FbxVector4 four(const vector3 &v)
{
    return {v.x, v.y, v.z};
}

FbxAMatrix moved_by(const vector3 &v)
{
    return {four(v), four({}), four({1, 1, 1})};
}

FbxAMatrix turned_by(const vector3 &degrees)
{
    return {four({}), four(degrees), four({1, 1, 1})};
}

FbxAMatrix scaled_by(const vector3 &v)
{
    return {four({}), four({}), four(v)};
}

/// Turns about the axes in the order of the letters.
FbxAMatrix turned(const vector3 &degrees, const std::string &axes)
{
    FbxAMatrix r;
    for (const char axis : axes)
        r = turned_by({axis == 'x' ? degrees.x : 0.0, axis == 'y' ? degrees.y : 0.0,
                       axis == 'z' ? degrees.z : 0.0}) *
            r;
    return r;
}

/// A node's global matrix, and the product of all rotations down to it.
struct plain_node
{
    FbxAMatrix global, rotation;
    vector3 scaling{1, 1, 1};
};

plain_node plain_child(const plain_node &parent, const node_properties &p)
{
    static const char *const orders[] = {"xyz", "xzy", "yzx", "yxz", "zxy", "zyx", "xyz"};
    FbxAMatrix q = turned(p.rotation, "xyz");
    if (p.rotation_active && !p.rotation_space_for_limit_only)
        q = turned(p.pre_rotation, "xyz") * turned(p.rotation, orders[static_cast<int>(p.order)]) *
            turned(p.post_rotation, "xyz").Inverse();
    const FbxAMatrix around_rotation = moved_by(p.rotation_pivot), scale = scaled_by(p.scaling),
                     around_scaling = moved_by(p.scaling_pivot),
                     local = moved_by(p.translation) * moved_by(p.rotation_offset) *
                             around_rotation * q * around_rotation.Inverse() *
                             moved_by(p.scaling_offset) * around_scaling * scale *
                             around_scaling.Inverse();

    const FbxAMatrix gathered = parent.rotation.Inverse() * parent.global;
    plain_node node;
    node.scaling = p.scaling;
    node.rotation = parent.rotation * q;
    node.global = parent.rotation * gathered * q * scale;
    if (p.inherit == inherit_type::rrss)
        node.global = node.rotation * gathered * scale;
    if (p.inherit == inherit_type::rrs)
        node.global = node.rotation * gathered * scaled_by(parent.scaling).Inverse() * scale;
    const FbxAMatrix moved = parent.global * local;
    for (int i = 0; i < 3; ++i)
        node.global[3][i] = moved[3][i];
    return node;
}

node_properties random_properties(test_random &random)
{
    node_properties p;
    for (vector3 *v : {&p.translation, &p.rotation, &p.pre_rotation, &p.post_rotation,
                       &p.rotation_offset, &p.rotation_pivot, &p.scaling_offset, &p.scaling_pivot})
        *v = {random.between(-180, 180), random.between(-180, 180), random.between(-180, 180)};
    for (double *scale : {&p.scaling.x, &p.scaling.y, &p.scaling.z})
        *scale = (random.below(3) ? 1.0 : -1.0) * (0.6 + static_cast<double>(random.unit()));
    p.order = static_cast<rotation_order>(random.below(7));
    p.inherit = static_cast<inherit_type>(random.below(3));
    p.rotation_active = random.below(4) != 0;
    p.rotation_space_for_limit_only = random.below(4) == 0;
    return p;
}
} // namespace

TEST(FbxTransform, QuarterTurnsGoAboutXThenYThenZ)
{
    const std::pair<vector3, vector3> rows[] = {{{90, 0, 0}, {1, -3, 2}},
                                                {{0, 90, 0}, {3, 2, -1}},
                                                {{0, 0, 90}, {-2, 1, 3}},
                                                {{90, 90, 90}, {3, 2, -1}}};
    for (const auto &[degrees, expected] : rows)
    {
        const FbxVector4 turned = turned_by(degrees).MultT({1, 2, 3});
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(turned[i], four(expected)[i], 1e-15);
    }
}

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
        for (int i = 0; i < 3; ++i)
        {
            for (int j = 0; j < 3; ++j)
                EXPECT_NEAR(frame.linear.m[i][j], expected.global[j][i], 1e-11);
            EXPECT_NEAR(four(frame.translation)[i], expected.global[3][i], 1e-9);
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
