#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vesk_fbx
{
/// A plain file open for reading. Nothing else is opened: no folder, and on POSIX systems no pipe
/// and no device, since they have no size to hold the claims of a file against.
class input_file
{
public:
    input_file() = default;
    ~input_file();
    input_file(const input_file &) = delete;
    input_file &operator=(const input_file &) = delete;

    bool open(const char *utf8_path);
    void close();
    std::uint64_t size() const
    {
        return m_size;
    }
    /// Reads up to `count` bytes from the beginning of the file; the result is how many came.
    std::size_t read_from_start(char *to, std::size_t count);

private:
    std::FILE *m_file = nullptr;
    std::uint64_t m_size = 0;
};
} // namespace vesk_fbx
