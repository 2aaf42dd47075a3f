#include "golden/families.h"
#include "support/mesh_builder.h"

#include <limits>

namespace
{
/// Ordinary numbers, and those at which arithmetic turns.
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float most = std::numeric_limits<float>::max();
constexpr float none = std::numeric_limits<float>::quiet_NaN();
const float grid_numbers[] = {0.0f,         -0.0f, 1.0f,        -1.0f,      0.5f,       2.5f,
                              -3.25f,       0.1f,  0.70710677f, 3.1415927f, 6.2831855f, -6.5f,
                              7.0f,         1e-3f, 1e-30f,      -1e-42f,    1e30f,      123456.789f,
                              4.2949673e9f, most,  infinity,    -infinity,  none};

constexpr unsigned int random_count = 4000;

/// Of far larger angles the platforms' libraries make different turns: docs/portability.md.
bool is_promised_angle(float radians)
{
    return !(vesk_fabs(radians) > 4294967296.0f && vesk_fabs(radians) <= 3.4028235e38f);
}

template <typename V> V random_vector(test_random &random)
{
    V v;
    for (unsigned int i = 0; i < sizeof(V) / sizeof(float); ++i)
        v[i] = random.below(8) == 0
                   ? grid_numbers[random.below(sizeof(grid_numbers) / sizeof(float))]
                   : random.between(-4.0f, 4.0f);
    return v;
}

/// What all three vector classes have.
template <typename V> void fold_common(digest &out, V a, V b, float s)
{
    out.add(a + b, a - b, a * s, s * a, a / s, -a);
    V c = a;
    c += b;
    c -= a;
    c *= s;
    c /= s;
    out.add(c, a == b, a != c, a.is_zero(), a.get_length(), a.get_length_squared(),
            vesk_vec_normalize(a), vesk_vec_reflect(a, b), vesk_vec_dot_product(a, b),
            vesk_vec_nearly_equal(a, b, s));
}

void fold_scalars(digest &out)
{
    for (const float a : grid_numbers)
    {
        if (is_promised_angle(a))
            out.add(vesk_sine(a), vesk_cosine(a));
        out.add(vesk_degree_to_radian(a), vesk_degree_to_half_radian(a), vesk_radian_to_degree(a),
                vesk_square_root(a), vesk_arccosine(a), vesk_arctangent(a), vesk_fabs(a),
                vesk_round(a));
        for (const float b : grid_numbers)
        {
            out.add(vesk_arctangent2(a, b), vesk_exponent(a, b), vesk_mod(a, b),
                    vesk_minimum_distance_between_angles(a, b));
            if (is_promised_angle(a) && is_promised_angle(b))
                out.add(vesk_maximize_angles(a, b));
            for (const float c : grid_numbers)
                out.add(vesk_is_angle_in_range(a, b, c), vesk_clamp(a, b, c),
                        vesk_percentage(a, b, c));
        }
    }
    test_random random(11);
    for (unsigned int i = 0; i < random_count; ++i)
    {
        const float angle = random.between(-20.0f, 20.0f);
        const float part = random.between(-1.0f, 1.0f);
        out.add(vesk_sine(angle), vesk_cosine(angle), vesk_arccosine(part), vesk_arctangent(angle),
                vesk_arctangent2(part, angle), vesk_exponent(vesk_fabs(angle), part),
                vesk_mod(angle, vesk_fabs(part)), vesk_round(vesk_fabs(angle)));
        const unsigned int value = random.next();
        const unsigned int divisor = random.below(3);
        out.add(vesk_mod(value, divisor), vesk_abs(static_cast<int>(random.below(1000)) - 500));
    }
}

void fold_vectors(digest &out)
{
    test_random random(12);
    for (unsigned int i = 0; i < random_count; ++i)
    {
        const float s = random.between(-2.0f, 2.0f);
        vesk_vector2 a2 = random_vector<vesk_vector2>(random);
        const vesk_vector2 b2 = random_vector<vesk_vector2>(random);
        fold_common(out, a2, b2, s);
        out.add(vesk_vec_distance(a2, b2), vesk_vec_distance_squared(a2, b2),
                vesk_vec_lerp(a2, b2, s), a2.get_angle());
        a2.rotate_angle(s);
        out.add(a2);
        a2.set_angle(s * 8.0f);
        out.add(a2);

        const vesk_vector3 a3 = random_vector<vesk_vector3>(random);
        const vesk_vector3 b3 = random_vector<vesk_vector3>(random);
        const vesk_vector3 c3 = random_vector<vesk_vector3>(random);
        fold_common(out, a3, b3, s);
        out.add(vesk_vec_distance(a3, b3), vesk_vec_distance_squared(a3, b3),
                vesk_vec_lerp(a3, b3, s), vesk_vec_cross_product(a3, b3),
                vesk_vec_triple_product(a3, b3, c3),
                vesk_vec_slerp(vesk_vec_normalize(a3), vesk_vec_normalize(b3), s),
                vesk_triangle_normal(a3, b3, c3));
        vesk_vector3 turned = c3;
        vesk_rotate_point_around_axis(a3, b3, s, turned);
        out.add(turned);

        const vesk_vector4 a4 = random_vector<vesk_vector4>(random);
        fold_common(out, a4, random_vector<vesk_vector4>(random), s);
    }
}

void fold_matrices(digest &out)
{
    test_random random(13);
    for (unsigned int i = 0; i < random_count; ++i)
    {
        const float angle = random.between(-7.0f, 7.0f);
        const vesk_vector3 v = random_vector<vesk_vector3>(random);
        const vesk_vector3 axis = vesk_vec_normalize(random.point(-1.0f, 1.0f));
        vesk_matrix33 a;
        for (unsigned int row = 0; row < 3; ++row)
            a[row] = random.point(-2.0f, 2.0f);
        vesk_matrix33 b = vesk_matrix33_rotate(i % 4, angle);
        out.add(b);
        vesk_matrix33_rotate_on_arbitrary_axis(axis, angle, b);
        out.add(b, a * b, a + b, a - b, a * angle, a * v, v * a, a == b, vesk_matrix33_inverse(a),
                vesk_matrix33_transpose(a));
        vesk_matrix33_rotate_on_arbitrary_XZ_axis(axis, angle, b);
        out.add(b, vesk_matrix33_rotation_from_vector(axis, v, static_cast<int>(i & 1)),
                vesk_matrix33_scale(v));

        vesk_matrix44 c = vesk_matrix44_rotate(i % 4, angle);
        c *= vesk_matrix44_translate(v) * vesk_matrix44_scale(axis);
        out.add(c, c * v, v * c);
        out.add(c * random_vector<vesk_vector4>(random));
        c = a;
        c /= angle;
        out.add(c.transpose());
        out.add(vesk_matrix44_rotation_from_vector(v, axis));
    }
}

void fold_quaternions(digest &out)
{
    test_random random(14);
    for (unsigned int i = 0; i < random_count; ++i)
    {
        const vesk_vector3 axis = vesk_vec_normalize(random.point(-1.0f, 1.0f));
        const vesk_quaternion a(random.between(-400.0f, 400.0f), axis);
        vesk_quaternion b;
        const vesk_vector3 angles = random.point(-180.0f, 180.0f);
        b.from_euler(angles.x, angles.y, angles.z);
        const float t = random.between(-0.5f, 1.5f);
        out.add(a, b, a * b, a * t + b, a.dot(b));
        vesk_quaternion blend;
        vesk_quat_slerp(a, b, t, blend);
        out.add(blend);
        vesk_quat_nlerp(a, b, t, blend);
        out.add(blend);
        out.add(blend.normalize());
        out.add(blend);
        blend.aim_z_axis(axis);
        out.add(blend);
        vesk_matrix33 turn;
        blend.to_matrix(turn);
        out.add(turn);
    }
}

void fold_planes(digest &out)
{
    test_random random(15);
    for (unsigned int i = 0; i < random_count; ++i)
    {
        const vesk_vector3 a = random.point(-2.0f, 2.0f);
        const vesk_vector3 b = random.point(-2.0f, 2.0f);
        const vesk_vector3 c = random_vector<vesk_vector3>(random);
        vesk_plane3 plane;
        plane.create_from_triangle(a, b, c);
        out.add(plane.normal, plane.point, plane.d);
        vesk_vector3 crossing;
        out.add(vesk_plane3_intersect_segment(plane, b * 2.0f, a * -2.0f, crossing));
        out.add(crossing, vesk_plane3_distance_from_point(plane, c));
        plane.set_coefficients(a.x, a.y, a.z, b.x);
        out.add(plane.normal, plane.d,
                vesk_triangle_radius(vesk_vector2(a.x, a.y), vesk_vector2(b.x, b.y),
                                     vesk_vector2(c.x, c.y)),
                vesk_ray_intersect_sphere(a, vesk_vec_normalize(b - a), c, 1.5f));
    }
}
} // namespace

std::vector<family> kit_families()
{
    return {{"scalars", fold_scalars},
            {"vectors", fold_vectors},
            {"matrices", fold_matrices},
            {"quaternions", fold_quaternions},
            {"planes", fold_planes}};
}
