#define VESK_EMIT_KIT
#include "vesk/quaternion.h"

#include "vesk/scalar.h"

vesk_quaternion::vesk_quaternion(float degrees, const vesk_vector3 &axis)
{
    set_axis(degrees, axis.x, axis.y, axis.z);
}

void vesk_quaternion::set_axis(float degrees, float axis_x, float axis_y, float axis_z)
{
    const float h = vesk_degree_to_half_radian(degrees);
    const float s = vesk_sine(h);
    *this = vesk_quaternion(s * axis_x, s * axis_y, s * axis_z, vesk_cosine(h));
}

void vesk_quaternion::from_euler(float x_degrees, float y_degrees, float z_degrees)
{
    // Half angles, negated: to_matrix turns row vectors left-handed.
    const float a = x_degrees * -0.008726646f;
    const float b = y_degrees * -0.008726646f;
    const float c = z_degrees * -0.008726646f;
    const vesk_quaternion qx(vesk_sine(a), 0.0f, 0.0f, vesk_cosine(a));
    const vesk_quaternion qy(0.0f, vesk_sine(b), 0.0f, vesk_cosine(b));
    const vesk_quaternion qz(0.0f, 0.0f, vesk_sine(c), vesk_cosine(c));
    *this = qx * (qy * qz);
}

void vesk_quaternion::aim_z_axis(const vesk_vector3 &direction)
{
    const vesk_vector3 d = vesk_vec_normalize(direction);
    if (d.is_zero())
    {
        reset();
        return;
    }
    // Z turned by this quaternion is (-2wy, 2wx, 1 - 2(xx + yy)): d, once it has unit length.
    *this = vesk_quaternion(d.y, -d.x, 0.0f, d.z + 1.0f);
    if (x == 0.0f && y == 0.0f && w == 0.0f)
        *this = vesk_quaternion(0.0f, 1.0f, 0.0f, 0.0f); // opposite: any half turn would do
    else
        normalize();
}

void vesk_quaternion::aim_z_axis(const vesk_vector3 &from, const vesk_vector3 &to)
{
    aim_z_axis(to - from);
}

void vesk_quat_slerp(const vesk_quaternion &a, const vesk_quaternion &b, float t,
                     vesk_quaternion &out)
{
    const float theta = vesk_arccosine(a.dot(b));
    const float s = vesk_sine(theta);
    float weight_a = 1.0f - t;
    float weight_b = t;
    if (s > 0.001f)
    {
        weight_a = vesk_sine((1.0f - t) * theta) / s;
        weight_b = vesk_sine(theta * t) / s;
    }
    out = a * weight_a + b * weight_b;
}
