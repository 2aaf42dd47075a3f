#include "vesk/debug_write.h"

#include "support/bits.h"
#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <gtest/gtest.h>
#include <locale>
#include <map>
#include <sstream>

namespace
{
constexpr unsigned int all_depths = 0xFFFFFFFFu;

std::string text_of(const temp_file &file)
{
    const byte_vector bytes = file.bytes();
    return std::string(bytes.begin(), bytes.end());
}

/// A float by the C library, which rounds correctly and knows nan and inf.
float number(const std::string &word)
{
    return std::strtof(word.c_str(), nullptr);
}

bool same_vector(const float *expected, const std::vector<std::string> &words, std::size_t first,
                 std::size_t count)
{
    bool same = words.size() >= first + count;
    for (std::size_t i = 0; same && i < count; ++i)
        same = same_bits(expected[i], number(words[first + i]));
    return same;
}

std::vector<std::string> split(const std::string &line)
{
    std::istringstream stream(line);
    stream.imbue(std::locale::classic());
    return std::vector<std::string>(std::istream_iterator<std::string>(stream),
                                    std::istream_iterator<std::string>());
}

/// An ascii PLY file: for each element, its rows of words.
struct ply_file
{
    std::map<std::string, std::vector<std::vector<std::string>>> elements;

    explicit ply_file(const std::string &text)
    {
        std::istringstream stream(text);
        std::string line;
        std::vector<std::pair<std::string, unsigned long>> order;
        while (std::getline(stream, line) && line != "end_header")
        {
            const std::vector<std::string> words = split(line);
            if (words.at(0) == "element")
                order.emplace_back(words.at(1), std::strtoul(words.at(2).c_str(), nullptr, 10));
        }
        for (const auto &[name, count] : order)
            for (unsigned long i = 0; i < count && std::getline(stream, line); ++i)
                elements[name].push_back(split(line));
        for (const auto &[name, count] : order)
            EXPECT_EQ(elements[name].size(), count) << name;
        EXPECT_FALSE(std::getline(stream, line)) << "rows that no element counts";
    }
};

/// The number of the first subset that names each triangle, -1 without one, by the plain loop.
int plain_subset_of(const vesk_mesh &mesh, unsigned int triangle)
{
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
    {
        const unsigned int first = mesh.subset_lookup_table[s * 2] / 7;
        if (triangle >= first && triangle - first < mesh.subset_lookup_table[s * 2 + 1])
            return static_cast<int>(s);
    }
    return -1;
}

mesh_source awkward_source()
{
    mesh_source source = nan_bearing(7, 60);
    scatter_subsets(source, 3);
    return source;
}

void expect_obj_is_mesh(const std::string &text, const vesk_mesh &mesh)
{
    std::istringstream stream(text);
    std::string line;
    std::string group;
    unsigned int v = 0, vn = 0, vt = 0, f = 0;
    while (std::getline(stream, line))
    {
        SCOPED_TRACE(line);
        const std::vector<std::string> words = split(line);
        if (words.at(0) == "v")
            ASSERT_TRUE(same_vector(&mesh.vertex_array[v++].position.x, words, 1, 3));
        else if (words[0] == "vn")
            ASSERT_TRUE(same_vector(&mesh.vertex_array[vn++].normal.x, words, 1, 3));
        else if (words[0] == "vt")
            ASSERT_TRUE(same_vector(&mesh.uv_array[vt++].x, words, 1, 2));
        else if (words[0] == "g")
            group = words.at(1);
        else
        {
            ASSERT_EQ(words[0], "f");
            const unsigned int *record = mesh.index_array + f * 7;
            for (unsigned int c = 0; c < 3; ++c)
            {
                const std::string vertex = std::to_string(record[c] + 1ull);
                const std::string uv = std::to_string(record[3 + c] + 1ull);
                EXPECT_EQ(words.at(1 + c), vertex + "/" + uv + "/" + vertex);
            }
            const int subset = plain_subset_of(mesh, f++);
            EXPECT_EQ(group, subset < 0 ? "no_subset" : "subset_" + std::to_string(subset));
        }
    }
    EXPECT_EQ(v, mesh.vertex_count);
    EXPECT_EQ(vn, mesh.vertex_count);
    EXPECT_EQ(vt, mesh.uv_count);
    EXPECT_EQ(f, mesh.index_count / 7);
}

/// Every node below one, parents first, with its depth.
template <typename Node> void nodes_of(const Node *node, unsigned int depth,
                                       std::vector<std::pair<const Node *, unsigned int>> &nodes)
{
    if (!node)
        return;
    nodes.emplace_back(node, depth);
    for (const Node *child : node->children)
        nodes_of(child, depth + 1, nodes);
}

/// What stands in the attribute `d` of the path of this id.
std::string path_of(const std::string &svg, const std::string &id)
{
    const std::size_t at = svg.find("<path id=\"" + id + "\"");
    if (at == std::string::npos)
        return "";
    const std::size_t first = svg.find(" d=\"", at) + 4;
    return svg.substr(first, svg.find('"', first) - first);
}

/// The numbers of a path, whose commands are letters.
std::vector<float> path_numbers(std::string path)
{
    for (char &letter : path)
        if (std::string("MLHVZ\n").find(letter) != std::string::npos)
            letter = ' ';
    std::vector<float> numbers;
    for (const std::string &word : split(path))
        numbers.push_back(number(word));
    return numbers;
}
} // namespace

