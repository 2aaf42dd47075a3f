#pragma once

#include "vesk/export.h"

#include <cmath>

/// @file
/// Vectors of two, three and four floats and the functions on them.
///
/// Values are floats, every product and sum rounds to float, and sums run in component order,
/// unless an operation says otherwise. Roots and trigonometry are taken in double on the widened
/// float and rounded back. Nothing here fails or allocates: bad input gives an IEEE result or
/// the zero result that the operation names. Angles are in radians.

class vesk_vector3;
class vesk_vector4;

/// @def VESK_MEMBER_COMPARISON
/// 1 when the vectors' member comparisons are declared, else 0.
///
/// Under C++20 a compiler also tries `b == a` for `a == b`, which makes non-const member
/// comparisons ambiguous with the free ones; the free ones alone serve such hosts.
#if defined(__cpp_impl_three_way_comparison)
#define VESK_MEMBER_COMPARISON 0
#else
#define VESK_MEMBER_COMPARISON 1
#endif

/// A vector of two floats: UV coordinates, texel positions, directions of the plane.
///
/// Component i is the i-th float of the object, so an array of vectors is an array of floats.
class VESK_KIT vesk_vector2
{
public:
    float x; ///< component 0
    float y; ///< component 1

    /// The zero vector.
    vesk_vector2();
    /// The vector of the given components.
    vesk_vector2(float new_x, float new_y);
    /// A copy.
    vesk_vector2(const vesk_vector2 &other);
    /// Copies all components.
    vesk_vector2 &operator=(const vesk_vector2 &other);

    /// Component `i`, which is below 2; no range check.
    float &operator[](unsigned int i);
    /// @copydoc operator[](unsigned int)
    const float &operator[](unsigned int i) const;

    /// Adds in place.
    vesk_vector2 &operator+=(const vesk_vector2 &other);
    /// Subtracts in place.
    vesk_vector2 &operator-=(const vesk_vector2 &other);
    /// Multiplies each component in place.
    vesk_vector2 &operator*=(float scalar);
    /// Divides each component in place: true division, no check for zero.
    vesk_vector2 &operator/=(float scalar);

    /// Flips the sign bit of each component.
    vesk_vector2 operator-();
    /// `this + other`.
    vesk_vector2 operator+(const vesk_vector2 &other);
    /// `this - other`.
    vesk_vector2 operator-(const vesk_vector2 &other);
    /// Each component multiplied by the scalar.
    vesk_vector2 operator*(float scalar);
    /// Each component divided by the scalar: true division, no check for zero.
    vesk_vector2 operator/(float scalar);
#if VESK_MEMBER_COMPARISON
    /// 1 when all components compare equal, exactly; else 0. A NaN equals nothing.
    int operator==(const vesk_vector2 &other);
    /// The negation of `==`.
    int operator!=(const vesk_vector2 &other);
#endif

    /// Square root of `get_length_squared`, taken in double and rounded to float.
    float get_length() const;
    /// Sum of the squares in component order, each step rounded to float.
    float get_length_squared() const;
    /// 1 when each component compares equal to 0.0f, -0.0f included; else 0.
    int is_zero() const;
    /// Divides by the length in place. When the length is not above 0.0f, NaN included, the
    /// result is the zero vector. Squares that underflow count as no length, and those that
    /// overflow give zeros too: a finite component divided by infinity.
    vesk_vector2 &normalize();

    /// Angle from the positive x axis towards the positive y axis, in radians from 0 to 2 pi;
    /// 0 for the zero vector.
    float get_angle() const;
    /// Becomes the unit vector of that direction, in radians. An angle above 2 pi is reduced by
    /// `fmod`, a negative one is taken as it comes, and 2 pi itself leaves the vector as it was.
    void set_angle(float radians);
    /// Turns the vector from x towards y by `radians`; the length stays.
    void rotate_angle(float radians);
};

/// A vector of three floats: positions, directions, normals, rows of `vesk_matrix33`.
///
/// Component i is the i-th float of the object, so an array of vectors is an array of floats.
class VESK_KIT vesk_vector3
{
public:
    float x; ///< component 0
    float y; ///< component 1
    float z; ///< component 2

    /// The zero vector.
    vesk_vector3();
    /// The vector of the given components.
    vesk_vector3(float new_x, float new_y, float new_z);
    /// A copy.
    vesk_vector3(const vesk_vector3 &other);
    /// Copies all components.
    vesk_vector3 &operator=(const vesk_vector3 &other);
    /// Copies x, y, z and ignores w.
    vesk_vector3 &operator=(const vesk_vector4 &other);

