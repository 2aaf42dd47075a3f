#include "files/fbx/triangulate.h"
#include "support/mesh_builder.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <set>
#include <utility>

using vesk_fbx::polygon_splitter;
using vesk_fbx::vector2;
using vesk_fbx::vector3;

namespace
{
using outline = std::vector<vector2>;

/// Whole numbers up to some thousands stay exact in this plane, which no axis stands upright on.
std::vector<vector3> in_tilted_plane(const outline &polygon)
{
    std::vector<vector3> corners;
    for (const vector2 &p : polygon)
        corners.push_back({p.x, p.y, 3.0 * p.x - 2.0 * p.y + 7.0});
    return corners;
}

std::vector<int> split(const std::vector<vector3> &corners)
{
    const int n = static_cast<int>(corners.size());
    std::vector<int> triangles(3 * static_cast<std::size_t>(n - 2), -1);
    polygon_splitter().split(corners.data(), n, triangles.data());
    return triangles;
}

/// Each side of the polygon once, each diagonal once in each direction: the triangles then fit
/// together and their signed areas add up to the polygon's.
void expect_closed(const std::vector<int> &triangles, int n)
{
    std::map<std::pair<int, int>, int> edges;
    for (std::size_t t = 0; t < triangles.size(); t += 3)
        for (std::size_t k = 0; k < 3; ++k)
            ++edges[{triangles[t + k], triangles[t + (k + 1) % 3]}];
    for (const auto &[edge, count] : edges)
    {
        ASSERT_TRUE(edge.first >= 0 && edge.first < n && edge.second >= 0 && edge.second < n);
        ASSERT_NE(edge.first, edge.second);
        ASSERT_EQ(count, 1) << edge.first << " " << edge.second;
        const bool is_side = (edge.first + 1) % n == edge.second;
        ASSERT_EQ(edges.count({edge.second, edge.first}), is_side ? 0u : 1u);
    }
    for (int i = 0; i < n; ++i)
        ASSERT_EQ(edges.count({i, (i + 1) % n}), 1u);
}

double doubled_area(const vector2 &a, const vector2 &b, const vector2 &c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// Triangles whose area has not the sign of the polygon's.
int turned_over(const outline &polygon, const std::vector<int> &triangles)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < polygon.size(); ++i)
        sum += doubled_area({0.0, 0.0}, polygon[i], polygon[(i + 1) % polygon.size()]);
    int count = 0;
    for (std::size_t t = 0; t < triangles.size(); t += 3)
    {
        const auto corner = [&](std::size_t k)
        { return polygon[static_cast<std::size_t>(triangles[t + k])]; };
        count += doubled_area(corner(0), corner(1), corner(2)) * sum < 0.0;
    }
    return count;
}

/// With closed edges and no triangle turned over, the polygon is covered and nothing twice.
void expect_covered(outline polygon)
{
    for (int turn = 0; turn < 2; ++turn)
    {
        const std::vector<int> triangles = split(in_tilted_plane(polygon));
        expect_closed(triangles, static_cast<int>(polygon.size()));
        EXPECT_EQ(turned_over(polygon, triangles), 0);
        std::reverse(polygon.begin(), polygon.end());
    }
}

vector2 around(double radius, double angle)
{
    return {std::round(radius * std::cos(angle)), std::round(radius * std::sin(angle))};
}

outline star(test_random &random, int corner_count)
{
    outline polygon;
    for (int i = 0; i < corner_count; ++i)
        polygon.push_back(around(64.0 * (100.0 + random.below(4000)),
                                 6.28318530717958 * (i + random.below(90) / 100.0) / corner_count));
    return polygon;
}

outline spiral(int turns)
{
    outline polygon;
    for (int i = 0; i < turns * 20; ++i)
        polygon.push_back(around((50.0 + i) * 100.0, i * 0.314159265));
    for (int i = turns * 20; i-- > 0;)
        polygon.push_back(around((40.0 + i) * 100.0, i * 0.314159265));
    return polygon;
}

/// The outline of squares that were put to each other's sides one by one: it touches itself in
/// corners and along sides, in every way that an outline can. Corners on a line may go.
outline outline_of_random_cells(test_random &random)
{
    outline polygon = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    std::set<std::pair<double, double>> centers = {{0.5, 0.5}};
    for (unsigned int tries = random.below(60); tries > 0; --tries)
    {
        const std::size_t i = random.below(static_cast<unsigned int>(polygon.size()));
        const vector2 a = polygon[i], b = polygon[(i + 1) % polygon.size()];
        const vector2 out = {b.y - a.y, a.x - b.x};
        if (!centers.insert({(a.x + b.x + out.x) / 2, (a.y + b.y + out.y) / 2}).second)
            continue;
        polygon.insert(polygon.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                       {{a.x + out.x, a.y + out.y}, {b.x + out.x, b.y + out.y}});
    }
    if (random.below(2))
        for (std::size_t i = polygon.size() - 2; i > 0; --i)
            if (doubled_area(polygon[i - 1], polygon[i], polygon[i + 1]) == 0.0)
                polygon.erase(polygon.begin() + static_cast<std::ptrdiff_t>(i));
    return polygon;
}
} // namespace