TEST(DebugWrite, ObjReadsBackAsTheMesh)
{
    const owned_mesh mesh(awkward_source());
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_obj(mesh, file.wide()), 1);
    expect_obj_is_mesh(text_of(file), mesh);
}

TEST(DebugWrite, ObjShowsTheCurrentChannel)
{
    owned_mesh mesh(random_soup(5, 20, 3));
    mesh.set_uv_channel(2);
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_obj(mesh, file.wide()), 1);
    expect_obj_is_mesh(text_of(file), mesh);
}

TEST(DebugWrite, PlyReadsBackAsTheMesh)
{
    owned_mesh mesh(awkward_source());
    mesh.index_array[3] = mesh.uv_count; // out of range: shows as a zero UV
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_ply(mesh, file.wide()), 1);
    ply_file ply(text_of(file));

    ASSERT_EQ(ply.elements["vertex"].size(), mesh.vertex_count);
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
        EXPECT_TRUE(same_vector(&mesh.vertex_array[v].position.x, ply.elements["vertex"][v], 0, 6));
    ASSERT_EQ(ply.elements["face"].size(), mesh.index_count / 7);
    for (unsigned int t = 0; t < mesh.index_count / 7; ++t)
    {
        const std::vector<std::string> &face = ply.elements["face"][t];
        ASSERT_EQ(face.size(), 12u);
        const vesk_vector2 zero;
        for (unsigned int c = 0; c < 3; ++c)
        {
            const unsigned int uv = mesh.index_array[t * 7 + 3 + c];
            EXPECT_EQ(face[1 + c], std::to_string(mesh.index_array[t * 7 + c]));
            EXPECT_TRUE(same_vector(uv < mesh.uv_count ? &mesh.uv_array[uv].x : &zero.x, face,
                                    5 + c * 2, 2));
        }
        EXPECT_EQ(face[11], std::to_string(plain_subset_of(mesh, t)));
    }
}

TEST(DebugWrite, OctreeBoxesHaveTheirCornersEdgesAndDepths)
{
    owned_mesh mesh(displaced_sphere(300));
    ASSERT_EQ(mesh.generate_octree(4, nullptr, nullptr), 1);
    std::vector<std::pair<const vesk_octree_node_s *, unsigned int>> nodes;
    nodes_of(mesh.get_octree(), 0, nodes);

    for (const unsigned int deepest : {all_depths, 2u})
    {
        SCOPED_TRACE(deepest);
        const temp_file file;
        ASSERT_EQ(vesk_debug_write_octree(mesh.get_octree(), deepest, file.wide()), 1);
        ply_file ply(text_of(file));
        const auto &vertices = ply.elements["vertex"];
        std::size_t box = 0;
        for (const auto &[node, depth] : nodes)
        {
            if (depth > deepest)
                continue;
            ASSERT_GE(vertices.size(), box * 8 + 8);
            EXPECT_TRUE(same_vector(&node->box.min.x, vertices[box * 8], 0, 3));
            EXPECT_TRUE(same_vector(&node->box.max.x, vertices[box * 8 + 7], 0, 3));
            for (std::size_t corner = 0; corner < 8; ++corner)
                EXPECT_EQ(vertices[box * 8 + corner].at(6), std::to_string(depth));
            ++box;
        }
        EXPECT_EQ(vertices.size(), box * 8);

        // An edge joins two corners of one box that differ along one axis.
        const auto &edges = ply.elements["edge"];
        EXPECT_EQ(edges.size(), box * 12);
        for (const std::vector<std::string> &edge : edges)
        {
            const unsigned long a = std::stoul(edge.at(0));
            const unsigned long b = std::stoul(edge.at(1));
            EXPECT_EQ(a / 8, b / 8);
            unsigned int differing = 0;
            for (std::size_t axis = 0; axis < 3; ++axis)
                differing += vertices.at(a)[axis] != vertices.at(b)[axis];
            EXPECT_EQ(differing, 1u);
        }
    }
}

