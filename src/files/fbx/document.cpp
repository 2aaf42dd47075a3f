#include "files/fbx/document.h"

#include "files/fbx/binary_reader.h"
#include "files/fbx/binary_values.h"
#include "files/fbx/format.h"
#include "files/fbx/input_file.h"
#include "files/fbx/record_tree.h"
#include "files/fbx/text_reader.h"
#include "files/fbx/text_scan.h"
#include "files/fbx/text_values.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vesk_fbx
{
struct document::state
{
    input_file file;
    std::shared_ptr<char[]> bytes; ///< the whole file and `text_padding` zeros
    std::size_t byte_count = 0;
    file_format format = file_format::unknown;
    binary_layout layout;
    unsigned int version = 0;
    record_arena records;
    const record *first = nullptr;
    inflater unpacker;

    std::string_view content() const
    {
        return {bytes.get(), byte_count};
    }
    void allocate(std::size_t count);
    bool read_whole_file();
    bool read_binary();
    bool read_text();
    bool find_value(const record &r, std::uint32_t i, binary_value &out) const;
};

namespace
{
load_result result_of(file_format format)
{
    switch (format)
    {
    case file_format::unknown:
        return load_result::not_readable;
    case file_format::fbx_binary:
    case file_format::fbx_text:
        return load_result::ok;
    default:
        return load_result::other_format;
    }
}

const record *find_from(const record *r, std::string_view name)
{
    while (r != nullptr && r->name != name)
        r = r->next;
    return r;
}
} // namespace

void document::state::allocate(std::size_t count)
{
    bytes.reset(new char[count + text_padding]);
    std::memset(bytes.get() + count, 0, text_padding);
    byte_count = count;
}

bool document::state::read_whole_file()
{
    if (bytes != nullptr)
        return true; // came from memory
    if (file.size() > std::numeric_limits<std::size_t>::max() / 2)
        return false;
    allocate(static_cast<std::size_t>(file.size()));
    const bool complete = file.read_from_start(bytes.get(), byte_count) == byte_count;
    file.close();
    return complete;
}

bool document::state::read_binary()
{
    const bool sound = read_binary_layout(content(), layout) &&
                       read_binary_records(content(), layout, records, first);
    version = layout.version;
    return sound;
}

bool document::state::read_text()
{
    if (!read_text_records(content(), records, first))
        return false;
    version = version_in_first_comment(content());
    const record *const header = find_from(first, "FBXHeaderExtension");
    const record *const stated =
        header != nullptr ? find_from(header->first_child, "FBXVersion") : nullptr;
    std::int64_t number;
    if (stated != nullptr && text_integer(*stated, 0, number) && number > 0 && number < 100000)
        version = static_cast<unsigned int>(number);
    return true;
}

document::document() : m_state(new state) {}

document::~document() = default;

load_result document::open(const char *utf8_path)
{
    if (!m_state->file.open(utf8_path))
        return load_result::not_readable;
    const std::uint64_t size = m_state->file.size();
    const std::size_t head_bytes =
        static_cast<std::size_t>(std::min<std::uint64_t>(size, format_head_bytes));
    const std::unique_ptr<char[]> head(new char[head_bytes]);
    if (m_state->file.read_from_start(head.get(), head_bytes) != head_bytes)
        return load_result::not_readable;
    m_state->format = detect_format({head.get(), head_bytes}, size);
    return result_of(m_state->format);
}

load_result document::open_bytes(std::string_view bytes)
{
    m_state->allocate(bytes.size());
    std::copy(bytes.begin(), bytes.end(), m_state->bytes.get());
    m_state->format = detect_format(bytes.substr(0, format_head_bytes), bytes.size());
    return result_of(m_state->format);
}

load_result document::parse()
{
    if (!m_state->read_whole_file())
        return load_result::damaged;
    m_state->records.set_limit_for_file(m_state->byte_count);
    if (is_text() ? m_state->read_text() : m_state->read_binary())
        return load_result::ok;
    m_state->first = nullptr;
    return load_result::damaged;
}

bool document::is_text() const
{
    return m_state->format == file_format::fbx_text;
}

unsigned int document::version() const
{
    return m_state->version;
}

const record *document::first_record() const
{
    return m_state->first;
}

const record *document::find_child(const record &parent, std::string_view name)
{
    return find_from(parent.first_child, name);
}

const record *document::find_next(const record &r, std::string_view name)
{
    return find_from(r.next, name);
}

const record *document::find_top(std::string_view name) const
{
    return find_from(m_state->first, name);
}

bool document::state::find_value(const record &r, std::uint32_t i, binary_value &out) const
{
    if (i >= r.value_count)
        return false;
    std::string_view rest = r.values;
    for (std::uint32_t at = 0; at <= i; ++at)
        if (next_binary_value(rest, layout.big_endian, out) != value_step::value)
            return false;
    return true;
}

bool document::get_integer(const record &r, std::uint32_t i, std::int64_t &out) const
{
    if (is_text())
        return text_integer(r, i, out);
    binary_value value;
    return m_state->find_value(r, i, value) &&
           binary_integer(value, m_state->layout.big_endian, out);
}

bool document::get_real(const record &r, std::uint32_t i, double &out) const
{
    if (is_text())
        return text_real(r, i, out);
    binary_value value;
    return m_state->find_value(r, i, value) && binary_real(value, m_state->layout.big_endian, out);
}

bool document::get_text(const record &r, std::uint32_t i, std::string_view &out) const
{
    if (is_text())
        return text_text(r, i, out);
    binary_value value;
    if (!m_state->find_value(r, i, value) || value.code != 'S')
        return false;
    out = value.bytes;
    return true;
}

template <typename T> bool document::read_all(const record &r, number_array<T> &out) const
{
    out.clear();
    const bool sound =
        is_text() ? read_text_numbers(r, out)
                  : read_binary_numbers(
                        r, {m_state->layout.big_endian, m_state->unpacker, m_state->bytes}, out);
    if (!sound)
        out.clear();
    return sound;
}

bool document::read_numbers(const record &r, number_array<double> &out) const
{
    return read_all(r, out);
}

bool document::read_numbers(const record &r, number_array<int> &out) const
{
    return read_all(r, out);
}
} // namespace vesk_fbx
