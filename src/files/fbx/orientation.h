#pragma once

#include <cmath>

// On which side of a line a point lies, without error: the one question that cutting a polygon
// into triangles asks of the numbers.

namespace vesk_fbx
{
struct vector2
{
    double x = 0.0, y = 0.0;
};

inline bool operator==(const vector2 &a, const vector2 &b)
{
    return a.x == b.x && a.y == b.y;
}

/// The sign of `orientation(a, b, c)` from exact arithmetic; what the fast way cannot tell.
int exact_orientation(const vector2 &a, const vector2 &b, const vector2 &c);

/// A bound on the rounding of `left - right`, both products of two differences of coordinates
/// (Shewchuk 1997, orient2d, first stage).
inline double orientation_error(double left, double right)
{
    constexpr double bound = 3.3306690738754716e-16;
    return bound * (std::fabs(left) + std::fabs(right));
}

/// Like `orientation`, but 0 also means that rounding hides the answer. Never wrong otherwise.
inline int certain_orientation(const vector2 &a, const vector2 &b, const vector2 &c)
{
    const double left = (a.x - c.x) * (b.y - c.y);
    const double right = (a.y - c.y) * (b.x - c.x);
    const double determinant = left - right;
    const double error = orientation_error(left, right);
    return (determinant > error) - (determinant < -error);
}

/// 1 when a, b, c run counter-clockwise, -1 when clockwise, 0 when they are on one line.
/// Exact as long as no product of coordinates overflows or underflows.
inline int orientation(const vector2 &a, const vector2 &b, const vector2 &c)
{
    const int certain = certain_orientation(a, b, c);
    if (certain != 0)
        return certain;
    // Points that coincide or share a coordinate are what most doubtful cases are about.
    const bool no_left = a.x == c.x || b.y == c.y;
    const bool no_right = a.y == c.y || b.x == c.x;
    return no_left && no_right ? 0 : exact_orientation(a, b, c);
}
} // namespace vesk_fbx
