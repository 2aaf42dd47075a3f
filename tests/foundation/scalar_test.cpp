#include "support/bits.h"
#include "support/mesh_builder.h"
#include "vesk/scalar.h"

#include <climits>
#include <cmath>

TEST(Scalar, AngleRangesIncludeTheirEndsAndWrap)
{
    const struct
    {
        float angle, low, high;
        int in_range;
    } rows[] = {
        {1.0f, 1.0f, 2.0f, 1}, {2.0f, 1.0f, 2.0f, 1}, {2.1f, 1.0f, 2.0f, 0},
        {0.9f, 1.0f, 2.0f, 0}, {0.5f, 6.0f, 1.0f, 1}, {6.0f, 6.0f, 1.0f, 1},
        {1.0f, 6.0f, 1.0f, 1}, {3.0f, 6.0f, 1.0f, 0}, {3.0f, 2.0f, 2.0f, 1},
    };
    for (const auto &row : rows)
        EXPECT_EQ(vesk_is_angle_in_range(row.angle, row.low, row.high), row.in_range)
            << row.angle << " in " << row.low << " to " << row.high;
}

TEST(Scalar, RoundGivesADefinedNumberForEveryFloat)
{
    const float infinity = float_of(0x7f800000u);
    const struct
    {
        float value;
        unsigned int rounded;
    } rows[] = {
        {0.0f, 0},
        {-0.0f, 0},
        {0.49999997f, 0},
        {0.5f, 1},
        {2.49f, 2},
        {2.5f, 3},
        {-0.5f, 0},
        {-0.7f, 0},
        {-3.0e38f, 0},
        {float_of(1), 0},
        {-infinity, 0},
        {float_of(0x7fc00000u), 0},
        {3.4e38f, UINT_MAX},
        {infinity, UINT_MAX},
        {8388607.5f, 8388608},
        {4294967040.0f, 4294967040u},
        {4294967296.0f, UINT_MAX},
    };
    for (const auto &row : rows)
        EXPECT_EQ(vesk_round(row.value), row.rounded) << row.value;

    test_random random(13);
    for (int round = 0; round < 50000; ++round)
    {
        const float value = float_of(random.next() & 0x7fffffffu);
        if (value < 4294967296.0f)
        {
            EXPECT_EQ(vesk_round(value), std::floor(static_cast<double>(value) + 0.5)) << value;
        }
    }
}

TEST(Scalar, WholeNumbers)
{
    EXPECT_EQ(vesk_abs(-7), 7);
    EXPECT_EQ(vesk_abs(7), 7);
    EXPECT_EQ(vesk_abs(INT_MIN), INT_MIN);
    EXPECT_EQ(vesk_mod(7u, 4u), 3u);
    EXPECT_EQ(vesk_mod(7u, 0u), 0u);
    EXPECT_EQ(vesk_mod(1ull << 40, (1ull << 33) + 1), (1ull << 40) % ((1ull << 33) + 1));
    EXPECT_EQ(vesk_mod(7ull, 0ull), 0ull);
    EXPECT_EQ(vesk_mod(-1.0f, 3.0f), -1.0f);
    EXPECT_BITS(vesk_fabs(-0.0f), 0x80000000u);
    EXPECT_EQ(vesk_mod(7.5f, -1.0f), 0.0f);
    EXPECT_EQ(vesk_clamp(5.0f, 1.0f, 3.0f) + vesk_clamp(0.0f, 1.0f, 3.0f), 4.0f);
    EXPECT_EQ(vesk_percentage(3.0f, 2.0f, 6.0f), 0.25f);
    EXPECT_EQ(vesk_percentage(3.0f, 2.0f, 2.0f), 1.0f);
    EXPECT_NEAR(vesk_minimum_distance_between_angles(0.25f, 6.0f), 0.5331853f, 1e-6f);
    EXPECT_NEAR(vesk_minimum_distance_between_angles(6.0f, 0.25f), 0.5331853f, 1e-6f);
}
