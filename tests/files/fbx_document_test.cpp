#include "files/fbx/document.h"
#include "support/failing_new.h"
#include "support/fbx_scene.h"

#include <gtest/gtest.h>

using namespace vesk_fbx;

namespace
{
const std::string text_head = "; FBX 7.4.0 project file\n";

load_result load(document &doc, std::string_view bytes)
{
    const load_result opened = doc.open_bytes(bytes);
    return opened == load_result::ok ? doc.parse() : opened;
}

std::string spelled(double real, std::int64_t integer)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.17g/%lld,", real, static_cast<long long>(integer));
    return text;
}

/// All that can be asked of these records, in words.
std::string content_of(const document &doc, const record *r, const std::string &indent = "")
{
    std::string out;
    for (; r != nullptr; r = r->next)
    {
        if (r->name == "a") // what a text's array stands in
            continue;
        out += indent + std::string(r->name) + ":";
        number_array<double> reals;
        number_array<int> integers;
        const bool is_numeric = doc.read_numbers(*r, reals) && doc.read_numbers(*r, integers);
        for (std::size_t i = 0; is_numeric && i < reals.count; ++i)
            out += spelled(reals[i], integers[i]);
        for (std::uint32_t i = 0; !is_numeric && i < r->value_count; ++i)
        {
            std::string_view text;
            double real = 0;
            std::int64_t integer = 0;
            if (doc.get_text(*r, i, text))
                out += '"' + std::string(text) + "\",";
            else if (doc.get_real(*r, i, real) && doc.get_integer(*r, i, integer))
                out += spelled(real, integer);
            else
                out += "?,";
        }
        out += "\n" + content_of(doc, r->first_child, indent + " ");
    }
    return out;
}

std::string load_content(std::string_view bytes)
{
    document doc;
    return load(doc, bytes) == load_result::ok ? content_of(doc, doc.first_record()) : "damaged";
}

std::string word(std::uint32_t v)
{
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(v >> 8 * i);
    return bytes;
}

std::string array_value(char code, std::uint32_t count, const std::string &bytes)
{
    return code + word(count) + word(0) + word(static_cast<std::uint32_t>(bytes.size())) + bytes;
}

const std::string binary_head("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0", 27);
const std::string null_record(13, '\0');

/// A binary 7.4 file of one record `Objects` with the given values and the count they claim.
std::string one_record(std::uint32_t count, const std::string &values,
                       const std::string &children = "")
{
    const std::uint32_t value_bytes = static_cast<std::uint32_t>(values.size());
    const std::uint32_t end = 27 + 20 + value_bytes + static_cast<std::uint32_t>(children.size());
    return binary_head + word(end) + word(count) + word(value_bytes) + "\7Objects" + values +
           children + null_record;
}

std::string repeated(const std::string &text, int count)
{
    std::string result;
    while (count-- > 0)
        result += text;
    return result;
}
} // namespace

TEST(FbxDocument, EveryCodeConverts)
{
    const std::pair<std::string, std::string> rows[] = {
        {array_value('b', 2, "\1\x80"), "1/1,128/128,"},
        {array_value('c', 2, "\1\x80"), "1/1,128/128,"},
        {array_value('i', 2, {"\0\0\0\0\xfe\xff\xff\xff", 8}), "0/0,-2/-2,"},
        {array_value('l', 1, {"\0\0\0\0\1\0\0\0", 8}), "4294967296/2147483647,"},
        {array_value('f', 1, {"\0\0\x20\xc0", 4}), "-2.5/-2,"},
        {array_value('d', 1, {"\0\0\0\0\0\0\xf8\x7f", 8}), "nan/0,"},
        {array_value('d', 1, {"\0\0\0\0\0\0\xf0\xff", 8}), "-inf/-2147483648,"}};
    for (const auto &[value, numbers] : rows)
        EXPECT_EQ(load_content(one_record(1, value)), "Objects:" + numbers + "\n");

    // Single values in one list, and one by one beside a text.
    const std::string values = std::string("C\x80Z\1Y\xfe\xff") + "B\1I" + word(7) + "L" + word(8) +
                               word(1) + std::string("F\0\0\x20\xc0", 5) +
                               std::string("D\0\0\0\0\0\0\x20\xc0", 9);
    const std::string small = "Objects:128/128,1/1,-2/-2,1/1,7/7,4294967304/";
    EXPECT_EQ(load_content(one_record(8, values)), small + "2147483647,-2.5/-2,-8/-8,\n");
    EXPECT_EQ(load_content(one_record(9, values + "S" + word(1) + "s")),
              small + "4294967304,-2.5/-2,-8/-8,\"s\",\n");
}

