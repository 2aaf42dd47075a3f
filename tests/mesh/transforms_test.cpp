#include "support/bits.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/plain_derive.h"
#include "vesk/mesh.h"

#include <cmath>
#include <functional>

namespace
{
using change = std::function<void(vesk_mesh &)>;

// Any NaN equals any other: which of two operands hands its bits on is the platform's choice.
void make_nans_alike(vesk_vector3 &v)
{
    for (unsigned int axis = 0; axis < 3; ++axis)
        if (v[axis] != v[axis])
            v[axis] = float_of(0x7FC00000u);
}

// `with_normals`: they were changed by arithmetic as well, else they keep all their bits.
void make_nans_alike(vesk_mesh &mesh, bool with_normals)
{
    make_nans_alike(mesh.bounding_box_min);
    make_nans_alike(mesh.bounding_box_max);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        make_nans_alike(mesh.vertex_array[v].position);
        if (with_normals)
            make_nans_alike(mesh.vertex_array[v].normal);
    }
    for (unsigned int c = 0; c < mesh.tangent_count; ++c)
        make_nans_alike(mesh.tangent_array[c].tangent);
}

// On every kind of mesh, with vertex counts of all remainders.
void expect_same_change(const change &fast, const change &plain, bool changes_normals = false)
{
    for (unsigned int seed = 0; seed < 12; ++seed)
    {
        SCOPED_TRACE(seed);
        const mesh_source sources[] = {random_soup(seed, seed), random_web(seed, 30, 1 + seed),
                                       degenerate(seed, 40 + seed), nan_bearing(seed, 40 + seed),
                                       grid(seed, 3)};
        for (mesh_source source : sources)
        {
            if (seed % 2) // a sNaN shows when a normal passes through arithmetic
                for (vesk_3d_vertex_s &vertex : source.vertices)
                    vertex.normal.x = float_of(0x7FA00001u);
            owned_mesh changed(source), expected(source);
            fast(changed);
            plain(expected);
            make_nans_alike(changed, changes_normals);
            make_nans_alike(expected, changes_normals);
            ASSERT_TRUE(same_mesh(changed, expected));
        }
    }
}

} // namespace

TEST(Transforms, EqualThePlainLoops)
{
    test_random random(5);
    const vesk_vector3 none(-0.0f, -0.0f, -0.0f), one(1, 1, 1);
    const vesk_vector3 o = random.point(-2.0f, 2.0f), f = random.point(-2.0f, 2.0f);
    const vesk_vector3 even(f.x, f.x, f.x);

    expect_same_change([&](vesk_mesh &m) { m.position(o); },
                       [&](vesk_mesh &m) { plain_position_and_scale(m, o, one); });
    expect_same_change([&](vesk_mesh &m) { m.scale(f.x); },
                       [&](vesk_mesh &m) { plain_position_and_scale(m, none, even); });
    expect_same_change([&](vesk_mesh &m) { m.scale(f); },
                       [&](vesk_mesh &m) { plain_position_and_scale(m, none, f); });
    expect_same_change([&](vesk_mesh &m) { m.position_and_scale(o, f.x); },
                       [&](vesk_mesh &m) { plain_position_and_scale(m, o, even); });
    expect_same_change([&](vesk_mesh &m) { m.position_and_scale(o, f); },
                       [&](vesk_mesh &m) { plain_position_and_scale(m, o, f); });
    expect_same_change([](vesk_mesh &m) { m.calculate_bounding_box(); }, plain_box);
}

TEST(Transforms, CenterAndEnforceSizeEqualsThePlainLoops)
{
    for (const float size : {2.0f, 1e-20f, 0.0f, -1.0f, float_of(0x7FC00000u)})
    {
        SCOPED_TRACE(size);
        vesk_vector3 offset, expected_offset;
        float factor = 0, expected_factor = 0;
        expect_same_change([&](vesk_mesh &m) { m.center_and_enforce_size(size, &offset, &factor); },
                           [&](vesk_mesh &m)
                           {
                               if (m.vertex_count == 0)
                                   return m.center_and_enforce_size(size, nullptr, nullptr);
                               plain_center_and_enforce_size(m, size, expected_offset,
                                                             expected_factor);
                               EXPECT_TRUE(same_bits(offset, expected_offset));
                               EXPECT_TRUE(same_bits(factor, expected_factor));
                           });
    }
}

