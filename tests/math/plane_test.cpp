#include "support/stepped.h"
#include "vesk/plane.h"

namespace
{
constexpr int round_count = 20000;

stepped plain_dot(const floats<3> &a, const floats<3> &b)
{
    return a[1] * b[1] + a[0] * b[0] + a[2] * b[2];
}

template <std::size_t n> floats<n> minus(const floats<n> &a, const floats<n> &b)
{
    floats<n> result;
    for (std::size_t i = 0; i < n; ++i)
        result[i] = a[i] - b[i];
    return result;
}

stepped plain_length(const floats<3> &v)
{
    return stepped_root(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

floats<7> plain_plane(const floats<3> &normal, const floats<3> &point)
{
    return {
        normal[0], normal[1], normal[2], point[0], point[1], point[2], -plain_dot(normal, point)};
}

floats<7> plain_from_triangle(const floats<3> &a, const floats<3> &b, const floats<3> &c)
{
    const floats<3> e = minus(c, b), f = minus(a, b);
    floats<3> normal = {e[1] * f[2] - e[2] * f[1], e[2] * f[0] - e[0] * f[2],
                        e[0] * f[1] - e[1] * f[0]};
    const stepped length = plain_length(normal);
    for (stepped &component : normal)
        component = length.value > 0.0f ? component / length : stepped();
    return plain_plane(normal, b);
}

int plain_crossing(const floats<7> &plane, const floats<3> &start, const floats<3> &end,
                   floats<3> &out)
{
    const floats<3> normal = {plane[0], plane[1], plane[2]}, point = {plane[3], plane[4], plane[5]};
    const floats<3> v = minus(end, start);
    const stepped denominator = plain_dot(normal, v);
    if (std::fabs(denominator.value) < float_of(0x322bcc77u))
        return 0;
    const stepped u = -plain_dot(normal, minus(start, point)) / denominator;
    if (u.value < 0.0f || u.value > 1.0f)
        return 0;
    for (std::size_t i = 0; i < 3; ++i)
        out[i] = start[i] + u * v[i];
    return 1;
}

stepped plain_edge(const floats<2> &a, const floats<2> &b)
{
    const floats<2> e = minus(a, b);
    return stepped_root(e[0] * e[0] + e[1] * e[1]);
}

stepped plain_sphere(const floats<3> &origin, const floats<3> &direction, const floats<3> &center,
                     stepped radius)
{
    const floats<3> w = minus(origin, center);
    const stepped b = plain_dot(direction, w), l = plain_length(w);
    const stepped q = b * b - (l * l - radius * radius);
    if (0.0f > q.value)
        return -1.0f;
    return -b - stepped_root(q);
}
} // namespace

TEST(Plane, MatchesSteppedArithmetic)
{
    hostile_floats source(41);
    int crossing_count = 0;
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_vector3 a = source.object<vesk_vector3>(), b = source.object<vesk_vector3>(),
                           c = source.object<vesk_vector3>();
        const float d = source.next();
        const floats<3> fa = floats_of(a), fb = floats_of(b), fc = floats_of(c);

        vesk_plane3 plane;
        plane.create_from_triangle(a, b, c);
        EXPECT_TRUE(same_floats(plane, plain_from_triangle(fa, fb, fc)));
        plane.set_normal_and_point(a, b);
        EXPECT_TRUE(same_floats(plane, plain_plane(fa, fb)));
        EXPECT_TRUE(same_bits(vesk_plane3_distance_from_point(plane, c),
                              (plain_dot(fa, fc) + plane.d).value));

        const vesk_vector3 start = source.object<vesk_vector3>();
        vesk_vector3 out(1.0f, 2.0f, 3.0f);
        floats<3> expected = floats_of(out);
        const int crosses = plain_crossing(floats_of(plane), floats_of(start), fc, expected);
        EXPECT_EQ(vesk_plane3_intersect_segment(plane, start, c, out), crosses);
        EXPECT_TRUE(same_floats(out, expected));
        crossing_count += crosses;

        plane.set_coefficients(a.x, a.y, a.z, d);
        const stepped length = plain_length(fa);
        EXPECT_TRUE(same_floats(plane, floats<7>{fa[0] / length, fa[1] / length, fa[2] / length,
                                                 fb[0], fb[1], fb[2], stepped(d) / length}));
    }
    EXPECT_GT(crossing_count, round_count / 20); // both answers were compared
    EXPECT_LT(crossing_count, round_count / 4 * 3);
}

TEST(Plane, SetterTakesItsOwnFields)
{
    vesk_plane3 plane;
    plane.set_normal_and_point(vesk_vector3(1.0f, 2.0f, 3.0f), vesk_vector3(4.0f, 5.0f, 6.0f));
    plane.set_normal_and_point(plane.point, plane.normal);
    EXPECT_TRUE(same_floats(plane, floats<7>{4.0f, 5.0f, 6.0f, 1.0f, 2.0f, 3.0f, -32.0f}));
}

TEST(Plane, DegenerateTriangleGivesZeroNormalAtTheSecondCorner)
{
    const vesk_vector3 a(1.0f, 2.0f, 3.0f), b(2.0f, 4.0f, 6.0f);
    vesk_plane3 plane;
    plane.create_from_triangle(a, b, b);
    EXPECT_EQ(plane.normal.is_zero(), 1);
    EXPECT_EQ(plane.point == b, 1);
    EXPECT_EQ(plane.d, 0.0f);
}

TEST(Plane, SegmentsIncludeBothEndsAndParallelOnesMiss)
{
    const struct
    {
        vesk_vector3 start, end;
        int crosses;
        float z;
    } rows[] = {
        {{1.0f, 2.0f, 0.0f}, {1.0f, 2.0f, 9.0f}, 1, 0.0f},
        {{1.0f, 2.0f, -9.0f}, {1.0f, 2.0f, 0.0f}, 1, 0.0f},
        {{1.0f, 2.0f, 4.0f}, {1.0f, 2.0f, -4.0f}, 1, 0.0f},
        {{1.0f, 2.0f, 4.0f}, {1.0f, 2.0f, 0.001f}, 0, 0.0f},
        {{1.0f, 2.0f, 4.0f}, {5.0f, 2.0f, 4.0f}, 0, 0.0f},
        {{1.0f, 2.0f, 0.0f}, {5.0f, 2.0f, 0.0f}, 0, 0.0f},
    };
    vesk_plane3 plane;
    plane.create_from_triangle(vesk_vector3(), vesk_vector3(1.0f, 0.0f, 0.0f),
                               vesk_vector3(0.0f, 1.0f, 0.0f));
    EXPECT_TRUE(same_floats(plane, floats<7>{0.0f, 0.0f, 1.0f, 1.0f, 0.0f, 0.0f, plane.d}));
    EXPECT_EQ(plane.d, 0.0f);
    for (const auto &row : rows)
    {
        SCOPED_TRACE(&row - rows);
        vesk_vector3 out(7.0f, 7.0f, 7.0f);
        EXPECT_EQ(vesk_plane3_intersect_segment(plane, row.start, row.end, out), row.crosses);
        EXPECT_EQ(out.z, row.crosses ? row.z : 7.0f);
    }
}

TEST(Primitives, MatchSteppedArithmetic)
{
    hostile_floats source(42);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_vector2 a = source.object<vesk_vector2>(), b = source.object<vesk_vector2>(),
                           c = source.object<vesk_vector2>();
        const floats<2> fa = floats_of(a), fb = floats_of(b), fc = floats_of(c);
        const stepped around = plain_edge(fa, fb) + plain_edge(fb, fc) + plain_edge(fc, fa);
        EXPECT_TRUE(same_bits(vesk_triangle_radius(a, b, c), (around * 0.5f).value));

        const vesk_vector3 origin = source.object<vesk_vector3>(),
                           center = source.object<vesk_vector3>(),
                           direction = vesk_vec_normalize(source.object<vesk_vector3>());
        const float radius = source.next();
        EXPECT_TRUE(same_bits(
            vesk_ray_intersect_sphere(origin, direction, center, radius),
            plain_sphere(floats_of(origin), floats_of(direction), floats_of(center), radius)
                .value));
    }
}

TEST(Primitives, KnownShapes)
{
    EXPECT_EQ(vesk_triangle_radius({0.0f, 0.0f}, {3.0f, 0.0f}, {0.0f, 4.0f}), 6.0f);
    const vesk_vector3 along(0.0f, 0.0f, 1.0f), center;
    EXPECT_EQ(vesk_ray_intersect_sphere({0.0f, 0.0f, -5.0f}, along, center, 1.0f), 4.0f);
    EXPECT_EQ(vesk_ray_intersect_sphere({0.0f, 0.0f, 0.0f}, along, center, 1.0f), -1.0f);
    EXPECT_EQ(vesk_ray_intersect_sphere({0.0f, 2.0f, -5.0f}, along, center, 1.0f), -1.0f);
    EXPECT_EQ(vesk_ray_intersect_sphere({0.0f, 0.0f, 5.0f}, along, center, 1.0f), -6.0f);
}
