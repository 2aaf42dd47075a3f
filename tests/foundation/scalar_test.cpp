#include "support/bits.h"
#include "support/mesh_builder.h"
#include "vesk/scalar.h"

#include <algorithm>
#include <climits>
#include <cmath>

// What a grid of floats doesn't show: all other results are held to the bit by the golden run.

TEST(Scalar, RoundGivesADefinedNumberForEveryFloat)
{
    const float turns[] = {0.49999997f, 0.5f, 2.5f, 8388607.5f, 4294967040.0f, 4294967296.0f};
    test_random random(13);
    for (int round = 0; round < 50000; ++round)
    {
        const float value = round < 6 ? turns[round] : float_of(random.next());
        const double nearest = std::floor(static_cast<double>(value) + 0.5);
        const double most = UINT_MAX;
        EXPECT_EQ(vesk_round(value), value > 0.0f ? std::min(nearest, most) : 0.0) << value;
    }
}

TEST(Scalar, WholeNumbersAndAngles)
{
    EXPECT_EQ(vesk_abs(-7), 7);
    EXPECT_EQ(vesk_abs(INT_MIN), INT_MIN);
    EXPECT_EQ(vesk_mod(7u, 4u), 3u);
    EXPECT_EQ(vesk_mod(7u, 0u), 0u);
    EXPECT_EQ(vesk_mod(1ull << 40, (1ull << 33) + 1), (1ull << 40) % ((1ull << 33) + 1));
    EXPECT_EQ(vesk_mod(7ull, 0ull), 0ull);
    EXPECT_EQ(vesk_mod(-1.0f, 3.0f), -1.0f);
    EXPECT_EQ(vesk_mod(7.5f, -1.0f), 0.0f);
    EXPECT_BITS(vesk_fabs(-0.0f), 0x80000000u);
    EXPECT_EQ(vesk_percentage(3.0f, 2.0f, 6.0f), 0.25f);
    EXPECT_EQ(vesk_percentage(3.0f, 2.0f, 2.0f), 1.0f);
    EXPECT_EQ(vesk_is_angle_in_range(0.5f, 6.0f, 1.0f), 1); // wraps, and its ends are in it
    EXPECT_EQ(vesk_is_angle_in_range(1.0f, 6.0f, 1.0f), 1);
    EXPECT_EQ(vesk_is_angle_in_range(3.0f, 6.0f, 1.0f), 0);
    EXPECT_NEAR(vesk_minimum_distance_between_angles(6.0f, 0.25f), 0.5331853f, 1e-6f);
}
