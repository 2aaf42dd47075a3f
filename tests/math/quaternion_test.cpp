#include "support/bits.h"
#include "vesk/quaternion.h"

#include <cmath>

namespace
{
// Where the row vector of the Z axis goes.
vesk_vector3 turned_z(const vesk_quaternion &q)
{
    vesk_matrix33 m;
    q.to_matrix(m);
    return vesk_vector3(0.0f, 0.0f, 1.0f) * m;
}
} // namespace

TEST(Quaternion, AimedZAxisPointsAlongTheDirection)
{
    const float pi = 3.1415927f;
    float worst = 0.0f, worst_near_opposite = 0.0f;
    for (int row = 0; row <= 200; ++row)
        for (int column = 0; column < 100; ++column)
        {
            // The last rows crowd towards the opposite direction, down to 1e-9 radians.
            const float step = static_cast<float>(row);
            const float polar = row <= 100 ? pi * step / 100.0f
                                           : pi - std::pow(10.0f, 0.09f * (100.0f - step) - 0.5f);
            const float around = 2.0f * pi * static_cast<float>(column) / 100.0f;
            const vesk_vector3 d(std::sin(polar) * std::cos(around),
                                 std::sin(polar) * std::sin(around), std::cos(polar));
            vesk_quaternion q;
            q.aim_z_axis(d * 7.0f);
            const float error = vesk_vec_distance(turned_z(q), vesk_vec_normalize(d));
            float &side = row < 100 ? worst : worst_near_opposite;
            side = error > side ? error : side;
        }
    EXPECT_LT(worst, 5e-6f);
    EXPECT_LT(worst_near_opposite, 5e-4f);

    vesk_quaternion q;
    q.aim_z_axis(vesk_vector3(0.0f, 0.0f, -3.0f));
    EXPECT_EQ(q, vesk_quaternion(0.0f, 1.0f, 0.0f, 0.0f));
    q.aim_z_axis(vesk_vector3(1.0f, 2.0f, 3.0f), vesk_vector3(1.0f, 2.0f, 3.0f));
    EXPECT_EQ(q.is_identity(), 1);
    q.aim_z_axis(vesk_vector3(1.0f, 2.0f, 3.0f), vesk_vector3(1.0f, 4.0f, 3.0f));
    EXPECT_TRUE(vesk_vec_nearly_equal(turned_z(q), vesk_vector3(0.0f, 1.0f, 0.0f), 1e-6f));
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
    const float no_number = float_of(0x7fc00000u);
    const struct
    {
        vesk_quaternion q;
        int is_identity, normalize;
    } rows[] = {
        {{}, 1, 0},
        {{-0.0f, 0.0f, -0.0f, 1.0f}, 1, 0},
        {{0.0f, 0.0f, 0.0f, -1.0f}, 0, 0},
        {{0.0f, 0.0f, 0.0f, 2.0f}, 0, 1},
        {{0.0f, 0.0f, 0.0f, 0.0f}, 0, -1},
        {{float_of(1), 0.0f, 0.0f, 1.0f}, 0, 0},
        {{0.0f, 0.0f, no_number, 1.0f}, 0, 1},
    };
    for (const auto &row : rows)
    {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(row.q.is_identity(), row.is_identity);
        EXPECT_EQ(row.q == row.q, row.q.z == row.q.z);
        vesk_quaternion q = row.q;
        EXPECT_EQ(q.normalize(), row.normalize);
    }
    vesk_quaternion q(0.0f, 0.0f, 0.0f, 2.0f);
    q.normalize();
    EXPECT_EQ(q, vesk_quaternion());
    q.invert();
    EXPECT_EQ(q.is_identity(), 0);
    q.reset();
    EXPECT_EQ(q.is_identity(), 1);
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
