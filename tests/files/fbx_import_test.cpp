#include "support/bits.h"
#include "support/byte_file.h"
#include "support/fbx_scene.h"
#include "vesk/mesh.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>

namespace
{
constexpr const char *no_meshes = "Failed to find any meshes in the FBX scene.";
constexpr const char *wrong_uvs = "Not enough FBX uv indices for triangles.";

template <typename T> void append(std::vector<T> &list, std::initializer_list<T> values)
{
    for (const T &value : values)
        list.push_back(value);
}

/// A strip of triangles over random points, without normals and UVs.
fbx_mesh_source strip(int triangle_count, unsigned int seed = 1)
{
    std::mt19937 random(seed);
    fbx_mesh_source mesh;
    for (int i = 0; i < 3 * (triangle_count + 2); ++i)
        mesh.points.push_back(static_cast<int>(random() % 8001) / 1000.0 - 4.0);
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
        mesh.elements.push_back(fbx_uvs(static_cast<int>(n), values, layers[n]));
        mesh.elements.push_back(fbx_layer(static_cast<int>(n), {"LayerElementUV"}));
    }
    return mesh;
}

fbx_mesh_source with_normals(fbx_mesh_source mesh, const fbx_node &normals)
{
    mesh.elements.push_back(normals);
    mesh.elements.push_back(fbx_layer(0, {"LayerElementNormal"}));
    return mesh;
}

std::vector<unsigned int> list_of(const vesk_list<unsigned int> &list)
{
    return std::vector<unsigned int>(list.data, list.data + list.count);
}

template <typename T> std::string bytes_of(const T *data, std::size_t count)
{
    return std::string(reinterpret_cast<const char *>(data), count * sizeof(T));
}

/// Everything that a load decides, as bytes.
std::string content_of(const vesk_mesh &mesh)
{
    std::string content = bytes_of(mesh.vertex_array, mesh.vertex_count) +
                          bytes_of(mesh.index_array, mesh.index_count) +
                          bytes_of(mesh.subset_lookup_table.data, mesh.subset_lookup_table.count) +
                          bytes_of(&mesh.bounding_box_min, 1) + bytes_of(&mesh.bounding_box_max, 1);
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        content += bytes_of(mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c]) +
                   bytes_of(mesh.uv_index_arrays[c], mesh.index_count / 7 * 3);
    return content;
}

/// A mesh that is loaded by its constructor and freed by its destructor.
struct loaded : vesk_mesh
{
    template <typename Source> explicit loaded(const Source &source)
        : result(load_fbx(*this, source))
    {
        expect_sound(*this, result);
    }
    ~loaded()
    {
        free();
    }
    int result;
};

vesk_vector3 corner_position(const vesk_mesh &mesh, unsigned int triangle, unsigned int corner)
{
    return mesh.vertex_array[mesh.index_array[7 * triangle + corner]].position;
}

vesk_vector3 corner_normal(const vesk_mesh &mesh, unsigned int triangle, unsigned int corner)
{
    return mesh.vertex_array[mesh.index_array[7 * triangle + corner]].normal;
}

void expect_near(const vesk_vector3 &actual, double x, double y, double z)
{
    EXPECT_NEAR(static_cast<double>(actual.x), x, 1e-6);
    EXPECT_NEAR(static_cast<double>(actual.y), y, 1e-6);
    EXPECT_NEAR(static_cast<double>(actual.z), z, 1e-6);
}

TEST(FbxImport, MeshNodesBecomeSubsets)
{
    fbx_scene scene;
    fbx_mesh_source first = strip(2);
    first.points[0] = 1.0;
    first.points[1] = 2.0;
    first.points[2] = 3.0;
    scene.add_mesh(fbx_scene::root, first);
    scene.add_mesh(fbx_scene::root, strip(3, 2));
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    EXPECT_EQ(list_of(mesh.subset_lookup_table), (std::vector<unsigned int>{0, 2, 14, 3}));
    EXPECT_EQ(mesh.index_count, 35u);
    EXPECT_EQ(mesh.index_array[3 * 7 + 6], 21u);
    EXPECT_EQ(mesh.is_valid(), 1);

    EXPECT_TRUE(same_bits(corner_position(mesh, 0, 0), vesk_vector3(-1.0f, 2.0f, 3.0f)));

    // No layer of UVs: one channel of one UV.
    ASSERT_EQ(list_of(mesh.uv_channel_counts), std::vector<unsigned int>{1});
    EXPECT_TRUE(same_bits(mesh.uv_array[0], vesk_vector2(0.0f, 0.0f)));
}