    /// Component `i`, which is below 3; no range check.
    float &operator[](unsigned int i);
    /// @copydoc operator[](unsigned int)
    const float &operator[](unsigned int i) const;

    /// Adds in place.
    vesk_vector3 &operator+=(const vesk_vector3 &other);
    /// Subtracts in place.
    vesk_vector3 &operator-=(const vesk_vector3 &other);
    /// Multiplies each component in place.
    vesk_vector3 &operator*=(float scalar);
    /// Divides each component in place: true division, no check for zero.
    vesk_vector3 &operator/=(float scalar);

    /// Flips the sign bit of each component.
    vesk_vector3 operator-();
    /// `this + other`.
    vesk_vector3 operator+(const vesk_vector3 &other);
    /// `this - other`.
    vesk_vector3 operator-(const vesk_vector3 &other);
    /// Each component multiplied by the scalar.
    vesk_vector3 operator*(float scalar);
    /// Each component divided by the scalar: true division, no check for zero.
    vesk_vector3 operator/(float scalar);
#if VESK_MEMBER_COMPARISON
    /// 1 when all components compare equal, exactly; else 0. A NaN equals nothing.
    int operator==(const vesk_vector3 &other);
    /// The negation of `==`.
    int operator!=(const vesk_vector3 &other);
#endif

    /// Square root of `get_length_squared`, taken in double and rounded to float.
    float get_length() const;
    /// Sum of the squares in component order, each step rounded to float.
    float get_length_squared() const;
    /// 1 when each component compares equal to 0.0f, -0.0f included; else 0.
    int is_zero() const;
    /// Divides by the length in place. When the length is not above 0.0f, NaN included, the
    /// result is the zero vector. Squares that underflow count as no length, and those that
    /// overflow give zeros too: a finite component divided by infinity.
    vesk_vector3 &normalize();
};

/// A vector of four floats: homogeneous points, rows of `vesk_matrix44`.
///
/// Component i is the i-th float of the object, so an array of vectors is an array of floats.
class VESK_KIT vesk_vector4
{
public:
    float x; ///< component 0
    float y; ///< component 1
    float z; ///< component 2
    float w; ///< component 3

    /// The zero vector.
    vesk_vector4();
    /// The vector of the given components.
    vesk_vector4(float new_x, float new_y, float new_z, float new_w);
    /// A copy.
    vesk_vector4(const vesk_vector4 &other);
    /// Copies all components.
    vesk_vector4 &operator=(const vesk_vector4 &other);
    /// Copies x, y, z and sets w to 0.0f.
    vesk_vector4 &operator=(const vesk_vector3 &other);

    /// Component `i`, which is below 4; no range check.
    float &operator[](unsigned int i);
    /// @copydoc operator[](unsigned int)
    const float &operator[](unsigned int i) const;

    /// Adds in place.
    vesk_vector4 &operator+=(const vesk_vector4 &other);
    /// Subtracts in place.
    vesk_vector4 &operator-=(const vesk_vector4 &other);
    /// Multiplies each component in place.
    vesk_vector4 &operator*=(float scalar);
    /// Divides each component in place: true division, no check for zero.
    vesk_vector4 &operator/=(float scalar);

    /// Flips the sign bit of each component.
    vesk_vector4 operator-();
    /// `this + other`.
    vesk_vector4 operator+(const vesk_vector4 &other);
    /// `this - other`.
    vesk_vector4 operator-(const vesk_vector4 &other);
    /// Each component multiplied by the scalar.
    vesk_vector4 operator*(float scalar);
    /// Each component divided by the scalar: true division, no check for zero.
    vesk_vector4 operator/(float scalar);
#if VESK_MEMBER_COMPARISON
    /// 1 when all components compare equal, exactly; else 0. A NaN equals nothing.
    int operator==(const vesk_vector4 &other);
    /// The negation of `==`.
    int operator!=(const vesk_vector4 &other);
#endif

    /// Square root of `get_length_squared`, taken in double and rounded to float.
    float get_length() const;
    /// Sum of the squares in component order, each step rounded to float.
    float get_length_squared() const;
    /// 1 when each component compares equal to 0.0f, -0.0f included; else 0.
    int is_zero() const;
    /// Scales to length 1 in place, by one reciprocal of the length. When the length is not
    /// above 0.0f, NaN included, each component is multiplied by 0.0f, and so it is when squares
    /// overflow.
    vesk_vector4 &normalize();
};

