#include "support/bits.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/plain_derive.h"
#include "vesk/mesh.h"

#include <limits>
#include <memory>

namespace
{
void expect_plain_tangents(vesk_mesh &mesh)
{
    const unsigned int corner_count = mesh.index_count / 7 * 3;
    std::vector<vesk_mesh_tangent_s> expected(corner_count);
    std::vector<vesk_vector3> bi_normals(corner_count);
    plain_tangents(mesh, expected.data(), bi_normals.data());

    ASSERT_EQ(mesh.generate_tangents(), 1);
    ASSERT_EQ(mesh.tangent_count, corner_count);
    for (unsigned int c = 0; c < corner_count; ++c)
    {
        ASSERT_TRUE(same_bits(mesh.tangent_array[c].tangent, expected[c].tangent)) << c;
        ASSERT_TRUE(same_bits(mesh.tangent_array[c].handedness, expected[c].handedness)) << c;
    }
}

// One triangle over (0, 0, 0), (1, 0, 0), (0, 1, 0) with the given UVs and one normal.
mesh_source one_triangle(const std::vector<vesk_vector2> &uvs, const vesk_vector3 &normal)
{
    mesh_source source;
    source.add_vertex(vesk_vector3(0, 0, 0), normal);
    source.add_vertex(vesk_vector3(1, 0, 0), normal);
    source.add_vertex(vesk_vector3(0, 1, 0), normal);
    source.add_triangle(0, 1, 2);
    source.channels.resize(1);
    source.channels[0].uvs = uvs;
    source.channels[0].indices = {0, 1, 2};
    source.subsets = {0, 1};
    return source;
}
} // namespace

TEST(Tangents, EqualThePlainPassesOnRandomMeshes)
{
    for (unsigned int seed = 0; seed < 40; ++seed)
    {
        SCOPED_TRACE(seed);
        owned_mesh meshes[] = {
            owned_mesh(random_soup(seed, seed)),
            owned_mesh(random_web(seed, 200 + seed, 40)),
            owned_mesh(degenerate(seed, 100 + seed)),
            owned_mesh(nan_bearing(seed, 100 + seed)),
        };
        for (vesk_mesh &mesh : meshes)
            expect_plain_tangents(mesh);
    }
    owned_mesh sphere(displaced_sphere(2000));
    expect_plain_tangents(sphere);
    sphere.set_uv_channel(7); // every UV is the shared zero UV
    expect_plain_tangents(sphere);
    EXPECT_TRUE(same_bits(sphere.tangent_array[5].tangent, vesk_vector3()));
    EXPECT_EQ(sphere.tangent_array[5].handedness, 1.0f);
}

TEST(Tangents, ZerosHaveTheSignOfThePlainPasses)
{
    const vesk_vector2 uvs[] = {vesk_vector2(0, 0), vesk_vector2(-1, 0), vesk_vector2(0, 1),
                                vesk_vector2(0, -1)};
    for (unsigned int corners = 0; corners < 64; ++corners)
        for (unsigned int turned = 0; turned < 3; ++turned)
        {
            SCOPED_TRACE(corners * 3 + turned);
            mesh_source source = one_triangle(
                {uvs[corners % 4], uvs[corners / 4 % 4], uvs[corners / 16]}, vesk_vector3(0, 0, 1));
            for (vesk_3d_vertex_s &v : source.vertices)
                for (unsigned int i = 0; i < turned; ++i)
                {
                    v.position = vesk_vector3(v.position.y, v.position.z, v.position.x);
                    v.normal = vesk_vector3(v.normal.y, v.normal.z, v.normal.x);
                }
            owned_mesh mesh(source);
            expect_plain_tangents(mesh);
        }
}

TEST(Tangents, FollowUvsAndNormals)
{
    const std::vector<vesk_vector2> straight = {vesk_vector2(0, 0), vesk_vector2(1, 0),
                                                vesk_vector2(0, 1)};
    const std::vector<vesk_vector2> mirrored = {vesk_vector2(0, 0), vesk_vector2(-1, 0),
                                                vesk_vector2(0, 1)};
    const std::vector<vesk_vector2> one_point(3, vesk_vector2(0.25f, 0.5f));
    const std::vector<vesk_vector2> one_line = {vesk_vector2(0, 0), vesk_vector2(1, 1),
                                                vesk_vector2(2, 2)};
    const vesk_vector3 up(0, 0, 1), along(1, 0, 0), x(1, 0, 0), zero;
    const struct
    {
        const char *name;
        mesh_source source;
        vesk_vector3 tangent;
        float handedness;
    } rows[] = {
        {"along u", one_triangle(straight, up), x, 1.0f},
        {"mirrored", one_triangle(mirrored, up), -x, -1.0f},
        {"seen from behind", one_triangle(straight, -up), x, -1.0f},
        {"UVs at one point", one_triangle(one_point, up), zero, 1.0f},
        {"UVs on one line", one_triangle(one_line, up), zero, 1.0f},
        {"parallel to the normal", one_triangle(straight, along), zero, 1.0f},
        {"no normal", one_triangle(straight, zero), x, 1.0f},
    };
    for (const auto &row : rows)
    {
        SCOPED_TRACE(row.name);
        owned_mesh mesh(row.source);
        ASSERT_EQ(mesh.generate_tangents(), 1);
        for (unsigned int c = 0; c < 3; ++c)
        {
            EXPECT_TRUE(mesh.tangent_array[c].tangent == row.tangent);
            EXPECT_EQ(mesh.tangent_array[c].handedness, row.handedness);
        }
    }
}

TEST(Tangents, NoTrianglesIsASuccess)
{
    vesk_mesh mesh;
    EXPECT_EQ(mesh.generate_tangents(), 1);
    EXPECT_EQ(mesh.tangent_count, 0u);
    mesh.free();
}

TEST(Tangents, BorrowedTangentsAndGeometryStayUntouched)
{
    owned_mesh lender(random_web(3, 50, 20));
    ASSERT_EQ(lender.generate_tangents(), 1);
    owned_mesh before;
    ASSERT_EQ(before.create(lender), 1);

    vesk_mesh borrower;
    borrower.set_instance_geometry(lender.vertex_array, lender.uv_array, lender.index_array,
                                   lender.vertex_count, lender.uv_count, lender.index_count,
                                   lender.subset_lookup_table);
    borrower.set_instance_tangents(lender.tangent_array, lender.tangent_count);
    ASSERT_EQ(borrower.generate_tangents(), 1);
    EXPECT_EQ(borrower.instance_tangents, 0);
    EXPECT_NE(borrower.tangent_array, lender.tangent_array);
    EXPECT_EQ(borrower.tangent_count, lender.tangent_count);
    borrower.free();
    EXPECT_TRUE(same_mesh(lender, before));
}
