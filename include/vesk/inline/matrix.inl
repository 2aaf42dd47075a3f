#pragma once

// Inline half of matrix.h. The order of operations is the result: it is never simplified.
// Sums of scaled rows run in column order for each element, and compilers make them SIMD.

VESK_INLINE vesk_matrix33::vesk_matrix33()
    : m{vesk_vector3(1.0f, 0.0f, 0.0f), vesk_vector3(0.0f, 1.0f, 0.0f),
        vesk_vector3(0.0f, 0.0f, 1.0f)}
{
}

VESK_INLINE vesk_matrix33::vesk_matrix33(float value)
    : m{vesk_vector3(value, value, value), vesk_vector3(value, value, value),
        vesk_vector3(value, value, value)}
{
}

VESK_INLINE vesk_matrix33::vesk_matrix33(const vesk_vector3 &r0, const vesk_vector3 &r1,
                                         const vesk_vector3 &r2)
    : m{r0, r1, r2}
{
}

VESK_INLINE vesk_matrix33::vesk_matrix33(float m00, float m01, float m02, float m10, float m11,
                                         float m12, float m20, float m21, float m22)
    : m{vesk_vector3(m00, m01, m02), vesk_vector3(m10, m11, m12), vesk_vector3(m20, m21, m22)}
{
}

