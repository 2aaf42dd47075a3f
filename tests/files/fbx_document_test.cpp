#include "files/fbx/document.h"
#include "support/failing_new.h"
#include "support/fbx_writer.h"

#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <random>
#include <string>

using namespace vesk_fbx;

namespace
{
load_result load(document &doc, std::string_view bytes)
{
    const load_result opened = doc.open_bytes(bytes);
    return opened == load_result::ok ? doc.parse() : opened;
}

/// Object names as text files spell them.
std::string with_class_first(std::string_view text)
{
    const std::size_t at = text.find(std::string_view("\0\1", 2));
    return at == text.npos
               ? std::string(text)
               : std::string(text.substr(at + 2)) + "::" + std::string(text.substr(0, at));
}

template <typename T> std::string bits_of(const number_array<T> &numbers)
{
    return {numbers.bytes, numbers.count * sizeof(T)};
}

/// Everything that can be asked of a record, as bytes: equal for equal content in any encoding.
std::string content_of(const document &doc, const record &r, std::size_t depth)
{
    std::string out(depth, ' ');
    out.append(r.name);
    number_array<double> reals;
    number_array<int> integers;
    if (doc.read_numbers(r, reals) && doc.read_numbers(r, integers))
        return out + ':' + bits_of(reals) + bits_of(integers);
    for (std::uint32_t i = 0; i < r.value_count; ++i)
    {
        std::string_view text;
        double real = 0;
        std::int64_t integer = 0;
        if (doc.get_text(r, i, text))
            out += '"' + with_class_first(text) + '"';
        else if (doc.get_real(r, i, real) && doc.get_integer(r, i, integer))
            out += std::to_string(real) + '/' + std::to_string(integer);
        out += ',';
    }
    return out;
}

std::string content_of(const document &doc)
{
    std::string out;
    const std::function<void(const record *, std::size_t)> add =
        [&](const record *r, std::size_t depth)
    {
        for (; r != nullptr; r = r->next)
        {
            if (r->name == "FBXVersion")
                continue;
            out += content_of(doc, *r, depth) + '\n';
            if (r->name != "Vertices" && r->name != "PolygonVertexIndex") // or the text's `a`
                add(r->first_child, depth + 1);
        }
    };
    add(doc.first_record(), 0);
    return out;
}

std::string load_content(std::string_view bytes)
{
    document doc;
    return load(doc, bytes) == load_result::ok ? content_of(doc) : "damaged";
}

std::vector<fbx_node> small_scene(int numbers)
{
    std::mt19937 random(7);
    std::vector<double> points;
    std::vector<int> corners;
    for (int i = 0; i < numbers; ++i)
    {
        points.push_back(std::uniform_real_distribution<double>(-10, 10)(random));
        corners.push_back(static_cast<int>(random()));
    }
    const fbx_object_name model = {"Model", "a {strange; name: &quot;"};
    const fbx_node properties = {
        "Properties70",
        {},
        {{"P", {"Lcl Translation", "Lcl Translation", "", "A", 1, -2.5, 1e300}, {}},
         {"P", {"RotationOrder", "enum", "", "", 3}, {}}}};
    return {{"Definitions", {}, {{"Version", {100}, {}}}},
            {"Objects",
             {},
             {{"Model", {std::int64_t{-7123456789012345678}, model, "Mesh"}, {properties}},
              {"Geometry",
               {std::int64_t{2}, fbx_object_name{"Geometry", ""}, "Mesh"},
               {{"Vertices", {points}, {}},
                {"Empty", {}, {}},
                {"PolygonVertexIndex", {corners}, {}}}}}},
            {"Connections", {}, {{"C", {"OO", std::int64_t{2}, std::int64_t{0}}, {}}}}};
}

/// A binary 7.4 file of one record `Objects` with the given values and the count they claim.
std::string one_record(std::uint32_t count, const std::string &values)
{
    std::string file("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0", 27);
    const auto put = [&](std::uint64_t v)
    {
        for (int i = 0; i < 4; ++i)
            file += static_cast<char>(v >> 8 * i);
    };
    put(27 + 13 + 7 + values.size());
    put(count);
    put(values.size());
    file += std::string("\7Objects") + values + std::string(13, '\0');
    return file;
}

std::string word(std::uint32_t v)
{
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>(v >> 8 * i);
    return bytes;
}

std::string array_value(char code, std::uint32_t count, std::uint32_t encoding,
                        const std::string &bytes)
{
    return code + word(count) + word(encoding) + word(static_cast<std::uint32_t>(bytes.size())) +
           bytes;
}

std::string nested(std::string_view open, std::string_view close, int depth)
{
    std::string text = "; FBX 7.4.0 project file\nObjects:{Model:{";
    for (int i = 0; i < depth; ++i)
        text += open;
    for (int i = 0; i < depth; ++i)
        text += close;
    return text + "}}";
}
} // namespace

