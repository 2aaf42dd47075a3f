#include "support/bits.h"
#include "vesk/plane.h"

TEST(Plane, IsMadeOfATriangleOrOfItsOwnFields)
{
    vesk_plane3 plane;
    plane.create_from_triangle({1, 2, 3}, {2, 4, 6}, {2, 4, 6}); // no area
    EXPECT_TRUE(plane.normal.is_zero() && plane.point == vesk_vector3(2, 4, 6));
    EXPECT_EQ(plane.d, 0.0f);

    plane.set_normal_and_point({1, 2, 3}, {4, 5, 6});
    plane.set_normal_and_point(plane.point, plane.normal);
    EXPECT_TRUE(plane.normal == vesk_vector3(4, 5, 6) && plane.point == vesk_vector3(1, 2, 3));
    EXPECT_EQ(plane.d, -32.0f);
    plane.set_coefficients(0, 3, 4, 10);
    EXPECT_TRUE(plane.normal == vesk_vector3(0, 0.6f, 0.8f) && plane.d == 2.0f);
    EXPECT_EQ(vesk_plane3_distance_from_point(plane, {1, 5, 5}), 9.0f);
}

TEST(Plane, SegmentsIncludeBothEndsAndParallelOnesMiss)
{
    const struct
    {
        vesk_vector3 start, end;
        int crosses;
    } rows[] = {
        {{1, 2, 0}, {1, 2, 9}, 1},      {{1, 2, -9}, {1, 2, 0}, 1}, {{1, 2, 4}, {1, 2, -4}, 1},
        {{1, 2, 4}, {1, 2, 0.001f}, 0}, {{1, 2, 4}, {5, 2, 4}, 0},  {{1, 2, 0}, {5, 2, 0}, 0},
    };
    vesk_plane3 plane;
    plane.create_from_triangle({0, 0, 0}, {1, 0, 0}, {0, 1, 0});
    EXPECT_TRUE(plane.normal == vesk_vector3(0, 0, 1) && plane.point == vesk_vector3(1, 0, 0));
    for (const auto &row : rows)
    {
        SCOPED_TRACE(&row - rows);
        vesk_vector3 out(7, 7, 7);
        EXPECT_EQ(vesk_plane3_intersect_segment(plane, row.start, row.end, out), row.crosses);
        EXPECT_TRUE(out == (row.crosses ? vesk_vector3(1, 2, 0) : vesk_vector3(7, 7, 7)));
    }
}

TEST(Primitives, KnownShapes)
{
    EXPECT_EQ(vesk_triangle_radius({0, 0}, {3, 0}, {0, 4}), 6.0f);
    const vesk_vector3 along(0, 0, 1), center;
    EXPECT_EQ(vesk_ray_intersect_sphere({0, 0, -5}, along, center, 1.0f), 4.0f);
    EXPECT_EQ(vesk_ray_intersect_sphere({0, 2, -5}, along, center, 1.0f), -1.0f);
    EXPECT_EQ(vesk_ray_intersect_sphere({0, 0, 5}, along, center, 1.0f), -6.0f);
}