TEST(DebugWrite, RaysRunToTheirHits)
{
    vesk_debug_ray_s rays[2];
    rays[0] = {vesk_vector3(1.0f, 2.0f, 3.0f), vesk_vector3(0.0f, 0.5f, -1.0f), 3.0f, 1};
    rays[1] = {vesk_vector3(0.1f, 0.2f, 0.3f), vesk_vector3(1.0f, 0.0f, 0.0f), 0.7f, 0};
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_rays(rays, 2, file.wide()), 1);
    ply_file ply(text_of(file));
    const auto &vertices = ply.elements["vertex"];
    ASSERT_EQ(vertices.size(), 4u);
    for (unsigned int i = 0; i < 2; ++i)
    {
        const vesk_vector3 end = rays[i].origin + rays[i].direction * rays[i].distance;
        EXPECT_TRUE(same_vector(&rays[i].origin.x, vertices[i * 2], 0, 3));
        EXPECT_TRUE(same_vector(&end.x, vertices[i * 2 + 1], 0, 3));
        EXPECT_EQ(ply.elements["edge"][i],
                  (std::vector<std::string>{std::to_string(i * 2), std::to_string(i * 2 + 1)}));
    }
    EXPECT_NE(vertices[1].at(3), vertices[2].at(3)) << "a hit and a miss in one colour";
}

TEST(DebugWrite, UvLayoutShowsRasterAndRectangles)
{
    mesh_source source = displaced_sphere(200);
    split_subsets(source, 2);
    owned_mesh mesh(source);
    const vesk_list<unsigned int> *all = nullptr;
    ASSERT_EQ(mesh.generate_uv_lookup_quadtree(64, 32, 3, 0, 0, all, nullptr), 1);
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_uv_layout(mesh, all_depths, file.wide()), 1);
    const std::string svg = text_of(file);
    EXPECT_NE(svg.find("viewBox=\"-0.5 -0.5 65 33\""), std::string::npos);

    std::vector<float> corners;
    for (const char *id : {"subset_0", "subset_1"})
        for (const float corner : path_numbers(path_of(svg, id)))
            corners.push_back(corner);
    ASSERT_EQ(corners.size(), mesh.uv_lookup_vertex_count * 2u);
    for (unsigned int i = 0; i < mesh.uv_lookup_vertex_count; i += 3)
    {
        // All run one way, whatever the mesh says.
        const vesk_vector3 *of_mesh = mesh.uv_lookup_vertex_array + i;
        const vesk_vector3 across =
            vesk_vec_cross_product(of_mesh[1] - of_mesh[0], of_mesh[2] - of_mesh[0]);
        const unsigned int order[] = {0, across.y > 0.0f ? 2u : 1u, across.y > 0.0f ? 1u : 2u};
        for (unsigned int c = 0; c < 3; ++c)
        {
            EXPECT_BITS(corners[(i + c) * 2], bits_of(of_mesh[order[c]].x));
            EXPECT_BITS(corners[(i + c) * 2 + 1], bits_of(of_mesh[order[c]].z));
        }
    }

    std::vector<std::pair<const vesk_uv_lookup_node_s *, unsigned int>> nodes;
    nodes_of(static_cast<const vesk_uv_lookup_node_s *>(mesh.uv_lookup_root), 0, nodes);
    std::map<unsigned int, std::vector<float>> expected;
    for (const auto &[node, depth] : nodes)
    {
        const vesk_quadtree_aa_bounding_rect_s &rect = node->bounding_rect;
        for (const float at : {rect.min.x, rect.min.y, rect.max.x, rect.max.y, rect.min.x})
            expected[depth].push_back(at);
    }
    EXPECT_GT(expected.size(), 2u);
    for (const auto &[depth, numbers] : expected)
        EXPECT_EQ(path_numbers(path_of(svg, "depth_" + std::to_string(depth))), numbers) << depth;
}