/// 1 when all components compare equal, exactly; else 0. A NaN equals nothing.
VESK_KIT int operator==(const vesk_vector2 &a, const vesk_vector2 &b);
/// The negation of `==`.
VESK_KIT int operator!=(const vesk_vector2 &a, const vesk_vector2 &b);
/// Flips the sign bit of each component.
VESK_KIT vesk_vector2 operator-(const vesk_vector2 &v);
/// Component by component.
VESK_KIT vesk_vector2 operator+(const vesk_vector2 &a, const vesk_vector2 &b);
/// Component by component, `a - b`.
VESK_KIT vesk_vector2 operator-(const vesk_vector2 &a, const vesk_vector2 &b);
/// Each component multiplied by the scalar.
VESK_KIT vesk_vector2 operator*(const vesk_vector2 &v, float scalar);
/// Each component multiplied by the scalar.
VESK_KIT vesk_vector2 operator*(float scalar, const vesk_vector2 &v);
/// Each component divided by the scalar: true division, no check for zero.
VESK_KIT vesk_vector2 operator/(const vesk_vector2 &v, float scalar);
/// The unit vector of `v`, formed as by the member `normalize`.
VESK_KIT vesk_vector2 vesk_vec_normalize(const vesk_vector2 &v);
/// `v - (2.0f * normal) * d` with d the float dot product: the mirror image for a unit normal.
VESK_KIT vesk_vector2 vesk_vec_reflect(const vesk_vector2 &v, const vesk_vector2 &normal);
/// Sum of the products in component order, evaluated in double and rounded to float once.
VESK_KIT float vesk_vec_dot_product(const vesk_vector2 &a, const vesk_vector2 &b);
/// 1 when `tolerance` squared is strictly greater than the squared length of `a - b`, else 0:
/// a Euclidean distance. A tolerance of 0.0f never gives 1, and neither does a NaN.
VESK_KIT int vesk_vec_nearly_equal(const vesk_vector2 &a, const vesk_vector2 &b, float tolerance);
/// Length of `a - b`.
VESK_KIT float vesk_vec_distance(const vesk_vector2 &a, const vesk_vector2 &b);
/// The rounded `vesk_vec_distance` multiplied by itself, not the sum of squares.
VESK_KIT float vesk_vec_distance_squared(const vesk_vector2 &a, const vesk_vector2 &b);
/// `(1.0f - t) * a + t * b` in float; `t` is not clamped.
VESK_KIT vesk_vector2 vesk_vec_lerp(const vesk_vector2 &a, const vesk_vector2 &b, float t);

/// 1 when all components compare equal, exactly; else 0. A NaN equals nothing.
VESK_KIT int operator==(const vesk_vector3 &a, const vesk_vector3 &b);
/// The negation of `==`.
VESK_KIT int operator!=(const vesk_vector3 &a, const vesk_vector3 &b);
/// Flips the sign bit of each component.
VESK_KIT vesk_vector3 operator-(const vesk_vector3 &v);
/// Component by component.
VESK_KIT vesk_vector3 operator+(const vesk_vector3 &a, const vesk_vector3 &b);
/// Component by component, `a - b`.
VESK_KIT vesk_vector3 operator-(const vesk_vector3 &a, const vesk_vector3 &b);
/// Each component multiplied by the scalar.
VESK_KIT vesk_vector3 operator*(const vesk_vector3 &v, float scalar);
/// Each component multiplied by the scalar.
VESK_KIT vesk_vector3 operator*(float scalar, const vesk_vector3 &v);
/// Each component divided by the scalar: true division, no check for zero.
VESK_KIT vesk_vector3 operator/(const vesk_vector3 &v, float scalar);
/// The unit vector of `v`, formed as by the member `normalize`.
VESK_KIT vesk_vector3 vesk_vec_normalize(const vesk_vector3 &v);
/// `v - (2.0f * normal) * d` with d the float dot product: the mirror image for a unit normal.
VESK_KIT vesk_vector3 vesk_vec_reflect(const vesk_vector3 &v, const vesk_vector3 &normal);
/// Sum of the products in component order, evaluated in double and rounded to float once.
VESK_KIT float vesk_vec_dot_product(const vesk_vector3 &a, const vesk_vector3 &b);
/// 1 when `tolerance` squared is strictly greater than the squared length of `a - b`, else 0:
/// a Euclidean distance. A tolerance of 0.0f never gives 1, and neither does a NaN.
VESK_KIT int vesk_vec_nearly_equal(const vesk_vector3 &a, const vesk_vector3 &b, float tolerance);
/// Length of `a - b`.
VESK_KIT float vesk_vec_distance(const vesk_vector3 &a, const vesk_vector3 &b);
/// The rounded `vesk_vec_distance` multiplied by itself, not the sum of squares.
VESK_KIT float vesk_vec_distance_squared(const vesk_vector3 &a, const vesk_vector3 &b);
/// `(1.0f - t) * a + t * b` in float; `t` is not clamped.
VESK_KIT vesk_vector3 vesk_vec_lerp(const vesk_vector3 &a, const vesk_vector3 &b, float t);

