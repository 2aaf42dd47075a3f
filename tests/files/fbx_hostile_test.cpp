#include "support/fbx_scene.h"

#include <gtest/gtest.h>

// Files that nobody should write: a load ends soon, with a sound mesh or with one message.

namespace
{
struct hostile_file
{
    std::string name, bytes;
    int result;
};

void expect_results(const std::vector<hostile_file> &files)
{
    for (const hostile_file &file : files)
    {
        SCOPED_TRACE(file.name);
        vesk_mesh mesh;
        int result = -1;
        EXPECT_NO_THROW(result = load_fbx(mesh, file.bytes));
        EXPECT_EQ(result, file.result) << messages_of(mesh);
        expect_sound(mesh, result);
        mesh.free();
    }
}

const std::string model = "Model: 1,\"Model::m\",\"Mesh\" { Version: 232 }\n";
const std::string links = "C: \"OO\",1,0\nC: \"OO\",2,1\n";

std::string text_scene(const std::string &objects, const std::string &connections)
{
    return "; FBX 7.4.0 project file\nObjects: {\n" + objects + "\n}\nConnections: {\n" +
           connections + "\n}\n";
}

/// A text file whose one triangle has this in its geometry.
std::string text_mesh(const std::string &inside, const std::string &points = "0,0,0,1,0,0,0,1,0",
                      const std::string &count = "*9")
{
    return text_scene(model + "Geometry: 2,\"Geometry::\",\"Mesh\" {\nVertices: " + count +
                          " {\na: " + points + "\n}\nPolygonVertexIndex: *3 {\na: 0,1,-3\n}\n" +
                          inside + "\n}",
                      links);
}
} // namespace

TEST(FbxHostile, Text)
{
    std::string utf16("\xff\xfe", 2);
    for (const char c : text_mesh(""))
        utf16 += std::string{c, '\0'};
    std::vector<hostile_file> files = {
        {"nothing", text_mesh(""), 1},
        {"UTF-16", utf16, 0},
        {"open string", text_mesh("Name: \"open"), 0},
        {"a long word", text_mesh(std::string(4000000, 'x')), 0},
        {"a long name", text_mesh(std::string(4000000, 'x') + ": 5"), 1},
        {"a long string", text_mesh("Name: \"" + std::string(4000000, 'x') + "\""), 1},
        {"only commas", text_mesh("", std::string(4000000, ',')), 1},
        {"only signs", text_mesh("", std::string(4000000, '-')), 0},
        {"a million digits", text_mesh("", "0,0,0,1,0,0,0,1,0." + std::string(1000000, '3')), 1},
        {"large exponents", text_mesh("", "1e1000000000,0,0,1e-1000000000,0,0,0,1,0"), 1},
        {"not finite", text_mesh("", "nan,inf,-inf,1.#IND,1.#INF,0,0,1,0"), 1},
    };
    for (const char *count : {"*4294967295", "*99999999999999999999", "*0", "*-1", "*x", "*", "*1"})
        files.push_back({count, text_mesh("", "0,0,0,1,0,0,0,1,0", count), 1});
    expect_results(files);
}

TEST(FbxHostile, ObjectsAndLayers)
{
    std::string layers, channels, many_links;
    for (int i = 0; i < 10000; ++i)
    {
        const std::string number = std::to_string(i);
        const std::string layer =
            "{ LayerElement: { Type: \"LayerElementUV\" TypedIndex: " + number + " } }\n";
        layers += "Layer: 0 " + layer + "Layer: 2147483647 " + layer;
        channels += "Layer: " + number + " " + layer + "LayerElementUV: " + number +
                    " { MappingInformationType: \"ByPolygonVertex\" ReferenceInformationType: "
                    "\"IndexToDirect\" UV: 0,0 UVIndex: 0,-2147483648,2147483647 }\n";
        many_links += links + links;
    }
    // Values that are missing or of another type, wherever one is asked for, are fuzz seeds.
    expect_results({{"layers of nothing", text_mesh(layers), 1},
                    {"ten thousand channels", text_mesh(channels), 1},
                    {"many connections", text_scene(model, many_links), 0}});
}