VESK_INLINE vesk_matrix33::vesk_matrix33(const vesk_matrix33 &other)
    : m{other.m[0], other.m[1], other.m[2]}
{
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator=(const vesk_matrix33 &other)
{
    m[0] = other.m[0];
    m[1] = other.m[1];
    m[2] = other.m[2];
    return *this;
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator=(const vesk_matrix44 &other)
{
    m[0] = other.m[0]; // drops w
    m[1] = other.m[1];
    m[2] = other.m[2];
    return *this;
}

VESK_INLINE vesk_vector3 &vesk_matrix33::operator[](unsigned int row)
{
    return m[row];
}

VESK_INLINE const vesk_vector3 &vesk_matrix33::operator[](unsigned int row) const
{
    return m[row];
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator+=(const vesk_matrix33 &other)
{
    m[0] += other.m[0];
    m[1] += other.m[1];
    m[2] += other.m[2];
    return *this;
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator-=(const vesk_matrix33 &other)
{
    m[0] -= other.m[0];
    m[1] -= other.m[1];
    m[2] -= other.m[2];
    return *this;
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator*=(const vesk_matrix33 &other)
{
    return *this = *this * other;
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator*=(float scalar)
{
    m[0] *= scalar;
    m[1] *= scalar;
    m[2] *= scalar;
    return *this;
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::operator/=(float scalar)
{
    m[0] /= scalar;
    m[1] /= scalar;
    m[2] /= scalar;
    return *this;
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::identity()
{
    return *this = vesk_matrix33();
}

VESK_INLINE vesk_matrix33 &vesk_matrix33::transpose()
{
    return *this = vesk_matrix33_transpose(*this);
}

VESK_INLINE int operator==(const vesk_matrix33 &a, const vesk_matrix33 &b)
{
    return a.m[0] == b.m[0] && a.m[1] == b.m[1] && a.m[2] == b.m[2];
}

VESK_INLINE int operator!=(const vesk_matrix33 &a, const vesk_matrix33 &b)
{
    return !(a == b);
}

VESK_INLINE vesk_matrix33 operator+(const vesk_matrix33 &a, const vesk_matrix33 &b)
{
    return vesk_matrix33(a.m[0] + b.m[0], a.m[1] + b.m[1], a.m[2] + b.m[2]);
}

VESK_INLINE vesk_matrix33 operator-(const vesk_matrix33 &a, const vesk_matrix33 &b)
{
    return vesk_matrix33(a.m[0] - b.m[0], a.m[1] - b.m[1], a.m[2] - b.m[2]);
}

VESK_INLINE vesk_matrix33 operator*(const vesk_matrix33 &a, const vesk_matrix33 &b)
{
    return vesk_matrix33(a.m[0].x * b.m[0] + a.m[0].y * b.m[1] + a.m[0].z * b.m[2],
                         a.m[1].x * b.m[0] + a.m[1].y * b.m[1] + a.m[1].z * b.m[2],
                         a.m[2].x * b.m[0] + a.m[2].y * b.m[1] + a.m[2].z * b.m[2]);
}

VESK_INLINE vesk_matrix33 operator*(const vesk_matrix33 &a, float scalar)
{
    return vesk_matrix33(a.m[0] * scalar, a.m[1] * scalar, a.m[2] * scalar);
}

VESK_INLINE vesk_matrix33 operator*(float scalar, const vesk_matrix33 &a)
{
    return vesk_matrix33(scalar * a.m[0], scalar * a.m[1], scalar * a.m[2]);
}

VESK_INLINE vesk_vector3 operator*(const vesk_matrix33 &a, const vesk_vector3 &v)
{
    return vesk_vector3(a.m[0].x * v.x + a.m[0].y * v.y + a.m[0].z * v.z,
                        a.m[1].x * v.x + a.m[1].y * v.y + a.m[1].z * v.z,
                        a.m[2].x * v.x + a.m[2].y * v.y + a.m[2].z * v.z);
}

VESK_INLINE vesk_vector3 operator*(const vesk_vector3 &v, const vesk_matrix33 &a)
{
    return v.x * a.m[0] + v.y * a.m[1] + v.z * a.m[2];
}

VESK_INLINE vesk_matrix33 vesk_matrix33_identity()
{
    return vesk_matrix33();
}

VESK_INLINE vesk_matrix33 vesk_matrix33_transpose(const vesk_matrix33 &a)
{
    return vesk_matrix33(a.m[0].x, a.m[1].x, a.m[2].x, a.m[0].y, a.m[1].y, a.m[2].y, a.m[0].z,
                         a.m[1].z, a.m[2].z);
}

VESK_INLINE vesk_matrix33 vesk_matrix33_inverse(const vesk_matrix33 &a)
{
    const float m0 = a.m[0].x, m1 = a.m[0].y, m2 = a.m[0].z;
    const float m3 = a.m[1].x, m4 = a.m[1].y, m5 = a.m[1].z;
    const float m6 = a.m[2].x, m7 = a.m[2].y, m8 = a.m[2].z;

    const float c0 = m4 * m8 - m5 * m7, c1 = m2 * m7 - m1 * m8, c2 = m1 * m5 - m2 * m4;
    const float c3 = m6 * m5 - m3 * m8, c4 = m0 * m8 - m6 * m2, c5 = m3 * m2 - m0 * m5;
    const float c6 = m3 * m7 - m6 * m4, c7 = m6 * m1 - m0 * m7, c8 = m0 * m4 - m3 * m1;

    const float determinant = m0 * c0 + m1 * c3 + m2 * c6;
    // The limit is the double 1e-06. No float lies between it and the float just below, so that the
    // float comparison decides the same. Its negation takes a NaN for singular too.
    if (!(std::fabs(determinant) > 1e-06f))
        return a;
    return vesk_matrix33(c0, c1, c2, c3, c4, c5, c6, c7, c8) * (1.0f / determinant);
}

VESK_INLINE vesk_matrix33 vesk_matrix33_scale(const vesk_vector3 &scale)
{
    return vesk_matrix33(scale.x, 0.0f, 0.0f, 0.0f, scale.y, 0.0f, 0.0f, 0.0f, scale.z);
}

VESK_INLINE vesk_matrix44::vesk_matrix44()
    : m{vesk_vector4(1.0f, 0.0f, 0.0f, 0.0f), vesk_vector4(0.0f, 1.0f, 0.0f, 0.0f),
        vesk_vector4(0.0f, 0.0f, 1.0f, 0.0f), vesk_vector4(0.0f, 0.0f, 0.0f, 1.0f)}
{
}

VESK_INLINE vesk_matrix44::vesk_matrix44(float value)
    : m{vesk_vector4(value, value, value, value), vesk_vector4(value, value, value, value),
        vesk_vector4(value, value, value, value), vesk_vector4(value, value, value, value)}
{
}

VESK_INLINE vesk_matrix44::vesk_matrix44(const vesk_vector4 &r0, const vesk_vector4 &r1,
                                         const vesk_vector4 &r2, const vesk_vector4 &r3)
    : m{r0, r1, r2, r3}
{
}

VESK_INLINE vesk_matrix44::vesk_matrix44(float m00, float m01, float m02, float m03, float m10,
                                         float m11, float m12, float m13, float m20, float m21,
                                         float m22, float m23, float m30, float m31, float m32,
                                         float m33)
    : m{vesk_vector4(m00, m01, m02, m03), vesk_vector4(m10, m11, m12, m13),
        vesk_vector4(m20, m21, m22, m23), vesk_vector4(m30, m31, m32, m33)}
{
}

VESK_INLINE vesk_matrix44::vesk_matrix44(const vesk_matrix44 &other)
    : m{other.m[0], other.m[1], other.m[2], other.m[3]}
{
}

VESK_INLINE vesk_matrix44::vesk_matrix44(const vesk_matrix33 &other)
    : m{vesk_vector4(other.m[0].x, other.m[0].y, other.m[0].z, 0.0f),
        vesk_vector4(other.m[1].x, other.m[1].y, other.m[1].z, 0.0f),
        vesk_vector4(other.m[2].x, other.m[2].y, other.m[2].z, 0.0f),
        vesk_vector4(0.0f, 0.0f, 0.0f, 1.0f)}
{
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator=(const vesk_matrix44 &other)
{
    m[0] = other.m[0];
    m[1] = other.m[1];
    m[2] = other.m[2];
    m[3] = other.m[3];
    return *this;
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator=(const vesk_matrix33 &other)
{
    return *this = vesk_matrix44(other);
}

VESK_INLINE vesk_vector4 &vesk_matrix44::operator[](unsigned int row)
{
    return m[row];
}

VESK_INLINE const vesk_vector4 &vesk_matrix44::operator[](unsigned int row) const
{
    return m[row];
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator+=(const vesk_matrix44 &other)
{
    m[0] += other.m[0];
    m[1] += other.m[1];
    m[2] += other.m[2];
    m[3] += other.m[3];
    return *this;
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator-=(const vesk_matrix44 &other)
{
    m[0] -= other.m[0];
    m[1] -= other.m[1];
    m[2] -= other.m[2];
    m[3] -= other.m[3];
    return *this;
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator*=(const vesk_matrix44 &other)
{
    return *this = *this * other;
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator*=(float scalar)
{
    m[0] *= scalar;
    m[1] *= scalar;
    m[2] *= scalar;
    m[3] *= scalar;
    return *this;
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::operator/=(float scalar)
{
    m[0] /= scalar;
    m[1] /= scalar;
    m[2] /= scalar;
    m[3] /= scalar;
    return *this;
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::identity()
{
    return *this = vesk_matrix44();
}

VESK_INLINE vesk_matrix44 &vesk_matrix44::transpose()
{
    return *this = vesk_matrix44_transpose(*this);
}

VESK_INLINE int operator==(const vesk_matrix44 &a, const vesk_matrix44 &b)
{
    return a.m[0] == b.m[0] && a.m[1] == b.m[1] && a.m[2] == b.m[2] && a.m[3] == b.m[3];
}

VESK_INLINE int operator!=(const vesk_matrix44 &a, const vesk_matrix44 &b)
{
    return !(a == b);
}

VESK_INLINE vesk_matrix44 operator+(const vesk_matrix44 &a, const vesk_matrix44 &b)
{
    return vesk_matrix44(a.m[0] + b.m[0], a.m[1] + b.m[1], a.m[2] + b.m[2], a.m[3] + b.m[3]);
}

VESK_INLINE vesk_matrix44 operator-(const vesk_matrix44 &a, const vesk_matrix44 &b)
{
    return vesk_matrix44(a.m[0] - b.m[0], a.m[1] - b.m[1], a.m[2] - b.m[2], a.m[3] - b.m[3]);
}

VESK_INLINE vesk_matrix44 operator*(const vesk_matrix44 &a, const vesk_matrix44 &b)
{
    return vesk_matrix44(
        a.m[0].x * b.m[0] + a.m[0].y * b.m[1] + a.m[0].z * b.m[2] + a.m[0].w * b.m[3],
        a.m[1].x * b.m[0] + a.m[1].y * b.m[1] + a.m[1].z * b.m[2] + a.m[1].w * b.m[3],
        a.m[2].x * b.m[0] + a.m[2].y * b.m[1] + a.m[2].z * b.m[2] + a.m[2].w * b.m[3],
        a.m[3].x * b.m[0] + a.m[3].y * b.m[1] + a.m[3].z * b.m[2] + a.m[3].w * b.m[3]);
}

VESK_INLINE vesk_matrix44 operator*(const vesk_matrix44 &a, float scalar)
{
    return vesk_matrix44(a.m[0] * scalar, a.m[1] * scalar, a.m[2] * scalar, a.m[3] * scalar);
}

VESK_INLINE vesk_matrix44 operator*(float scalar, const vesk_matrix44 &a)
{
    return vesk_matrix44(scalar * a.m[0], scalar * a.m[1], scalar * a.m[2], scalar * a.m[3]);
}

VESK_INLINE vesk_vector3 operator*(const vesk_matrix44 &a, const vesk_vector3 &v)
{
    return vesk_vector3(a.m[0].x * v.x + a.m[0].y * v.y + a.m[0].z * v.z + a.m[0].w,
                        a.m[1].x * v.x + a.m[1].y * v.y + a.m[1].z * v.z + a.m[1].w,
                        a.m[2].x * v.x + a.m[2].y * v.y + a.m[2].z * v.z + a.m[2].w);
}

VESK_INLINE vesk_vector3 operator*(const vesk_vector3 &v, const vesk_matrix44 &a)
{
    return a * v;
}

VESK_INLINE vesk_vector4 operator*(const vesk_matrix44 &a, const vesk_vector4 &v)
{
    return vesk_vector4(a.m[0].x * v.x + a.m[0].y * v.y + a.m[0].z * v.z + a.m[0].w * v.w,
                        a.m[1].x * v.x + a.m[1].y * v.y + a.m[1].z * v.z + a.m[1].w * v.w,
                        a.m[2].x * v.x + a.m[2].y * v.y + a.m[2].z * v.z + a.m[2].w * v.w,
                        a.m[3].x * v.x + a.m[3].y * v.y + a.m[3].z * v.z + a.m[3].w * v.w);
}

VESK_INLINE vesk_matrix44 vesk_matrix44_identity()
{
    return vesk_matrix44();
}

VESK_INLINE vesk_matrix44 vesk_matrix44_transpose(const vesk_matrix44 &a)
{
    return vesk_matrix44(a.m[0].x, a.m[1].x, a.m[2].x, a.m[3].x, a.m[0].y, a.m[1].y, a.m[2].y,
                         a.m[3].y, a.m[0].z, a.m[1].z, a.m[2].z, a.m[3].z, a.m[0].w, a.m[1].w,
                         a.m[2].w, a.m[3].w);
}

VESK_INLINE vesk_matrix44 vesk_matrix44_scale(const vesk_vector3 &scale)
{
    return vesk_matrix44(vesk_matrix33_scale(scale));
}

VESK_INLINE vesk_matrix44 vesk_matrix44_translate(const vesk_vector3 &offset)
{
    vesk_matrix44 result;
    result.m[0].w = offset.x;
    result.m[1].w = offset.y;
    result.m[2].w = offset.z;
    return result;
}

VESK_INLINE vesk_matrix44 vesk_matrix44_frustum(float, float, float, float, float, float)
{
    return vesk_matrix44();
}

VESK_INLINE vesk_matrix44 vesk_matrix44_perspective(float, float, float, float)
{
    return vesk_matrix44();
}
