#include "support/bits.h"
#include "support/failing_new.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "support/plain_derive.h"

#include <cmath>
#include <functional>

// Normals, tangents, transforms and the box: the library's ways against the plain loops, to the bit
// and on every kind of mesh, and a known case of each for the eye.

namespace
{
using change = std::function<void(vesk_mesh &)>;

/// Triangles of whole numbers below two with zeros of both signs, so that positions coincide,
/// normals are exact and UVs are mirrored; nothing lies below y = 0.
mesh_source small_whole_numbers(unsigned int seed)
{
    mesh_source source = random_soup(seed, 2 + seed);
    for (vesk_3d_vertex_s &vertex : source.vertices)
        for (unsigned int axis = 0; axis < 3; ++axis)
        {
            const float whole = std::round(vertex.position[axis]);
            vertex.position[axis] = axis == 1 && whole < 0.0f ? -0.0f : whole;
            vertex.normal[axis] = std::round(vertex.normal[axis]);
        }
    for (vesk_vector2 &uv : source.channels[0].uvs)
        uv = vesk_vector2(std::round(uv.x * 2.0f - 1.0f), std::round(uv.y * 2.0f - 1.0f));
    return source;
}

/// Counts have all remainders of four; some meshes have more positions than normals take on the
/// stack, and some vertices are in no triangle.
std::vector<mesh_source> sources_of(unsigned int seed)
{
    std::vector<mesh_source> sources = {random_soup(seed, seed),
                                        random_web(seed, 90, 1 + seed),
                                        degenerate(seed, 40 + seed * seed),
                                        nan_bearing(seed, 40 + seed * seed),
                                        grid(seed, 3),
                                        small_whole_numbers(seed),
                                        random_web(seed, 100, 1 + 60 * seed)};
    test_random random(seed);
    for (mesh_source &source : sources)
    {
        for (unsigned int t = 0; t < source.triangle_count(); t += 6) // doubled corners
            source.indices[t * 7 + random.below(3)] = source.indices[t * 7 + random.below(3)];
        // Normals of any bits. A signalling NaN shows when one passes through arithmetic.
        for (vesk_3d_vertex_s &vertex : source.vertices)
            if (random.below(8) == 0)
                vertex.normal[random.below(3)] = float_of(random.next());
            else if (seed % 4 == 1)
                vertex.normal.x = float_of(0x7FA00001u);
    }
    return sources;
}

// Which of two NaNs an operation hands on is the platform's choice: where both have one, `to` takes
// over that of `from`.
void share_nans(vesk_vector3 &to, const vesk_vector3 &from)
{
    for (unsigned int axis = 0; axis < 3; ++axis)
        if (to[axis] != to[axis] && from[axis] != from[axis])
            to[axis] = from[axis];
}

/// Normals that the change does not calculate keep all their bits.
void expect_same_change(const change &fast, const change &plain, bool changes_normals)
{
    for (unsigned int seed = 0; seed < 24; ++seed)
        for (const mesh_source &source : sources_of(seed))
        {
            SCOPED_TRACE(testing::Message()
                         << "seed " << seed << ", " << source.vertex_count() << " vertices");
            owned_mesh changed(source), expected(source);
            fast(changed);
            plain(expected);
            share_nans(changed.bounding_box_min, expected.bounding_box_min);
            share_nans(changed.bounding_box_max, expected.bounding_box_max);
            for (unsigned int v = 0; v < changed.vertex_count; ++v)
            {
                vesk_3d_vertex_s &to = changed.vertex_array[v], &from = expected.vertex_array[v];
                share_nans(to.position, from.position);
                if (changes_normals)
                    share_nans(to.normal, from.normal);
            }
            for (unsigned int c = 0; c < changed.tangent_count; ++c)
                share_nans(changed.tangent_array[c].tangent, expected.tangent_array[c].tangent);
            ASSERT_TRUE(same_mesh(changed, expected) && has_message(changed, nullptr));
        }
}

change normals_without_allocation(int nth)
{
    return [nth](vesk_mesh &mesh)
    {
        fail_allocation(nth);
        mesh.generate_normals();
        allocation_failed();
    };
}

void plain_tangents(vesk_mesh &mesh)
{
    ASSERT_EQ(mesh.generate_tangents(), 1); // for the room
    mesh.tangent_count = mesh.index_count / 7 * 3;
    std::vector<vesk_vector3> bi_normals(mesh.tangent_count);
    plain_tangents(mesh, mesh.tangent_array, bi_normals.data());
}

/// A triangle in x and y that looks along z, with its UVs as they are and mirrored.
mesh_source flat_triangle()
{
    mesh_source source;
    for (const vesk_vector3 &at : {vesk_vector3(0, 0, 0), {1, 0, 0}, {0, 1, 0}, {5, 5, 5}})
        source.add_vertex(at, vesk_vector3(0, 0, 1));
    source.add_triangle(0, 1, 2);
    source.channels.resize(2);
    source.channels[0] = {{{0, 0}, {1, 0}, {0, 1}}, {0, 1, 2}};
    source.channels[1] = {{{0, 0}, {-1, 0}, {0, 1}}, {0, 1, 2}};
    return source;
}
} // namespace

