#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// FBX files for tests: one description, every encoding.

/// The name of an object with its class, which text and binary files spell differently.
struct fbx_object_name
{
    std::string object_class;
    std::string name;
};

using fbx_value = std::variant<int, std::int64_t, double, std::string, fbx_object_name,
                               std::vector<int>, std::vector<double>>;

struct fbx_node
{
    std::string name;
    std::vector<fbx_value> values;
    std::vector<fbx_node> children;
};

struct fbx_encoding
{
    bool text = false;
    unsigned int version = 7400; ///< below 7000 an array is written as so many values
    bool big_endian = false;
    bool deflated = false;
};

/// Every encoding that the reader knows, for tests that run over all of them.
std::vector<fbx_encoding> all_fbx_encodings();

/// The bytes of a file with these top-level records behind a FBXHeaderExtension of its own.
std::string write_fbx(const std::vector<fbx_node> &records, const fbx_encoding &encoding);
