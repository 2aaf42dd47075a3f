#include "support/fbx_scene.h"
#include "support/mesh_builder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sstream>

// Real files with known results. They are not part of the repository: the environment variable
// VESK_FBX_SAMPLES names their folder, which holds `facts.tsv` (scripts/check_fbx_samples.sh).

namespace
{
/// Every `step`th number from `first` on, with blanks between.
std::string listed(const vesk_list<unsigned int> &list, unsigned int first, unsigned int step)
{
    std::string text;
    for (unsigned int i = first; i < list.count; i += step)
        text += (text.empty() ? "" : " ") + std::to_string(list.data[i]);
    return text;
}

/// `vertices` is of the form `least` or `least to most`, `box` six numbers.
void expect_shape(const vesk_mesh &mesh, const std::string &vertices, const std::string &box)
{
    std::istringstream range(vertices), numbers(box);
    unsigned int least = 0, most = 0;
    std::string to;
    range >> least >> to >> most;
    EXPECT_GE(mesh.vertex_count, least);
    EXPECT_LE(mesh.vertex_count, to.empty() ? least : most);

    const std::vector<double> expected{std::istream_iterator<double>(numbers), {}};
    ASSERT_EQ(expected.size(), 6u);
    const auto [low, high] = std::minmax_element(expected.begin(), expected.end());
    for (unsigned int i = 0; i < 6; ++i)
    {
        vesk_vector3 corner = i < 3 ? mesh.bounding_box_min : mesh.bounding_box_max;
        EXPECT_NEAR(static_cast<double>(corner[i % 3]), expected[i], 1e-5 * std::max(-*low, *high));
    }
}
} // namespace

TEST(FbxSamples, GiveWhatIsKnownOfThem)
{
    const char *folder = std::getenv("VESK_FBX_SAMPLES");
    if (!folder)
        GTEST_SKIP() << "VESK_FBX_SAMPLES is not set";
    std::ifstream in(std::string(folder) + "/facts.tsv");
    int count = 0;
    for (std::string line; std::getline(in, line);)
    {
        if (line.empty() || line[0] == '#')
            continue;
        std::istringstream fields(line);
        std::string file, result, message, triangles, uvs, vertices, box;
        for (std::string *field : {&file, &result, &message, &triangles, &uvs, &vertices, &box})
            std::getline(fields, *field, '\t');
        SCOPED_TRACE(file);
        owned_mesh mesh;
        const std::string path = std::string(folder) + "/" + file;
        EXPECT_EQ(
            std::to_string(mesh.load_from_file(std::wstring(path.begin(), path.end()).c_str())),
            result);
        EXPECT_EQ(messages_of(mesh), message);
        EXPECT_EQ(listed(mesh.subset_lookup_table, 1, 2), triangles);
        EXPECT_EQ(listed(mesh.uv_channel_counts, 0, 1), uvs);
        if (result == "1")
            expect_shape(mesh, vertices, box);
        ++count;
    }
    EXPECT_GT(count, 0);
}
