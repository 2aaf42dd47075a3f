#include "files/fbx/decimal.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>

using namespace vesk_fbx;

namespace
{
constexpr double infinity = std::numeric_limits<double>::infinity();

/// What the whole of `text` reads as.
double real_of(const std::string &text)
{
    double value = -7.0;
    const char *const end = text.data() + text.size();
    EXPECT_EQ(read_real(text.data(), end, value), end) << text.substr(0, 100);
    return value;
}

/// The C library in the C locale is the judge of the bits.
void expect_nearest(const std::string &text)
{
    const double value = real_of(text), expected = std::strtod(text.c_str(), nullptr);
    EXPECT_TRUE(std::memcmp(&value, &expected, sizeof(value)) == 0)
        << text << " gives " << value << ", not " << expected;
}

template <typename... Values> std::string formatted(const char *format, Values... values)
{
    char buffer[512];
    std::snprintf(buffer, sizeof(buffer), format, values...);
    return buffer;
}

/// All digits of a number that is halved so many times.
std::string halved(std::string digits, int times)
{
    const std::size_t point = digits.size();
    for (; times > 0; --times)
    {
        int rest = 0;
        digits += '0';
        for (char &digit : digits)
        {
            const int value = rest * 10 + (digit - '0');
            digit = static_cast<char>('0' + value / 2);
            rest = value % 2;
        }
    }
    return digits.insert(point, ".");
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
    std::istringstream spellings(
        "0 -0 5. .5 -.5e1 +2 1e-005 1E+5 00012.500 1e999 -1e999 1e-999 -1e-999 4.9e-324 2e-324 "
        "1.7976931348623157e308 1.8e308 9007199254740993 18446744073709551615 "
        "99999999999999999999 1e2147483648 1e-99999999999999999999 0e99999999999999999999");
    for (std::string text; spellings >> text;)
        expect_nearest(text);
}

TEST(FbxDecimal, HalfwayCasesGoToEven)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 20000 && !HasFailure(); ++i)
    {
        // An odd number of 54 bits, halved up to ten times: exactly between two doubles. The digit
        // behind it takes it off the middle.
        const unsigned long long odd = random() >> 10 | 1ull << 53 | 1;
        const std::string text = halved(formatted("%llu", odd), int(random() % 11));
        expect_nearest(text);
        expect_nearest(text + "0000000001");
        expect_nearest(text + "e-5");
    }
}

TEST(FbxDecimal, DamagedExportsNameWhatIsNotFinite)
{
    for (const std::string text : {"inf", "-Infinity", "1.#INF", "-1.#INF00"})
        EXPECT_EQ(real_of(text), text[0] == '-' ? -infinity : infinity);
    for (const std::string text : {"nan", "-nan", "1.#QNAN", "-1.#IND"})
        EXPECT_TRUE(std::isnan(real_of(text))) << text;
    double value = 0.0;
    for (const std::string text : {"", "-", "+-1", ".", "1e", "1e+", "e5", "x", "1.#X"})
        EXPECT_EQ(read_real(text.data(), text.data() + text.size(), value), nullptr) << text;
}

// C libraries take quadratic time here, so none is the judge.
TEST(FbxDecimal, MillionsOfDigits)
{
    const std::string zeros(2000000, '0'), sevens(2000000, '7');
    EXPECT_EQ(real_of(sevens), infinity);
    EXPECT_EQ(real_of(sevens + "e-1999999"), 70.0 / 9);
    EXPECT_EQ(real_of("0." + zeros + "7e2000001"), 7.0);
    EXPECT_EQ(real_of("0." + std::string(2000000, '3')), 1.0 / 3);
    EXPECT_EQ(real_of(zeros + "1.5"), 1.5);
    // Between two doubles, and a digit that takes it off the middle.
    EXPECT_EQ(real_of("9007199254740993." + zeros), 9007199254740992.0);
    EXPECT_EQ(real_of("9007199254740993." + zeros + "1"), 9007199254740994.0);
    // The middle between 0 and the least double has some 750 digits behind its zeros.
    const std::string middle = halved("1", 1075);
    EXPECT_EQ(real_of(middle + zeros), 0.0);
    EXPECT_EQ(real_of(middle + zeros + "1"), std::numeric_limits<double>::denorm_min());
}

TEST(FbxDecimal, IntegersAreExactAndStopAtTheirLimits)
{
    const std::pair<std::string, std::int64_t> rows[] = {{"9223372036854775807", INT64_MAX},
                                                         {"-9223372036854775808", INT64_MIN},
                                                         {"9223372036854775808", INT64_MAX},
                                                         {"-99999999999999999999999", INT64_MIN},
                                                         {"9007199254740993", 9007199254740993},
                                                         {"+000000000000000000000012", 12},
                                                         {"1.9", 1},
                                                         {"-1.9e1", -19},
                                                         {"1e30", INT64_MAX},
                                                         {"nan", 0}};
    for (const auto &[text, integer] : rows)
    {
        std::int64_t value = -7;
        const char *const end = text.data() + text.size();
        EXPECT_EQ(read_integer(text.data(), end, value), end) << text;
        EXPECT_EQ(value, integer) << text;
    }
}
