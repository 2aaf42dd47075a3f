#include "files/fbx/decimal.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

using namespace vesk_fbx;

namespace
{
/// Reads the whole of `text`; the C library in the C locale is the judge of the bits.
void expect_nearest(const std::string &text)
{
    double value = -7.0;
    const char *const end = text.data() + text.size();
    ASSERT_EQ(read_real(text.data(), end, value), end) << text;
    const double expected = std::strtod(text.c_str(), nullptr);
    EXPECT_TRUE(std::memcmp(&value, &expected, sizeof(value)) == 0)
        << text << " gives " << value << ", not " << expected;
}

template <typename... Values> std::string formatted(const char *format, Values... values)
{
    char buffer[512];
    std::snprintf(buffer, sizeof(buffer), format, values...);
    return buffer;
}

double real_of(const std::string &text)
{
    double value = -7.0;
    const char *const end = text.data() + text.size();
    EXPECT_EQ(read_real(text.data(), end, value), end);
    return value;
}

/// The digits of 2^-1075 behind the point: one is halved so many times.
std::string half_of_least()
{
    std::string digits;
    for (int halving = 0; halving < 1075; ++halving)
    {
        int rest = halving == 0 ? 1 : 0;
        digits += '0';
        for (char &digit : digits)
        {
            const int value = rest * 10 + (digit - '0');
            digit = static_cast<char>('0' + value / 2);
            rest = value % 2;
        }
    }
    return digits;
}

std::int64_t integer_of(const std::string &text)
{
    std::int64_t value = -7;
    const char *const end = text.data() + text.size();
    EXPECT_EQ(read_integer(text.data(), end, value), end) << text;
    return value;
}
} // namespace

TEST(FbxDecimal, RandomRealsAreNearest)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 50000 && !HasFailure(); ++i)
    {
        // As exporters write them: any precision of a float or a double of moderate size.
        const double x = std::ldexp(static_cast<double>(random()), -int(random() % 80));
        expect_nearest(formatted("%.*g", int(1 + random() % 20), x));
        expect_nearest(formatted("%.*f", int(random() % 25), double(float(x))));
        // Any digits with any power around the borders of the exact way.
        const unsigned long long digits = random() >> (random() % 64);
        expect_nearest(formatted("-%llue%d", digits, int(random() % 64) - 32));
        expect_nearest(
            formatted("%llu.%lluE%+04d", digits, random() >> 20, int(random() % 700) - 350));
    }
}

TEST(FbxDecimal, HalfwayCasesGoToEven)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000 && !HasFailure(); ++i)
    {
        // An odd number of 54 bits, halved up to ten times: exactly between two doubles. The digit
        // behind it takes it off the middle.
        const unsigned long long odd = random() >> 10 | 1ull << 53 | 1;
        const int halvings = int(random() % 11);
        const unsigned long long whole = odd >> halvings;
        std::string text = formatted("%llu.", whole);
        unsigned long long rest = odd - (whole << halvings);
        for (int digit = 0; digit < halvings; ++digit)
        {
            rest *= 10;
            text += static_cast<char>('0' + (rest >> halvings));
            rest &= (1ull << halvings) - 1;
        }
        expect_nearest(text);
        expect_nearest(text + "0000000001");
        expect_nearest(text + "e-5");
    }
}

TEST(FbxDecimal, SpellingsOfExporters)
{
    for (const char *text : {"0",
                             "-0",
                             "5.",
                             ".5",
                             "-.5e1",
                             "+2",
                             "1e-005",
                             "1E+5",
                             "00012.500",
                             "1e999",
                             "-1e999",
                             "1e-999",
                             "-1e-999",
                             "4.9e-324",
                             "2e-324",
                             "1.7976931348623157e308",
                             "1.8e308",
                             "9007199254740993",
                             "18446744073709551615",
                             "99999999999999999999",
                             "1e2147483648",
                             "1e-99999999999999999999",
                             "0e99999999999999999999"})
        expect_nearest(text);
}

TEST(FbxDecimal, DamagedExportsNameWhatIsNotFinite)
{
    double value = 0.0;
    for (const std::string text : {"inf", "-Infinity", "1.#INF", "-1.#INF00"})
    {
        EXPECT_EQ(read_real(text.data(), text.data() + text.size(), value),
                  text.data() + text.size());
        EXPECT_EQ(value, text[0] == '-' ? -std::numeric_limits<double>::infinity()
                                        : std::numeric_limits<double>::infinity());
    }
    for (const std::string text : {"nan", "-nan", "1.#QNAN", "-1.#IND"})
    {
        EXPECT_EQ(read_real(text.data(), text.data() + text.size(), value),
                  text.data() + text.size());
        EXPECT_TRUE(std::isnan(value)) << text;
    }
    for (const std::string text : {"", "-", "+-1", ".", "1e", "1e+", "e5", "x", "1.#X"})
        EXPECT_EQ(read_real(text.data(), text.data() + text.size(), value), nullptr) << text;
}

TEST(FbxDecimal, MillionsOfDigits)
{
    const std::string zeros(2000000, '0');
    // C libraries take quadratic time here, so none is the judge.
    EXPECT_EQ(real_of(std::string(2000000, '7')), std::numeric_limits<double>::infinity());
    EXPECT_EQ(real_of(std::string(2000000, '7') + "e-1999999"), 70.0 / 9);
    EXPECT_EQ(real_of("0." + zeros + "7e2000001"), 7.0);
    EXPECT_EQ(real_of("0." + std::string(2000000, '3')), 1.0 / 3);
    EXPECT_EQ(real_of(zeros + "1.5"), 1.5);
    // Between two doubles, and a digit that takes it off the middle.
    EXPECT_EQ(real_of("9007199254740993." + zeros), 9007199254740992.0);
    EXPECT_EQ(real_of("9007199254740993." + zeros + "1"), 9007199254740994.0);
    // The middle between 0 and the least double has some 750 digits behind its zeros.
    const std::string middle = "0." + half_of_least();
    EXPECT_EQ(real_of(middle + zeros), 0.0);
    EXPECT_EQ(real_of(middle + zeros + "1"), std::numeric_limits<double>::denorm_min());
}

TEST(FbxDecimal, IntegersAreExactAndStopAtTheirLimits)
{
    EXPECT_EQ(integer_of("9223372036854775807"), INT64_MAX);
    EXPECT_EQ(integer_of("-9223372036854775808"), INT64_MIN);
    EXPECT_EQ(integer_of("9223372036854775808"), INT64_MAX);
    EXPECT_EQ(integer_of("-99999999999999999999999"), INT64_MIN);
    EXPECT_EQ(integer_of("9007199254740993"), 9007199254740993);
    EXPECT_EQ(integer_of("+000000000000000000000012"), 12);
    EXPECT_EQ(integer_of("1.9"), 1);
    EXPECT_EQ(integer_of("-1.9e1"), -19);
    EXPECT_EQ(integer_of("1e30"), INT64_MAX);
    EXPECT_EQ(integer_of("nan"), 0);
}
