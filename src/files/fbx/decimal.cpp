#include "files/fbx/decimal.h"

#include "files/fbx/byte_order.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>
#include <system_error>

namespace vesk_fbx
{
namespace
{
constexpr int max_power = 27;  ///< 5^27 is the last power of five below 2^63
constexpr int max_digits = 19; ///< any 19 digits fit 64 bits

/// value = high * 2^64 + low
struct wide_integer
{
    std::uint64_t high;
    std::uint64_t low;
};

/// 5^k, and 2^(128 + b) / 5^k rounded up, where b is the bit length of 5^k less one: so the
/// reciprocal fills 128 bits. For k = 0 it is not used.
struct power_of_five
{
    std::uint64_t value;
    wide_integer reciprocal;
    int reciprocal_bits; ///< 128 + b
};

struct power_table
{
    power_of_five of[max_power + 1];
};

constexpr power_table make_power_table()
{
    power_table table{};
    std::uint64_t five = 1;
    for (int k = 0; k <= max_power; ++k, five *= 5)
    {
        int bits = 128;
        for (std::uint64_t rest = five; rest > 1; rest >>= 1)
            ++bits;
        wide_integer quotient{0, 0};
        std::uint64_t remainder = 1; // long division of a one and `bits` zeros, bit by bit
        for (int i = 0; i < bits; ++i)
        {
            remainder <<= 1;
            quotient.high = quotient.high << 1 | quotient.low >> 63;
            quotient.low <<= 1;
            if (remainder >= five)
            {
                remainder -= five;
                quotient.low |= 1;
            }
        }
        quotient.low += 1; // never exact for k > 0, and never all ones
        table.of[k] = {five, quotient, bits};
    }
    return table;
}

constexpr power_table powers = make_power_table();

wide_integer multiply(std::uint64_t a, std::uint64_t b)
{
#if defined(__SIZEOF_INT128__)
    __extension__ using uint128 = unsigned __int128;
    const uint128 product = static_cast<uint128>(a) * b;
    return {static_cast<std::uint64_t>(product >> 64), static_cast<std::uint64_t>(product)};
#else
    const std::uint64_t a_low = a & 0xffffffffu, a_high = a >> 32;
    const std::uint64_t b_low = b & 0xffffffffu, b_high = b >> 32;
    const std::uint64_t low = a_low * b_low;
    const std::uint64_t middle = a_high * b_low + (low >> 32);
    const std::uint64_t middle2 = a_low * b_high + (middle & 0xffffffffu);
    return {a_high * b_high + (middle >> 32) + (middle2 >> 32),
            middle2 << 32 | (low & 0xffffffffu)};
#endif
}

int leading_zeros(std::uint64_t value)
{
    return __builtin_clzll(value);
}

wide_integer shift_left(wide_integer v, int bits)
{
    if (bits >= 64)
        return {v.low << (bits - 64), 0};
    if (bits == 0)
        return v;
    return {v.high << bits | v.low >> (64 - bits), v.low << bits};
}

/// The double nearest to v * 2^exponent, ties to even. `v` is not 0 and the result is far from
/// the limits of the exponent.
double round_to_double(wide_integer v, int exponent)
{
    const int shift = v.high != 0 ? leading_zeros(v.high) : 64 + leading_zeros(v.low);
    v = shift_left(v, shift);
    exponent -= shift;

    // Bits 127..75 are the mantissa, bit 74 is worth half of its last place.
    std::uint64_t mantissa = v.high >> 11;
    const std::uint64_t half = std::uint64_t{1} << 10;
    const std::uint64_t rest = v.high & (half * 2 - 1);
    if (rest > half || (rest == half && (v.low != 0 || (mantissa & 1) != 0)))
        ++mantissa;
    // The mantissa's leading one adds one to the exponent field; so does a carry out of it.
    const std::uint64_t field = static_cast<std::uint64_t>(exponent + 75 + 52 + 1023 - 1);
    const std::uint64_t bits = (field << 52) + mantissa;
    double result;
    std::memcpy(&result, &bits, sizeof(result));
    return result;
}

/// digits * 10^power for a power of at most 27 either way, correctly rounded.
///
/// Upwards the product is exact. Downwards the product with a reciprocal of 128 bits, cut to its
/// upper 128 bits, is at least floor(q) and at most floor(q) + 1 for the scaled quotient q, and
/// equals q where q is whole. A quotient halfway between two doubles is whole; any other is away
/// from halfway by more than 2^-118 of itself, since 5^27 has 63 bits and the digits 64, and that
/// is more than 2^7 here. So the cut product always falls on the right side.
double scale(std::uint64_t digits, int power)
{
    if (digits == 0)
        return 0.0;
    if (power >= 0)
        return round_to_double(multiply(digits, powers.of[power].value), power);

    const power_of_five &five = powers.of[-power];
    const int shift = leading_zeros(digits);
    const std::uint64_t top = digits << shift;
    wide_integer product = multiply(top, five.reciprocal.high);
    const std::uint64_t carry = multiply(top, five.reciprocal.low).high;
    product.low += carry;
    if (product.low < carry)
        ++product.high;
    return round_to_double(product, power - shift - (five.reciprocal_bits - 64));
}

bool is_digit(char c)
{
    return static_cast<unsigned char>(c - '0') < 10;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Reads digits one by one; `digits` wraps when they are too many, as in `read_many_digits`.
inline const char *read_digits(const char *p, const char *end, std::uint64_t &digits)
{
    for (; p != end && is_digit(*p); ++p)
        digits = digits * 10 + static_cast<std::uint64_t>(*p - '0');
    return p;
}

/// The same for a fraction, which in most files has fifteen digits or more: eight at a time, while
/// there are so many.
inline const char *read_many_digits(const char *p, const char *end, std::uint64_t &digits)
{
    while (!host_is_big_endian && end - p >= 8)
    {
        std::uint64_t chunk;
        std::memcpy(&chunk, p, sizeof(chunk));
        chunk ^= 0x3030303030303030u; // a digit becomes its value, anything else at least 10
        if (((chunk | (chunk + 0x0606060606060606u)) & 0xf0f0f0f0f0f0f0f0u) != 0)
            break;
        // Pairs, then fours, then all eight; the first digit stands in the lowest byte.
        chunk = chunk * 10 + (chunk >> 8);
        chunk = ((chunk & 0x000000ff000000ffu) * 0x000f424000000064u +
                 ((chunk >> 16) & 0x000000ff000000ffu) * 0x0000271000000001u) >>
                32;
        digits = digits * 100000000 + chunk;
        p += 8;
    }
    return read_digits(p, end, digits);
}

const char *skip_zeros(const char *p, const char *end)
{
    while (p != end && *p == '0')
        ++p;
    return p;
}

bool starts_with(const char *p, const char *end, const char *word)
{
    for (; *word != '\0'; ++p, ++word)
        if (p == end || lower(*p) != *word)
            return false;
    return true;
}

/// `inf`, `infinity`, `nan`, and what follows the `#` of `1.#INF00`; null when it is none of them.
const char *read_special(const char *p, const char *end, bool negative, double &out)
{
    static constexpr struct
    {
        const char *word;
        bool infinite;
    } spellings[] = {
        {"inf", true}, {"ind", false}, {"nan", false}, {"qnan", false}, {"snan", false}};
    for (const auto &spelling : spellings)
    {
        if (!starts_with(p, end, spelling.word))
            continue;
        const double value = spelling.infinite ? std::numeric_limits<double>::infinity()
                                               : std::numeric_limits<double>::quiet_NaN();
        out = negative ? -value : value;
        while (p != end && (is_digit(*p) || (lower(*p) >= 'a' && lower(*p) <= 'z')))
            ++p;
        return p;
    }
    return nullptr;
}

/// The decimal parts of a number: digits * 10^exponent.
struct decimal
{
    std::uint64_t digits = 0;     ///< meaningless when there are more than `max_digits`
    std::int64_t digit_count = 0; ///< without leading zeros
    std::int64_t exponent = 0;
};

/// Reads the exponent behind `e`; null when it has no digits.
const char *read_exponent(const char *p, const char *end, std::int64_t &exponent)
{
    const bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    if (p == end || !is_digit(*p))
        return nullptr;
    // Far beyond what any count of digits in a file can make up for.
    constexpr std::int64_t limit = std::int64_t{1} << 56;
    std::int64_t value = 0;
    for (; p != end && is_digit(*p); ++p)
        value = value < limit ? value * 10 + (*p - '0') : limit;
    exponent += negative ? -value : value;
    return p;
}

/// Unsigned digits with point and exponent; null when there are no digits.
const char *read_decimal(const char *p, const char *end, decimal &out)
{
    const char *const begin = p;
    const char *first = skip_zeros(p, end);
    p = read_digits(first, end, out.digits);
    out.digit_count = p - first;
    bool any = p != begin;
    if (p != end && *p == '.')
    {
        const char *const fraction = ++p;
        first = out.digit_count == 0 ? skip_zeros(p, end) : p;
        p = read_many_digits(first, end, out.digits);
        out.digit_count += p - first;
        out.exponent = fraction - p;
        any = any || p != fraction;
    }
    if (!any)
        return nullptr;
    if (p != end && (*p == 'e' || *p == 'E'))
        return read_exponent(p + 1, end, out.exponent);
    return p;
}

// No double, and no middle between two, has more digits than 768: further ones only tell whether
// there is anything behind.
constexpr int telling_digits = 768;

/// A number of any length, cut to `telling_digits` and, where others follow, a 1 for all of them.
class short_spelling
{
public:
    short_spelling(const char *p, const char *end, const decimal &number)
    {
        for (; p != end && *p != 'e' && *p != 'E'; ++p)
            if (*p != '.')
                add_digit(*p);
        const std::int64_t exponent = number.exponent + number.digit_count - (m_end - m_text);
        *m_end++ = 'e';
        // Far beyond the range of doubles is as good as farther.
        m_end = std::to_chars(m_end, std::end(m_text),
                              std::min<std::int64_t>(std::max<std::int64_t>(exponent, -9999), 9999))
                    .ptr;
    }
    const char *begin() const
    {
        return m_text;
    }
    const char *end() const
    {
        return m_end;
    }

private:
    void add_digit(char digit)
    {
        const auto count = m_end - m_text;
        if (count < telling_digits && (count > 0 || digit != '0'))
            *m_end++ = digit;
        else if (count == telling_digits && digit != '0')
            *m_end++ = '1';
    }

    char m_text[telling_digits + 16];
    char *m_end = m_text;
};

double convert_short(const char *begin, const char *end, const decimal &number)
{
    double value = 0;
    const std::from_chars_result r = std::from_chars(begin, end, value);
    if (r.ec == std::errc::result_out_of_range)
        return number.digit_count + number.exponent > 0 ? std::numeric_limits<double>::infinity()
                                                        : 0.0;
    return value;
}

/// The general case, for which the standard library has what it takes (libstdc++ from 11 on, and
/// without a locale from 12 on; libc++ only from 20 on). It is not asked to be fast, so it never
/// sees more than some hundred digits.
double convert_slowly(const char *begin, const char *end, const decimal &number)
{
    if (end - begin <= telling_digits)
        return convert_short(begin, end, number);
    const short_spelling spelling(begin, end, number);
    return convert_short(spelling.begin(), spelling.end(), number);
}
} // namespace

const char *read_real(const char *p, const char *end, double &out)
{
    const bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    decimal number;
    const char *behind = read_decimal(p, end, number);
    if (behind == nullptr)
        return read_special(p, end, negative, out);
    if (behind != end && *behind == '#')
        return read_special(behind + 1, end, negative, out);

    double value;
    if (number.digit_count == 0)
        value = 0.0;
    else if (number.digit_count <= max_digits && number.exponent >= -max_power &&
             number.exponent <= max_power)
        value = scale(number.digits, static_cast<int>(number.exponent));
    else
        value = convert_slowly(p, behind, number);
    out = negative ? -value : value;
    return behind;
}

const char *read_integer(const char *p, const char *end, std::int64_t &out)
{
    const char *const begin = p;
    const bool negative = p != end && *p == '-';
    if (p != end && (*p == '-' || *p == '+'))
        ++p;
    const char *const first = skip_zeros(p, end);
    std::uint64_t digits = 0;
    const char *behind = first;
    for (; behind != end && is_digit(*behind); ++behind)
        digits = digits * 10 + static_cast<std::uint64_t>(*behind - '0');

    const char next = behind != end ? *behind : '\0';
    if (behind == p || next == '.' || next == 'e' || next == 'E' || next == '#')
    {
        double value;
        behind = read_real(begin, end, value);
        if (behind != nullptr)
            out = to_integer(value);
        return behind;
    }
    const std::uint64_t limit = static_cast<std::uint64_t>(INT64_MAX) + (negative ? 1 : 0);
    if (behind - first > max_digits || digits > limit)
        digits = limit;
    out = static_cast<std::int64_t>(negative ? 0 - digits : digits);
    return behind;
}

std::int64_t to_integer(double value)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (value >= limit)
        return INT64_MAX;
    if (value <= -limit)
        return INT64_MIN;
    return value == value ? static_cast<std::int64_t>(value) : 0;
}
} // namespace vesk_fbx