TEST(FbxImport, EncodingsGiveEqualBits)
{
    std::mt19937 random(5);
    fbx_mesh_source polygons = strip(1);
    polygons.corners = {0, 1, ~2};
    for (int i = 0; i < 12; ++i)
        polygons.points.push_back(static_cast<int>(random() % 1000) / 7.0);
    append(polygons.corners, {0, 3, 4, 5, ~6, 1, 2, 3, ~4});
    fbx_scene scene;
    scene.set_template({{"Lcl Rotation", {10.1, 20.2, 30.3}}});
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
        const int point = static_cast<int>(random() % 800);
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
        const loaded mesh(scene.write(encoding));
        ASSERT_EQ(mesh.result, 1) << messages_of(mesh);
        EXPECT_EQ(content_of(mesh), content_of(expected));
    }
}

TEST(FbxImport, UvLayersAreLaidEndToEnd)
{
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, with_uvs(strip(1), 4, {{0, 1, 2}, {3, 2, -1}}));
    scene.add_mesh(fbx_scene::root, with_uvs(strip(1), 6, {{2, -7, 5}}));
    scene.add_mesh(fbx_scene::root, with_uvs(strip(1), 1, {{0, 1, 2147483647}}));
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    EXPECT_EQ(list_of(mesh.uv_channel_counts), (std::vector<unsigned int>{11, 4}));
    // A negative index is the first UV of the channel, one behind the last as well.
    EXPECT_EQ(std::vector<unsigned int>(mesh.uv_index_arrays[0], mesh.uv_index_arrays[0] + 9),
              (std::vector<unsigned int>{0, 1, 2, 6, 0, 9, 10, 0, 0}));
    EXPECT_EQ(std::vector<unsigned int>(mesh.uv_index_arrays[1], mesh.uv_index_arrays[1] + 9),
              (std::vector<unsigned int>{3, 2, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(same_bits(mesh.uv_channel_arrays[0][9], vesk_vector2(0.0f, 0.625f)));
}

TEST(FbxImport, UvIndicesThatDoNotFitFail)
{
    fbx_mesh_source quadrangle = strip(2);
    quadrangle.corners = {0, 1, 2, ~3};
    const std::vector<fbx_mesh_source> sources = {
        with_uvs(strip(2), 4, {{0, 1, 2, 3, 0}}),       // one short
        with_uvs(strip(2), 4, {{0, 1, 2, 3, 0, 1, 2}}), // one too many
        with_uvs(strip(2), 4, {{}}),                    // direct
        with_uvs(strip(1), 4, {{0, 1, 2}, {}}),         // in the second channel only
        with_uvs(quadrangle, 4, {{0, 1, 2, 3, 0, 1}}),  // fits the triangles by chance
        with_uvs(quadrangle, 4, {{0, 1, 2}}),
    };
    for (const fbx_mesh_source &source : sources)
    {
        fbx_scene scene;
        scene.add_mesh(fbx_scene::root, source);
        const loaded mesh(scene);
        EXPECT_EQ(mesh.result, 0);
        EXPECT_EQ(messages_of(mesh), wrong_uvs);
    }
}

TEST(FbxImport, PolygonsKeepWhatTheirCornersHave)
{
    // Corner n of the mesh has UV n, and a normal that tells n as well.
    std::mt19937 random(21);
    fbx_mesh_source source;
    std::vector<double> uvs, normals;
    std::vector<int> uv_indices;
    for (const int n : {3, 4, 5, 1, 12, 4, 2, 40, 3, 7})
    {
        for (int k = 0; k < n; ++k)
        {
            const int corner = static_cast<int>(uv_indices.size());
            append(source.points, {static_cast<double>(random() % 999),
                                   static_cast<double>(random() % 999), corner * 1.0});
            source.corners.push_back(k + 1 < n ? corner : ~corner);
            append(uvs, {static_cast<double>(corner), 0.5});
            append(normals, {1.0, corner / 128.0, 0.0});
            uv_indices.push_back(corner);
        }
    }
    source.elements = {fbx_uvs(0, uvs, uv_indices), fbx_normals("ByPolygonVertex", normals),
                       fbx_layer(0, {"LayerElementNormal", "LayerElementUV"})};
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, source);
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    ASSERT_EQ(mesh.index_count / 7, 1u + 2 + 3 + 10 + 2 + 38 + 1 + 5);
    for (unsigned int t = 0; t < mesh.index_count / 7; ++t)
    {
        for (unsigned int k = 0; k < 3; ++k)
        {
            const float corner = mesh.uv_array[mesh.index_array[7 * t + 3 + k]].x;
            const vesk_vector3 normal = corner_normal(mesh, t, k);
            EXPECT_NEAR(corner_position(mesh, t, k).z, corner, 1e-4f);
            EXPECT_NEAR(normal.y / -normal.x * 128.0f, corner, 1e-3f);
        }
    }
}

TEST(FbxImport, NormalsOfEveryMapping)
{
    const std::vector<double> three = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    const std::vector<double> four = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 2};
    const std::vector<double> six = {1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, 1};
    struct row
    {
        fbx_node element;
        const char *axes; ///< of the six corners; points are 0 1 2 and 1 2 3
    };
    const std::vector<row> rows = {
        {fbx_normals("ByPolygonVertex", six), "xyzyzz"},
        {fbx_normals("ByPolygonVertex", three, {2, 2, 0, 1, 0, 1}), "zzxyxy"},
        {fbx_normals("ByVertice", four), "xyzyzz"},
        {fbx_normals("ByVertex", three, {1, 0, 2, 1}), "yxzxzy"},
        {fbx_normals("ByPolygon", three), "xxxyyy"},
        {fbx_normals("ByPolygon", three, {2, 0}), "zzzxxx"},
        {fbx_normals("AllSame", three), "xxxxxx"},
        {fbx_normals("AllSame", three, {1}), "yyyyyy"},
    };
    for (const row &r : rows)
    {
        fbx_scene scene;
        scene.add_mesh(fbx_scene::root, with_normals(strip(2), r.element));
        const loaded mesh(scene);
        ASSERT_EQ(mesh.result, 1);
        for (unsigned int i = 0; i < 6; ++i)
        {
            SCOPED_TRACE(std::string(r.axes) + " " + std::to_string(i));
            expect_near(corner_normal(mesh, i / 3, i % 3), r.axes[i] == 'x' ? -1.0 : 0.0,
                        r.axes[i] == 'y' ? 1.0 : 0.0, r.axes[i] == 'z' ? 1.0 : 0.0);
        }
    }
}

