#include "support/stepped.h"
#include "vesk/scalar.h"

#include <climits>

namespace
{
constexpr int round_count = 50000;

const stepped pi = float_of(0x40490fdbu);
const stepped two_pi = float_of(0x40c90fdbu);

stepped plain_distance(stepped a, stepped b)
{
    if (a.value == b.value)
        return 0.0f;
    const stepped d = b.value > a.value ? b - a : (two_pi - a) + b;
    return d.value > pi.value ? two_pi - d : d;
}

stepped plain_percentage(stepped value, stepped low, stepped high)
{
    if (low.value == high.value)
        return 1.0f;
    if (value.value == low.value)
        return 0.0f;
    return (value - low) / (high - low);
}
} // namespace

TEST(Scalar, MatchesSteppedArithmetic)
{
    hostile_floats source(12);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const floats<3> drawn = source.object<floats<3>>();
        const float a = drawn[0].value, b = drawn[1].value, c = drawn[2].value;
        const double wide = static_cast<double>(a), wide_b = static_cast<double>(b);
        const struct
        {
            const char *name;
            float actual;
            stepped expected;
        } rows[] = {
            {"degree_to_radian", vesk_degree_to_radian(a), stepped(a) * float_of(0x3c8efa35u)},
            {"degree_to_half_radian", vesk_degree_to_half_radian(a),
             stepped(a) * float_of(0x3c0efa35u)},
            {"radian_to_degree", vesk_radian_to_degree(a), stepped(a) * float_of(0x42652ee1u)},
            {"square_root", vesk_square_root(a), stepped(std::sqrt(wide))},
            {"sine", vesk_sine(a), stepped(std::sin(wide))},
            {"cosine", vesk_cosine(a), stepped(std::cos(wide))},
            {"arccosine", vesk_arccosine(a), stepped(std::acos(wide))},
            {"arctangent", vesk_arctangent(a), stepped(std::atan(wide))},
            {"arctangent2", vesk_arctangent2(a, b), stepped(std::atan2(wide, wide_b))},
            {"exponent", vesk_exponent(a, b), stepped(std::pow(wide, wide_b))},
            {"fabs", vesk_fabs(a), a >= 0.0f ? stepped(a) : stepped(a) * -1.0f},
            {"mod", vesk_mod(a, b), b <= 0.0f ? stepped() : stepped(std::fmod(wide, wide_b))},
            {"minimum_distance", vesk_minimum_distance_between_angles(a, b), plain_distance(a, b)},
            {"maximize_angles", vesk_maximize_angles(a, b),
             stepped(std::acos((stepped(std::cos(wide)) / stepped(std::cos(wide_b))).wide()))},
            {"clamp", vesk_clamp(a, b, c),
             b > a   ? b
             : a > c ? c
                     : a},
            {"percentage", vesk_percentage(a, b, c), plain_percentage(a, b, c)},
        };
        for (const auto &row : rows)
            EXPECT_TRUE(same_bits(row.actual, row.expected.value))
                << row.name << " of " << a << ", " << b << ", " << c << " is " << row.actual;
    }
}

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
        {8388607.5f, 8388608},
        {4294967040.0f, 4294967040u},
        {4294967296.0f, UINT_MAX},
        {3.4e38f, UINT_MAX},
        {float_of(0x7f800000u), UINT_MAX},
        {-0.5f, 0},
        {-0.7f, 0},
        {-3.0e38f, 0},
        {float_of(0xff800000u), 0},
        {float_of(0x7fc00000u), 0},
        {float_of(1), 0},
    };
    for (const auto &row : rows)
        EXPECT_EQ(vesk_round(row.value), row.rounded) << row.value;

    hostile_floats source(13);
    for (int round = 0; round < round_count; ++round)
    {
        const float value = std::fabs(source.next());
        if (value < 4294967296.0f)
        {
            EXPECT_EQ(vesk_round(value),
                      static_cast<unsigned int>(std::floor(static_cast<double>(value) + 0.5)))
                << value;
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
}
