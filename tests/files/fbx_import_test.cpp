#include "support/bits.h"
#include "support/fbx_scene.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"

#include <cmath>
#include <limits>
#include <map>

namespace
{
constexpr const char *no_file = "Failed to initialize FBX importer.";
constexpr const char *no_meshes = "Failed to find any meshes in the FBX scene.";
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();
constexpr int least_int = std::numeric_limits<int>::min();

using numbers = std::vector<unsigned int>;

template <typename T> void append(std::vector<T> &list, std::initializer_list<T> values)
{
    for (const T &value : values)
        list.push_back(value);
}

/// A strip of triangles over random points, without normals and UVs.
fbx_mesh_source strip(int triangle_count, unsigned int seed = 1)
{
    test_random random(seed);
    fbx_mesh_source mesh;
    for (int i = 0; i < 3 * (triangle_count + 2); ++i)
        mesh.points.push_back(random.below(8001) / 1000.0 - 4.0);
    for (int i = 0; i < triangle_count; ++i)
        append(mesh.corners, {i, i + 1, ~(i + 2)});
    return mesh;
}

/// With as many UV layers as there are lists of indices; layer n has `uv_count` UVs (n, k).
fbx_mesh_source with_uvs(fbx_mesh_source mesh, int uv_count,
                         const std::vector<std::vector<int>> &layers)
{
    for (std::size_t n = 0; n < layers.size(); ++n)
    {
        std::vector<double> values;
        for (int k = 0; k < uv_count; ++k)
            append(values, {static_cast<double>(n), k / 8.0});
        append(mesh.elements, {fbx_uvs(static_cast<int>(n), values, layers[n]),
                               fbx_layer(static_cast<int>(n), {"LayerElementUV"})});
    }
    return mesh;
}

fbx_mesh_source with_normals(fbx_mesh_source mesh, const fbx_node &normals)
{
    append(mesh.elements, {normals, fbx_layer(0, {"LayerElementNormal"})});
    return mesh;
}

fbx_scene scene_of(const std::vector<fbx_mesh_source> &meshes)
{
    fbx_scene scene;
    for (const fbx_mesh_source &mesh : meshes)
        scene.add_mesh(fbx_scene::root, mesh);
    return scene;
}

numbers list_of(const vesk_list<unsigned int> &list)
{
    return numbers(list.data, list.data + list.count);
}

/// A mesh from a file, which is sound or empty.
struct loaded : owned_mesh
{
    template <typename Source> explicit loaded(const Source &source)
        : result(load_fbx(*this, source))
    {
        expect_sound(*this, result);
    }
    int result;
};

const vesk_3d_vertex_s &corner_vertex(const vesk_mesh &mesh, unsigned int triangle,
                                      unsigned int corner)
{
    return mesh.vertex_array[mesh.index_array[7 * triangle + corner]];
}

void expect_near(const vesk_vector3 &actual, double x, double y, double z)
{
    EXPECT_NEAR(static_cast<double>(actual.x), x, 1e-6);
    EXPECT_NEAR(static_cast<double>(actual.y), y, 1e-6);
    EXPECT_NEAR(static_cast<double>(actual.z), z, 1e-6);
}
} // namespace

TEST(FbxImport, MeshNodesBecomeSubsets)
{
    const fbx_mesh_source no_polygons = with_uvs({}, 3, {{}});
    fbx_mesh_source edge_and_point = strip(2), shown = strip(3);
    edge_and_point.corners = {0, ~1, ~2};
    std::copy_n(std::begin({1.0, 2.0, 3.0}), 3, shown.points.begin());
    const loaded mesh(scene_of({no_polygons, shown, edge_and_point, strip(2)}));
    EXPECT_EQ(list_of(mesh.subset_lookup_table), (numbers{0, 0, 0, 3, 21, 0, 21, 2}));
    EXPECT_EQ(mesh.is_valid(), 1);
    EXPECT_TRUE(same_bits(corner_vertex(mesh, 0, 0).position, vesk_vector3(-1.0f, 2.0f, 3.0f)));

    const loaded empty(scene_of({no_polygons}));
    EXPECT_EQ(empty.result, 1);
    EXPECT_EQ(empty.is_valid(), 0);
    EXPECT_EQ(empty.vertex_count + empty.index_count, 0u);
    EXPECT_EQ(list_of(empty.uv_channel_counts), numbers{3});
    EXPECT_GT(empty.bounding_box_min.x, empty.bounding_box_max.x);
}

