#include "support/fbx_writer.h"

#include <cstdio>
#include <cstring>
#include <libdeflate.h>
#include <type_traits>

namespace
{
std::string deflated(const std::string &bytes)
{
    libdeflate_compressor *const compressor = libdeflate_alloc_compressor(1);
    std::string packed(libdeflate_zlib_compress_bound(compressor, bytes.size()), '\0');
    packed.resize(libdeflate_zlib_compress(compressor, bytes.data(), bytes.size(), packed.data(),
                                           packed.size()));
    libdeflate_free_compressor(compressor);
    return packed;
}

class binary_writer
{
public:
    explicit binary_writer(const fbx_encoding &encoding) : m_encoding(encoding) {}

    std::string write(const std::vector<fbx_node> &records)
    {
        m_out.append("Kaydara FBX Binary  \0\x1a", 22);
        m_out += static_cast<char>(m_encoding.big_endian);
        m_out += word(m_encoding.version);
        add_records(records);
        m_out.append(16, '\x5a'); // the footer: nobody reads it
        return m_out;
    }

private:
    /// The records and the null record behind them.
    void add_records(const std::vector<fbx_node> &records)
    {
        for (const fbx_node &node : records)
            add_record(node);
        m_out.append(3 * field_bytes() + 1, '\0');
    }

    void add_record(const fbx_node &node)
    {
        std::string values;
        std::size_t count = 0;
        for (const fbx_value &value : node.values)
            count += std::visit([&](const auto &v) { return add_value(v, values); }, value);
        const std::size_t at = m_out.size();
        for (const std::size_t field : {std::size_t{0}, count, values.size()})
            m_out += word(field, field_bytes());
        m_out += static_cast<char>(node.name.size()) + node.name + values;
        if (!node.children.empty())
            add_records(node.children);
        m_out.replace(at, field_bytes(), word(m_out.size(), field_bytes()));
    }

    std::size_t field_bytes() const
    {
        return m_encoding.version >= 7500 ? 8 : 4;
    }

    std::string word(std::uint64_t value, std::size_t bytes = 4) const
    {
        std::string text;
        for (std::size_t i = 0; i < bytes; ++i)
            text += static_cast<char>(value >> 8 * (m_encoding.big_endian ? bytes - 1 - i : i));
        return text;
    }

    std::string number(int v) const
    {
        return word(static_cast<std::uint32_t>(v));
    }
    std::string number(std::int64_t v) const
    {
        return word(static_cast<std::uint64_t>(v), 8);
    }
    std::string number(double v) const
    {
        std::uint64_t bits;
        std::memcpy(&bits, &v, sizeof(bits));
        return word(bits, 8);
    }

    // Each gives the number of values that it added.

    template <typename T> std::size_t add_value(const T &v, std::string &out) const
    {
        out += (std::is_same_v<T, int> ? 'I' : std::is_same_v<T, double> ? 'D' : 'L') + number(v);
        return 1;
    }
    std::size_t add_value(const std::string &v, std::string &out) const
    {
        out += 'S' + number(static_cast<int>(v.size())) + v;
        return 1;
    }
    std::size_t add_value(const fbx_object_name &v, std::string &out) const
    {
        return add_value(v.name + std::string("\0\1", 2) + v.object_class, out);
    }
    template <typename T> std::size_t add_value(const std::vector<T> &array, std::string &out) const
    {
        const bool has_arrays = m_encoding.version >= 7000;
        std::string numbers;
        for (const T v : array)
            if (has_arrays)
                numbers += number(v);
            else
                add_value(v, out);
        if (!has_arrays)
            return array.size();
        if (m_encoding.deflated)
            numbers = deflated(numbers);
        out += std::is_same_v<T, int> ? 'i' : 'd';
        out += word(array.size()) + word(m_encoding.deflated) + word(numbers.size()) + numbers;
        return 1;
    }

    const fbx_encoding m_encoding;
    std::string m_out;
};

class text_writer
{
public:
    explicit text_writer(const fbx_encoding &encoding) : m_version(encoding.version) {}

    std::string write(const std::vector<fbx_node> &records) const
    {
        std::string out = "; FBX " + std::to_string(m_version / 1000) + "." +
                          std::to_string(m_version / 100 % 10) + ".0 project file\n\n";
        for (const fbx_node &node : records)
            out += spelled(node, "");
        return out;
    }

private:
    std::string spelled(const fbx_node &node, const std::string &indent) const
    {
        std::string text = indent + node.name + ":";
        const char *separator = " ";
        for (const fbx_value &value : node.values)
        {
            text += separator + std::visit([&](const auto &v) { return spelled(v); }, value);
            separator = ",";
        }
        if (!node.children.empty())
        {
            text += " {\n";
            for (const fbx_node &child : node.children)
                text += spelled(child, indent + "\t");
            text += indent + "}";
        }
        return text + "\n";
    }

    template <typename T> std::string spelled(T v) const
    {
        return std::to_string(v);
    }
    std::string spelled(double v) const
    {
        char buffer[40];
        std::snprintf(buffer, sizeof(buffer), "%.17g", v);
        return buffer;
    }
    std::string spelled(const std::string &v) const
    {
        return '"' + v + '"';
    }
    std::string spelled(const fbx_object_name &v) const
    {
        return spelled(v.object_class + "::" + v.name);
    }
    template <typename T> std::string spelled(const std::vector<T> &array) const
    {
        std::string numbers;
        for (std::size_t i = 0; i < array.size(); ++i)
            numbers += (i == 0 ? "" : i % 16 == 0 ? ",\n" : ",") + spelled(array[i]);
        return m_version < 7000
                   ? numbers
                   : "*" + std::to_string(array.size()) + " {\n\ta: " + numbers + "\n}";
    }

    const unsigned int m_version;
};
} // namespace

std::vector<fbx_encoding> all_fbx_encodings()
{
    std::vector<fbx_encoding> all;
    for (const unsigned int version : {6100u, 7400u, 7500u})
        for (const bool deflated : {false, true})
            for (const fbx_encoding &e : {fbx_encoding{true, version, false, false},
                                          fbx_encoding{false, version, false, deflated},
                                          fbx_encoding{false, version, true, deflated}})
                if (!deflated || (!e.text && version >= 7000))
                    all.push_back(e);
    return all;
}

std::string write_fbx(const std::vector<fbx_node> &records, const fbx_encoding &encoding)
{
    std::vector<fbx_node> all = {
        {"FBXHeaderExtension", {}, {{"FBXVersion", {static_cast<int>(encoding.version)}, {}}}}};
    all.insert(all.end(), records.begin(), records.end());
    return encoding.text ? text_writer(encoding).write(all) : binary_writer(encoding).write(all);
}
