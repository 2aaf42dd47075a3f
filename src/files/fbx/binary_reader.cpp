#include "files/fbx/binary_reader.h"

#include "files/fbx/binary_values.h"
#include "files/fbx/byte_order.h"
#include "files/fbx/format.h"
#include "files/fbx/record_tree.h"

#include <vector>

namespace vesk_fbx
{
namespace
{
constexpr std::size_t first_record_at = binary_magic_bytes + 6;

struct record_header
{
    std::uint64_t end = 0; ///< from the start of the file
    std::uint64_t value_count = 0;
    std::uint64_t value_bytes = 0;
    std::string_view name;

    bool is_null() const
    {
        return end == 0 && value_count == 0 && value_bytes == 0 && name.empty();
    }
};

/// A record whose children are being read.
struct open_record
{
    const record *self;  ///< null for the file itself
    const record **link; ///< where its next child goes
    std::size_t end;
};

class binary_reader
{
public:
    binary_reader(std::string_view file, const binary_layout &layout, record_arena &arena)
        : m_file(file)
        , m_layout(layout)
        , m_arena(arena)
    {
    }

    bool read(const record *&first);

private:
    bool read_header(std::size_t limit, record_header &out);
    bool read_record(const record_header &header);
    bool check_values(const record &r) const;
    void close_record();

    std::uint64_t header_field(std::size_t at) const
    {
        const char *const bytes = m_file.data() + at;
        return m_layout.wide_headers ? load_number<std::uint64_t>(bytes, m_layout.big_endian)
                                     : load_number<std::uint32_t>(bytes, m_layout.big_endian);
    }

    const std::string_view m_file;
    const binary_layout m_layout;
    record_arena &m_arena;
    std::size_t m_at = first_record_at;
    std::vector<open_record> m_open; ///< in place of recursion: a file can nest as deep as it likes
};

/// Reads the header at `m_at` and moves behind it. Everything has to end at or before `limit`.
bool binary_reader::read_header(std::size_t limit, record_header &out)
{
    const std::size_t field = m_layout.wide_headers ? 8 : 4;
    const std::size_t fixed = 3 * field + 1;
    if (limit - m_at < fixed)
        return false;
    out.end = header_field(m_at);
    out.value_count = header_field(m_at + field);
    out.value_bytes = header_field(m_at + 2 * field);
    const std::size_t name_bytes = static_cast<unsigned char>(m_file[m_at + 3 * field]);
    m_at += fixed;
    out.name = m_file.substr(m_at, name_bytes); // checked below, or empty
    if (out.is_null() && name_bytes == 0)
        return true;
    if (out.end > limit || out.end < m_at || out.end - m_at < name_bytes)
        return false;
    m_at += name_bytes;
    return out.value_bytes <= out.end - m_at;
}

/// The known values have to fill their bytes exactly. A code that nobody knows ends the check:
/// the record's later values cannot be read, the file can.
bool binary_reader::check_values(const record &r) const
{
    if (uniform_number_code(r) != '\0')
        return true;
    std::string_view rest = r.values;
    binary_value value;
    for (std::uint32_t i = 0; i < r.value_count; ++i)
    {
        const value_step step = next_binary_value(rest, m_layout.big_endian, value);
        if (step == value_step::unknown_code)
            return true;
        if (step != value_step::value)
            return false;
    }
    return rest.empty();
}

/// Adds the record whose header was just read and opens it, or skips what is in it.
bool binary_reader::read_record(const record_header &header)
{
    open_record &parent = m_open.back();
    const std::size_t value_bytes = static_cast<std::size_t>(header.value_bytes);
    const std::size_t end = static_cast<std::size_t>(header.end);
    // A value takes two bytes at least: its code and one more.
    if (header.value_count > value_bytes / 2 || header.value_count > UINT32_MAX)
        return false;
    record *const added = m_arena.append(parent.link);
    if (added == nullptr)
        return false;
    added->name = header.name;
    added->values = m_file.substr(m_at, value_bytes);
    added->value_count = static_cast<std::uint32_t>(header.value_count);

    const bool wanted = has_wanted_children(parent.self, header.name);
    if (wanted && !check_values(*added))
        return false;
    m_at += value_bytes;
    if (wanted && m_at != end)
        m_open.push_back({added, &added->first_child, end}); // `parent` dangles from here on
    else
        m_at = end;
    return true;
}

void binary_reader::close_record()
{
    // Real files put a null record long before the end offset; the offset decides.
    m_at = m_open.back().end;
    m_open.pop_back();
}

bool binary_reader::read(const record *&first)
{
    m_open.push_back({nullptr, &first, m_file.size()});
    for (;;)
    {
        const open_record &parent = m_open.back();
        if (parent.self != nullptr && m_at == parent.end)
        {
            close_record(); // no null record: nothing is missing
            continue;
        }
        record_header header;
        if (!read_header(parent.end, header))
            return false;
        if (!header.is_null())
        {
            if (!read_record(header))
                return false;
        }
        else if (parent.self == nullptr)
            return true; // the footer behind it holds nothing of use
        else
            close_record();
    }
}
} // namespace

bool read_binary_layout(std::string_view file, binary_layout &out)
{
    if (file.size() < first_record_at)
        return false;
    const char byte_order = file[binary_magic_bytes + 1];
    if (byte_order != 0 && byte_order != 1)
        return false;
    out.big_endian = byte_order == 1;
    out.version = load_number<std::uint32_t>(file.data() + binary_magic_bytes + 2, out.big_endian);
    out.wide_headers = out.version >= 7500;
    return true;
}

bool read_binary_records(std::string_view file, const binary_layout &layout, record_arena &arena,
                         const record *&first)
{
    return binary_reader(file, layout, arena).read(first);
}
} // namespace vesk_fbx
