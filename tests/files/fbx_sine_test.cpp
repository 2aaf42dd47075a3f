#include "files/fbx/sine.h"

#include "support/mesh_builder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{
/// Two units of the last place. On Windows the runtime's own sine is worse than that near multiples
/// of pi: the x87 instruction reduces by a pi of 66 bits.
double tolerance(double angle, double reference)
{
    const double unit = std::nextafter(std::fabs(reference), 2.0) - std::fabs(reference);
#if defined(_WIN32)
    return 2.0 * unit + std::ldexp(std::fabs(angle), -66);
#else
    static_cast<void>(angle);
    return 2.0 * unit;
#endif
}
} // namespace

TEST(FbxSine, StaysWithinTwoUnitsOfThePlatforms)
{
    test_random random(5);
    for (int i = 0; i < 200000; ++i)
    {
        double degrees = i % 721 - 360;
        if (i >= 721)
            degrees = std::ldexp(static_cast<double>(random.next()) - 2147483648.0,
                                 -23 - static_cast<int>(random.below(50)));
        const vesk_fbx::sine_cosine mine = vesk_fbx::sine_cosine_of_degrees(degrees);
        const double angle = degrees * 0.017453292519943295;
        const double sine = std::sin(angle), cosine = std::cos(angle);
        ASSERT_NEAR(mine.sine, sine, tolerance(angle, sine)) << degrees;
        ASSERT_NEAR(mine.cosine, cosine, tolerance(angle, cosine)) << degrees;
    }
}

TEST(FbxSine, HalfTurnKeepsTheSineOfTheDoubleNextToPi)
{
    const vesk_fbx::sine_cosine half = vesk_fbx::sine_cosine_of_degrees(180.0);
    EXPECT_EQ(half.sine, 0x1.1a62633145c07p-53);
    EXPECT_EQ(half.cosine, -1.0);
    EXPECT_EQ(vesk_fbx::sine_cosine_of_degrees(180.0 + 360.0 * 1024).sine, half.sine);
    EXPECT_TRUE(std::isnan(vesk_fbx::sine_cosine_of_degrees(INFINITY).cosine));
}
