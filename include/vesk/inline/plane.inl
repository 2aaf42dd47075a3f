#pragma once

// Inline half of plane.h. The order of operations is the result: it is never simplified.

/// What plane.h keeps to itself.
namespace vesk_plane_detail
{
// In float, the y term first.
inline float dot(const vesk_vector3 &a, const vesk_vector3 &b)
{
    return a.y * b.y + a.x * b.x + a.z * b.z;
}
} // namespace vesk_plane_detail

VESK_INLINE vesk_plane3::vesk_plane3() : normal(), point(), d(0.0f) {}

VESK_INLINE vesk_plane3::vesk_plane3(const vesk_plane3 &other)
    : normal(other.normal)
    , point(other.point)
    , d(other.d)
{
}

VESK_INLINE vesk_plane3 &vesk_plane3::operator=(const vesk_plane3 &other)
{
    normal = other.normal;
    point = other.point;
    d = other.d;
    return *this;
}

VESK_INLINE void vesk_plane3::create_from_triangle(const vesk_vector3 &a, const vesk_vector3 &b,
                                                   const vesk_vector3 &c)
{
    set_normal_and_point(vesk_vec_normalize(vesk_vec_cross_product(c - b, a - b)), b);
}

VESK_INLINE void vesk_plane3::set_normal_and_point(const vesk_vector3 &new_normal,
                                                   const vesk_vector3 &new_point)
{
    // Either may be a field of this plane, so that a reference would not do.
    const vesk_vector3 kept = new_point; // NOLINT(performance-unnecessary-copy-initialization)
    normal = new_normal;
    point = kept;
    d = -vesk_plane_detail::dot(normal, point);
}

VESK_INLINE void vesk_plane3::set_coefficients(float a, float b, float c, float new_d)
{
    const vesk_vector3 direction(a, b, c);
    const float length = direction.get_length();
    normal = direction / length;
    d = new_d / length;
}

VESK_INLINE float vesk_plane3_distance_from_point(const vesk_plane3 &plane, const vesk_vector3 &p)
{
    return vesk_plane_detail::dot(plane.normal, p) + plane.d;
}

VESK_INLINE int vesk_plane3_intersect_segment(const vesk_plane3 &plane, const vesk_vector3 &start,
                                              const vesk_vector3 &end, vesk_vector3 &out)
{
    const vesk_vector3 v = end - start;
    const vesk_vector3 w = start - plane.point;
    const float denominator = vesk_plane_detail::dot(plane.normal, v);
    const float numerator = -vesk_plane_detail::dot(plane.normal, w);
    if (std::fabs(denominator) < 1e-8f)
        return 0;
    const float u = numerator / denominator;
    if (u < 0.0f || u > 1.0f)
        return 0;
    out = start + u * v;
    return 1;
}

VESK_INLINE float vesk_triangle_radius(const vesk_vector2 &a, const vesk_vector2 &b,
                                       const vesk_vector2 &c)
{
    return (vesk_vec_distance(a, b) + vesk_vec_distance(b, c) + vesk_vec_distance(c, a)) * 0.5f;
}

VESK_INLINE float vesk_ray_intersect_sphere(const vesk_vector3 &origin,
                                            const vesk_vector3 &direction,
                                            const vesk_vector3 &center, float radius)
{
    const vesk_vector3 w = origin - center;
    const float b = vesk_plane_detail::dot(direction, w);
    const float l = w.get_length();
    const float q = b * b - (l * l - radius * radius);
    if (0.0f > q)
        return -1.0f;
    return -b - static_cast<float>(std::sqrt(static_cast<double>(q)));
}