// Concave, crossing and flat ones, on a lattice where the answer needs no rounding.
TEST(FbxTriangulate, QuadranglesAgreeWithWholeNumbers)
{
    test_random random(11);
    for (int round = 0; round < 20000; ++round)
    {
        const unsigned int size = round % 2 == 0 ? 3 : 9;
        const double unit = std::ldexp(1.0, -(round % 20));
        outline p;
        for (int i = 0; i < 4; ++i)
            p.push_back({random.below(size) * unit, random.below(size) * unit});
        const double sense = doubled_area(p[0], p[1], p[2]) + doubled_area(p[0], p[2], p[3]);
        const auto turn = [&](std::size_t a, std::size_t b, std::size_t c)
        {
            const double area = doubled_area(p[a], p[b], p[c]) * sense;
            return (area > 0.0) - (area < 0.0);
        };
        std::vector<vector3> corners = in_tilted_plane(p);
        for (vector3 &c : corners) // any axis may be the one to look along
            c = round % 3 == 0   ? c
                : round % 3 == 1 ? vector3{c.y, c.z, c.x}
                                 : vector3{c.z, c.x, c.y};
        const auto length = [&](std::size_t a, std::size_t b)
        {
            const double x = corners[a].x - corners[b].x, y = corners[a].y - corners[b].y,
                         z = corners[a].z - corners[b].z;
            return x * x + y * y + z * z;
        };
        const int inside_02 = std::min(turn(0, 1, 2), turn(0, 2, 3));
        const int inside_13 = std::min(turn(1, 2, 3), turn(0, 1, 3));
        const bool use_13 =
            inside_13 > inside_02 || (inside_13 == inside_02 && length(1, 3) < length(0, 2));
        const std::vector<int> along_02 = {0, 1, 2, 0, 2, 3}, along_13 = {0, 1, 3, 1, 2, 3};
        ASSERT_TRUE(sense == 0.0 || split(corners) == (use_13 ? along_13 : along_02)) << round;
    }
}

TEST(FbxTriangulate, CoversOutlinesWithoutOverlap)
{
    test_random random(7);
    for (int n = 5; n < 60; ++n)
    {
        SCOPED_TRACE(n);
        expect_covered(star(random, n));
    }
    expect_covered(spiral(20));
    for (int round = 0; round < 3000; ++round)
    {
        SCOPED_TRACE(round);
        expect_covered(outline_of_random_cells(random));
    }
    // A square hole on a bridge that runs both ways, a doubled corner, a spike without area.
    expect_covered(
        {{0, 0}, {9, 0}, {9, 9}, {0, 9}, {0, 0}, {3, 3}, {3, 6}, {6, 6}, {6, 3}, {3, 3}});
    expect_covered({{0, 0}, {8, 0}, {8, 0}, {8, 8}, {4, 8}, {4, 3}, {4, 8}, {0, 8}, {0, 8}});
}

TEST(FbxTriangulate, CollinearCornersGetAreaWherePossible)
{
    outline polygon = {{20.0, 30.0}};
    for (int i = 0; i < 40; ++i)
        polygon.push_back({static_cast<double>(i), 0.0});
    const std::vector<int> triangles = split(in_tilted_plane(polygon));
    EXPECT_EQ(std::count(triangles.begin(), triangles.end(), 0), 39); // each has the tip
}

TEST(FbxTriangulate, HostilePolygonsStayClosed)
{
    const double infinity = std::numeric_limits<double>::infinity();
    test_random random(3);
    std::vector<std::vector<vector3>> polygons(9);
    for (int i = 0; i < 4000; ++i)
    {
        const double x = random.below(100000), y = random.next();
        polygons[0].push_back({x, y / 50000.0, 0.0});                       // crosses itself
        polygons[1].push_back({static_cast<double>(i), 2.0 * i, 3.0 * i});  // on a line
        polygons[2].push_back({1.0, 2.0, 3.0});                             // one point
        polygons[3].push_back({i % 2 ? 1.0 : 0.0, i % 3 ? 1.0 : 0.0, 0.0}); // few points
        polygons[4].push_back({std::cos(i * 2.0), std::sin(i * 2.0), 0.0}); // around and around
        polygons[5].push_back({i % 7 ? x : infinity, i % 5 ? y : -infinity, std::nan("")});
        polygons[6].push_back({x * 1e300, y * 1e300, (x - y) * 1e303});
        polygons[7].push_back({x * 1e-320, y * 1e-320, 0.0});
        polygons[8].push_back({x, std::cos(x), std::sin(y)}); // bent
    }
    for (std::size_t i = 0; i < polygons.size(); ++i)
    {
        SCOPED_TRACE(i);
        expect_closed(split(polygons[i]), 4000);
        polygons[i].resize(i % 2 ? 4 : 7);
        expect_closed(split(polygons[i]), i % 2 ? 4 : 7);
    }
}

TEST(FbxTriangulate, LargeOutlinesTakeNoQuadraticTime)
{
    test_random random(11);
    for (const outline &polygon : {spiral(650), star(random, 25000)})
    {
        SCOPED_TRACE(polygon.size());
        const std::clock_t start = std::clock(); // of this process: others don't count
        const std::vector<int> triangles = split(in_tilted_plane(polygon));
        const double seconds = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
        EXPECT_EQ(turned_over(polygon, triangles), 0);
        EXPECT_LT(seconds, 5.0); // 0.02 to 0.2 in a release build
    }
}
