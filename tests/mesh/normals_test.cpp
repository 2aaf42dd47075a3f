#include "support/bits.h"
#include "support/failing_new.h"
#include "support/plain_derive.h"
#include "vesk/mesh.h"

#include <limits>
#include <random>
#include <vector>

namespace
{
constexpr float nan_value = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

// A mesh that shows arrays of the test's own, so that it is never freed.
struct shown_mesh
{
    std::vector<vesk_3d_vertex_s> vertices;
    std::vector<unsigned int> words;
    vesk_mesh mesh;

    void add_vertex(const vesk_vector3 &position, const vesk_vector3 &normal = vesk_vector3())
    {
        vertices.emplace_back();
        vertices.back().position = position;
        vertices.back().normal = normal;
    }

    void add_triangle(unsigned int a, unsigned int b, unsigned int c)
    {
        const unsigned int offset = static_cast<unsigned int>(words.size());
        words.insert(words.end(), {a, b, c, 0, 0, 0, offset});
    }

    vesk_mesh &show()
    {
        mesh.vertex_array = vertices.data();
        mesh.vertex_count = static_cast<unsigned int>(vertices.size());
        mesh.index_array = words.data();
        mesh.index_count = static_cast<unsigned int>(words.size());
        return mesh;
    }
};

std::vector<vesk_vector3> normals_of(const shown_mesh &shown)
{
    std::vector<vesk_vector3> normals;
    for (const vesk_3d_vertex_s &vertex : shown.vertices)
        normals.push_back(vertex.normal);
    return normals;
}

// The normals of the plain double loop, with the mesh as it was.
std::vector<vesk_vector3> expected_normals(shown_mesh &shown)
{
    const std::vector<vesk_3d_vertex_s> before = shown.vertices;
    plain_generate_normals(shown.show());
    const std::vector<vesk_vector3> normals = normals_of(shown);
    shown.vertices = before;
    return normals;
}

void expect_normals(const shown_mesh &shown, const std::vector<vesk_vector3> &expected)
{
    for (std::size_t v = 0; v < expected.size(); ++v)
        ASSERT_TRUE(same_bits(shown.vertices[v].normal, expected[v]))
            << "vertex " << v << ": " << shown.vertices[v].normal.x << " "
            << shown.vertices[v].normal.y << " " << shown.vertices[v].normal.z << " instead of "
            << expected[v].x << " " << expected[v].y << " " << expected[v].z;
}

// Runs with memory and with each allocation failing, against the plain loop.
void expect_plain_result(shown_mesh &shown)
{
    const std::vector<vesk_vector3> expected = expected_normals(shown);
    const std::vector<vesk_3d_vertex_s> before = shown.vertices;
    for (int nth = 0;; ++nth)
    {
        SCOPED_TRACE(nth);
        shown.vertices = before;
        vesk_mesh &mesh = shown.show();
        fail_allocation(nth);
        mesh.generate_normals();
        const bool failed = allocation_failed();
        expect_normals(shown, expected);
        EXPECT_EQ(mesh.get_error_stack()->count, 0u);
        for (std::size_t v = 0; v < before.size(); ++v)
            ASSERT_TRUE(same_bits(shown.vertices[v].position, before[v].position));
        if (!failed)
            break;
    }
}

using generator = std::mt19937;

unsigned int below(generator &random, unsigned int limit)
{
    return static_cast<unsigned int>(random() % limit);
}

float uniform(generator &random, float low, float high)
{
    return std::uniform_real_distribution<float>(low, high)(random);
}

// Few enough different values that positions and whole face normals coincide, with what floats
// have to offer besides numbers.
float awkward_float(generator &random)
{
    switch (random() % 24)
    {
    case 0:
        return nan_value;
    case 1:
        return random() % 2 ? infinity : -infinity;
    case 2:
        return float_of(random() & 0x807FFFFFu); // denormal
    case 3:
        return uniform(random, -3e38f, 3e38f);
    case 4:
        return -0.0f;
    case 5:
        return 1e-20f * static_cast<float>(static_cast<int>(below(random, 7)) - 3);
    default:
        return static_cast<float>(static_cast<int>(below(random, 5)) - 2);
    }
}

vesk_vector3 any_vector(generator &random, bool awkward)
{
    const auto component = [&random, awkward]
    { return awkward ? awkward_float(random) : std::round(uniform(random, -8, 8)) / 4; };
    const float x = component(), y = component(), z = component();
    return vesk_vector3(x, y, z);
}

shown_mesh random_mesh(generator &random, unsigned int vertex_count, unsigned int triangle_count,
                       bool awkward)
{
    shown_mesh shown;
    for (unsigned int v = 0; v < vertex_count; ++v)
    {
        const bool shares = v > 0 && random() % 4 == 0;
        shown.add_vertex(shares ? shown.vertices[below(random, v)].position
                                : any_vector(random, awkward),
                         any_vector(random, awkward));
    }
    const unsigned int used = vertex_count - vertex_count / 8; // the last ones stay unindexed
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const unsigned int a = below(random, used), b = below(random, used);
        // Some have two corners at one position, which they touch once.
        const unsigned int c = below(random, 6) == 0 ? (t % 2 ? a : b) : below(random, used);
        shown.add_triangle(a, b, c);
    }
    return shown;
}

