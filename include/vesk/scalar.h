#pragma once

#include "vesk/export.h"

#include <cmath>

/// @file
/// Free functions on plain numbers.
///
/// None of them allocates, keeps state or reports errors: bad input gives an IEEE result or the
/// result that the function names. Roots, powers and trigonometry widen their floats to double,
/// call the platform's function and round its result to float, so a domain error gives NaN.

/// `degrees` times 0.017453292f, without reduction of the angle.
VESK_KIT float vesk_degree_to_radian(float degrees);
/// Half the angle in radians, `degrees` times 0.008726646f: what a quaternion's sine and cosine
/// take.
VESK_KIT float vesk_degree_to_half_radian(float degrees);
/// `radians` times 57.29578f, without reduction of the angle.
VESK_KIT float vesk_radian_to_degree(float radians);

/// Square root; NaN below zero.
VESK_KIT float vesk_square_root(float x);
/// Sine of an angle in radians.
VESK_API float vesk_sine(float radians);
/// Cosine of an angle in radians.
VESK_API float vesk_cosine(float radians);
/// Arc cosine in radians, from 0 to pi; NaN for an `x` outside -1 to 1.
VESK_API float vesk_arccosine(float x);
/// Arc tangent in radians, from -pi/2 to pi/2.
VESK_API float vesk_arctangent(float x);
/// Angle of the point (`x`, `y`) in radians, from -pi to pi. `y` comes first.
VESK_API float vesk_arctangent2(float y, float x);
/// `base` to the power of `power`.
VESK_API float vesk_exponent(float base, float power);

/// Size of a whole number; the lowest `int` comes back as it is.
VESK_KIT int vesk_abs(int value);
/// `value` when it is at or above 0.0f, else `value * -1.0f`: -0.0f keeps its sign.
VESK_KIT float vesk_fabs(float value);

/// Remainder; 0 for a `divisor` of 0.
VESK_KIT unsigned long long vesk_mod(unsigned long long value, unsigned long long divisor);
/// Remainder; 0 for a `divisor` of 0.
VESK_KIT unsigned int vesk_mod(unsigned int value, unsigned int divisor);
/// Remainder with the sign of `value`, by `fmod` in double; 0.0f for a `divisor` of 0.0f or below.
VESK_API float vesk_mod(float value, float divisor);

/// 1 when `angle` lies between `low` and `high`, both included, else 0.
///
/// Where `high` is not above `low` the range runs through the wrap point: it holds what is at or
/// above `low` or at or below `high`, and every angle when both are equal. Nothing is reduced, so
/// any unit will do.
VESK_KIT int vesk_is_angle_in_range(float angle, float low, float high);
/// The shorter way round between two angles of 0 to 2 pi radians: from 0 to pi, in either order.
/// Angles outside that range are not reduced.
VESK_KIT float vesk_minimum_distance_between_angles(float a, float b);
/// Arc cosine of `cos(a) / cos(b)`, all in radians; both cosines and the quotient are floats. NaN
/// for a quotient outside -1 to 1.
VESK_API float vesk_maximize_angles(float a, float b);

/// `low` when it is above `value`, else `high` when that is below `value`, else `value`. A NaN
/// `value` comes back.
VESK_KIT float vesk_clamp(float value, float low, float high);
/// Where `value` lies between `low` and `high`, as a fraction of 0 to 1 and beyond: it is not
/// clamped. 1.0f when `low` equals `high`.
VESK_KIT float vesk_percentage(float value, float low, float high);

/// Nearest whole number, halves going up. 0 for negative values and NaN, the largest
/// `unsigned int` for values that it cannot hold.
VESK_API unsigned int vesk_round(float value);

#if !defined(VESK_NO_INLINE)
#include "vesk/inline/scalar.inl"
#endif