TEST(FbxDocument, EveryEncodingGivesTheSameTree)
{
    const std::vector<fbx_node> scene = small_scene(500);
    const std::string expected = load_content(write_fbx(scene, {true, 7400, false, false}));
    EXPECT_NE(expected.find("Model::a {strange; name: &quot;"), std::string::npos);
    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        document doc;
        ASSERT_EQ(load(doc, write_fbx(scene, encoding)), load_result::ok);
        EXPECT_EQ(doc.version(), encoding.version);
        EXPECT_EQ(doc.is_text(), encoding.text);
        EXPECT_EQ(content_of(doc) == expected, true)
            << encoding.version << (encoding.text ? " text" : " binary") << " big-endian "
            << encoding.big_endian << " deflated " << encoding.deflated;
    }
}

TEST(FbxDocument, EveryArrayCodeConverts)
{
    const std::string eight("\1\2\3\4\5\6\7\x80", 8);
    const struct
    {
        char code;
        std::string bytes;
        std::uint32_t count;
        double last_real;
        int last_integer;
    } rows[] = {
        {'b', eight, 8, 128.0, 128},
        {'c', eight, 8, 128.0, 128},
        {'i', std::string("\0\0\0\0\xfe\xff\xff\xff", 8), 2, -2.0, -2},
        {'l', std::string("\0\0\0\0\1\0\0\0", 8), 1, 4294967296.0, std::numeric_limits<int>::max()},
        {'f', std::string("\0\0\x20\xc0", 4), 1, -2.5, -2},
        {'d', std::string("\0\0\0\0\0\0\xf8\xff", 8), 1, std::numeric_limits<double>::quiet_NaN(),
         0},
        {'d', std::string("\0\0\0\0\0\0\xf0\xff", 8), 1, -std::numeric_limits<double>::infinity(),
         std::numeric_limits<int>::min()},
    };
    for (const auto &row : rows)
    {
        document doc;
        ASSERT_EQ(load(doc, one_record(1, array_value(row.code, row.count, 0, row.bytes))),
                  load_result::ok);
        number_array<double> reals;
        number_array<int> integers;
        ASSERT_TRUE(doc.read_numbers(*doc.first_record(), reals)) << row.code;
        ASSERT_TRUE(doc.read_numbers(*doc.first_record(), integers)) << row.code;
        ASSERT_EQ(reals.count, row.count);
        EXPECT_EQ(integers[row.count - 1], row.last_integer) << row.code;
        const double last = reals[row.count - 1];
        EXPECT_TRUE(last == row.last_real || (std::isnan(last) && std::isnan(row.last_real)))
            << row.code << " gives " << last;
    }
}

TEST(FbxDocument, TextLayoutDoesNotMatter)
{
    const std::string head = "; FBX 7.4.0 project file\n";
    const std::string expected = load_content(
        head + "Objects: 1,\"b\",-3.5 {\nModel: 7 {\nVertices: *3 {\na: 1,2.5,-3e2\n}\n"
               "Edges: 4,5\n}\n}\n");
    for (const std::string &body : {
             std::string("Objects:1,\"b\",-3.5{Model:7{Vertices:*3{a:1,2.5,-3e2}Edges:4,5}}"),
             std::string("Objects: 1\n,\"b\"\r\n\t,\t-3.5\n{ Model : 7 { Vertices: *99 "
                         "{a:\n1 ,\n 2.5 ,\n-3e2\n}Edges: ,4,5 }}"),
             std::string("Objects: 1, ; one {\n\"b\",-3.5 { ; \"two\nModel: 7 {Vertices: *-1 {\r"
                         "a: 1,2.5, ; a: 9\r-3e2\r}\rEdges: 4,5\r}\r}\r; end"),
             std::string("Objects: 1,\"b\",-3.5, { Model: 7, { Vertices: *x { a: 1,2.5,-3e2, }\n"
                         "Edges: 4,5,}}"),
         })
        EXPECT_EQ(load_content(head + body), expected) << body;
    EXPECT_EQ(load_content("\xef\xbb\xbf" + head +
                           "Objects:1,\"b\",-3.5{Model:7{Vertices:*3{a:1,"
                           "2.5,-3e2}Edges:4,5}}"),
              expected);
}