// A vector that needs long to come to rest: x and y near each other in size, z small.
vesk_vector3 creeping_vector(generator &random)
{
    const float x = uniform(random, 0.1f, 4.0f);
    const float y =
        x * (1.0f + 1.2e-7f * static_cast<float>(static_cast<int>(below(random, 5)) - 2));
    const float z = std::pow(10.0f, uniform(random, -12, -1));
    switch (random() % 3)
    {
    case 0:
        return vesk_vector3(x, -y, z);
    case 1:
        return vesk_vector3(-x, y, -z);
    default:
        return vesk_vector3(x, y, z * 1e-28f);
    }
}
} // namespace

TEST(Normals, EqualThePlainLoopOnRandomMeshes)
{
    // Sizes on both sides of one stack block and of several.
    for (unsigned int seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        generator random(seed);
        const unsigned int vertex_count = seed % 5 == 0 ? 1500 + seed : 1 + below(random, 700);
        const unsigned int triangle_count = below(random, 900);
        shown_mesh shown = random_mesh(random, vertex_count, triangle_count, seed % 2);
        expect_plain_result(shown);
    }
}

TEST(Normals, CountEveryRoundOfVectorsThatCreep)
{
    // One triangle gives a vertex its creeping normal, a long row of others lets it creep, and a
    // second one catches it somewhere on the way.
    for (unsigned int seed = 0; seed < 8; ++seed)
    {
        SCOPED_TRACE(seed);
        generator random(seed);
        shown_mesh shown;
        shown.add_vertex(vesk_vector3(9, 9, 9));
        for (int i = 0; i < 24; ++i)
            shown.add_vertex(any_vector(random, false), creeping_vector(random));
        const unsigned int first_edge = static_cast<unsigned int>(shown.vertices.size());
        for (unsigned int i = 0; i < 8; ++i)
        {
            // The cross product of the edges (x, y, 0) and (0, 0, 1) is (y, -x, 0).
            const vesk_vector3 n = creeping_vector(random);
            const vesk_vector3 at(static_cast<float>(16 + i), 0.0f, 0.0f);
            shown.add_vertex(at);
            shown.add_vertex(at + vesk_vector3(-n.y, n.x, n.z));
            shown.add_vertex(at + vesk_vector3(0.0f, n.z, 1.0f));
            shown.add_triangle(first_edge + 3 * i, first_edge + 3 * i + 1, first_edge + 3 * i + 2);
        }
        const unsigned int idle = 20000 + below(random, 20000);
        for (unsigned int t = 0; t < idle; ++t)
            shown.add_triangle(0, 0, 0);
        shown.add_triangle(first_edge, first_edge + 3, first_edge + 6);
        for (unsigned int t = 0; t < idle; ++t)
            shown.add_triangle(0, 0, 0);
        expect_plain_result(shown);
    }
}