TEST(FbxDocument, TextLayoutDoesNotMatter)
{
    for (const std::string body :
         {"Objects: 1,\"b\",-3.5 {\nModel: 7 {\nVertices: *3 {\na: 1,2.5,-3e2\n}\n"
          "Edges: 4,5\n}\n}\n",
          "Objects:1,\"b\",-3.5{Model:7{Vertices:*3{a:1,2.5,-3e2}Edges:4,5}}",
          "Objects: 1\n,\"b\"\r\n\t,\t-3.5\n{ Model : 7 { Vertices: *99 "
          "{a:\n1 ,\n 2.5 ,\n-3e2\n}Edges: ,4,5 }}",
          "Objects: 1, ; one {\n\"b\",-3.5 { ; \"two\nModel: 7 {Vertices: *-1 {\r"
          "a: 1,2.5, ; a: 9\r-3e2\r}\rEdges: 4,5\r}\r}\r; end",
          "Objects: 1,\"b\",-3.5, { Model: 7, { Vertices: *x { a: 1,2.5,-3e2, }\n"
          "Edges: 4,5,}}"})
        for (const std::string mark : {"", "\xef\xbb\xbf"})
            EXPECT_EQ(load_content(mark + text_head + body),
                      "Objects:1/1,\"b\",-3.5/-3,\n Model:7/7,\n"
                      "  Vertices:1/1,2.5/2,-300/-300,\n  Edges:4/4,5/5,\n")
                << body;
}

// Names of the letter that exponents have, names behind blanks, words that only begin like numbers,
// and runs of every length across the sixteen bytes that are looked at together.
TEST(FbxDocument, TextRunsOfNumbersEndBeforeTheNextName)
{
    for (int blanks = 1; blanks < 40; ++blanks)
        EXPECT_EQ(
            load_content(text_head + "Objects: 1,2,33" + repeated(" ", blanks) +
                         "e: 4,5 Edges :6,7,1x,E,\"s\",nan 3d: 8"),
            "Objects:1/1,2/2,33/33,\ne:4/4,5/5,\nEdges:6/6,7/7,?,\"E\",\"s\",\"nan\",\n3d:8/8,\n")
            << blanks;
}

TEST(FbxDocument, TextTellsItsVersionTwice)
{
    const auto version = [](const std::string &text)
    {
        document doc;
        EXPECT_EQ(load(doc, text), load_result::ok);
        return doc.version();
    };
    EXPECT_EQ(version("; FBX 6.1.0 project file\nObjects: {}"), 6100u);
    EXPECT_EQ(version("; FBX 6.1.0 project file\nFBXHeaderExtension: { FBXVersion: 7300 }"), 7300u);
    EXPECT_EQ(version("FBXHeaderExtension: { }"), 0u);
}

TEST(FbxDocument, DamagedTextIsRefused)
{
    for (const std::string body :
         {"Objects: {", "Objects: }", "Objects: \"open", "Takes: { \"open }", "Takes: {{}",
          "Objects: {} 5", "1, 2", "\"s\"", "{ }", ": 5", "Objects: : 6", ", Objects: 1",
          "Objects: \x01", "Objects: {} {}"})
        EXPECT_EQ(load_content(text_head + body), "damaged") << body;
    EXPECT_EQ(load_content(text_head + std::string("Objects: 1\0, 2", 14)), "damaged");

    // Numbers that are none.
    const std::pair<std::string, std::string> rows[] = {{"1,x", "1/1,\"x\","},
                                                        {"1,2x", "1/1,?,"},
                                                        {"1,\"2\"", "1/1,\"2\","},
                                                        {"1e,2", "?,2/2,"},
                                                        {"*2 {a: 1,y}", "\"*2\","}};
    for (const auto &[body, content] : rows)
        EXPECT_EQ(load_content(text_head + "Objects: " + body), "Objects:" + content + "\n");
}

TEST(FbxDocument, DamagedArraysAreRefusedBeforeAnythingIsAllocated)
{
    // 256 KiB of zeros, which deflate nearly a thousandfold.
    const std::string deflated =
        write_fbx({{"Objects", {std::vector<int>(65536)}, {}}}, {false, 7400, false, true});
    const std::size_t array = deflated.find("Objects") + 7;
    const std::size_t checksum = deflated.size() - 16 - 13 - 4 - array;
    ASSERT_NE(load_content(deflated).find("0/0,"), std::string::npos);
    const std::pair<std::size_t, std::uint32_t> words[] = {
        {1, 12u}, {1, 65535u}, {1, 65537u}, {1, 1u << 29},    {1, 0x20000001u}, {1, ~0u}, // count
        {5, 0u},  {5, 2u},     {5, ~0u},                                       // encoding
        {9, 0u},  {9, 5u},     {9, ~0u},    {113, 0xa5a5a5u}, {checksum, 0u}}; // stream
    std::vector<std::string> files = {one_record(1, std::string("d\1\0\0\0", 5))};
    for (const auto &[at, value] : words)
        files.push_back(std::string(deflated).replace(array + at, 4, word(value)));
    for (const std::uint32_t claim : {2u, 0x20000001u, ~0u}) // and 8 bytes as they are
        files.push_back(one_record(1, array_value('d', claim, "12345678")));
    for (const std::string &file : files)
    {
        fail_allocation(-1);
        document doc;
        number_array<double> reals;
        number_array<int> integers;
        if (load(doc, file) == load_result::ok)
        {
            EXPECT_FALSE(doc.read_numbers(*doc.find_top("Objects"), reals));
            EXPECT_FALSE(doc.read_numbers(*doc.find_top("Objects"), integers));
        }
        EXPECT_LT(largest_request(), 1000000u);
    }
}

