#include "support/bits.h"
#include "support/mesh_builder.h"
#include "support/plain_derive.h"

#include <gtest/gtest.h>

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
} // namespace

TEST(Tangents, EqualThePlainPassesOnRandomMeshes)
{
    for (unsigned int seed = 0; seed < 40; ++seed)
    {
        SCOPED_TRACE(seed);
        owned_mesh soup(random_soup(seed, seed)), web(random_web(seed, 200 + seed, 40)),
            flat(degenerate(seed, 100 + seed)), odd(nan_bearing(seed, 100 + seed));
        for (vesk_mesh *mesh : {&soup, &web, &flat, &odd})
            expect_plain_tangents(*mesh);
    }
    owned_mesh sphere(displaced_sphere(2000)), empty;
    expect_plain_tangents(empty); // no triangles is a success
    sphere.set_uv_channel(7);     // every UV is the shared zero UV
    expect_plain_tangents(sphere);
    EXPECT_TRUE(same_bits(sphere.tangent_array[5].tangent, vesk_vector3()));
    EXPECT_EQ(sphere.tangent_array[5].handedness, 1.0f);
}

TEST(Tangents, ZerosHaveTheSignOfThePlainPassesAndMirroredUvsTurnTheSide)
{
    const vesk_vector2 uvs[] = {{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}};
    for (unsigned int corners = 0; corners < 125; ++corners)
        for (unsigned int turned = 0; turned < 3; ++turned)
        {
            SCOPED_TRACE(corners * 3 + turned);
            mesh_source source;
            for (vesk_vector3 v : {vesk_vector3(0, 0, 0), {1, 0, 0}, {0, 1, 0}})
            {
                vesk_vector3 normal(0, 0, 1);
                for (unsigned int i = 0; i < turned; ++i)
                {
                    v = vesk_vector3(v.y, v.z, v.x);
                    normal = vesk_vector3(normal.y, normal.z, normal.x);
                }
                source.add_vertex(v, normal);
            }
            source.add_triangle(0, 1, 2);
            source.channels.resize(1);
            source.channels[0].uvs = {uvs[corners % 5], uvs[corners / 5 % 5], uvs[corners / 25]};
            source.channels[0].indices = {0, 1, 2};
            owned_mesh mesh(source);
            expect_plain_tangents(mesh);
            const bool mirrored = corners % 5 == 0 && corners / 5 % 5 == 2 && corners / 25 == 3;
            if (turned == 0 && (mirrored || corners == 5 * 1 + 25 * 3)) // UVs as the positions are
            {
                const float side = mirrored ? -1.0f : 1.0f;
                EXPECT_EQ(mesh.tangent_array[2].tangent, vesk_vector3(side, 0, 0));
                EXPECT_EQ(mesh.tangent_array[2].handedness, side);
            }
        }
}