TEST(Transforms, CenterAndEnforceSizeStaysFiniteWithoutARadius)
{
    mesh_source at_one_point;
    at_one_point.add_vertex(vesk_vector3(3, 4, 5), vesk_vector3());
    at_one_point.add_vertex(vesk_vector3(3, 4, 5), vesk_vector3());
    for (const mesh_source &source : {at_one_point, mesh_source()})
    {
        owned_mesh mesh(source);
        vesk_vector3 offset;
        float factor = 0;
        mesh.center_and_enforce_size(2.0f, &offset, &factor);
        EXPECT_EQ(factor, 1.0f);
        EXPECT_TRUE(std::isfinite(plain_length(offset)));
        const vesk_vector3 corners = mesh.bounding_box_min + mesh.bounding_box_max;
        EXPECT_TRUE(corners.is_zero()); // centred, and not infinite
        for (unsigned int v = 0; v < mesh.vertex_count; ++v)
            EXPECT_TRUE(mesh.vertex_array[v].position.is_zero());
    }
}

TEST(Transforms, RotateEqualsThePlainLoopsTangentsAndBox)
{
    const float quarter = 1.57079637f;
    const vesk_vector3 turns[] = {vesk_vector3(0.3f, 0, 0), vesk_vector3(-0.0f, 1.0f, -0.0f),
                                  vesk_vector3(0, 0, quarter), vesk_vector3(0.4f, -2.0f, 7.0f),
                                  vesk_vector3(0, 0, float_of(0x7FC00000u))};
    for (const vesk_vector3 &angles : turns)
        expect_same_change([&angles](vesk_mesh &m) { m.rotate(angles); },
                           [&angles](vesk_mesh &m)
                           {
                               plain_rotate_vertices(m, angles);
                               m.generate_tangents();
                           },
                           true);
}

TEST(Transforms, RotateKeepsTheFirstOfTwoZerosInTheBox)
{
    // Turned about y, the second vertex has y -0.0f and the fifth 0.0f.
    mesh_source source;
    for (const float y : {1.0f, -0.0f, 1.0f, 1.0f, 0.0f})
        source.add_vertex(y == 0.0f && std::signbit(y) ? vesk_vector3(-1, y, -1)
                                                       : vesk_vector3(1, y, 1),
                          vesk_vector3());
    owned_mesh mesh(source);
    mesh.rotate(vesk_vector3(0, 0.5f, 0));
    EXPECT_BITS(mesh.vertex_array[1].position.y, 0x80000000u);
    EXPECT_BITS(mesh.vertex_array[4].position.y, 0u);
    EXPECT_BITS(mesh.bounding_box_min.y, 0x80000000u);
}

TEST(Transforms, RotateTurnsXFirstAndRightHanded)
{
    mesh_source source;
    source.add_vertex(vesk_vector3(1, 0, 0), vesk_vector3(2, 0, 0));
    owned_mesh mesh(source);
    mesh.rotate(vesk_vector3(0, 0, 1.57079637f));
    EXPECT_LT(plain_length(mesh.vertex_array[0].position - vesk_vector3(0, 1, 0)), 1e-6f);
    EXPECT_LT(plain_length(mesh.vertex_array[0].normal - vesk_vector3(0, 1, 0)), 1e-6f);
    mesh.rotate(vesk_vector3(1.57079637f, 1.57079637f, 0)); // +Y to +Z, then on to +X
    EXPECT_LT(plain_length(mesh.vertex_array[0].position - vesk_vector3(1, 0, 0)), 1e-6f);
}

TEST(Transforms, NothingHappensWithoutAnAngle)
{
    owned_mesh mesh(random_web(2, 20, 12)), before(random_web(2, 20, 12));
    mesh.bounding_box_min = before.bounding_box_min = vesk_vector3(7, 7, 7); // stale, and stays
    mesh.rotate(vesk_vector3(0.0f, -0.0f, 0.0f));
    EXPECT_TRUE(same_mesh(mesh, before));
    EXPECT_EQ(mesh.tangent_array, nullptr);
}