TEST(FbxDocument, DamagedStructureIsRefused)
{
    const std::string text = "S" + word(3) + "abc", sound = one_record(1, text);
    ASSERT_EQ(load_content(sound), "Objects:\"abc\",\n");
    for (const std::string &bytes :
         {one_record(2, text), one_record(0, text), one_record(0xffffffffu, text),
          one_record(1, "I" + word(1) + "I"), one_record(1, text + "x"),
          one_record(1, "S" + word(4) + "abc"), one_record(1, "S" + word(0xffffffffu) + "abc")})
        EXPECT_EQ(load_content(bytes), "damaged");
    EXPECT_EQ(load_content(one_record(2, "?xxxx")), "Objects:?,?,\n"); // a code of the future
    for (const std::uint32_t end : {0u, 27u, 40u, 54u, 56u, 0x7fffffffu, 0xffffffffu})
        EXPECT_EQ(load_content(std::string(sound).replace(27, 4, word(end))), "damaged") << end;
}

TEST(FbxDocument, ChildrenEndAtTheEndOffsetOrAtTheNullRecord)
{
    const std::string child = word(27 + 20 + 14) + word(0) + word(0) + "\1b";
    for (const std::string &children :
         {child, child + null_record, child + null_record + "rubbish that is skipped"})
        EXPECT_EQ(load_content(one_record(0, "", children)), "Objects:\n b:\n");
    EXPECT_EQ(load_content(one_record(0, "", null_record)), "Objects:\n");
    EXPECT_EQ(load_content(one_record(0, "", child + "x")), "damaged");
}

TEST(FbxDocument, DepthIsNoRecursion)
{
    constexpr int depth = 100000;
    const std::string open = text_head + "Objects:{Model:{" + repeated("a:{", depth);
    document text, skipped, binary;
    EXPECT_EQ(load(text, open + repeated("}", depth + 2)), load_result::ok);
    EXPECT_EQ(load_content(open), "damaged");
    EXPECT_EQ(load_content(text_head + repeated("}", depth)), "damaged");
    EXPECT_EQ(load(skipped, text_head + "Takes:" + repeated("{", depth) + repeated("}", depth)),
              load_result::ok);

    const std::string level = word(27 + 20 + depth * 18) + word(0) + word(0) + "\5Model";
    EXPECT_EQ(load(binary, one_record(0, "", repeated(level, depth))), load_result::ok);
    int deepest = 0;
    for (const record *r = binary.first_record(); r != nullptr; r = r->first_child)
        ++deepest;
    EXPECT_EQ(deepest, depth + 1);
}

TEST(FbxDocument, MemoryIsASmallMultipleOfTheFile)
{
    const std::string dense = text_head + "Objects:{Model:{" + repeated("a:", 4000000) + "}}";
    document doc;
    const long long before = live_bytes();
    EXPECT_EQ(load(doc, dense), load_result::damaged); // too many records for its size
    EXPECT_LT(live_bytes() - before, 100000000);
}

TEST(FbxDocument, CutAndFlippedFilesDoNoHarm)
{
    fbx_scene scene;
    scene.add_mesh(fbx_scene::root, {{0.5, -1e300, 1.0 / 3}, {0, 1, ~2}, {}},
                   {{"Lcl Scaling", {1, -2.5, 3}}, {"RotationOrder", {3}}});
    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        const std::string sound = scene.write(encoding);
        document doc;
        ASSERT_EQ(load(doc, sound), load_result::ok);
        EXPECT_EQ(doc.version(), encoding.version);
        EXPECT_EQ(doc.is_text(), encoding.text);
        // Text cut between two records of the top level is a whole file again.
        for (std::size_t length = 0; length < sound.size() - 16; ++length)
            EXPECT_TRUE(load_content(sound.substr(0, length)) == "damaged" || encoding.text);
        for (std::size_t at = 0; at < sound.size(); ++at)
            for (const int flip : {0x01, 0x80, 0xff})
            {
                std::string flipped = sound;
                flipped[at] = static_cast<char>(flipped[at] ^ flip);
                fail_allocation(-1);
                load_content(flipped);
                ASSERT_LT(largest_request(), 1000000u);
            }
    }
}
