#pragma once

#include "vesk/export.h"
#include "vesk/vector.h"

/// @file
/// Matrices of 3x3 and 4x4 floats and the functions on them.
///
/// Storage is row-major, rows are vectors: the element of row i and column j is component j of
/// `m[i]`. All arithmetic is float, each product and sum rounds to float, and sums run in column
/// order. Nothing here fails or allocates: bad input gives an IEEE result or the result that the
/// operation names. Angles are in radians; sine and cosine are taken in double on the widened
/// angle and rounded back to float.
///
/// The 3x3 class tells `matrix * vector` from `vector * matrix`, the 4x4 class doesn't. The mesh
/// transforms use `vesk_vector3 * vesk_matrix33`.

class vesk_matrix44;

/// A 3x3 matrix of floats: rotations and scales of row vectors.
///
/// Element (i, j) is the float number `i * 3 + j` of the object.
class VESK_KIT vesk_matrix33
{
public:
    vesk_vector3 m[3]; ///< the rows

    /// The identity, not zero.
    vesk_matrix33();
    /// All nine elements equal `value`.
    vesk_matrix33(float value);
    /// The matrix of the given rows.
    vesk_matrix33(const vesk_vector3 &r0, const vesk_vector3 &r1, const vesk_vector3 &r2);
    /// The matrix of the given elements, row by row.
    vesk_matrix33(float m00, float m01, float m02, float m10, float m11, float m12, float m20,
                  float m21, float m22);
    /// A copy.
    vesk_matrix33(const vesk_matrix33 &other);
    /// Copies all elements.
    vesk_matrix33 &operator=(const vesk_matrix33 &other);
    /// Takes rows 0 to 2 and columns 0 to 2 of `other`.
    vesk_matrix33 &operator=(const vesk_matrix44 &other);

    /// Row `row`, which is below 3; no range check.
    vesk_vector3 &operator[](unsigned int row);
    /// @copydoc operator[](unsigned int)
    const vesk_vector3 &operator[](unsigned int row) const;

    /// Adds element by element in place.
    vesk_matrix33 &operator+=(const vesk_matrix33 &other);
    /// Subtracts element by element in place.
    vesk_matrix33 &operator-=(const vesk_matrix33 &other);
    /// Becomes the matrix product `this * other`; `m *= m` is sound.
    vesk_matrix33 &operator*=(const vesk_matrix33 &other);
    /// Multiplies each element in place.
    vesk_matrix33 &operator*=(float scalar);
    /// Divides each element in place: true division, no check for zero.
    vesk_matrix33 &operator/=(float scalar);

    /// Becomes the identity.
    vesk_matrix33 &identity();
    /// Swaps rows and columns in place.
    vesk_matrix33 &transpose();
};

/// A 4x4 matrix of floats: affine transforms of points, with the translation in the last column.
///
/// Element (i, j) is the float number `i * 4 + j` of the object.
class VESK_KIT vesk_matrix44
{
public:
    vesk_vector4 m[4]; ///< the rows

    /// The identity, not zero.
    vesk_matrix44();
    /// All sixteen elements equal `value`.
    vesk_matrix44(float value);
    /// The matrix of the given rows.
    vesk_matrix44(const vesk_vector4 &r0, const vesk_vector4 &r1, const vesk_vector4 &r2,
                  const vesk_vector4 &r3);
    /// The matrix of the given elements, row by row.
    vesk_matrix44(float m00, float m01, float m02, float m03, float m10, float m11, float m12,
                  float m13, float m20, float m21, float m22, float m23, float m30, float m31,
                  float m32, float m33);
    /// A copy.
    vesk_matrix44(const vesk_matrix44 &other);
    /// `other` as the upper-left block of the identity.
    vesk_matrix44(const vesk_matrix33 &other);
    /// Copies all elements.
    vesk_matrix44 &operator=(const vesk_matrix44 &other);
    /// Becomes `other` as the upper-left block of the identity: a translation is overwritten
    /// with zero.
    vesk_matrix44 &operator=(const vesk_matrix33 &other);