// A scene of every kind of content, which all encodings have to make the same of.
TEST(FbxImport, EncodingsGiveEqualBits)
{
    test_random random(5);
    fbx_mesh_source polygons = strip(5);
    polygons.corners = {0, 1, ~2, 0, 3, 4, 5, ~6, 1, 2, 3, ~4};
    fbx_scene scene;
    scene.defaults = {{"Lcl Rotation", {10.1, 20.2, 30.3}}};
    const int group = scene.add_group(fbx_scene::root, "Null", {{"Lcl Scaling", {1.5, 2.0, -3.0}}});
    scene.add_mesh(group, with_uvs(polygons, 12, {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}}),
                   {{"GeometricTranslation", {1.0, 2.0, 3.3}}, {"InheritType", {1}}});
    scene.add_mesh(group, with_normals(strip(4), fbx_normals("ByVertice", strip(4, 9).points)));
    // So long that a binary file's numbers are used where they stand.
    fbx_mesh_source quadrangles = strip(798);
    quadrangles.corners.clear();
    std::vector<int> uv_indices;
    for (int i = 0; i < 1600; ++i)
    {
        const int point = static_cast<int>(random.below(800));
        quadrangles.corners.push_back(i % 4 == 3 ? ~point : point);
        uv_indices.push_back(point - 1);
    }
    quadrangles = with_normals(quadrangles, fbx_normals("ByPolygonVertex", strip(1598, 8).points));
    scene.add_mesh(group, with_uvs(quadrangles, 800, {uv_indices}));

    const loaded expected(scene);
    ASSERT_EQ(expected.result, 1);
    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        SCOPED_TRACE(std::to_string(encoding.version) + (encoding.text ? " text" : " binary"));
        EXPECT_TRUE(same_mesh(loaded(scene.write(encoding)), expected));
    }
}

