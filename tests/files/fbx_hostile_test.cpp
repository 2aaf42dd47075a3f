#include "support/fbx_scene.h"
#include "support/mesh_builder.h"

#include <gtest/gtest.h>

// Text that nobody should write: a load ends soon, with a sound mesh or with one message.

namespace
{
/// A text file with one triangle, and this in place of what it says somewhere.
std::string with_change(const std::string &from, const std::string &to)
{
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, {{0, 0, 0, 1, 0, 0, 0, 1, 0}, {0, 1, ~2}, {}});
    std::string text = scene.write({true, 7400, false, false});
    return text.replace(text.find(from), from.size(), to);
}

std::string with_points(const std::string &points)
{
    return with_change("0,0,0,1,0,0,0,1,0", points);
}

/// This stands in the geometry.
std::string with_records(const std::string &records)
{
    return with_change("PolygonVertexIndex", records + "\nPolygonVertexIndex");
}

void expect_result(const std::string &name, const std::string &bytes, int expected)
{
    SCOPED_TRACE(name);
    owned_mesh mesh;
    int result = -1;
    EXPECT_NO_THROW(result = load_fbx(mesh, bytes));
    EXPECT_EQ(result, expected) << messages_of(mesh);
    expect_sound(mesh, result);
}
} // namespace

TEST(FbxHostile, Text)
{
    const std::string many(4000000, 'x');
    std::string utf16("\xff\xfe", 2);
    for (const char c : with_records(""))
        utf16 += std::string{c, '\0'};
    expect_result("UTF-16", utf16, 0);
    expect_result("open string", with_records("Name: \"open"), 0);
    expect_result("a long word", with_records(many), 0);
    expect_result("a long name", with_records(many + ": 5"), 1);
    expect_result("a long string", with_records("Name: \"" + many + "\""), 1);
    expect_result("only commas", with_points(std::string(4000000, ',')), 1);
    expect_result("only signs", with_points(std::string(4000000, '-')), 0);
    expect_result("many digits", with_points("0,0,0,1,0,0,0,1,0." + std::string(1000000, '3')), 1);
    expect_result("large exponents", with_points("1e1000000000,0,0,1e-1000000000,0,0,0,1,0"), 1);
    expect_result("not finite", with_points("nan,inf,-inf,1.#IND,1.#INF,0,0,1,0"), 1);
    expect_result("corners that are none", with_change("0,1,-3", "0,1,x"), 0);
    for (const char *count : {"*4294967295", "*99999999999999999999", "*0", "*-1", "*x", "*", "*1"})
        expect_result(count, with_change("*9", count), 1);
}

TEST(FbxHostile, ObjectsAndLayers)
{
    std::string layers, channels, links;
    for (int i = 0; i < 10000; ++i)
    {
        const std::string number = std::to_string(i);
        const std::string layer =
            "{ LayerElement: { Type: \"LayerElementUV\" TypedIndex: " + number + " } }\n";
        layers += "Layer: 0 " + layer + "Layer: 2147483647 " + layer;
        channels += "Layer: " + number + " " + layer + "LayerElementUV: " + number +
                    " { MappingInformationType: \"ByPolygonVertex\" ReferenceInformationType: "
                    "\"IndexToDirect\" UV: 0,0 UVIndex: 0,-2147483648,2147483647 }\n";
        links += "C: \"OO\",1,0\nC: \"OO\",2,1\nC: \"OO\",1,2\n";
    }
    // Values that are missing or of another type, wherever one is asked for, are fuzz seeds.
    expect_result("layers of nothing", with_records(layers), 1);
    expect_result("ten thousand channels", with_records(channels), 1);
    expect_result("many connections", with_change("Connections: {", "Connections: {\n" + links), 1);
}
