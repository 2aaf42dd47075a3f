#include "support/bits.h"
#include "vesk/vector.h"

#include <cmath>

// Bits are the golden run's; here is what the operations are, and where their results turn.

TEST(Vectors, ToleranceIsADistanceOfItsOwn)
{
    const auto check = [](auto v, auto tiny)
    {
        const auto zero = v - v;
        EXPECT_EQ(vesk_vec_nearly_equal(v, v, 0.0f), 0);
        EXPECT_EQ(vesk_vec_nearly_equal(v, v, 1e-06f), 1);
        EXPECT_EQ(vesk_vec_nearly_equal(v, zero, 5.0f), 0);
        EXPECT_EQ(vesk_vec_nearly_equal(v, zero, -5.1f), 1);
        EXPECT_EQ(vesk_vec_normalize(tiny), zero); // its square underflows
        EXPECT_EQ(v.normalize(), vesk_vec_normalize(v * 2.0f));
    };
    check(vesk_vector2(3, 4), vesk_vector2(1e-30f, 0));
    check(vesk_vector3(0, 3, 4), vesk_vector3(0, 0, 1e-30f));
    check(vesk_vector4(0, 3, 0, 4), vesk_vector4(0, 0, 0, 1e-30f));
}

TEST(Vector2, FullTurnLeavesTheVectorAndLargerAnglesAreReduced)
{
    vesk_vector2 v(3.0f, -4.0f);
    v.set_angle(float_of(0x40c90fdbu));
    EXPECT_EQ(v, vesk_vector2(3.0f, -4.0f));
    v.set_angle(7.0f);
    const double reduced = static_cast<double>(static_cast<float>(7.0 - 6.2831854820251465));
    EXPECT_EQ(v.x, static_cast<float>(std::cos(reduced)));
    EXPECT_EQ(vesk_vector2().get_angle(), 0.0f);
    EXPECT_NEAR(vesk_vector2(0.0f, -1.0f).get_angle(), 4.712389f, 1e-6f); // never negative
    v = vesk_vector2(1.0f, 0.0f);
    v.rotate_angle(1.5707964f);
    EXPECT_TRUE(vesk_vec_nearly_equal(v, vesk_vector2(0.0f, 1.0f), 1e-6f));
}

TEST(Vector3, ProductsTurnsAndBlendsAreRightHanded)
{
    const vesk_vector3 x(1, 0, 0), y(0, 1, 0), z(0, 0, 1), a(0.6f, 0.8f, 0);
    EXPECT_EQ(vesk_triangle_normal({0, 0, 0}, x, y), z);
    EXPECT_TRUE(
        vesk_vec_nearly_equal(vesk_vec_slerp(x, y, 0.5f), {0.70710678f, 0.70710678f, 0}, 1e-6f));
    // No angle between, and half a turn; lengths that take the cosine beyond one do no harm.
    EXPECT_TRUE(vesk_vec_nearly_equal(vesk_vec_slerp(a, 2.0f * a, 0.3f), a, 1e-6f));
    EXPECT_TRUE(vesk_vec_slerp(2.0f * a, -2.0f * a, 0.5f).is_zero());

    vesk_vector3 added, itself = x;
    vesk_rotate_point_around_axis(x, z * 3.0f, 1.5707964f, added);
    EXPECT_TRUE(vesk_vec_nearly_equal(added, y, 1e-6f));
    vesk_rotate_point_around_axis(itself, z, 1.5707964f, itself); // adds to the point it reads
    EXPECT_TRUE(vesk_vec_nearly_equal(itself, x + y, 1e-6f));
}

TEST(Vector4, AssignsFromThreeAndBack)
{
    vesk_vector4 wide(1, 2, 3, 4);
    vesk_vector3 narrow;
    wide = narrow = wide;
    EXPECT_EQ(wide, vesk_vector4(1, 2, 3, 0));
}