TEST(FbxImport, UvLayersAreLaidEndToEnd)
{
    const loaded mesh(scene_of({with_uvs(strip(1), 4, {{0, 1, 2}, {3, 2, -1}}),
                                with_uvs(strip(1), 6, {{2, -7, 5}}),
                                with_uvs(strip(1), 1, {{0, 1, std::numeric_limits<int>::max()}})}));
    ASSERT_EQ(mesh.result, 1);
    EXPECT_EQ(list_of(mesh.uv_channel_counts), (numbers{11, 4}));
    // A negative index is the first UV of the channel, one behind the last as well.
    EXPECT_EQ(numbers(mesh.uv_index_arrays[0], mesh.uv_index_arrays[0] + 9),
              (numbers{0, 1, 2, 6, 0, 9, 10, 0, 0}));
    EXPECT_EQ(numbers(mesh.uv_index_arrays[1], mesh.uv_index_arrays[1] + 9),
              (numbers{3, 2, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(same_bits(mesh.uv_channel_arrays[0][9], vesk_vector2(0.0f, 0.625f)));

    const loaded without_layers(scene_of({strip(1)}));
    ASSERT_EQ(list_of(without_layers.uv_channel_counts), numbers{1});
    EXPECT_TRUE(same_bits(without_layers.uv_array[0], vesk_vector2(0.0f, 0.0f)));
}

TEST(FbxImport, PolygonsKeepWhatTheirCornersHave)
{
    // Corner n of the mesh has UV n, and a normal that tells n as well.
    test_random random(21);
    fbx_mesh_source source;
    std::vector<double> uvs, normals;
    std::vector<int> uv_indices;
    for (const int n : {3, 4, 5, 1, 12, 4, 2, 40, 3, 7})
        for (int k = 0; k < n; ++k)
        {
            const int corner = static_cast<int>(uv_indices.size());
            append(source.points, {random.below(999) * 1.0, random.below(999) * 1.0, corner * 1.0});
            source.corners.push_back(k + 1 < n ? corner : ~corner);
            append(uvs, {corner * 1.0, 0.5});
            append(normals, {1.0, corner / 128.0, 0.0});
            uv_indices.push_back(corner);
        }
    source.elements = {fbx_uvs(0, uvs, uv_indices), fbx_normals("ByPolygonVertex", normals),
                       fbx_layer(0, {"LayerElementNormal", "LayerElementUV"})};
    const loaded mesh(scene_of({source}));
    ASSERT_EQ(mesh.index_count / 7, 1u + 2 + 3 + 10 + 2 + 38 + 1 + 5);
    for (unsigned int t = 0; t < mesh.index_count / 7; ++t)
        for (unsigned int k = 0; k < 3; ++k)
        {
            const float corner = mesh.uv_array[mesh.index_array[7 * t + 3 + k]].x;
            const vesk_3d_vertex_s &vertex = corner_vertex(mesh, t, k);
            EXPECT_NEAR(vertex.position.z, corner, 1e-4f);
            EXPECT_NEAR(vertex.normal.y / -vertex.normal.x * 128.0f, corner, 1e-3f);
        }
}

TEST(FbxImport, NormalsOfEveryMapping)
{
    const std::vector<double> three = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const std::vector<double> four = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 2};
    const std::vector<double> six = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, 1};
    const struct
    {
        fbx_node element;
        const char *axes; ///< of the six corners
    } rows[] = {
        {fbx_normals("ByPolygonVertex", six), "xyzyzz"},
        {fbx_normals("ByPolygonVertex", three, {2, 2, 0, 1, 0, 1}), "zzxyxy"},
        {fbx_normals("ByVertice", four), "xyzyzz"},
        {fbx_normals("ByVertex", three, {1, 0, 2, 1}), "yxzxzy"},
        {fbx_normals("ByPolygon", three), "xxxyyy"},
        {fbx_normals("ByPolygon", three, {2, 0}), "zzzxxx"},
        {fbx_normals("AllSame", three), "xxxxxx"},
        {fbx_normals("AllSame", three, {1}), "yyyyyy"},
        // Corners without a usable one face as their polygon.
        {{"Edges", {0}, {}}, "zzzzzz"},
        {fbx_normals("ByPolygonVertex", {}), "zzzzzz"},
        {fbx_normals("NoMappingInformation", {1, 0, 0}), "zzzzzz"},
        {fbx_normals("ByPolygonVertex", three, {0, -1, 3, least_int}), "xzzzzz"},
        {fbx_normals("AllSame", {not_a_number, 0, 0}), "zzzzzz"},
    };
    fbx_mesh_source flat;
    flat.points = {0, 0, 0, 4, 0, 0, 4, 4, 0, 0, 4, 0};
    flat.corners = {0, 1, ~2, 1, 2, ~3};
    fbx_mesh_source and_edge = flat; // no longer triangles only
    append(and_edge.corners, {0, ~1});
    for (const auto &r : rows)
    {
        const loaded mesh(
            scene_of({with_normals(flat, r.element), with_normals(and_edge, r.element)})
                .write(fbx_encoding()));
        ASSERT_EQ(mesh.index_count, 28u);
        for (unsigned int i = 0; i < 12; ++i)
        {
            SCOPED_TRACE(std::string(r.axes) + " " + std::to_string(i));
            const char axis = r.axes[i % 6];
            expect_near(corner_vertex(mesh, i / 3, i % 3).normal, axis == 'x' ? -1.0 : 0.0,
                        axis == 'y' ? 1.0 : 0.0, axis == 'z' ? 1.0 : 0.0);
        }
    }
    fbx_mesh_source bent = strip(2);
    bent.corners = {0, 1, 2, ~3};
    EXPECT_EQ(loaded(scene_of({bent})).vertex_count, 4u); // its triangles face one way
}

TEST(FbxImport, PositionsAndNormalsFollowTheirNodes)
{
    // The plane x + y + z = 1 under a scale of (-2, 3, 1): its normal goes by the reciprocals.
    fbx_mesh_source plane;
    plane.points = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    plane.corners = {0, 1, ~2};
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, with_normals(plane, fbx_normals("AllSame", {5, 5, 5})),
                   {{"Lcl Scaling", {-2, 3, 1}}});
    scene.add_mesh(fbx_scene::root, with_normals(plane, fbx_normals("AllSame", {0, 0, 9})),
                   {{"Lcl Scaling", {1, 0, 1}}}); // flat: no inverse
    scene.add_mesh(
        fbx_scene::root, plane,
        {{"Lcl Rotation", {90, 90, 0}}, {"RotationOrder", {3}}, {"RotationActive", {1}}});
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    const double x = -1.0 / 2, y = 1.0 / 3, z = 1.0, length = std::sqrt(x * x + y * y + z * z);
    expect_near(corner_vertex(mesh, 0, 1).normal, -x / length, y / length, z / length);
    expect_near(corner_vertex(mesh, 0, 0).position, 2.0, 0.0, 0.0); // the corner order stays
    expect_near(corner_vertex(mesh, 0, 1).position, 0.0, 3.0, 0.0);
    expect_near(corner_vertex(mesh, 2, 0).position, 0.0, 1.0, 0.0);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        EXPECT_TRUE(std::isfinite(mesh.vertex_array[v].normal.z));
}

