#pragma once

// Inline half of vector.h. The order of operations is the result: it is never simplified.

VESK_INLINE vesk_vector2::vesk_vector2() : x(0.0f), y(0.0f) {}

VESK_INLINE vesk_vector2::vesk_vector2(float new_x, float new_y) : x(new_x), y(new_y) {}

VESK_INLINE vesk_vector2::vesk_vector2(const vesk_vector2 &other) : x(other.x), y(other.y) {}

VESK_INLINE vesk_vector2 &vesk_vector2::operator=(const vesk_vector2 &other)
{
    x = other.x;
    y = other.y;
    return *this;
}

VESK_INLINE float &vesk_vector2::operator[](unsigned int i)
{
    return reinterpret_cast<float *>(this)[i];
}

VESK_INLINE const float &vesk_vector2::operator[](unsigned int i) const
{
    return reinterpret_cast<const float *>(this)[i];
}

VESK_INLINE vesk_vector2 &vesk_vector2::operator+=(const vesk_vector2 &other)
{
    x += other.x;
    y += other.y;
    return *this;
}

VESK_INLINE vesk_vector2 &vesk_vector2::operator-=(const vesk_vector2 &other)
{
    x -= other.x;
    y -= other.y;
    return *this;
}

VESK_INLINE vesk_vector2 &vesk_vector2::operator*=(float scalar)
{
    x *= scalar;
    y *= scalar;
    return *this;
}

VESK_INLINE vesk_vector2 &vesk_vector2::operator/=(float scalar)
{
    x /= scalar;
    y /= scalar;
    return *this;
}

VESK_INLINE vesk_vector2 vesk_vector2::operator-()
{
    return vesk_vector2(-x, -y);
}

VESK_INLINE vesk_vector2 vesk_vector2::operator+(const vesk_vector2 &other)
{
    return vesk_vector2(x + other.x, y + other.y);
}

VESK_INLINE vesk_vector2 vesk_vector2::operator-(const vesk_vector2 &other)
{
    return vesk_vector2(x - other.x, y - other.y);
}

VESK_INLINE vesk_vector2 vesk_vector2::operator*(float scalar)
{
    return vesk_vector2(x * scalar, y * scalar);
}

VESK_INLINE vesk_vector2 vesk_vector2::operator/(float scalar)
{
    return vesk_vector2(x / scalar, y / scalar);
}

#if VESK_MEMBER_COMPARISON
VESK_INLINE int vesk_vector2::operator==(const vesk_vector2 &other)
{
    return x == other.x && y == other.y;
}

VESK_INLINE int vesk_vector2::operator!=(const vesk_vector2 &other)
{
    return !(x == other.x && y == other.y);
}
#endif

VESK_INLINE float vesk_vector2::get_length_squared() const
{
    return x * x + y * y;
}

VESK_INLINE float vesk_vector2::get_length() const
{
    return static_cast<float>(std::sqrt(static_cast<double>(get_length_squared())));
}

VESK_INLINE int vesk_vector2::is_zero() const
{
    return x == 0.0f && y == 0.0f;
}

VESK_INLINE vesk_vector2 &vesk_vector2::normalize()
{
    const float length = get_length();
    if (length > 0.0f)
        return *this /= length;
    return *this = vesk_vector2();
}

VESK_INLINE int operator==(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return a.x == b.x && a.y == b.y;
}

VESK_INLINE int operator!=(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return !(a == b);
}

VESK_INLINE vesk_vector2 operator-(const vesk_vector2 &v)
{
    return vesk_vector2(-v.x, -v.y);
}

VESK_INLINE vesk_vector2 operator+(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return vesk_vector2(a.x + b.x, a.y + b.y);
}

VESK_INLINE vesk_vector2 operator-(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return vesk_vector2(a.x - b.x, a.y - b.y);
}

VESK_INLINE vesk_vector2 operator*(const vesk_vector2 &v, float scalar)
{
    return vesk_vector2(v.x * scalar, v.y * scalar);
}

VESK_INLINE vesk_vector2 operator*(float scalar, const vesk_vector2 &v)
{
    return vesk_vector2(scalar * v.x, scalar * v.y);
}

VESK_INLINE vesk_vector2 operator/(const vesk_vector2 &v, float scalar)
{
    return vesk_vector2(v.x / scalar, v.y / scalar);
}

VESK_INLINE vesk_vector2 vesk_vec_normalize(const vesk_vector2 &v)
{
    vesk_vector2 unit(v);
    return unit.normalize();
}

VESK_INLINE vesk_vector2 vesk_vec_reflect(const vesk_vector2 &v, const vesk_vector2 &normal)
{
    const float d = v.x * normal.x + v.y * normal.y;
    return v - (2.0f * normal) * d;
}