    /// Row `row`, which is below 4; no range check.
    vesk_vector4 &operator[](unsigned int row);
    /// @copydoc operator[](unsigned int)
    const vesk_vector4 &operator[](unsigned int row) const;

    /// Adds element by element in place.
    vesk_matrix44 &operator+=(const vesk_matrix44 &other);
    /// Subtracts element by element in place.
    vesk_matrix44 &operator-=(const vesk_matrix44 &other);
    /// Becomes the matrix product `this * other`; `m *= m` is sound.
    vesk_matrix44 &operator*=(const vesk_matrix44 &other);
    /// Multiplies each element in place.
    vesk_matrix44 &operator*=(float scalar);
    /// Divides each element in place: true division, no check for zero.
    vesk_matrix44 &operator/=(float scalar);

    /// Becomes the identity.
    vesk_matrix44 &identity();
    /// Swaps rows and columns in place.
    vesk_matrix44 &transpose();
};

/// 1 when all elements compare equal, exactly; else 0. A NaN equals nothing.
VESK_KIT int operator==(const vesk_matrix33 &a, const vesk_matrix33 &b);
/// The negation of `==`.
VESK_KIT int operator!=(const vesk_matrix33 &a, const vesk_matrix33 &b);
/// Element by element.
VESK_KIT vesk_matrix33 operator+(const vesk_matrix33 &a, const vesk_matrix33 &b);
/// Element by element, `a - b`.
VESK_KIT vesk_matrix33 operator-(const vesk_matrix33 &a, const vesk_matrix33 &b);
/// The matrix product, `a` on the left: element (i, j) sums `a[i][k] * b[k][j]` for rising k.
VESK_KIT vesk_matrix33 operator*(const vesk_matrix33 &a, const vesk_matrix33 &b);
/// Each element multiplied by the scalar.
VESK_KIT vesk_matrix33 operator*(const vesk_matrix33 &a, float scalar);
/// Each element multiplied by the scalar.
VESK_KIT vesk_matrix33 operator*(float scalar, const vesk_matrix33 &a);
/// The rows dotted with the vector, which stands as a column.
VESK_KIT vesk_vector3 operator*(const vesk_matrix33 &a, const vesk_vector3 &v);
/// The columns dotted with the vector, which stands as a row: how a mesh is transformed.
VESK_KIT vesk_vector3 operator*(const vesk_vector3 &v, const vesk_matrix33 &a);

/// 1 when all elements compare equal, exactly; else 0. A NaN equals nothing.
VESK_KIT int operator==(const vesk_matrix44 &a, const vesk_matrix44 &b);
/// The negation of `==`.
VESK_KIT int operator!=(const vesk_matrix44 &a, const vesk_matrix44 &b);
/// Element by element.
VESK_KIT vesk_matrix44 operator+(const vesk_matrix44 &a, const vesk_matrix44 &b);
/// Element by element, `a - b`.
VESK_KIT vesk_matrix44 operator-(const vesk_matrix44 &a, const vesk_matrix44 &b);
/// The matrix product, `a` on the left: element (i, j) sums `a[i][k] * b[k][j]` for rising k.
VESK_KIT vesk_matrix44 operator*(const vesk_matrix44 &a, const vesk_matrix44 &b);
/// Each element multiplied by the scalar.
VESK_KIT vesk_matrix44 operator*(const vesk_matrix44 &a, float scalar);
/// Each element multiplied by the scalar.
VESK_KIT vesk_matrix44 operator*(float scalar, const vesk_matrix44 &a);
/// The point `v` with an implied w of 1: rows dotted with it, the last column added. Row 3 is not
/// read and nothing is divided by w.
VESK_KIT vesk_vector3 operator*(const vesk_matrix44 &a, const vesk_vector3 &v);
/// The same as `a * v`, not the product of a row vector with the matrix.
VESK_KIT vesk_vector3 operator*(const vesk_vector3 &v, const vesk_matrix44 &a);
/// All four rows dotted with the vector, which stands as a column.
VESK_KIT vesk_vector4 operator*(const vesk_matrix44 &a, const vesk_vector4 &v);