TEST(DebugWrite, UvLayoutShowsWhatTheQuadtreeHolds)
{
    mesh_source source = displaced_sphere(200);
    split_subsets(source, 3);
    owned_mesh mesh(source);
    vesk_list<unsigned int> second;
    second.push_back(1);
    ASSERT_EQ(mesh.generate_uv_lookup_quadtree(64, 64, 3, 0, 0, &second, nullptr), 1);
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_uv_layout(mesh, 0, file.wide()), 1);
    const std::string svg = text_of(file);
    EXPECT_EQ(path_of(svg, "subset_0") + path_of(svg, "subset_2"), "");
    EXPECT_EQ(path_numbers(path_of(svg, "subset_1")).size(), mesh.subset_lookup_table[3] * 6u);
    EXPECT_NE(path_of(svg, "depth_0"), "");
    EXPECT_EQ(path_of(svg, "depth_1"), "");
}

TEST(DebugWrite, UvLayoutWithoutQuadtreeLeavesOutWhatCannotBeDrawn)
{
    owned_mesh mesh(random_soup(11, 4));
    mesh.index_array[1 * 7 + 4] = mesh.uv_count;
    mesh.uv_array[mesh.index_array[2 * 7 + 5]].y = std::numeric_limits<float>::quiet_NaN();
    const temp_file file;
    ASSERT_EQ(vesk_debug_write_uv_layout(mesh, all_depths, file.wide()), 1);
    const std::vector<float> numbers = path_numbers(path_of(text_of(file), "subset_0"));
    ASSERT_EQ(numbers.size(), 2u * 6u) << "triangles 0 and 3";
    const vesk_vector2 &uv = mesh.uv_array[mesh.index_array[3 * 7 + 3]]; // the first corner stays
    EXPECT_EQ(numbers[6], uv.x * 512.0f);
    EXPECT_EQ(numbers[7], (1.0f - uv.y) * 512.0f);
}

TEST(DebugWrite, NoLocaleGetsIntoTheNumbers)
{
    struct comma : std::numpunct<char>
    {
        char do_decimal_point() const override
        {
            return ',';
        }
        char do_thousands_sep() const override
        {
            return '.';
        }
        std::string do_grouping() const override
        {
            return "\3";
        }
    };
    const owned_mesh mesh(grid(40, 40));
    const temp_file file;
    const std::locale before = std::locale::global(std::locale(std::locale(), new comma));
    const int written = vesk_debug_write_obj(mesh, file.wide());
    std::locale::global(before);
    ASSERT_EQ(written, 1);
    EXPECT_EQ(text_of(file).find(','), std::string::npos);
    expect_obj_is_mesh(text_of(file), mesh);
}

TEST(DebugWrite, EmptyAndBrokenMeshesAreWritten)
{
    owned_mesh empty;
    owned_mesh broken(random_soup(2, 3));
    broken.index_array[0] = 0xFFFFFFFFu;
    broken.subset_lookup_table[0] = 14;
    broken.subset_lookup_table[1] = 0xFFFFFFFFu;
    const temp_file file;
    for (vesk_mesh *mesh : {static_cast<vesk_mesh *>(&empty), static_cast<vesk_mesh *>(&broken)})
    {
        EXPECT_EQ(vesk_debug_write_ply(*mesh, file.wide()), 1);
        EXPECT_EQ(vesk_debug_write_uv_layout(*mesh, all_depths, file.wide()), 1);
        EXPECT_EQ(vesk_debug_write_octree(mesh->get_octree(), all_depths, file.wide()), 1);
        ASSERT_EQ(vesk_debug_write_obj(*mesh, file.wide()), 1);
        expect_obj_is_mesh(text_of(file), *mesh);
    }
    EXPECT_NE(text_of(file).find("f 4294967296/"), std::string::npos);
}

TEST(DebugWrite, FilesThatCannotBeWrittenGiveZero)
{
    const owned_mesh mesh(grid(2, 2));
    EXPECT_EQ(vesk_debug_write_obj(mesh, L"no_such_folder/mesh.obj"), 0);
#if defined(__linux__)
    EXPECT_EQ(vesk_debug_write_ply(mesh, L"/dev/full"), 0);
    const wchar_t half_of_a_pair[] = {L'a', static_cast<wchar_t>(0xD800), L'\0'};
    EXPECT_EQ(vesk_debug_write_ply(mesh, half_of_a_pair), 0);
#endif
}