TEST(Normals, EdgeCases)
{
    struct row
    {
        const char *name;
        std::vector<vesk_3d_vertex_s> vertices;
        std::vector<unsigned int> corners;
        vesk_vector3 first_normal; // of vertex 0
    };
    const auto at = [](float x, float y, float z, const vesk_vector3 &normal = vesk_vector3())
    {
        vesk_3d_vertex_s vertex;
        vertex.position = vesk_vector3(x, y, z);
        vertex.normal = normal;
        return vertex;
    };
    const vesk_vector3 old(3, 4, 0);
    const float fifth = 1.0f / std::sqrt(5.0f);
    // Around the origin: 0 1 2 gives (0, 0, -1), 0 2 1 gives (0, 0, 1), 0 4 3 gives (2, 0, 0).
    const std::vector<vesk_3d_vertex_s> fan = {at(0, 0, 0, old), at(1, 0, 0), at(0, 1, 0),
                                               at(0, 1, 0),      at(0, 0, 2), at(-0.0f, 0, -0.0f)};
    const row rows[] = {
        {"clockwise corners face the viewer", fan, {0, 1, 2}, vesk_vector3(0, 0, -1)},
        {"no triangles", fan, {}, old},
        {"untouched is normalised", fan, {1, 2, 4}, vesk_vector3(3.0f / 5, 4.0f / 5, 0)},
        {"the old normal is replaced, the new one added",
         fan,
         {0, 2, 1, 0, 4, 3},
         vesk_vector3(2 * fifth, 0, fifth)},
        {"order matters", fan, {0, 4, 3, 0, 2, 1}, vesk_vector3(0.70710678f, 0, 0.70710678f)},
        {"first one without area", fan, {0, 0, 1, 0, 1, 2}, vesk_vector3(0, 0, -1)},
        {"only ones without area", fan, {0, 0, 1, 0, 1, 1}, vesk_vector3()},
        {"cancelled, then afresh", fan, {0, 1, 2, 0, 2, 1, 0, 4, 3}, vesk_vector3(1, 0, 0)},
        {"found by position, zeros of any sign", fan, {5, 1, 2}, vesk_vector3(0, 0, -1)},
    };
    for (const row &r : rows)
    {
        SCOPED_TRACE(r.name);
        shown_mesh shown;
        shown.vertices = r.vertices;
        for (std::size_t i = 0; i < r.corners.size(); i += 3)
            shown.add_triangle(r.corners[i], r.corners[i + 1], r.corners[i + 2]);
        shown.show().generate_normals();
        // The rows say which normal it is; its bits are held against the plain loop above.
        EXPECT_LT(plain_length(shown.vertices[0].normal - r.first_normal), 1e-6f);
    }
}

TEST(Normals, ATriangleCountsOnceForAPosition)
{
    // The second triangle has no area: it only normalises once more, which shows in the last bit
    // of a few normals in a hundred.
    const unsigned int doubled[3][3] = {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}};
    generator random(4);
    for (unsigned int i = 0; i < 600; ++i)
    {
        SCOPED_TRACE(i);
        shown_mesh shown;
        for (int v = 0; v < 3; ++v)
        {
            const float x = uniform(random, -1, 1), y = uniform(random, -1, 1);
            shown.add_vertex(vesk_vector3(x, y, uniform(random, -1, 1)));
        }
        shown.add_triangle(0, 1, 2);
        shown.add_triangle(doubled[i % 3][0], doubled[i % 3][1], doubled[i % 3][2]);
        expect_plain_result(shown);
    }
}

TEST(Normals, ANanPositionIsTouchedByNothing)
{
    shown_mesh shown;
    shown.add_vertex(vesk_vector3(nan_value, 0, 0), vesk_vector3(0, 0, 5));
    shown.add_vertex(vesk_vector3(1, 0, 0), vesk_vector3(0, 5, 0));
    shown.add_vertex(vesk_vector3(0, 1, 0), vesk_vector3(0, 5, 0));
    shown.add_triangle(0, 1, 2);
    shown.show().generate_normals();
    EXPECT_TRUE(same_bits(shown.vertices[0].normal, vesk_vector3(0, 0, 1)));
    EXPECT_TRUE(same_bits(shown.vertices[1].normal, vesk_vector3()));
}

TEST(Normals, AnInstanceStaysAsItIs)
{
    generator random(1);
    shown_mesh shown = random_mesh(random, 30, 60, false);
    const std::vector<vesk_vector3> before = normals_of(shown);
    shown.show().instance_geometry = 1;
    shown.mesh.generate_normals();
    expect_normals(shown, before);
}
