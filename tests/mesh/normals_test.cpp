#include "support/bits.h"
#include "support/failing_new.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/plain_derive.h"

#include <cmath>

namespace
{
// Runs with memory and with each allocation failing, against the plain double loop.
void expect_plain_result(const mesh_source &source)
{
    owned_mesh expected(source);
    plain_generate_normals(expected);
    for (int nth = 0, failed = 1; failed; ++nth)
    {
        SCOPED_TRACE(nth);
        owned_mesh mesh(source);
        fail_allocation(nth);
        mesh.generate_normals();
        failed = allocation_failed();
        for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        {
            const vesk_vector3 &normal = mesh.vertex_array[v].normal;
            ASSERT_TRUE(same_bits(normal, expected.vertex_array[v].normal)) << "vertex " << v;
            mesh.vertex_array[v].normal = expected.vertex_array[v].normal; // NaNs of any payload
        }
        EXPECT_TRUE(same_mesh(mesh, expected) && has_message(mesh, nullptr));
    }
}

// A vector that needs long to come to rest: x and y near each other in size, z small.
vesk_vector3 creeping_vector(test_random &random)
{
    const float x = random.between(0.1f, 4.0f);
    const float y = x * (1.0f + 1.2e-7f * (static_cast<float>(random.below(5)) - 2.0f));
    const float z = std::pow(10.0f, random.between(-12, -1));
    const unsigned int kind = random.below(3);
    return kind == 0   ? vesk_vector3(x, -y, z)
           : kind == 1 ? vesk_vector3(-x, y, -z)
                       : vesk_vector3(x, y, z * 1e-28f);
}
} // namespace

TEST(Normals, EqualThePlainLoopOnRandomMeshes)
{
    // Sizes on both sides of one stack block and of several.
    for (unsigned int seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        test_random random(seed);
        const unsigned int triangle_count = random.below(900);
        const unsigned int vertex_count =
            seed % 5 == 0 ? 1500 + seed : 1 + random.below(700); // some stay without a triangle
        mesh_source source = random_web(seed, triangle_count, vertex_count);
        if (seed % 4 == 1)
            source = degenerate(seed, triangle_count);
        if (seed % 4 == 2)
            source = nan_bearing(seed, triangle_count);
        // Few values, so that positions and whole face normals coincide; doubled corners.
        for (vesk_3d_vertex_s &vertex : source.vertices)
            for (unsigned int axis = 0; axis < 3 && seed % 4 == 3; ++axis)
                vertex.position[axis] = std::round(vertex.position[axis] * 2.0f) / 2.0f;
        for (unsigned int t = 0; t < source.triangle_count(); t += 6)
            source.indices[t * 7 + random.below(3)] = source.indices[t * 7 + random.below(3)];
        expect_plain_result(source);
    }
}

TEST(Normals, CountEveryRoundOfVectorsThatCreep)
{
    // One triangle gives a vertex its creeping normal, a long row of others lets it creep, and a
    // second one catches it somewhere on the way.
    for (unsigned int seed = 0; seed < 8; ++seed)
    {
        SCOPED_TRACE(seed);
        test_random random(seed);
        mesh_source source;
        for (int i = 0; i < 24; ++i)
            source.add_vertex(random.point(-8, 8), creeping_vector(random));
        const unsigned int first_edge = source.vertex_count();
        for (unsigned int i = 0; i < 8; ++i)
        {
            // The cross product of the edges (x, y, 0) and (0, 0, 1) is (y, -x, 0).
            const vesk_vector3 n = creeping_vector(random), at(static_cast<float>(16 + i), 0, 0);
            source.add_vertex(at, n);
            source.add_vertex(at + vesk_vector3(-n.y, n.x, n.z), n);
            source.add_vertex(at + vesk_vector3(0.0f, n.z, 1.0f), n);
            source.add_triangle(first_edge + 3 * i, first_edge + 3 * i + 1, first_edge + 3 * i + 2);
        }
        const unsigned int idle = 20000 + random.below(20000);
        for (unsigned int t = 0; t < 2 * idle; ++t)
            if (t == idle)
                source.add_triangle(first_edge, first_edge + 3, first_edge + 6);
            else
                source.add_triangle(0, 0, 0);
        expect_plain_result(source);
    }
}

TEST(Normals, FaceTheSideThatSeesTheCornersClockwise)
{
    mesh_source source;
    for (const vesk_vector3 &at : {vesk_vector3(0, 0, 0), {1, 0, 0}, {0, 1, 0}})
        source.add_vertex(at, vesk_vector3(3, 4, 0)); // replaced
    source.add_vertex(vesk_vector3(5, 5, 5), vesk_vector3(3, 4, 0));
    source.add_triangle(0, 1, 2);
    owned_mesh mesh(source);
    mesh.generate_normals();
    EXPECT_EQ(mesh.vertex_array[0].normal, vesk_vector3(0, 0, -1));
    EXPECT_EQ(mesh.vertex_array[3].normal, vesk_vector3(3.0f / 5, 4.0f / 5, 0)); // in no triangle
}
