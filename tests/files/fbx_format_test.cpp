#include "files/fbx/format.h"

#include <gtest/gtest.h>
#include <string>

using namespace vesk_fbx;

TEST(FbxFormat, KnownByContent)
{
    const std::string bom = "\xef\xbb\xbf";
    const struct
    {
        file_format format;
        std::string head;
    } rows[] = {
        {file_format::fbx_binary, std::string("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0", 27)},
        {file_format::unknown, "Kaydara FBX Binary   \x1a"}, // the zero byte became a blank
        {file_format::fbx_text, "; FBX 7.4.0 project file\n"},
        {file_format::fbx_text, bom + ";FBX 6.1.0 project file\n"},
        {file_format::fbx_text, "; by hand\n\nFBXHeaderExtension :  {\n"},
        {file_format::unknown, "a tale of the FBXHeaderExtension\n"},
        {file_format::collada, "<COLLADA>"},
        {file_format::collada,
         bom + "<?xml version=\"1.0\"?>\n<!-- <COLLADA> later -->\n<COLLADA xmlns=\"\">"},
        {file_format::unknown, "<?xml version=\"1.0\"?><svg><COLLADA></svg>"},
        {file_format::dxf, "  0\r\nSECTION\r\n  2\r\nHEADER\r\n"},
        {file_format::dxf, "999\nmade by hand\n0\nSECTION\n"},
        {file_format::dxf, std::string("AutoCAD Binary DXF\r\n\x1a\0", 22)},
        {file_format::unknown, "1\nSECTION\n"},
        {file_format::studio_3ds, std::string("MM\x10\0\0\0\2\0\x0a\0\0\0\3\0\0\0", 16)},
        {file_format::studio_3ds, std::string("MM\x08\0\0\0\x3d\x3d", 8)},
        {file_format::unknown, std::string("MM\x11\0\0\0\2\0\x0a\0\0\0\3\0\0\0", 16)}, // too long
        {file_format::unknown, std::string("MM\0\x2a\0\0\0\x08", 8)},                  // a picture
        {file_format::obj, "# by hand\r\n\r\nmtllib a.mtl\r\n"},
        {file_format::obj, "v 0 0 0\nv 1 0 0\n"},
        {file_format::unknown, "very much prose\n"},
        {file_format::unknown, "v\n"},
        {file_format::unknown, std::string("v 1\0 2", 6)},
        {file_format::unknown, ""},
        {file_format::unknown, std::string(1000, '\0')},
    };
    for (const auto &row : rows)
        EXPECT_EQ(detect_format(row.head, row.head.size()), row.format) << row.head;
}
