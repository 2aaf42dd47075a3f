#include "files/fbx/input_file.h"

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <memory>
#include <windows.h>
#else
#include <sys/stat.h>
#endif

namespace vesk_fbx
{
namespace
{
#if defined(_WIN32)
std::FILE *open_plain_file(const char *utf8_path, std::uint64_t &size)
{
    const int count = MultiByteToWideChar(CP_UTF8, 0, utf8_path, -1, nullptr, 0);
    if (count <= 0)
        return nullptr;
    const std::unique_ptr<wchar_t[]> path(new wchar_t[static_cast<std::size_t>(count)]);
    MultiByteToWideChar(CP_UTF8, 0, utf8_path, -1, path.get(), count);
    std::FILE *const file = _wfopen(path.get(), L"rb");
    if (file == nullptr)
        return nullptr;
    const bool at_end = _fseeki64(file, 0, SEEK_END) == 0;
    const __int64 end = at_end ? _ftelli64(file) : -1;
    size = end < 0 ? 0 : static_cast<std::uint64_t>(end);
    return file;
}
#else
std::FILE *open_plain_file(const char *utf8_path, std::uint64_t &size)
{
    struct stat status;
    if (stat(utf8_path, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0)
        return nullptr;
    size = static_cast<std::uint64_t>(status.st_size);
    return std::fopen(utf8_path, "rb");
}
#endif
} // namespace

input_file::~input_file()
{
    close();
}

bool input_file::open(const char *utf8_path)
{
    close();
    m_file = open_plain_file(utf8_path, m_size);
    return m_file != nullptr;
}

void input_file::close()
{
    if (m_file != nullptr)
        std::fclose(m_file);
    m_file = nullptr;
    m_size = 0;
}

std::size_t input_file::read_from_start(char *to, std::size_t count)
{
    if (m_file == nullptr)
        return 0;
    std::rewind(m_file);
    return std::fread(to, 1, count, m_file);
}
} // namespace vesk_fbx
