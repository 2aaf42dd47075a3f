#define VESK_EMIT_KIT
#include "vesk/vector.h"

#include "vesk/scalar.h"

namespace
{
// The float nearest to 2 pi, bits 0x40C90FDB.
constexpr float two_pi = 6.2831855f;
} // namespace

float vesk_vector2::get_angle() const
{
    const float angle =
        static_cast<float>(std::atan2(static_cast<double>(y), static_cast<double>(x)));
    return angle < 0.0f ? angle + two_pi : angle;
}

void vesk_vector2::set_angle(float radians)
{
    if (radians > two_pi)
        radians = static_cast<float>(
            std::fmod(static_cast<double>(radians), static_cast<double>(two_pi)));
    if (radians == two_pi)
        return;
    x = vesk_cosine(radians);
    y = vesk_sine(radians);
}

void vesk_vector2::rotate_angle(float radians)
{
    const float c = vesk_cosine(radians);
    const float s = vesk_sine(radians);
    *this = vesk_vector2(x * c - y * s, x * s + y * c);
}

vesk_vector3 vesk_vec_slerp(const vesk_vector3 &a, const vesk_vector3 &b, float t)
{
    float d = a.x * b.x + a.y * b.y + a.z * b.z;
    if (-1.0f > d)
        d = -1.0f;
    else if (d > 1.0f)
        d = 1.0f;

    const float theta = static_cast<float>(std::acos(static_cast<double>(d)));
    const float s = vesk_sine(theta);
    // The sine can be slightly negative, when theta rounds above pi.
    if (1e-06 > static_cast<double>(s))
        return vesk_vec_normalize((1.0f - t) * a + t * b);
    return (vesk_sine((1.0f - t) * theta) * a + vesk_sine(t * theta) * b) / s;
}

void vesk_rotate_point_around_axis(const vesk_vector3 &point, const vesk_vector3 &axis, float angle,
                                   vesk_vector3 &out)
{
    const vesk_vector3 n = vesk_vec_normalize(axis);
    const float c = vesk_cosine(angle);
    const float s = vesk_sine(angle);
    const float u = 1.0f - c;
    const vesk_vector3 p = point; // `out` may be the point itself

    out.x += (u * n.x * n.x + c) * p.x;
    out.x += (u * n.x * n.y - n.z * s) * p.y;
    out.x += (u * n.x * n.z + n.y * s) * p.z;

    out.y += (u * n.x * n.y + n.z * s) * p.x;
    out.y += (u * n.y * n.y + c) * p.y;
    out.y += (u * n.y * n.z - n.x * s) * p.z;

    out.z += (u * n.x * n.z - n.y * s) * p.x;
    out.z += (u * n.y * n.z + n.x * s) * p.y;
    out.z += (u * n.z * n.z + c) * p.z;
}