VESK_INLINE float vesk_vec_dot_product(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return static_cast<float>(static_cast<double>(a.x) * static_cast<double>(b.x) +
                              static_cast<double>(a.y) * static_cast<double>(b.y));
}

VESK_INLINE int vesk_vec_nearly_equal(const vesk_vector2 &a, const vesk_vector2 &b, float tolerance)
{
    return tolerance * tolerance > (a - b).get_length_squared();
}

VESK_INLINE float vesk_vec_distance(const vesk_vector2 &a, const vesk_vector2 &b)
{
    return (a - b).get_length();
}

VESK_INLINE float vesk_vec_distance_squared(const vesk_vector2 &a, const vesk_vector2 &b)
{
    const double distance = static_cast<double>(vesk_vec_distance(a, b));
    return static_cast<float>(distance * distance);
}

VESK_INLINE vesk_vector2 vesk_vec_lerp(const vesk_vector2 &a, const vesk_vector2 &b, float t)
{
    return (1.0f - t) * a + t * b;
}

VESK_INLINE vesk_vector3::vesk_vector3() : x(0.0f), y(0.0f), z(0.0f) {}

VESK_INLINE vesk_vector3::vesk_vector3(float new_x, float new_y, float new_z)
    : x(new_x)
    , y(new_y)
    , z(new_z)
{
}

VESK_INLINE vesk_vector3::vesk_vector3(const vesk_vector3 &other)
    : x(other.x)
    , y(other.y)
    , z(other.z)
{
}

VESK_INLINE vesk_vector3 &vesk_vector3::operator=(const vesk_vector3 &other)
{
    x = other.x;
    y = other.y;
    z = other.z;
    return *this;
}

VESK_INLINE float &vesk_vector3::operator[](unsigned int i)
{
    return reinterpret_cast<float *>(this)[i];
}

VESK_INLINE const float &vesk_vector3::operator[](unsigned int i) const
{
    return reinterpret_cast<const float *>(this)[i];
}

VESK_INLINE vesk_vector3 &vesk_vector3::operator+=(const vesk_vector3 &other)
{
    x += other.x;
    y += other.y;
    z += other.z;
    return *this;
}

VESK_INLINE vesk_vector3 &vesk_vector3::operator-=(const vesk_vector3 &other)
{
    x -= other.x;
    y -= other.y;
    z -= other.z;
    return *this;
}

VESK_INLINE vesk_vector3 &vesk_vector3::operator*=(float scalar)
{
    x *= scalar;
    y *= scalar;
    z *= scalar;
    return *this;
}

VESK_INLINE vesk_vector3 &vesk_vector3::operator/=(float scalar)
{
    x /= scalar;
    y /= scalar;
    z /= scalar;
    return *this;
}

VESK_INLINE vesk_vector3 vesk_vector3::operator-()
{
    return vesk_vector3(-x, -y, -z);
}

VESK_INLINE vesk_vector3 vesk_vector3::operator+(const vesk_vector3 &other)
{
    return vesk_vector3(x + other.x, y + other.y, z + other.z);
}

VESK_INLINE vesk_vector3 vesk_vector3::operator-(const vesk_vector3 &other)
{
    return vesk_vector3(x - other.x, y - other.y, z - other.z);
}

VESK_INLINE vesk_vector3 vesk_vector3::operator*(float scalar)
{
    return vesk_vector3(x * scalar, y * scalar, z * scalar);
}

VESK_INLINE vesk_vector3 vesk_vector3::operator/(float scalar)
{
    return vesk_vector3(x / scalar, y / scalar, z / scalar);
}

#if VESK_MEMBER_COMPARISON
VESK_INLINE int vesk_vector3::operator==(const vesk_vector3 &other)
{
    return x == other.x && y == other.y && z == other.z;
}

VESK_INLINE int vesk_vector3::operator!=(const vesk_vector3 &other)
{
    return !(x == other.x && y == other.y && z == other.z);
}
#endif

VESK_INLINE float vesk_vector3::get_length_squared() const
{
    return x * x + y * y + z * z;
}

VESK_INLINE float vesk_vector3::get_length() const
{
    return static_cast<float>(std::sqrt(static_cast<double>(get_length_squared())));
}

VESK_INLINE int vesk_vector3::is_zero() const
{
    return x == 0.0f && y == 0.0f && z == 0.0f;
}

VESK_INLINE vesk_vector3 &vesk_vector3::normalize()
{
    const float length = get_length();
    if (length > 0.0f)
        return *this /= length;
    return *this = vesk_vector3();
}