/// The identity.
VESK_KIT vesk_matrix33 vesk_matrix33_identity();
/// The identity.
VESK_KIT vesk_matrix44 vesk_matrix44_identity();
/// A transposed copy.
VESK_KIT vesk_matrix33 vesk_matrix33_transpose(const vesk_matrix33 &a);
/// A transposed copy.
VESK_KIT vesk_matrix44 vesk_matrix44_transpose(const vesk_matrix44 &a);

/// The inverse by cofactors times one reciprocal of the determinant, in float.
///
/// A matrix whose determinant is not above 1e-06 in size (NaN included) counts as singular and
/// comes back unchanged. The limit depends on scale: 0.01f times the identity is singular.
VESK_KIT vesk_matrix33 vesk_matrix33_inverse(const vesk_matrix33 &a);

/// Rotation about the X, Y or Z axis for an `axis` of 0, 1 or 2; any other gives the identity.
///
/// Right-handed as `vesk_vector3 * vesk_matrix33`: a positive angle about Z turns X towards Y.
/// `vesk_matrix33 * vesk_vector3` turns the other way.
VESK_API vesk_matrix33 vesk_matrix33_rotate(unsigned int axis, float radians);
/// As `vesk_matrix33_rotate`, in the upper-left block of the identity. Both products with a
/// vector turn left-handed: a positive angle about Z turns Y towards X.
VESK_API vesk_matrix44 vesk_matrix44_rotate(unsigned int axis, float radians);

/// Writes to `out` the rotation about `axis`, which is of unit length and not normalised here.
///
/// Right-handed as `vesk_matrix33 * vesk_vector3`: the transpose of the layout of
/// `vesk_matrix33_rotate`. `axis` may be a row of `out`.
VESK_API void vesk_matrix33_rotate_on_arbitrary_axis(const vesk_vector3 &axis, float radians,
                                                     vesk_matrix33 &out);
/// As `vesk_matrix33_rotate_on_arbitrary_axis` for an axis in the XZ plane: `axis.y` is not read.
VESK_API void vesk_matrix33_rotate_on_arbitrary_XZ_axis(const vesk_vector3 &axis, float radians,
                                                        vesk_matrix33 &out);

/// The identity with `scale` on the diagonal.
VESK_KIT vesk_matrix33 vesk_matrix33_scale(const vesk_vector3 &scale);
/// The identity with `scale` on the diagonal at (0, 0), (1, 1) and (2, 2).
VESK_KIT vesk_matrix44 vesk_matrix44_scale(const vesk_vector3 &scale);
/// The identity with `offset` in the last column.
VESK_KIT vesk_matrix44 vesk_matrix44_translate(const vesk_vector3 &offset);

/// The aiming matrix: row 2 is `forward`, row 0 the cross product of `forward` and `up`, negated
/// unless `negate_right` is 0, row 1 the cross product of the former (not negated) and
/// `forward`, each normalised.
///
/// With `forward` along Z and `up` along Y a `negate_right` of 0 mirrors the X axis and any
/// other gives the identity. Where `forward` and `up` are parallel or one of them is zero, rows
/// 0 and 1 are zero.
VESK_API vesk_matrix33 vesk_matrix33_rotation_from_vector(const vesk_vector3 &forward,
                                                          const vesk_vector3 &up, int negate_right);
/// As `vesk_matrix33_rotation_from_vector` with a `negate_right` of 0, in the upper-left block of
/// the identity.
VESK_API vesk_matrix44 vesk_matrix44_rotation_from_vector(const vesk_vector3 &forward,
                                                          const vesk_vector3 &up);

/// The identity, whatever the arguments: projections are the host's to make.
VESK_KIT vesk_matrix44 vesk_matrix44_frustum(float, float, float, float, float, float);
/// The identity, whatever the arguments: projections are the host's to make.
VESK_KIT vesk_matrix44 vesk_matrix44_perspective(float, float, float, float);

static_assert(sizeof(vesk_matrix33) == 36, "a matrix is its floats");
static_assert(sizeof(vesk_matrix44) == 64, "a matrix is its floats");

#if !defined(VESK_NO_INLINE)
#include "vesk/inline/matrix.inl"
#endif
