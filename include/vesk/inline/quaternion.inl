#pragma once

// Inline half of quaternion.h. The order of operations is the result: it is never simplified.

VESK_INLINE vesk_quaternion::vesk_quaternion() : x(0.0f), y(0.0f), z(0.0f), w(1.0f) {}

VESK_INLINE vesk_quaternion::vesk_quaternion(float new_x, float new_y, float new_z, float new_w)
    : x(new_x)
    , y(new_y)
    , z(new_z)
    , w(new_w)
{
}

VESK_INLINE vesk_quaternion::vesk_quaternion(const vesk_quaternion &other)
    : x(other.x)
    , y(other.y)
    , z(other.z)
    , w(other.w)
{
}

VESK_INLINE vesk_quaternion &vesk_quaternion::operator=(const vesk_quaternion &other)
{
    x = other.x;
    y = other.y;
    z = other.z;
    w = other.w;
    return *this;
}

VESK_INLINE vesk_quaternion vesk_quaternion::operator*(const vesk_quaternion &other) const
{
    const vesk_quaternion &t = *this;
    const vesk_quaternion &q = other;
    return vesk_quaternion(q.x * t.w + q.w * t.x + t.y * q.z - t.z * q.y,
                           q.w * t.y + q.y * t.w + q.x * t.z - t.x * q.z,
                           q.w * t.z + q.z * t.w + t.x * q.y - q.x * t.y,
                           q.w * t.w - q.x * t.x - t.y * q.y - t.z * q.z);
}

VESK_INLINE vesk_quaternion vesk_quaternion::operator*(float scalar) const
{
    return vesk_quaternion(x * scalar, y * scalar, z * scalar, w * scalar);
}

VESK_INLINE vesk_quaternion vesk_quaternion::operator+(const vesk_quaternion &other) const
{
    return vesk_quaternion(x + other.x, y + other.y, z + other.z, w + other.w);
}

VESK_INLINE int vesk_quaternion::operator==(const vesk_quaternion &other) const
{
    return x == other.x && y == other.y && z == other.z && w == other.w;
}

VESK_INLINE float vesk_quaternion::dot(const vesk_quaternion &other) const
{
    return x * other.x + y * other.y + z * other.z + w * other.w;
}

VESK_INLINE void vesk_quaternion::reset()
{
    *this = vesk_quaternion();
}

VESK_INLINE void vesk_quaternion::invert()
{
    *this = vesk_quaternion(-x, -y, -z, -w);
}

VESK_INLINE int vesk_quaternion::is_identity() const
{
    return x == 0.0f && y == 0.0f && z == 0.0f && w == 1.0f;
}

VESK_INLINE int vesk_quaternion::normalize()
{
    const float n = dot(*this);
    if (n == 0.0f)
        return -1;
    if (n == 1.0f)
        return 0;
    *this = *this * (1.0f / static_cast<float>(std::sqrt(static_cast<double>(n))));
    return 1;
}

VESK_INLINE void vesk_quaternion::to_matrix(vesk_matrix33 &out) const
{
    const float x2 = x * 2.0f, y2 = y * 2.0f, z2 = z * 2.0f;
    const float xx = x * x2, yy = y * y2, zz = z * z2;
    const float xy = x * y2, xz = x * z2, yz = y * z2;
    const float wx = w * x2, wy = w * y2, wz = w * z2;
    out = vesk_matrix33(1.0f - (zz + yy), xy - wz, xz + wy, //
                        xy + wz, 1.0f - (zz + xx), yz - wx, //
                        xz - wy, yz + wx, 1.0f - (yy + xx));
}

VESK_INLINE void vesk_quat_nlerp(const vesk_quaternion &a, const vesk_quaternion &b, float t,
                                 vesk_quaternion &out)
{
    vesk_quaternion blend = a * (1.0f - t) + b * t;
    blend.normalize();
    out = blend;
}