TEST(FbxImport, CornersWithoutUsableNormalFaceAsTheirPolygon)
{
    const double not_a_number = std::numeric_limits<double>::quiet_NaN();
    fbx_mesh_source source;
    source.points = {0, 0, 0, 4, 0, 0, 4, 4, 0, 0, 4, 0};
    source.corners = {0, 1, 2, ~3};
    const std::vector<fbx_mesh_source> sources = {
        source,
        with_normals(source, fbx_normals("ByPolygonVertex", {})),
        with_normals(source, fbx_normals("NoMappingInformation", {1, 0, 0})),
        with_normals(source,
                     fbx_normals("ByPolygonVertex", {1, 0, 0}, {-1, 1, 5, -2147483647 - 1})),
    };
    fbx_scene scene;
    for (const fbx_mesh_source &s : sources)
        scene.add_mesh(fbx_scene::root, s);
    scene.add_mesh(fbx_scene::root,
                   with_normals(source, fbx_normals("AllSame", {not_a_number, 0, 0})));
    fbx_encoding binary;
    const loaded mesh(scene.write(binary));
    ASSERT_EQ(mesh.result, 1);
    ASSERT_EQ(mesh.vertex_count, 20u);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        expect_near(mesh.vertex_array[v].normal, 0.0, 0.0, 1.0);
}

TEST(FbxImport, VerticesAreSharedByPointAndBits)
{
    fbx_scene scene;
    const std::vector<double> up = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
    scene.add_mesh(fbx_scene::root, with_normals(strip(2), fbx_normals("ByVertice", up)));
    scene.add_mesh(fbx_scene::root, with_normals(strip(2), fbx_normals("ByVertice", up)));
    scene.add_mesh(
        fbx_scene::root,
        with_normals(strip(2), fbx_normals("ByPolygonVertex", {0, 0, 1, 0, 1e-60, 1, 0, 0, 1, //
                                                               0, -1e-60, 1, 1, 0, 0, 0, 0, 1})));
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    // Four each in the first two, though they are equal; six where the normals differ in bits:
    // one pair by the sign of a zero, to which float rounds 1e-60.
    EXPECT_EQ(mesh.vertex_count, 4u + 4 + 6);
}

