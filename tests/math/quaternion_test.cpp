#include "support/bits.h"
#include "support/mesh_builder.h"
#include "vesk/quaternion.h"

#include <cmath>

TEST(Quaternion, AimedZAxisPointsAlongTheDirection)
{
    vesk_quaternion q;
    vesk_matrix33 turned; // its last row is where the row vector of the Z axis goes
    test_random random(7);
    for (int i = 0; i < 20000; ++i)
    {
        // Half of them crowd towards the opposite direction, down to 1e-9 radians.
        vesk_vector3 d = random.point(-1.0f, 1.0f);
        if (i % 2)
            d = std::pow(10.0f, random.between(-9.0f, 0.0f)) * d - vesk_vector3(0, 0, 1);
        q.aim_z_axis(d * 7.0f);
        q.to_matrix(turned);
        const vesk_vector3 unit = vesk_vec_normalize(d);
        ASSERT_LT(vesk_vec_distance(turned[2], unit), unit.z > -0.9995f ? 5e-6f : 5e-4f) << i;
    }
    q.aim_z_axis(vesk_vector3(0, 0, -3));
    EXPECT_EQ(q, vesk_quaternion(0, 1, 0, 0));
    q.aim_z_axis({1, 2, 3}, {1, 2, 3});
    EXPECT_EQ(q.is_identity(), 1);
    q.aim_z_axis({1, 2, 3}, {1, 4, 3}); // as along Y
    q.to_matrix(turned);
    EXPECT_TRUE(vesk_vec_nearly_equal(turned[2], {0, 1, 0}, 1e-6f));
}

TEST(Quaternion, EulerAnglesTurnRowVectorsAboutXThenYThenZ)
{
    const float degree = 0.017453292f;
    vesk_quaternion q;
    q.from_euler(20.0f, -35.0f, 130.0f);
    vesk_matrix33 turned;
    q.to_matrix(turned);
    const vesk_matrix33 expected = vesk_matrix33_rotate(0, 20.0f * degree) *
                                   vesk_matrix33_rotate(1, -35.0f * degree) *
                                   vesk_matrix33_rotate(2, 130.0f * degree);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(vesk_vec_nearly_equal(turned[i], expected[i], 1e-6f), 1) << i;
}

TEST(Quaternion, IdentityAndNormalizeTakeNoTolerance)
{
    const float none = float_of(0x7fc00000u);
    const vesk_quaternion quaternions[] = {{-0.0f, 0, -0.0f, 1}, {0, 0, 0, -1},
                                           {0, 0, 0, 2},         {0, 0, 0, 0},
                                           {1e-45f, 0, 0, 1},    {0, 0, none, 1}};
    const int is_identity[] = {1, 0, 0, 0, 0, 0}, normalize[] = {0, 0, 1, -1, 0, 1};
    for (int i = 0; i < 6; ++i)
    {
        SCOPED_TRACE(i);
        vesk_quaternion q = quaternions[i];
        EXPECT_EQ(q.is_identity(), is_identity[i]);
        EXPECT_EQ(q == q, i < 5);
        EXPECT_EQ(q.normalize(), normalize[i]);
        q.reset();
        q.invert(); // all four, so that it turns the same way
        EXPECT_EQ(q, vesk_quaternion(0, 0, 0, -1));
    }
}

TEST(Quaternion, BlendsMayWriteTheirArgumentsAndTakeNoShortestPath)
{
    const vesk_quaternion a(40.0f, {0, 0, 1}), b(80.0f, {0, 0, 1}), half(60.0f, {0, 0, 1});
    for (const auto blend : {vesk_quat_slerp, vesk_quat_nlerp})
    {
        vesk_quaternion out = a, other = b;
        blend(out, b, 0.5f, out);
        blend(a, other, 0.5f, other);
        EXPECT_EQ(out, other);
        EXPECT_NEAR(out.dot(half), 1.0f, 1e-6f);
        blend(vesk_quaternion(), vesk_quaternion(0.0f, 0.0f, 0.0f, -1.0f), 0.5f, out);
        EXPECT_EQ(out, vesk_quaternion(0.0f, 0.0f, 0.0f, 0.0f));
    }
}
