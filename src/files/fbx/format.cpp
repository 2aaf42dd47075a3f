#include "files/fbx/format.h"

#include "files/fbx/byte_order.h"

#include <algorithm>

namespace vesk_fbx
{
namespace
{
constexpr std::string_view fbx_magic("Kaydara FBX Binary  \0", binary_magic_bytes);
constexpr std::string_view dxf_magic("AutoCAD Binary DXF\r\n\x1a\0", 22);
constexpr std::string_view byte_order_mark = "\xef\xbb\xbf";
constexpr std::string_view blanks = " \t\r\n\v\f";

bool starts_with(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

void skip_blanks(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
}

std::string_view trimmed(std::string_view line)
{
    skip_blanks(line);
    return line.substr(0, line.find_last_not_of(blanks) + 1);
}

/// Takes the next line off `text`, with its line end (LF, CR LF or CR).
std::string_view next_line(std::string_view &text)
{
    const std::size_t length = std::min(text.find_first_of("\r\n"), text.size());
    const std::string_view line = text.substr(0, length);
    text.remove_prefix(length);
    if (starts_with(text, "\r\n"))
        text.remove_prefix(2);
    else if (!text.empty())
        text.remove_prefix(1);
    return line;
}

/// The comment that exporters write into line 1, or the record that opens every document. Other
/// comments and a few other records may stand before that.
bool is_fbx_text(std::string_view text)
{
    skip_blanks(text);
    if (starts_with(text, ";"))
    {
        std::string_view comment = text.substr(1);
        skip_blanks(comment);
        if (starts_with(comment, "FBX "))
            return true;
    }
    constexpr std::string_view header = "FBXHeaderExtension";
    for (std::size_t at = text.find(header); at != text.npos; at = text.find(header, at + 1))
    {
        std::string_view rest = text.substr(at + header.size());
        skip_blanks(rest);
        if (starts_with(rest, ":") && (at == 0 || blanks.find(text[at - 1]) != blanks.npos))
            return true;
    }
    return false;
}

/// The name of the first XML element, behind declarations, comments and a document type.
bool is_collada(std::string_view text)
{
    for (;;)
    {
        skip_blanks(text);
        std::string_view close;
        if (starts_with(text, "<?"))
            close = "?>";
        else if (starts_with(text, "<!--"))
            close = "-->";
        else if (starts_with(text, "<!"))
            close = ">";
        else
            break;
        const std::size_t end = text.find(close);
        if (end == text.npos)
            return false;
        text.remove_prefix(end + close.size());
    }
    constexpr std::string_view element = "<COLLADA";
    return starts_with(text, element) && text.size() > element.size() &&
           (blanks.find(text[element.size()]) != blanks.npos || text[element.size()] == '>');
}

/// The first group of a drawing opens a section: a line with the code 0 and one with its value.
bool is_dxf(std::string_view text)
{
    if (starts_with(text, dxf_magic))
        return true;
    while (!text.empty())
    {
        const std::string_view code = trimmed(next_line(text));
        const std::string_view value = trimmed(next_line(text));
        if (code != "999") // a comment
            return code == "0" && value == "SECTION";
    }
    return false;
}

bool is_studio_3ds(std::string_view head, std::uint64_t file_size)
{
    if (head.size() < 8)
        return false;
    const std::uint16_t main_chunk = load_number<std::uint16_t>(head.data(), false);
    const std::uint32_t length = load_number<std::uint32_t>(head.data() + 2, false);
    const std::uint16_t next_chunk = load_number<std::uint16_t>(head.data() + 6, false);
    return main_chunk == 0x4d4d && length <= file_size &&
           (next_chunk == 0x0002 || next_chunk == 0x3d3d);
}

/// No signature: the first line that says anything has to begin with a keyword.
bool is_obj(std::string_view text)
{
    if (text.find('\0') != text.npos)
        return false;
    while (!text.empty())
    {
        const std::string_view line = trimmed(next_line(text));
        if (line.empty() || line.front() == '#')
            continue;
        const std::string_view keyword = line.substr(0, line.find_first_of(" \t"));
        if (keyword.size() == line.size())
            return false;
        for (const std::string_view known :
             {"v", "vn", "vt", "vp", "f", "o", "g", "s", "mtllib", "usemtl"})
            if (keyword == known)
                return true;
        return false;
    }
    return false;
}
} // namespace

file_format detect_format(std::string_view head, std::uint64_t file_size)
{
    if (starts_with(head, fbx_magic))
        return file_format::fbx_binary;
    if (is_studio_3ds(head, file_size))
        return file_format::studio_3ds;
    if (starts_with(head, byte_order_mark))
        head.remove_prefix(byte_order_mark.size());
    if (is_collada(head))
        return file_format::collada;
    if (is_dxf(head))
        return file_format::dxf;
    if (is_obj(head))
        return file_format::obj;
    return is_fbx_text(head) ? file_format::fbx_text : file_format::unknown;
}
} // namespace vesk_fbx
