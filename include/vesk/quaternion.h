#pragma once

#include "vesk/export.h"
#include "vesk/matrix.h"
#include "vesk/vector.h"

/// @file
/// Quaternions and their blends.
///
/// Arithmetic is float, each product and sum rounds to float, and sums run in the order that the
/// operation names, else in component order. Sine, cosine, arc cosine and root are taken in double
/// on the widened float and rounded back. Nothing here fails or allocates. Angles of this family
/// are in degrees.

/// A rotation, when it is of length 1. The default is the identity.
class VESK_KIT vesk_quaternion
{
public:
    float x; ///< component 0
    float y; ///< component 1
    float z; ///< component 2
    float w; ///< component 3, the scalar part

    /// The identity (0, 0, 0, 1).
    vesk_quaternion();
    /// The quaternion of the given components, the scalar part last.
    vesk_quaternion(float new_x, float new_y, float new_z, float new_w);
    /// The rotation of `set_axis`.
    vesk_quaternion(float degrees, const vesk_vector3 &axis);
    /// A copy.
    vesk_quaternion(const vesk_quaternion &other);
    /// Copies the four components.
    vesk_quaternion &operator=(const vesk_quaternion &other);

    /// The Hamilton product `this * other`. As `to_matrix` and row vectors see it, this turns
    /// first and `other` after it.
    vesk_quaternion operator*(const vesk_quaternion &other) const;
    /// All four components multiplied by the scalar.
    vesk_quaternion operator*(float scalar) const;
    /// Component by component.
    vesk_quaternion operator+(const vesk_quaternion &other) const;
    /// 1 when all components compare equal, exactly; else 0. A NaN equals nothing, and a
    /// quaternion does not equal its negative, which stands for the same rotation.
    int operator==(const vesk_quaternion &other) const;

    /// Sum of the four products.
    float dot(const vesk_quaternion &other) const;

    /// Becomes the identity.
    void reset();
    /// Becomes the rotation of `degrees` about an axis of unit length. The axis is not normalised:
    /// any other length gives a quaternion that is not of unit length.
    void set_axis(float degrees, float axis_x, float axis_y, float axis_z);
    /// Flips the sign of all four components: the same rotation, not the opposite one.
    void invert();
    /// 1 when x, y and z compare equal to 0.0f and w to 1.0f, exactly; else 0.
    int is_identity() const;
    /// Becomes the rotation first about X, then Y, then Z by the given degrees, each right-handed
    /// as `to_matrix` and row vectors see it.
    void from_euler(float x_degrees, float y_degrees, float z_degrees);
    /// Scales to length 1 by one reciprocal of the length.
    ///
    /// @return 1; 0 when the sum of squares is 1.0f exactly, -1 when it is 0.0f, and the
    /// quaternion is then as it was
    int normalize();

    /// Becomes the shortest rotation that takes the Z axis to `direction`, of any length.
    ///
    /// With d the normalised direction it is (`d.y`, `-d.x`, 0, `d.z + 1`) made of unit length, so
    /// that `vesk_vector3(0, 0, 1) * matrix` is d for the matrix of `to_matrix`. The direction
    /// opposite to Z gives half a turn about Y, (0, 1, 0, 0); a zero direction, or one whose
    /// length is NaN or overflows, gives the identity. The rounding of `d.z + 1` leaves an error
    /// that grows towards the opposite direction: below 5e-6 radians as far as 0.03 radians from
    /// it, up to 5e-4 closer by. One that misses it by less than about 1e-22 is not made of unit
    /// length.
    void aim_z_axis(const vesk_vector3 &direction);
    /// `aim_z_axis(to - from)`.
    void aim_z_axis(const vesk_vector3 &from, const vesk_vector3 &to);

    /// Writes to `out` the matrix that rotates row vectors (`vesk_vector3 * vesk_matrix33`), with
    /// the sense of rotation of `from_euler`; `set_axis` turns left-handed there, and right-handed
    /// as `vesk_matrix33 * vesk_vector3`. The quaternion is not normalised first.
    void to_matrix(vesk_matrix33 &out) const;
};

/// Spherical blend of unit quaternions into `out`, which may be `a` or `b`.
///
/// There is no shortest-path rule: a negative dot product takes the long way. Where the sine of
/// the angle between them is not above 0.001f, NaN included, the weights are `1.0f - t` and `t`.
/// Nothing is clamped or normalised: opposite quaternions give all zero half way.
VESK_API void vesk_quat_slerp(const vesk_quaternion &a, const vesk_quaternion &b, float t,
                              vesk_quaternion &out);
/// Normalised linear blend into `out`, which may be `a` or `b`.
///
/// There is no shortest-path rule and `t` is not clamped. A blend of no length stays as it is:
/// all zero half way between opposite quaternions.
VESK_KIT void vesk_quat_nlerp(const vesk_quaternion &a, const vesk_quaternion &b, float t,
                              vesk_quaternion &out);

static_assert(sizeof(vesk_quaternion) == 16, "a quaternion is its floats");

#if !defined(VESK_NO_INLINE)
#include "vesk/inline/quaternion.inl"
#endif
