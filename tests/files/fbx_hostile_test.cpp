#include "support/fbx_scene.h"
#include "vesk/mesh.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <random>

// Files that nobody should write: a load ends soon, with a sound mesh or with one message.

namespace
{
struct hostile_file
{
    std::string name;
    std::string bytes;
};

void expect_harmless(const std::vector<hostile_file> &files)
{
    for (const hostile_file &file : files)
    {
        SCOPED_TRACE(file.name);
        const auto start = std::chrono::steady_clock::now();
        vesk_mesh mesh;
        int result = -1;
        EXPECT_NO_THROW(result = load_fbx(mesh, file.bytes));
        expect_sound(mesh, result);
        mesh.free();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    }
}

std::string repeated(const std::string &text, int count)
{
    std::string result;
    for (int i = 0; i < count; ++i)
        result += text;
    return result;
}

std::string with_word(std::string bytes, std::size_t at, std::uint32_t word)
{
    for (int i = 0; i < 4; ++i)
        bytes[at + static_cast<std::size_t>(i)] = static_cast<char>(word >> 8 * i);
    return bytes;
}

/// A scene of one triangle, and points that no polygon uses.
std::string scene_with_points(const std::vector<double> &points, const fbx_encoding &encoding)
{
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, {points, {0, 1, ~2}, {}});
    return scene.write(encoding);
}

std::string text_scene(const std::string &objects, const std::string &connections)
{
    return "; FBX 7.4.0 project file\nObjects: {\n" + objects + "\n}\nConnections: {\n" +
           connections + "\n}\n";
}

constexpr const char *model = "Model: 1,\"Model::m\",\"Mesh\" { Version: 232 }\n";
constexpr const char *links = "C: \"OO\",1,0\nC: \"OO\",2,1\n";

/// A text file whose one triangle has this in its geometry.
std::string text_mesh(const std::string &inside, const std::string &points = "0,0,0,1,0,0,0,1,0",
                      const std::string &count = "*9")
{
    return text_scene(
        std::string(model) + "Geometry: 2,\"Geometry::\",\"Mesh\" {\nVertices: " + count +
            " {\na: " + points + "\n}\nPolygonVertexIndex: *3 {\na: 0,1,-3\n}\n" + inside + "\n}",
        links);
}
} // namespace

TEST(FbxHostile, OnlyWhatIsHostileFails)
{
    for (const std::string &bytes :
         {text_mesh(""), scene_with_points({0, 0, 0, 1, 0, 0, 0, 1, 0}, fbx_encoding())})
    {
        vesk_mesh mesh;
        EXPECT_EQ(load_fbx(mesh, bytes), 1) << messages_of(mesh);
        EXPECT_EQ(mesh.index_count, 7u);
        mesh.free();
    }
}