VESK_INLINE int operator==(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

VESK_INLINE int operator!=(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return !(a == b);
}

VESK_INLINE vesk_vector3 operator-(const vesk_vector3 &v)
{
    return vesk_vector3(-v.x, -v.y, -v.z);
}

VESK_INLINE vesk_vector3 operator+(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return vesk_vector3(a.x + b.x, a.y + b.y, a.z + b.z);
}

VESK_INLINE vesk_vector3 operator-(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return vesk_vector3(a.x - b.x, a.y - b.y, a.z - b.z);
}

VESK_INLINE vesk_vector3 operator*(const vesk_vector3 &v, float scalar)
{
    return vesk_vector3(v.x * scalar, v.y * scalar, v.z * scalar);
}

VESK_INLINE vesk_vector3 operator*(float scalar, const vesk_vector3 &v)
{
    return vesk_vector3(scalar * v.x, scalar * v.y, scalar * v.z);
}

VESK_INLINE vesk_vector3 operator/(const vesk_vector3 &v, float scalar)
{
    return vesk_vector3(v.x / scalar, v.y / scalar, v.z / scalar);
}

VESK_INLINE vesk_vector3 vesk_vec_normalize(const vesk_vector3 &v)
{
    vesk_vector3 unit(v);
    return unit.normalize();
}

VESK_INLINE vesk_vector3 vesk_vec_reflect(const vesk_vector3 &v, const vesk_vector3 &normal)
{
    const float d = v.x * normal.x + v.y * normal.y + v.z * normal.z;
    return v - (2.0f * normal) * d;
}

VESK_INLINE float vesk_vec_dot_product(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return static_cast<float>(static_cast<double>(a.x) * static_cast<double>(b.x) +
                              static_cast<double>(a.y) * static_cast<double>(b.y) +
                              static_cast<double>(a.z) * static_cast<double>(b.z));
}

VESK_INLINE int vesk_vec_nearly_equal(const vesk_vector3 &a, const vesk_vector3 &b, float tolerance)
{
    return tolerance * tolerance > (a - b).get_length_squared();
}

VESK_INLINE float vesk_vec_distance(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return (a - b).get_length();
}

VESK_INLINE float vesk_vec_distance_squared(const vesk_vector3 &a, const vesk_vector3 &b)
{
    const double distance = static_cast<double>(vesk_vec_distance(a, b));
    return static_cast<float>(distance * distance);
}

VESK_INLINE vesk_vector3 vesk_vec_lerp(const vesk_vector3 &a, const vesk_vector3 &b, float t)
{
    return (1.0f - t) * a + t * b;
}

VESK_INLINE vesk_vector4::vesk_vector4() : x(0.0f), y(0.0f), z(0.0f), w(0.0f) {}

VESK_INLINE vesk_vector4::vesk_vector4(float new_x, float new_y, float new_z, float new_w)
    : x(new_x)
    , y(new_y)
    , z(new_z)
    , w(new_w)
{
}

VESK_INLINE vesk_vector4::vesk_vector4(const vesk_vector4 &other)
    : x(other.x)
    , y(other.y)
    , z(other.z)
    , w(other.w)
{
}

VESK_INLINE vesk_vector4 &vesk_vector4::operator=(const vesk_vector4 &other)
{
    x = other.x;
    y = other.y;
    z = other.z;
    w = other.w;
    return *this;
}

VESK_INLINE float &vesk_vector4::operator[](unsigned int i)
{
    return reinterpret_cast<float *>(this)[i];
}

VESK_INLINE const float &vesk_vector4::operator[](unsigned int i) const
{
    return reinterpret_cast<const float *>(this)[i];
}

VESK_INLINE vesk_vector4 &vesk_vector4::operator+=(const vesk_vector4 &other)
{
    x += other.x;
    y += other.y;
    z += other.z;
    w += other.w;
    return *this;
}

VESK_INLINE vesk_vector4 &vesk_vector4::operator-=(const vesk_vector4 &other)
{
    x -= other.x;
    y -= other.y;
    z -= other.z;
    w -= other.w;
    return *this;
}

VESK_INLINE vesk_vector4 &vesk_vector4::operator*=(float scalar)
{
    x *= scalar;
    y *= scalar;
    z *= scalar;
    w *= scalar;
    return *this;
}

VESK_INLINE vesk_vector4 &vesk_vector4::operator/=(float scalar)
{
    x /= scalar;
    y /= scalar;
    z /= scalar;
    w /= scalar;
    return *this;
}

VESK_INLINE vesk_vector4 vesk_vector4::operator-()
{
    return vesk_vector4(-x, -y, -z, -w);
}

VESK_INLINE vesk_vector4 vesk_vector4::operator+(const vesk_vector4 &other)
{
    return vesk_vector4(x + other.x, y + other.y, z + other.z, w + other.w);
}

VESK_INLINE vesk_vector4 vesk_vector4::operator-(const vesk_vector4 &other)
{
    return vesk_vector4(x - other.x, y - other.y, z - other.z, w - other.w);
}

VESK_INLINE vesk_vector4 vesk_vector4::operator*(float scalar)
{
    return vesk_vector4(x * scalar, y * scalar, z * scalar, w * scalar);
}

VESK_INLINE vesk_vector4 vesk_vector4::operator/(float scalar)
{
    return vesk_vector4(x / scalar, y / scalar, z / scalar, w / scalar);
}

#if VESK_MEMBER_COMPARISON
VESK_INLINE int vesk_vector4::operator==(const vesk_vector4 &other)
{
    return x == other.x && y == other.y && z == other.z && w == other.w;
}

VESK_INLINE int vesk_vector4::operator!=(const vesk_vector4 &other)
{
    return !(x == other.x && y == other.y && z == other.z && w == other.w);
}
#endif

VESK_INLINE float vesk_vector4::get_length_squared() const
{
    return x * x + y * y + z * z + w * w;
}

VESK_INLINE float vesk_vector4::get_length() const
{
    return static_cast<float>(std::sqrt(static_cast<double>(get_length_squared())));
}

VESK_INLINE int vesk_vector4::is_zero() const
{
    return x == 0.0f && y == 0.0f && z == 0.0f && w == 0.0f;
}

VESK_INLINE vesk_vector4 &vesk_vector4::normalize()
{
    const float length = get_length();
    return *this *= length > 0.0f ? 1.0f / length : 0.0f;
}

VESK_INLINE int operator==(const vesk_vector4 &a, const vesk_vector4 &b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z && a.w == b.w;
}

VESK_INLINE int operator!=(const vesk_vector4 &a, const vesk_vector4 &b)
{
    return !(a == b);
}

VESK_INLINE vesk_vector4 operator-(const vesk_vector4 &v)
{
    return vesk_vector4(-v.x, -v.y, -v.z, -v.w);
}

VESK_INLINE vesk_vector4 operator+(const vesk_vector4 &a, const vesk_vector4 &b)
{
    return vesk_vector4(a.x + b.x, a.y + b.y, a.z + b.z, a.w + b.w);
}

VESK_INLINE vesk_vector4 operator-(const vesk_vector4 &a, const vesk_vector4 &b)
{
    return vesk_vector4(a.x - b.x, a.y - b.y, a.z - b.z, a.w - b.w);
}

VESK_INLINE vesk_vector4 operator*(const vesk_vector4 &v, float scalar)
{
    return vesk_vector4(v.x * scalar, v.y * scalar, v.z * scalar, v.w * scalar);
}

VESK_INLINE vesk_vector4 operator*(float scalar, const vesk_vector4 &v)
{
    return vesk_vector4(scalar * v.x, scalar * v.y, scalar * v.z, scalar * v.w);
}

VESK_INLINE vesk_vector4 operator/(const vesk_vector4 &v, float scalar)
{
    return vesk_vector4(v.x / scalar, v.y / scalar, v.z / scalar, v.w / scalar);
}

VESK_INLINE vesk_vector4 vesk_vec_normalize(const vesk_vector4 &v)
{
    vesk_vector4 unit(v);
    return unit.normalize();
}

VESK_INLINE vesk_vector4 vesk_vec_reflect(const vesk_vector4 &v, const vesk_vector4 &normal)
{
    const float d = v.x * normal.x + v.y * normal.y + v.z * normal.z + v.w * normal.w;
    return v - (2.0f * normal) * d;
}

VESK_INLINE float vesk_vec_dot_product(const vesk_vector4 &a, const vesk_vector4 &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

VESK_INLINE int vesk_vec_nearly_equal(const vesk_vector4 &a, const vesk_vector4 &b, float tolerance)
{
    return tolerance * tolerance > (a - b).get_length_squared();
}

VESK_INLINE vesk_vector3 &vesk_vector3::operator=(const vesk_vector4 &other)
{
    x = other.x;
    y = other.y;
    z = other.z;
    return *this;
}

VESK_INLINE vesk_vector4 &vesk_vector4::operator=(const vesk_vector3 &other)
{
    x = other.x;
    y = other.y;
    z = other.z;
    w = 0.0f;
    return *this;
}

VESK_INLINE vesk_vector3 vesk_vec_cross_product(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return vesk_vector3(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

VESK_INLINE float vesk_vec_triple_product(const vesk_vector3 &a, const vesk_vector3 &b,
                                          const vesk_vector3 &c)
{
    return vesk_vec_dot_product(a, vesk_vec_cross_product(b, c));
}

VESK_INLINE vesk_vector3 vesk_triangle_normal(const vesk_vector3 &p0, const vesk_vector3 &p1,
                                              const vesk_vector3 &p2)
{
    return vesk_vec_normalize(vesk_vec_cross_product(p1 - p0, p2 - p0));
}
