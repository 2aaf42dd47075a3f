#include "debug/text_file.h"

namespace
{
constexpr std::size_t buffer_bytes = 1 << 16;
}

vesk_text_file::vesk_text_file(const wchar_t *path)
    : m_stream(std::filesystem::path(path), std::ios::binary)
{
    m_buffer.reserve(buffer_bytes);
}

bool vesk_text_file::close()
{
    m_stream.write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
    m_buffer.clear();
    m_stream.close();
    return !m_stream.fail();
}

vesk_text_file &vesk_text_file::operator<<(const char *text)
{
    m_buffer += text;
    return *this;
}

vesk_text_file &vesk_text_file::operator<<(const std::string &text)
{
    m_buffer += text;
    return *this;
}

vesk_text_file &vesk_text_file::operator<<(const vesk_vector2 &v)
{
    return *this << v.x << " " << v.y;
}

vesk_text_file &vesk_text_file::operator<<(const vesk_vector3 &v)
{
    return *this << v.x << " " << v.y << " " << v.z;
}

void vesk_text_file::flush_when_full()
{
    if (m_buffer.size() < buffer_bytes)
        return;
    m_stream.write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
    m_buffer.clear();
}
