#include "files/fbx/sine.h"

#include <cmath>

namespace vesk_fbx
{
namespace
{
constexpr double radians_per_degree = 0.017453292519943295;
constexpr double quarters_per_radian = 0.63661977236758134;

// A quarter turn in three parts. The first two have 33 bits each, so that a few times either is
// exact; together they hold pi / 2 to 118 bits.
constexpr double quarter_high = 0x1.921fb544p+0;
constexpr double quarter_middle = 0x1.0b4611a6p-34;
constexpr double quarter_low = 0x1.3198a2e037073p-69;

// Taylor's series: below pi / 4 the first term left out is under 1e-19 of the result.
double sine_series(double x, double x_low)
{
    const double z = x * x;
    const double tail =
        z * (-1.0 / 6 +
             z * (1.0 / 120 +
                  z * (-1.0 / 5040 +
                       z * (1.0 / 362880 +
                            z * (-1.0 / 39916800 +
                                 z * (1.0 / 6227020800 + z * (-1.0 / 1307674368000 +
                                                              z * (1.0 / 355687428096000))))))));
    return x + (x * tail + x_low);
}

double cosine_series(double x, double x_low)
{
    const double z = x * x;
    const double tail =
        z * z *
        (1.0 / 24 +
         z * (-1.0 / 720 +
              z * (1.0 / 40320 + z * (-1.0 / 3628800 +
                                      z * (1.0 / 479001600 + z * (-1.0 / 87178291200 +
                                                                  z * (1.0 / 20922789888000)))))));
    // 1 - z / 2, with what its rounding takes away given back.
    const double half = 0.5 * z;
    const double head = 1.0 - half;
    return head + ((1.0 - head - half) + (tail - x * x_low));
}
} // namespace

sine_cosine sine_cosine_of_degrees(double degrees)
{
    if (!(std::fabs(degrees) <= 360.0))
        degrees = std::fmod(degrees, 360.0); // exact
    const double angle = degrees * radians_per_degree;

    const double quarters = std::nearbyint(angle * quarters_per_radian);
    if (!(quarters == quarters))
        return {quarters, quarters};

    // What is left of the angle, as a sum of two doubles.
    const double rough = angle - quarters * quarter_high; // exact
    const double middle = quarters * quarter_middle;
    const double low = quarters * quarter_low;
    const double finer = rough - middle;
    const double lost = (rough - finer) - middle;
    const double x = finer + (lost - low);
    const double x_low = (finer - x) + (lost - low);

    const double s = sine_series(x, x_low);
    const double c = cosine_series(x, x_low);
    switch (static_cast<int>(quarters) & 3)
    {
    case 0:
        return {s, c};
    case 1:
        return {c, -s};
    case 2:
        return {-s, -c};
    default:
        return {-c, s};
    }
}
} // namespace vesk_fbx