TEST(FbxDocument, TextRunsOfNumbersEndBeforeTheNextName)
{
    // Names of the letter that exponents have, names behind blanks, words that only begin like
    // numbers, and runs of every length across the sixteen bytes that are looked at together.
    for (int blanks = 1; blanks < 40; ++blanks)
    {
        const std::string text = "; FBX 7.4.0\nObjects: 1,2,33" +
                                 std::string(std::size_t(blanks), ' ') +
                                 "e: 4,5 Edges :6,7,1x,E,\"s\",nan 3d: 8";
        document doc;
        ASSERT_EQ(load(doc, text), load_result::ok);
        std::string names;
        std::string counts;
        for (const record *r = doc.first_record(); r != nullptr; r = r->next)
        {
            names += std::string(r->name) + ' ';
            counts += std::to_string(r->value_count) + ' ';
        }
        EXPECT_EQ(names, "Objects e Edges 3d ");
        EXPECT_EQ(counts, "3 2 6 1 ");
        double value = 0;
        EXPECT_TRUE(doc.get_real(*doc.first_record(), 2, value));
        EXPECT_EQ(value, 33.0);
    }
}

TEST(FbxDocument, DamagedTextIsRefused)
{
    const std::string head = "; FBX 7.4.0\n";
    for (const std::string body :
         {"Objects: {", "Objects: }", "Objects: \"open", "Takes: { \"open }", "Takes: {{}",
          "Objects: {} 5", "1, 2", "\"s\"", "{ }", ": 5", "Objects: : 6", ", Objects: 1",
          "Objects: \x01", "Objects: {} {}"})
        EXPECT_EQ(load_content(head + body), "damaged") << body;
    EXPECT_EQ(load_content(head + std::string("Objects: 1\0, 2", 14)), "damaged");

    document doc; // numbers that are none
    for (const std::string body : {"1,x", "1,2x", "1,\"s\"", "1e,2", "*2 {a: 1,y}"})
    {
        document text;
        ASSERT_EQ(load(text, head + "Objects: " + body), load_result::ok) << body;
        number_array<double> reals;
        number_array<int> integers;
        EXPECT_FALSE(text.read_numbers(*text.first_record(), reals)) << body;
        EXPECT_FALSE(text.read_numbers(*text.first_record(), integers)) << body;
    }
}

TEST(FbxDocument, VersionOfText)
{
    const auto version = [](const std::string &text)
    {
        document doc;
        EXPECT_EQ(load(doc, text), load_result::ok);
        return doc.version();
    };
    EXPECT_EQ(version("; FBX 6.1.0 project file\nObjects: {}"), 6100u);
    EXPECT_EQ(version("; FBX 6.1.0 project file\nFBXHeaderExtension: { FBXVersion: 7300 }"), 7300u);
    EXPECT_EQ(version("FBXHeaderExtension: { FBXVersion: 7700 }"), 7700u);
    EXPECT_EQ(version("FBXHeaderExtension: { }"), 0u);
}

TEST(FbxDocument, DamagedArraysAreRefusedBeforeAnythingIsAllocated)
{
    const std::string zeros_64kb("\x78\x9c\xed\xc1\x31\x01\0\0\0\xc2\xa0\xf5\x4f\x6d\x0d\x0f", 16);
    for (const std::string &value :
         {array_value('d', 0xffffffffu, 0, "12345678"),
          array_value('d', 0xffffffffu, 1, zeros_64kb),
          array_value('d', 0x20000001u, 0, "12345678"), // count times size wraps to 8 in 32 bits
          array_value('i', 1u << 29, 1, zeros_64kb), array_value('i', 2, 1, zeros_64kb),
          array_value('i', 2, 0, "1234"), array_value('i', 2, 7, "12345678"),
          std::string("d\1\0\0\0", 5)})
    {
        document doc;
        fail_allocation(-1);
        if (load(doc, one_record(1, value)) == load_result::ok)
        {
            number_array<double> reals;
            number_array<int> integers;
            EXPECT_FALSE(doc.read_numbers(*doc.first_record(), reals));
            EXPECT_FALSE(doc.read_numbers(*doc.first_record(), integers));
        }
        EXPECT_LT(largest_request(), 100000u);
    }
}

