#include "files/fbx/text_reader.h"

#include "files/fbx/decimal.h"
#include "files/fbx/record_tree.h"
#include "files/fbx/text_scan.h"

#include <cstring>
#include <vector>

namespace vesk_fbx
{
namespace
{
/// A block between braces.
struct open_block
{
    const record *owner; ///< null for the file itself
    const record **link; ///< where its next record goes
};

class text_reader
{
public:
    text_reader(std::string_view file, record_arena &arena)
        : m_at(file.data())
        , m_end(file.data() + file.size())
        , m_arena(arena)
    {
    }

    bool read(const record *&first);

private:
    bool read_token();
    bool read_word();
    bool add_record(std::string_view name);
    bool open();
    bool close();
    bool skip_string();
    bool skip_block();
    void end_values();

    const char *m_at;
    const char *const m_end;
    record_arena &m_arena;
    record *m_record = nullptr;     ///< the one that values and a block would belong to
    const char *m_values = nullptr; ///< where its values begin
    std::vector<open_block> m_open; ///< in place of recursion: a file can nest as deep as it likes
};

/// The values of the present record reach up to here.
void text_reader::end_values()
{
    m_record->values = {m_values, static_cast<std::size_t>(m_at - m_values)};
}

bool text_reader::add_record(std::string_view name)
{
    m_record = m_arena.append(m_open.back().link);
    if (m_record == nullptr)
        return false;
    m_record->name = name;
    m_values = m_at;
    end_values();
    return true;
}

/// A name, a number with all numbers that follow it, or a bare word.
bool text_reader::read_word()
{
    if (m_record != nullptr && starts_number(m_at))
    {
        const char *const begin = m_at;
        m_at = skip_numbers(m_at, m_record->value_count);
        if (m_at != begin)
        {
            end_values();
            return true;
        }
    }
    const char *const begin = m_at;
    const char *const end = skip_word(begin);
    if (end == begin)
        return false; // a stray colon or a control character
    m_at = end;
    const char *behind = end;
    while (is_text_blank(*behind))
        ++behind;
    if (*behind == ':')
    {
        m_at = behind + 1;
        return add_record({begin, static_cast<std::size_t>(end - begin)});
    }
    if (m_record == nullptr)
        return false;
    ++m_record->value_count;
    end_values();
    return true;
}

/// Moves behind the string that begins here; false when it has no end.
bool text_reader::skip_string()
{
    const std::size_t left = static_cast<std::size_t>(m_end - m_at) - 1;
    const void *const quote = std::memchr(m_at + 1, '"', left);
    if (quote == nullptr)
        return false;
    m_at = static_cast<const char *>(quote) + 1;
    return true;
}

/// Moves behind the closing brace of the block whose opening one was just passed.
bool text_reader::skip_block()
{
    for (std::size_t depth = 1; depth != 0;)
    {
        m_at = find_structure(m_at);
        switch (*m_at)
        {
        case '{':
            ++depth;
            ++m_at;
            break;
        case '}':
            --depth;
            ++m_at;
            break;
        case ';':
            m_at = skip_blanks<false>(m_at);
            break;
        case '"':
            if (!skip_string())
                return false;
            break;
        default:
            return false; // the end of the file, or a zero byte in it
        }
    }
    return true;
}

bool text_reader::open()
{
    if (m_record == nullptr)
        return false;
    record *const owner = m_record;
    m_record = nullptr; // nothing belongs to it behind its block
    ++m_at;
    if (!has_wanted_children(m_open.back().owner, owner->name))
        return skip_block();
    m_open.push_back({owner, &owner->first_child});
    return true;
}

bool text_reader::close()
{
    if (m_open.back().owner == nullptr)
        return false;
    m_open.pop_back();
    m_record = nullptr;
    ++m_at;
    return true;
}

bool text_reader::read_token()
{
    switch (*m_at)
    {
    case '{':
        return open();
    case '}':
        return close();
    case '"':
        if (m_record == nullptr || !skip_string())
            return false;
        ++m_record->value_count;
        end_values();
        return true;
    case ',': // at the end of a line, at the start of the next, or for a value left out
        ++m_at;
        return m_record != nullptr;
    default:
        return read_word();
    }
}

bool text_reader::read(const record *&first)
{
    m_open.push_back({nullptr, &first});
    for (;;)
    {
        m_at = skip_blanks<false>(m_at);
        if (m_at == m_end)
            return m_open.size() == 1;
        if (!read_token())
            return false;
    }
}

constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
} // namespace

bool read_text_records(std::string_view file, record_arena &arena, const record *&first)
{
    if (file.substr(0, byte_order_mark.size()) == byte_order_mark)
        file.remove_prefix(byte_order_mark.size());
    return text_reader(file, arena).read(first);
}

unsigned int version_in_first_comment(std::string_view file)
{
    constexpr std::string_view mark = "; FBX ";
    const std::size_t at = file.substr(0, 64).find(mark);
    if (at == file.npos || file.substr(0, at).find('\n') != file.npos)
        return 0;
    const char *p = file.data() + at + mark.size();
    const char *const end = file.data() + file.size();
    unsigned int version = 0;
    unsigned int weight = 1000;
    for (; weight != 0 && p != end && *p >= '0' && *p <= '9'; weight /= 10)
    {
        version += static_cast<unsigned int>(*p++ - '0') * weight;
        if (p != end && *p == '.')
            ++p;
    }
    return version;
}
} // namespace vesk_fbx
