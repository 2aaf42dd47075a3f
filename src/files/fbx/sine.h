#pragma once

namespace vesk_fbx
{
struct sine_cosine
{
    double sine;
    double cosine;
};

/// Sine and cosine of an angle in degrees, of ordinary accuracy (below one unit in the last
/// place), and the same bits on every platform. The library functions of the platforms differ in
/// last bits, which shows in a mesh where large terms cancel: a point that a half turn leaves
/// near zero.
///
/// The angle is turned into radians in double first, so that a half turn keeps the sine of the
/// double next to pi (1.2e-16) and not of pi. An angle that is not finite gives NaN.
sine_cosine sine_cosine_of_degrees(double degrees);
} // namespace vesk_fbx
