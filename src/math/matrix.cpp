#define VESK_EMIT_KIT
#include "vesk/matrix.h"

#include "vesk/scalar.h"

vesk_matrix33 vesk_matrix33_rotate(unsigned int axis, float radians)
{
    const float c = vesk_cosine(radians);
    const float s = vesk_sine(radians);
    switch (axis)
    {
    case 0:
        return vesk_matrix33(1.0f, 0.0f, 0.0f, 0.0f, c, s, 0.0f, -s, c);
    case 1:
        return vesk_matrix33(c, 0.0f, -s, 0.0f, 1.0f, 0.0f, s, 0.0f, c);
    case 2:
        return vesk_matrix33(c, s, 0.0f, -s, c, 0.0f, 0.0f, 0.0f, 1.0f);
    default:
        return vesk_matrix33();
    }
}

vesk_matrix44 vesk_matrix44_rotate(unsigned int axis, float radians)
{
    return vesk_matrix44(vesk_matrix33_rotate(axis, radians));
}

void vesk_matrix33_rotate_on_arbitrary_axis(const vesk_vector3 &axis, float radians,
                                            vesk_matrix33 &out)
{
    const float c = vesk_cosine(radians);
    const float s = vesk_sine(radians);
    const float u = 1.0f - c;
    const float x = axis.x, y = axis.y, z = axis.z; // `axis` may be a row of `out`

    out = vesk_matrix33(x * u * x + c, x * u * y - z * s, x * u * z + y * s, //
                        x * u * y + z * s, y * u * y + c, y * u * z - x * s, //
                        x * u * z - y * s, y * u * z + x * s, z * u * z + c);
}

void vesk_matrix33_rotate_on_arbitrary_XZ_axis(const vesk_vector3 &axis, float radians,
                                               vesk_matrix33 &out)
{
    const float c = vesk_cosine(radians);
    const float s = vesk_sine(radians);
    const float u = 1.0f - c;
    const float x = axis.x, z = axis.z; // `axis` may be a row of `out`

    out = vesk_matrix33(x * u * x + c, -(z * s), x * u * z, //
                        z * s, c, -(x * s),                 //
                        x * u * z, x * s, z * u * z + c);
}

vesk_matrix33 vesk_matrix33_rotation_from_vector(const vesk_vector3 &forward,
                                                 const vesk_vector3 &up, int negate_right)
{
    const vesk_vector3 f = vesk_vec_normalize(forward);
    const vesk_vector3 h = vesk_vec_normalize(up);
    const vesk_vector3 r = vesk_vec_normalize(vesk_vec_cross_product(f, h));
    const vesk_vector3 t = vesk_vec_normalize(vesk_vec_cross_product(r, f));
    return vesk_matrix33(negate_right ? -r : r, t, f);
}

vesk_matrix44 vesk_matrix44_rotation_from_vector(const vesk_vector3 &forward,
                                                 const vesk_vector3 &up)
{
    return vesk_matrix44(vesk_matrix33_rotation_from_vector(forward, up, 0));
}
