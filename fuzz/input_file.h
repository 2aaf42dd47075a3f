#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>

/// A file in the system's temporary folder, under one name for the life of the process.
class input_file
{
public:
    explicit input_file(const char *extension)
        : path(std::filesystem::temp_directory_path() /
               ("vesk_fuzz_" + std::to_string(std::random_device{}()) + extension))
        , wide_path(path.wstring())
        , narrow_path(path.string())
    {
    }
    ~input_file()
    {
        remove();
    }
    input_file(const input_file &) = delete;
    input_file &operator=(const input_file &) = delete;

    const wchar_t *wide() const
    {
        return wide_path.c_str();
    }

    void write(const std::uint8_t *bytes, std::size_t byte_count) const
    {
        std::FILE *file = std::fopen(narrow_path.c_str(), "wb");
        if (!file || std::fwrite(bytes, 1, byte_count, file) != byte_count ||
            std::fclose(file) != 0)
            __builtin_trap();
    }

    /// To empty an old file can take far longer than to make a new one.
    void remove() const
    {
        std::remove(narrow_path.c_str());
    }

private:
    std::filesystem::path path;
    std::wstring wide_path;
    std::string narrow_path;
};