TEST(Derive, EqualsThePlainLoops)
{
    test_random random(5);
    const vesk_vector3 none(-0.0f, -0.0f, -0.0f), one(1, 1, 1);
    const vesk_vector3 o = random.point(-2.0f, 2.0f), f = random.point(-2.0f, 2.0f);
    const float nan = float_of(0x7FC00000u);
    const auto moved = [](const vesk_vector3 &offset, const vesk_vector3 &factors) -> change
    { return [=](vesk_mesh &m) { plain_position_and_scale(m, offset, factors); }; };
    struct row
    {
        const char *name;
        change fast, plain;
        bool changes_normals = false;
    };
    std::vector<row> rows = {
        {"position", [&](vesk_mesh &m) { m.position(o); }, moved(o, one)},
        {"scale", [&](vesk_mesh &m) { m.scale(f.x); }, moved(none, {f.x, f.x, f.x})},
        {"scale by axis", [&](vesk_mesh &m) { m.scale(f); }, moved(none, f)},
        {"both", [&](vesk_mesh &m) { m.position_and_scale(o, f.x); }, moved(o, {f.x, f.x, f.x})},
        {"both by axis", [&](vesk_mesh &m) { m.position_and_scale(o, f); }, moved(o, f)},
        {"box", [](vesk_mesh &m) { m.calculate_bounding_box(); }, plain_box},
        {"tangents", [](vesk_mesh &m) { m.generate_tangents(); },
         [](vesk_mesh &m) { plain_tangents(m); }},
        {"normals", [](vesk_mesh &m) { m.generate_normals(); }, plain_generate_normals, true},
        {"in blocks", normals_without_allocation(0), plain_generate_normals, true},
        {"no table", normals_without_allocation(1), plain_generate_normals, true},
        {"no sums", normals_without_allocation(2), plain_generate_normals, true},
        {"no turn", [](vesk_mesh &m) { m.rotate(vesk_vector3(0.0f, -0.0f, 0.0f)); },
         [](vesk_mesh &) {}},
    };
    for (const vesk_vector3 &angles : {vesk_vector3(0.3f, 0, 0),
                                       {-0.0f, 1, -0.0f},
                                       {0, 0, 1.5707964f},
                                       {0.4f, -2, 7},
                                       {0, 0, nan}})
        rows.push_back({"turn", [angles](vesk_mesh &m) { m.rotate(angles); },
                        [angles](vesk_mesh &m)
                        {
                            plain_rotate_vertices(m, angles);
                            plain_tangents(m);
                        },
                        true});
    vesk_vector3 offset, plain_offset;
    float factor, plain_factor;
    for (const float size : {2.0f, 1e-20f, 0.0f, -1.0f, nan})
        rows.push_back(
            {"size", [&, size](vesk_mesh &m) { m.center_and_enforce_size(size, &offset, &factor); },
             [&, size](vesk_mesh &m)
             {
                 plain_center_and_enforce_size(m, size, plain_offset, plain_factor);
                 EXPECT_TRUE(same_bits(offset, plain_offset));
                 EXPECT_TRUE(same_bits(factor, plain_factor));
             }});
    for (const row &r : rows)
    {
        SCOPED_TRACE(r.name);
        expect_same_change(r.fast, r.plain, r.changes_normals);
    }
}

TEST(Derive, TangentsRunAlongUAndTellMirroredUvs)
{
    owned_mesh mesh(flat_triangle());
    const float sides[] = {1.0f, -1.0f, 0.0f};
    for (unsigned int channel = 0; channel < 3; ++channel) // the third is the shared zero UV
    {
        mesh.set_uv_channel(channel);
        ASSERT_EQ(mesh.generate_tangents(), 1);
        EXPECT_EQ(mesh.tangent_array[2].tangent, vesk_vector3(sides[channel], 0, 0));
        EXPECT_EQ(mesh.tangent_array[2].handedness, channel == 1 ? -1.0f : 1.0f);
    }
}

TEST(Derive, NormalsSeeCornersClockwiseAndTurnsAreRightHandedXFirst)
{
    const float quarter = 1.57079637f;
    owned_mesh mesh(flat_triangle());
    const vesk_3d_vertex_s *vertices = mesh.vertex_array;
    mesh.vertex_array[3].normal = vesk_vector3(0, 0, 7);
    mesh.generate_normals();
    EXPECT_EQ(vertices[0].normal, vesk_vector3(0, 0, -1)); // the old one is replaced
    EXPECT_EQ(vertices[3].normal, vesk_vector3(0, 0, 1));  // in no triangle
    mesh.rotate(vesk_vector3(0, 0, quarter));
    EXPECT_TRUE(vesk_vec_nearly_equal(vertices[1].position, {0, 1, 0}, 1e-6f));
    mesh.rotate(vesk_vector3(quarter, quarter, 0)); // +Y to +Z, then on to +X
    EXPECT_TRUE(vesk_vec_nearly_equal(vertices[1].position, {1, 0, 0}, 1e-6f));
    EXPECT_TRUE(vesk_vec_nearly_equal(vertices[0].normal, {0, 1, 0}, 1e-6f));
}