/// 1 when all components compare equal, exactly; else 0. A NaN equals nothing.
VESK_KIT int operator==(const vesk_vector4 &a, const vesk_vector4 &b);
/// The negation of `==`.
VESK_KIT int operator!=(const vesk_vector4 &a, const vesk_vector4 &b);
/// Flips the sign bit of each component.
VESK_KIT vesk_vector4 operator-(const vesk_vector4 &v);
/// Component by component.
VESK_KIT vesk_vector4 operator+(const vesk_vector4 &a, const vesk_vector4 &b);
/// Component by component, `a - b`.
VESK_KIT vesk_vector4 operator-(const vesk_vector4 &a, const vesk_vector4 &b);
/// Each component multiplied by the scalar.
VESK_KIT vesk_vector4 operator*(const vesk_vector4 &v, float scalar);
/// Each component multiplied by the scalar.
VESK_KIT vesk_vector4 operator*(float scalar, const vesk_vector4 &v);
/// Each component divided by the scalar: true division, no check for zero.
VESK_KIT vesk_vector4 operator/(const vesk_vector4 &v, float scalar);
/// The unit vector of `v`, formed as by the member `normalize`.
VESK_KIT vesk_vector4 vesk_vec_normalize(const vesk_vector4 &v);
/// `v - (2.0f * normal) * d` with d the float dot product: the mirror image for a unit normal.
VESK_KIT vesk_vector4 vesk_vec_reflect(const vesk_vector4 &v, const vesk_vector4 &normal);
/// Sum of the products in component order, each step rounded to float.
VESK_KIT float vesk_vec_dot_product(const vesk_vector4 &a, const vesk_vector4 &b);
/// 1 when `tolerance` squared is strictly greater than the squared length of `a - b`, else 0:
/// a Euclidean distance. A tolerance of 0.0f never gives 1, and neither does a NaN.
VESK_KIT int vesk_vec_nearly_equal(const vesk_vector4 &a, const vesk_vector4 &b, float tolerance);

/// The right-handed cross product, in float.
VESK_KIT vesk_vector3 vesk_vec_cross_product(const vesk_vector3 &a, const vesk_vector3 &b);
/// `a` dotted with the cross product of `b` and `c`; the dot is the one of
/// `vesk_vec_dot_product`.
VESK_KIT float vesk_vec_triple_product(const vesk_vector3 &a, const vesk_vector3 &b,
                                       const vesk_vector3 &c);
/// Spherical interpolation between unit vectors, which are not normalised here and whose dot
/// product is clamped to -1 and 1. Where the sine of their angle is below 1e-06 the result is
/// the normalised linear blend: the zero vector half way between opposite vectors.
VESK_API vesk_vector3 vesk_vec_slerp(const vesk_vector3 &a, const vesk_vector3 &b, float t);
/// The unit normal of a triangle, pointing at the side from which the corners run
/// counter-clockwise; the zero vector for a degenerate triangle.
VESK_KIT vesk_vector3 vesk_triangle_normal(const vesk_vector3 &p0, const vesk_vector3 &p1,
                                           const vesk_vector3 &p2);
/// Turns `point` about the line through the origin along `axis` by `angle` radians,
/// right-handed, and ADDS the result to `out`: pass a zero vector for the rotated point alone.
/// `axis` need not be of unit length. `out` may be `point` or `axis`.
VESK_API void vesk_rotate_point_around_axis(const vesk_vector3 &point, const vesk_vector3 &axis,
                                            float angle, vesk_vector3 &out);

static_assert(sizeof(vesk_vector2) == 8, "a vector is its floats");
static_assert(sizeof(vesk_vector3) == 12, "a vector is its floats");
static_assert(sizeof(vesk_vector4) == 16, "a vector is its floats");

#if !defined(VESK_NO_INLINE)
#include "vesk/inline/vector.inl"
#endif