// Few points with very many normals, as cones have. Twice a normal makes the same vertex, the other
// sign of a zero, to which float rounds 1e-60, another one.
TEST(FbxImport, VerticesOfOnePointComeInTheOrderOfFirstUse)
{
    test_random random(3);
    fbx_mesh_source tips = strip(7); // nine points
    tips.corners.clear();
    std::vector<double> normals, slopes;
    for (int corner = 0; corner < 3000; ++corner)
    {
        const int point = static_cast<int>(random.below(9)), steps = int(random.below(60)) - 1;
        tips.corners.push_back(corner % 3 == 2 ? ~point : point);
        slopes.push_back(steps > 0 ? steps / 64.0 : steps < 0 ? -1e-60 : 1e-60);
        const double length = random.below(2) ? 2.0 : 1.0;
        append(normals, {length, slopes.back() * length, 0.25 * length});
    }
    tips = with_normals(tips, fbx_normals("ByPolygonVertex", normals));
    const loaded mesh(scene_of({tips, tips})); // meshes share none
    ASSERT_EQ(mesh.result, 1);
    std::map<std::pair<int, double>, unsigned int> expected; // by point and slope
    for (unsigned int corner = 0; corner < 3000; ++corner)
    {
        const int point = tips.corners[corner];
        const unsigned int next = static_cast<unsigned int>(expected.size());
        const auto known =
            expected.emplace(std::make_pair(point < 0 ? ~point : point, slopes[corner]), next);
        EXPECT_EQ(mesh.index_array[corner / 3 * 7 + corner % 3], known.first->second) << corner;
        const vesk_vector3 normal = corner_vertex(mesh, corner / 3, corner % 3).normal;
        EXPECT_NEAR(static_cast<double>(normal.y / -normal.x), slopes[corner], 1e-6);
    }
    EXPECT_EQ(mesh.index_array[7000], expected.size());
    EXPECT_EQ(mesh.vertex_count, 2 * expected.size());
}

TEST(FbxImport, FailuresEmptyTheMesh)
{
    fbx_scene hidden;
    hidden.add_mesh(hidden.add_group(hidden.add_group(fbx_scene::root, ""), "Light"), strip(1));
    std::string cut = hidden.write(fbx_encoding());
    cut.resize(cut.size() / 2);
    fbx_mesh_source quadrangle = strip(2);
    quadrangle.corners = {0, 1, 2, ~3};
    std::vector<std::pair<std::string, std::string>> rows = {
        {"", no_file},
        {"prose, and no scene of any kind\n", no_file},
        {"# made by hand\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n",
         "Failed to import FBX. Not a valid FBX file."},
        {cut, "Failed to import FBX. Import(fbx_scene) failed."},
        {fbx_scene().write(fbx_encoding()), no_meshes},
        {hidden.write(fbx_encoding()), no_meshes},
    };
    for (const fbx_mesh_source &wrong_uvs : {
             with_uvs(strip(2), 4, {{0, 1, 2, 3, 0}}),       // one short
             with_uvs(strip(2), 4, {{0, 1, 2, 3, 0, 1, 2}}), // one too many
             with_uvs(strip(1), 4, {{0, 1, 2}, {}}),         // direct, in the second channel
             with_uvs(quadrangle, 4, {{0, 1, 2, 3, 0, 1}}),  // fits the triangles by chance
             with_uvs(quadrangle, 4, {{0, 1, 2}}),
         })
        rows.emplace_back(scene_of({wrong_uvs}).write(fbx_encoding()),
                          "Not enough FBX uv indices for triangles.");
    const fbx_scene good = scene_of({strip(20)});
    const loaded lender(good);
    owned_mesh mesh;
    lend_geometry(lender, mesh); // what is borrowed is let go, and nothing carries over
    for (const auto &[bytes, message] : rows)
    {
        EXPECT_EQ(load_fbx(mesh, bytes), 0);
        EXPECT_EQ(messages_of(mesh), message);
        expect_sound(mesh, 0);
        ASSERT_EQ(load_fbx(mesh, good), 1);
        EXPECT_TRUE(same_mesh(mesh, lender));
    }
    for (const std::wstring path : {L"no such folder/no such file.fbx", L".", L"\xD800"})
    {
        EXPECT_EQ(mesh.load_from_file(path.c_str()), 0);
        EXPECT_EQ(messages_of(mesh), no_file);
    }
    EXPECT_EQ(mesh.load_from_file(std::wstring(70000, L'x').c_str()), 0);
}