TEST(FbxHostile, Streams)
{
    fbx_encoding deflated;
    deflated.deflated = true;
    const auto array_at = [](const std::string &bytes) { return bytes.find("Vertices") + 8; };
    constexpr std::size_t count = 1, encoding = 5, length = 9, stream = 13;

    // 16 MB of zeros, which deflate a thousandfold.
    const std::string bomb = scene_with_points(std::vector<double>(2000000), deflated);
    std::size_t at = array_at(bomb);
    ASSERT_EQ(bomb[at], 'd');
    std::vector<hostile_file> files = {{"as it is", bomb}};
    for (const std::uint32_t claim : {0u, 12u, 1u << 29, 0x20000001u, 0xffffffffu})
        files.push_back({"count " + std::to_string(claim), with_word(bomb, at + count, claim)});
    for (const std::uint32_t claim : {0u, 2u, 0xffffffffu})
        files.push_back(
            {"encoding " + std::to_string(claim), with_word(bomb, at + encoding, claim)});
    for (const std::uint32_t claim : {0u, 5u, 0xffffffffu})
        files.push_back({"length " + std::to_string(claim), with_word(bomb, at + length, claim)});

    std::mt19937 random(3);
    std::vector<double> noise(600000);
    for (double &value : noise)
        value = static_cast<double>(random()) / 3.0;
    const std::string large = scene_with_points(noise, deflated);
    at = array_at(large);
    std::uint32_t stream_bytes = 0;
    for (int i = 3; i >= 0; --i)
        stream_bytes = stream_bytes << 8 |
                       static_cast<unsigned char>(large[at + length + static_cast<std::size_t>(i)]);
    const std::size_t begin = at + stream, end = begin + stream_bytes;
    std::string changed = large;
    changed[end - 1] = static_cast<char>(changed[end - 1] ^ 1);
    files.push_back({"bad checksum", changed});
    changed = large;
    for (std::size_t i = begin + stream_bytes / 2; i < end; ++i)
        changed[i] = static_cast<char>(random());
    files.push_back({"garbage from the middle on", changed});
    changed = large;
    for (std::size_t i = begin + 2; i + 5 <= end; i += 5)
        std::memcpy(&changed[i], "\0\0\0\xff\xff", 5);
    files.push_back({"empty blocks", changed});
    expect_harmless(files);

    for (const hostile_file &file : files)
    {
        vesk_mesh mesh;
        const bool sound = file.name == "as it is" || file.name == "count 0";
        EXPECT_EQ(load_fbx(mesh, file.bytes), sound ? 1 : 0) << file.name;
        mesh.free();
    }
}

TEST(FbxHostile, Text)
{
    const std::string head = "; FBX 7.4.0 project file\n";
    std::string utf16("\xff\xfe", 2);
    for (const char c : head + "Objects: {\n}\n")
        utf16 += std::string{c, '\0'};
    std::vector<hostile_file> files = {
        {"UTF-16", utf16},
        {"open string", text_mesh("Name: \"open")},
        {"open braces", head + repeated("Objects: {", 100000)},
        {"open braces below a node", head + "Objects: {\nModel: " + repeated("a:{", 100000)},
        {"braces too many", head + repeated("}", 100000)},
        {"a long word", text_mesh(std::string(4000000, 'x'))},
        {"a long name", text_mesh(std::string(4000000, 'x') + ": 5")},
        {"a long string", text_mesh("Name: \"" + std::string(4000000, 'x') + "\"")},
        {"only commas", text_mesh("", std::string(4000000, ','))},
        {"only signs", text_mesh("", std::string(4000000, '-'))},
        {"a million digits", text_mesh("", "0,0,0,1,0,0,0,1,0." + std::string(1000000, '3'))},
        {"large exponents", text_mesh("", "1e1000000000,0,0,1e-1000000000,0,0,0,1,0")},
        {"not finite", text_mesh("", "nan,inf,-inf,1.#IND,1.#INF,0,0,1,0")},
    };
    for (const char *count : {"*4294967295", "*99999999999999999999", "*0", "*-1", "*x", "*", "*1"})
        files.push_back({count, text_mesh("", "0,0,0,1,0,0,0,1,0", count)});
    expect_harmless(files);
}

TEST(FbxHostile, ObjectsAndLayers)
{
    std::string layers, channels;
    for (int i = 0; i < 10000; ++i)
    {
        const std::string number = std::to_string(i);
        const std::string layer =
            "{ LayerElement: { Type: \"LayerElementUV\" TypedIndex: " + number + " } }\n";
        layers += "Layer: 0 " + layer + "Layer: 2147483647 " + layer;
        channels += "Layer: " + number + " " + layer + "LayerElementUV: " + number +
                    " { MappingInformationType: \"ByPolygonVertex\" ReferenceInformationType: "
                    "\"IndexToDirect\" UV: 0,0 UVIndex: 0,-2147483648,2147483647 }\n";
    }
    // Values that are missing or of another type, wherever one is asked for, are fuzz seeds.
    const std::vector<hostile_file> files = {
        {"layers of nothing", text_mesh(layers)},
        {"ten thousand channels", text_mesh(channels)},
        {"many connections", text_scene(model, repeated(links, 20000))},
    };
    expect_harmless(files);
}