// Few points with very many normals, as cones have. Twice a normal makes the same vertex.
TEST(FbxImport, VerticesOfOnePointComeInTheOrderOfFirstUse)
{
    std::mt19937 random(3);
    fbx_mesh_source tips = strip(7); // nine points
    tips.corners.clear();
    std::vector<double> normals;
    std::vector<int> slopes;
    for (int corner = 0; corner < 3000; ++corner)
    {
        const int point = static_cast<int>(random() % 9);
        tips.corners.push_back(corner % 3 == 2 ? ~point : point);
        slopes.push_back(static_cast<int>(random() % 60));
        const double length = random() % 2 ? 2.0 : 1.0;
        append(normals, {length, slopes.back() / 64.0 * length, 0.25 * length});
    }
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, with_normals(tips, fbx_normals("ByPolygonVertex", normals)));
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    std::map<std::pair<int, int>, unsigned int> expected; // by point and slope
    for (unsigned int corner = 0; corner < 3000; ++corner)
    {
        const int point = tips.corners[corner], slope = slopes[corner];
        const unsigned int next = static_cast<unsigned int>(expected.size());
        const auto known =
            expected.emplace(std::make_pair(point < 0 ? ~point : point, slope), next);
        EXPECT_EQ(mesh.index_array[corner / 3 * 7 + corner % 3], known.first->second) << corner;
        const vesk_vector3 normal = corner_normal(mesh, corner / 3, corner % 3);
        EXPECT_NEAR(normal.y / -normal.x, static_cast<float>(slope) / 64.0f, 1e-6f);
    }
    EXPECT_EQ(mesh.vertex_count, expected.size());
}

TEST(FbxImport, NodesWithoutAttributeHideWhatIsBelow)
{
    for (const bool visible : {true, false})
    {
        fbx_scene scene;
        const int group = scene.add_group(fbx_scene::root, visible ? "Camera" : "");
        const int below = scene.add_mesh(scene.add_group(group, "Light"), strip(1));
        scene.add_mesh(below, strip(2));
        scene.add_mesh(group, strip(3));
        for (const fbx_encoding &encoding : all_fbx_encodings())
        {
            const loaded mesh(scene.write(encoding));
            EXPECT_EQ(mesh.result, visible ? 1 : 0);
            EXPECT_EQ(messages_of(mesh), visible ? "" : no_meshes);
            const std::vector<unsigned int> pairs = {0, 1, 7, 2, 21, 3};
            EXPECT_EQ(list_of(mesh.subset_lookup_table),
                      visible ? pairs : std::vector<unsigned int>());
        }
    }
}

TEST(FbxImport, MeshesWithoutPolygonsCountAsSubsets)
{
    fbx_mesh_source points = strip(2);
    points.corners = {0, ~1, ~2}; // an edge and a point
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, with_uvs({}, 3, {{}}));
    {
        const loaded mesh(scene);
        EXPECT_EQ(mesh.result, 1);
        EXPECT_EQ(mesh.is_valid(), 0);
        EXPECT_EQ(mesh.vertex_count + mesh.index_count, 0u);
        EXPECT_EQ(list_of(mesh.uv_channel_counts), std::vector<unsigned int>{3});
        EXPECT_GT(mesh.bounding_box_min.x, mesh.bounding_box_max.x);
    }
    scene.add_mesh(fbx_scene::root, strip(2));
    scene.add_mesh(fbx_scene::root, points);
    const loaded mesh(scene);
    EXPECT_EQ(mesh.result, 1);
    EXPECT_EQ(list_of(mesh.subset_lookup_table), (std::vector<unsigned int>{0, 0, 0, 2, 14, 0}));
}

TEST(FbxImport, NormalsFollowScaledAndMirroredNodes)
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
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    const double x = -1.0 / 2, y = 1.0 / 3, z = 1.0, length = std::sqrt(x * x + y * y + z * z);
    expect_near(corner_normal(mesh, 0, 1), -x / length, y / length, z / length);
    expect_near(corner_position(mesh, 0, 0), 2.0, 0.0, 0.0); // the corner order stays
    expect_near(corner_position(mesh, 0, 1), 0.0, 3.0, 0.0);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        EXPECT_TRUE(std::isfinite(mesh.vertex_array[v].normal.z));
}

TEST(FbxImport, FailuresEmptyTheMesh)
{
    fbx_scene good;
    good.add_mesh(fbx_scene::root, strip(2));
    std::string cut = good.write(fbx_encoding());
    cut.resize(cut.size() / 2);
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"", "Failed to initialize FBX importer."},
        {"prose, and no scene of any kind\n", "Failed to initialize FBX importer."},
        {"# made by hand\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n",
         "Failed to import FBX. Not a valid FBX file."},
        {cut, "Failed to import FBX. Import(fbx_scene) failed."},
        {fbx_scene().write(fbx_text_74()), no_meshes},
    };
    vesk_mesh mesh;
    for (const auto &[bytes, message] : rows)
    {
        ASSERT_EQ(load_fbx(mesh, good), 1);
        const int result = load_fbx(mesh, bytes);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(messages_of(mesh), message);
        expect_sound(mesh, result);
    }
    EXPECT_EQ(mesh.load_from_file(L"no such folder/no such file.fbx"), 0);
    EXPECT_EQ(mesh.load_from_file(std::wstring(70000, L'x').c_str()), 0);
    EXPECT_EQ(messages_of(mesh), "Failed to initialize FBX importer.");
    mesh.free();
}

