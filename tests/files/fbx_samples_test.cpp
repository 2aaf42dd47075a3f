#include "support/fbx_scene.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

// Real files with known results. They are not part of the repository: the environment variable
// VESK_FBX_SAMPLES names their folder, which holds `facts.tsv` (scripts/check_fbx_samples.sh).

namespace
{
struct sample_fact
{
    std::string file, result, message, triangles, uvs, vertices, box;
};

std::vector<sample_fact> read_facts(const std::string &folder)
{
    std::vector<sample_fact> facts;
    std::ifstream in(folder + "/facts.tsv");
    for (std::string line; std::getline(in, line);)
    {
        if (line.empty() || line[0] == '#')
            continue;
        sample_fact f;
        std::istringstream fields(line);
        for (std::string *field :
             {&f.file, &f.result, &f.message, &f.triangles, &f.uvs, &f.vertices, &f.box})
            std::getline(fields, *field, '\t');
        facts.push_back(f);
    }
    return facts;
}

std::string joined(const std::vector<unsigned int> &numbers)
{
    std::string text;
    for (unsigned int number : numbers)
        text += (text.empty() ? "" : " ") + std::to_string(number);
    return text;
}

std::string triangles_of(const vesk_mesh &mesh)
{
    std::vector<unsigned int> counts;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        counts.push_back(mesh.subset_lookup_table[2 * s + 1]);
    return joined(counts);
}

void expect_vertices(const vesk_mesh &mesh, const std::string &range)
{
    std::istringstream in(range);
    unsigned int least = 0;
    std::string to;
    in >> least;
    unsigned int most = least;
    in >> to >> most;
    EXPECT_GE(mesh.vertex_count, least);
    EXPECT_LE(mesh.vertex_count, to.empty() ? least : most);
}

void expect_box(const vesk_mesh &mesh, const std::string &box)
{
    std::istringstream in(box);
    double expected[6] = {};
    double largest = 0.0;
    for (double &value : expected)
    {
        in >> value;
        largest = std::max(largest, std::fabs(value));
    }
    ASSERT_FALSE(in.fail());
    const vesk_vector3 &low = mesh.bounding_box_min, &high = mesh.bounding_box_max;
    const float actual[6] = {low.x, low.y, low.z, high.x, high.y, high.z};
    for (int i = 0; i < 6; ++i)
        EXPECT_NEAR(static_cast<double>(actual[i]), expected[i], 1e-5 * largest) << i;
}

TEST(FbxSamples, GiveWhatIsKnownOfThem)
{
    const char *folder = std::getenv("VESK_FBX_SAMPLES");
    if (!folder)
        GTEST_SKIP() << "VESK_FBX_SAMPLES is not set";
    const std::vector<sample_fact> facts = read_facts(folder);
    ASSERT_FALSE(facts.empty());
    for (const sample_fact &fact : facts)
    {
        SCOPED_TRACE(fact.file);
        vesk_mesh mesh;
        const std::string path = std::string(folder) + "/" + fact.file;
        const int result = mesh.load_from_file(std::wstring(path.begin(), path.end()).c_str());
        EXPECT_EQ(std::to_string(result), fact.result);
        EXPECT_EQ(messages_of(mesh), fact.message);
        EXPECT_EQ(triangles_of(mesh), fact.triangles);
        const vesk_list<unsigned int> &uvs = mesh.uv_channel_counts;
        EXPECT_EQ(joined({uvs.data, uvs.data + uvs.count}), fact.uvs);
        if (fact.result == "1")
        {
            expect_vertices(mesh, fact.vertices);
            expect_box(mesh, fact.box);
        }
        mesh.free();
    }
}
} // namespace
