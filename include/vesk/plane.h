#pragma once

#include "vesk/export.h"
#include "vesk/vector.h"

/// @file
/// Planes, and two small measures of triangles and spheres.
///
/// All arithmetic is float, each product and sum rounds to float; dot products sum in component
/// order, unlike those of `vesk_vec_dot_product`, which run in double. Roots are taken in double
/// and rounded back. Nothing here fails or allocates: bad input gives an IEEE result or the
/// result that the operation names.

/// An infinite plane: the points p whose dot product with `normal`, plus `d`, is 0.
///
/// Each function reads some of the fields only: the distance reads `normal` and `d`, the segment
/// crossing `normal` and `point`. All three agree after `create_from_triangle` and
/// `set_normal_and_point`, not after `set_coefficients`.
class VESK_KIT vesk_plane3
{
public:
    vesk_vector3 normal; ///< the side that counts as positive
    vesk_vector3 point;  ///< a point of the plane
    float d;             ///< constant of the plane's equation

    /// A zero normal and point. `d` has no meaning before one of the three set operations.
    vesk_plane3();
    /// A copy.
    vesk_plane3(const vesk_plane3 &other);
    /// Copies all seven floats.
    vesk_plane3 &operator=(const vesk_plane3 &other);

    /// The plane through three corners, which run counter-clockwise seen from the side of the
    /// normal; `point` is `b`. A triangle without area gives a zero normal.
    void create_from_triangle(const vesk_vector3 &a, const vesk_vector3 &b, const vesk_vector3 &c);
    /// Stores both, without normalising, and sets `d` to minus their dot product.
    void set_normal_and_point(const vesk_vector3 &new_normal, const vesk_vector3 &new_point);
    /// The plane `a*x + b*y + c*z + new_d = 0`: all four divided by the length of (a, b, c).
    /// `point` stays as it was. Zero for `a`, `b` and `c` gives infinities or NaNs.
    void set_coefficients(float a, float b, float c, float new_d);
};

/// Signed distance of `p`, positive on the side that the normal points to; true for a unit
/// normal only. Reads `normal` and `d`.
VESK_KIT float vesk_plane3_distance_from_point(const vesk_plane3 &plane, const vesk_vector3 &p);
/// Where the segment from `start` to `end` crosses the plane, both ends included. Reads `normal`
/// and `point`.
///
/// @param plane the plane
/// @param start one end
/// @param end the other end
/// @param out the crossing; kept when there is none. It may be any of the arguments.
/// @return 1 when it crosses, else 0; 0 when normal and segment have a dot product below 1e-8f in
/// size, so for a segment that runs parallel to the plane or lies in it. A NaN gives 1 and a NaN
/// crossing.
VESK_KIT int vesk_plane3_intersect_segment(const vesk_plane3 &plane, const vesk_vector3 &start,
                                           const vesk_vector3 &end, vesk_vector3 &out);

/// Half the perimeter of the triangle.
VESK_KIT float vesk_triangle_radius(const vesk_vector2 &a, const vesk_vector2 &b,
                                    const vesk_vector2 &c);
/// Where a line meets a sphere first, as a distance along `direction`, which is of unit length and
/// not normalised here; -1.0f when it misses.
///
/// The result is negative too when `origin` lies inside the sphere or beyond it: any negative
/// result but -1.0f is a crossing behind the origin for certain.
VESK_KIT float vesk_ray_intersect_sphere(const vesk_vector3 &origin, const vesk_vector3 &direction,
                                         const vesk_vector3 &center, float radius);

static_assert(sizeof(vesk_plane3) == 28, "a plane is its seven floats");

#if !defined(VESK_NO_INLINE)
#include "vesk/inline/plane.inl"
#endif