TEST(FbxImport, NothingCarriesOver)
{
    fbx_scene scene, other;
    scene.add_mesh(fbx_scene::root, strip(20));
    other.add_mesh(fbx_scene::root, strip(50, 3));
    const loaded lender(scene);
    const std::string first = content_of(lender);
    vesk_mesh borrower; // what is borrowed is let go
    borrower.vertex_array = lender.vertex_array;
    borrower.uv_array = lender.uv_array;
    borrower.index_array = lender.index_array;
    borrower.instance_geometry = 1;
    ASSERT_EQ(load_fbx(borrower, other), 1);
    EXPECT_EQ(borrower.instance_geometry, 0);
    ASSERT_EQ(load_fbx(borrower, scene), 1);
    EXPECT_EQ(content_of(borrower), first);
    EXPECT_EQ(content_of(lender), first);
    borrower.free();
}

TEST(FbxImport, ChildrenComeInTheOrderOfConnections)
{
    fbx_scene scene;
    const int group = scene.add_group(fbx_scene::root);
    const int late = scene.add_mesh(fbx_scene::root, strip(1));
    scene.add_mesh(group, strip(2));
    scene.add_mesh(late, strip(3));
    scene.connect(late, group); // has a parent by then: passed over
    scene.add_mesh(group, strip(4));
    const loaded mesh(scene);
    ASSERT_EQ(mesh.result, 1);
    EXPECT_EQ(list_of(mesh.subset_lookup_table),
              (std::vector<unsigned int>{0, 2, 14, 4, 42, 1, 49, 3}));
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
    {
        const loaded mesh(tangle);
        EXPECT_EQ(mesh.result, 1);
        EXPECT_EQ(mesh.get_subset_count(), 2u + 48);
    }

    // Deeper than any call stack.
    fbx_scene chain;
    int last = fbx_scene::root;
    for (int i = 0; i < 20000; ++i)
        last = chain.add_group(last, "Null", {{"Lcl Scaling", {2.0, 1.0, 1.0}}});
    chain.add_mesh(last, strip(1));
    const loaded mesh(chain);
    EXPECT_EQ(mesh.result, 1);
}

TEST(FbxImport, DamagedMeshesStaySound)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const double not_a_number = std::numeric_limits<double>::quiet_NaN();
    const int least = -2147483647 - 1;
    std::vector<fbx_mesh_source> sources(6, strip(3));
    sources[0].corners = {0, 1, ~2, 0, 1, ~99, 2, 3, least, 1, 2, ~3}; // unknown points
    sources[1].corners = {0, 1, 2, 3, 4};                              // no end
    sources[2].points.pop_back();                                      // not in threes
    sources[3].points.clear();
    sources[4].points[0] = not_a_number;
    sources[4].points[4] = infinity;
    sources[5].points[0] = 1e300;
    sources[5].elements = {fbx_uvs(2147483647, {0, 0}, {0, 1, 2, 3, 4, 5, 6, 7, 8}),
                           fbx_layer(2147483647, {"LayerElementUV", "LayerElementUV"}),
                           fbx_layer(-5, {"LayerElementNormal", "LayerElementHole"})};
    const std::vector<fbx_property> bad_transform = {{"Lcl Scaling", {infinity, 1e200, 0}},
                                                     {"Lcl Rotation", {1e300, not_a_number, 0}},
                                                     {"RotationActive", {1}},
                                                     {"RotationOrder", {99}},
                                                     {"InheritType", {-1}}};
    fbx_scene scene;
    for (const fbx_mesh_source &source : sources)
    {
        scene.add_mesh(fbx_scene::root, source);
        scene.add_mesh(fbx_scene::root, source, bad_transform);
    }
    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        if (encoding.text)
            continue; // no spelling of NaN is common
        const loaded mesh(scene.write(encoding));
        EXPECT_EQ(mesh.result, 1) << messages_of(mesh);
        const std::vector<unsigned int> counts = list_of(mesh.subset_lookup_table);
        ASSERT_EQ(counts.size(), 24u);
        EXPECT_EQ(counts[1], 2u); // the polygons with unknown points are gone
        EXPECT_EQ(counts[5], 3u); // the array's end ends the polygon
        EXPECT_EQ(counts[13], 0u);
    }
}
} // namespace
