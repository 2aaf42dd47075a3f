#include "files/fbx/sine.h"

#include "support/mesh_builder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace
{
/// Distance in units of the last place of the reference.
double ulps(double value, double reference)
{
    return std::fabs(value - reference) /
           (std::nextafter(std::fabs(reference), 2.0) - std::fabs(reference));
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
        ASSERT_LE(ulps(mine.sine, std::sin(angle)), 2.0) << degrees;
        ASSERT_LE(ulps(mine.cosine, std::cos(angle)), 2.0) << degrees;
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
