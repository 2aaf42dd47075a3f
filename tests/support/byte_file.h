#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using byte_vector = std::vector<unsigned char>;

/// The name of a file in the system's temporary folder that goes away with this object.
class temp_file
{
public:
    temp_file() : temp_file("mesh", L"mesh") {}

    /// A name that ends so, in both forms: the standard library would convert by the locale.
    temp_file(const std::string &utf8_end, const std::wstring &wide_end)
    {
        const std::filesystem::path stem = std::filesystem::temp_directory_path() /
                                           ("vesk" + std::to_string(std::random_device{}()));
        wide_path = stem.wstring() + wide_end;
        path = stem;
        path += std::filesystem::u8path(utf8_end);
    }
    ~temp_file()
    {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    temp_file(const temp_file &) = delete;
    temp_file &operator=(const temp_file &) = delete;

    /// The form that the library takes.
    const wchar_t *wide() const
    {
        return wide_path.c_str();
    }

    byte_vector bytes() const
    {
        std::ifstream stream(path, std::ios::binary);
        return byte_vector(std::istreambuf_iterator<char>(stream),
                           std::istreambuf_iterator<char>());
    }

    void set_bytes(const byte_vector &bytes) const
    {
        std::ofstream stream(path, std::ios::binary);
        stream.write(reinterpret_cast<const char *>(bytes.data()),
                     static_cast<std::streamsize>(bytes.size()));
    }

    std::filesystem::path path;

private:
    std::wstring wide_path;
};

/// Appends little-endian words.
inline void add_words(byte_vector &bytes, std::initializer_list<std::uint32_t> words)
{
    for (const std::uint32_t word : words)
        for (unsigned int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<unsigned char>(word >> shift));
}

/// The little-endian word at this byte.
inline std::uint32_t word_at(const byte_vector &bytes, std::size_t at)
{
    return bytes[at] | std::uint32_t(bytes[at + 1]) << 8 | std::uint32_t(bytes[at + 2]) << 16 |
           std::uint32_t(bytes[at + 3]) << 24;
}