TEST(FbxDocument, DamagedStructureIsRefused)
{
    const std::string text = "S" + word(3) + "abc";
    ASSERT_EQ(load_content(one_record(1, text)), "Objects\"abc\",\n");
    for (const std::string &bytes :
         {one_record(2, text), one_record(0, text), one_record(0xffffffffu, text),
          one_record(1, text + "x"), one_record(1, "S" + word(4) + "abc"),
          one_record(1, "S" + word(0xffffffffu) + "abc")})
        EXPECT_EQ(load_content(bytes), "damaged");
    EXPECT_EQ(load_content(one_record(2, "?xxxx")), "Objects,,\n"); // a code of the future

    const std::string sound = one_record(1, text);
    for (const std::uint32_t end : {0u, 27u, 40u, 54u, 56u, 0x7fffffffu, 0xffffffffu})
    {
        std::string bytes = sound;
        bytes.replace(27, 4, word(end));
        EXPECT_EQ(load_content(bytes), "damaged") << end;
    }
}

TEST(FbxDocument, ChildrenEndAtTheEndOffsetOrAtTheNullRecord)
{
    const std::string child = word(27 + 20 + 14) + word(0) + word(0) + "\1a";
    const std::string null(13, '\0');
    const auto with_children = [&](const std::string &children)
    {
        std::string bytes = one_record(0, "");
        bytes.insert(27 + 20, children);
        bytes.replace(27, 4, word(static_cast<std::uint32_t>(27 + 20 + children.size())));
        return load_content(bytes);
    };
    for (const std::string &children :
         {child, child + null, child + null + "rubbish that is skipped"})
        EXPECT_EQ(with_children(children), "Objects:\n a:\n");
    EXPECT_EQ(with_children(null), "Objects:\n");
    EXPECT_EQ(with_children(child + "x"), "damaged");
}

TEST(FbxDocument, DepthIsNoRecursion)
{
    document text;
    EXPECT_EQ(load(text, nested("a:{", "}", 100000)), load_result::ok);
    document skipped;
    EXPECT_EQ(
        load(skipped, "; FBX 7.4.0\nTakes:" + std::string(100000, '{') + std::string(100000, '}')),
        load_result::ok);
    document unclosed;
    EXPECT_EQ(load(unclosed, nested("a:{", "", 100000)), load_result::damaged);

    std::string binary("Kaydara FBX Binary  \0\x1a\0\xe8\x1c\0\0", 27);
    const std::uint32_t end = 27 + 20 + 100000 * 18; // of all of them
    binary += word(end) + word(0) + word(0) + "\7Objects";
    for (int i = 0; i < 100000; ++i)
        binary += word(end) + word(0) + word(0) + "\5Model";
    binary += std::string(13, '\0');
    document deep;
    EXPECT_EQ(load(deep, binary), load_result::ok);
    int depth = 0;
    for (const record *r = deep.first_record(); r != nullptr; r = r->first_child)
        ++depth;
    EXPECT_EQ(depth, 100001);
}

TEST(FbxDocument, MemoryIsASmallMultipleOfTheFile)
{
    std::string dense = "; FBX 7.4.0\nObjects:{Model:{";
    while (dense.size() < 8000000)
        dense += "a:";
    document doc;
    const long long before = live_bytes();
    EXPECT_EQ(load(doc, dense + "}}"), load_result::damaged); // too many records for its size
    EXPECT_LT(live_bytes() - before, 100000000);
}

TEST(FbxDocument, CutAndFlippedFilesDoNoHarm)
{
    const std::vector<fbx_node> scene = small_scene(20);
    for (const fbx_encoding &encoding : all_fbx_encodings())
    {
        const std::string sound = write_fbx(scene, encoding);
        const std::size_t needed = encoding.text ? sound.size() - 2 : sound.size() - 16;
        for (std::size_t length = 0; length < needed; ++length)
        {
            // Text cut between two records of the top level is a whole file again.
            document doc;
            const load_result result = load(doc, std::string_view(sound).substr(0, length));
            EXPECT_TRUE(encoding.text || result != load_result::ok) << length;
            if (result == load_result::ok)
                content_of(doc);
        }
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