TEST(FbxImport, NodesComeDepthFirstInTheOrderOfConnections)
{
    fbx_scene scene;
    const int group = scene.add_group(fbx_scene::root, "Camera");
    scene.add_mesh(scene.add_group(group, ""), strip(9)); // hidden
    const int late = scene.add_mesh(fbx_scene::root, strip(1));
    scene.add_mesh(scene.add_group(group, "Light"), strip(2));
    scene.add_mesh(late, strip(3));
    scene.connect(late, group); // has a parent by then: passed over
    scene.add_mesh(group, strip(4));
    // Names that several models have in version 6 mean one after the other.
    std::string twins = scene.write({true, 6100, false, false});
    for (std::size_t at = 0; (at = twins.find("quot;8", at)) != std::string::npos;)
        twins[at + 5] = '6';
    std::vector<std::string> files = {twins};
    for (const fbx_encoding &encoding : all_fbx_encodings())
        files.push_back(scene.write(encoding));
    for (const std::string &file : files)
        EXPECT_EQ(list_of(loaded(file).subset_lookup_table), (numbers{0, 2, 14, 4, 42, 1, 49, 3}));
}

TEST(FbxImport, TangledScenesEnd)
{
    // A ring off the root, a node below itself, the root below a node, a lattice in which each
    // node has both nodes above it for parents.
    fbx_scene tangle;
    const int first = tangle.add_mesh(fbx_scene::root, strip(1));
    const int ring = tangle.add_mesh(12345, strip(2));
    tangle.connect(tangle.add_mesh(ring, strip(2)), first);
    tangle.connect(ring, ring + 1);
    tangle.connect(first, first);
    tangle.connect(fbx_scene::root, first);
    int left = first, right = tangle.add_mesh(first, strip(1));
    for (int i = 0; i < 24; ++i)
    {
        const int l = tangle.add_mesh(left, strip(1)), r = tangle.add_mesh(left, strip(1));
        tangle.connect(l, right);
        tangle.connect(r, right);
        left = l;
        right = r;
    }
    for (int i = 0; i < 1000; ++i)
        tangle.connect(left, right);
    EXPECT_EQ(loaded(tangle).get_subset_count(), 2u + 48);

    fbx_scene chain; // deeper than any call stack
    int last = fbx_scene::root;
    for (int i = 0; i < 20000; ++i)
        last = chain.add_group(last, "Null", {{"Lcl Scaling", {2.0, 1.0, 1.0}}});
    chain.add_mesh(last, strip(1));
    EXPECT_EQ(loaded(chain).result, 1);
}

TEST(FbxImport, DamagedMeshesStaySound)
{
    std::vector<fbx_mesh_source> sources(6, strip(3));
    sources[0].corners = {0, 1, ~2, 0, 1, ~99, 2, 3, least_int, 1, 2, ~3}; // unknown points
    sources[1].corners = {0, 1, 2, 3, 4};                                  // no end
    sources[2].points.pop_back();                                          // not in threes
    sources[3].points.clear();
    sources[4].points[0] = not_a_number;
    sources[4].points[4] = infinity;
    sources[5].points[0] = 1e300;
    sources[5].elements = {fbx_uvs(2147483647, {0, 0}, {0, 1, 2, 3, 4, 5, 6, 7, 8}),
                           fbx_layer(2147483647, {"LayerElementUV", "LayerElementUV"}),
                           fbx_layer(-5, {"LayerElementNormal", "LayerElementHole"})};
    const std::vector<fbx_property> bad_transform = {{"Lcl Scaling", {infinity, 1e200, 0.0}},
                                                     {"Lcl Rotation", {1e300, not_a_number, 0.0}},
                                                     {"RotationActive", {1}},
                                                     {"RotationOrder", {99}},
                                                     {"InheritType", {-1}}};
    fbx_scene scene;
    for (const fbx_mesh_source &source : sources)
    {
        scene.add_mesh(fbx_scene::root, source);
        scene.add_mesh(fbx_scene::root, source, bad_transform);
    }
    const loaded mesh(scene.write(fbx_encoding())); // text has no common spelling of NaN
    const numbers counts = list_of(mesh.subset_lookup_table);
    ASSERT_EQ(counts.size(), 24u) << messages_of(mesh);
    EXPECT_EQ(counts[1], 2u); // the polygons with unknown points are gone
    EXPECT_EQ(counts[5], 3u); // the array's end ends the polygon
    EXPECT_EQ(counts[13], 0u);
}
