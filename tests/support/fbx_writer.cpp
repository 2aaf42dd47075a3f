#include "support/fbx_writer.h"

#include <cstdio>
#include <cstring>
#include <libdeflate.h>
#include <type_traits>

namespace
{
class binary_writer
{
public:
    explicit binary_writer(const fbx_encoding &encoding) : m_encoding(encoding) {}

    std::string write(const std::vector<fbx_node> &records)
    {
        m_out.append("Kaydara FBX Binary  \0\x1a", 22);
        m_out += static_cast<char>(m_encoding.big_endian);
        put<std::uint32_t>(m_encoding.version);
        for (const fbx_node &node : records)
            put_record(node);
        put_null_record();
        m_out.append(16, '\x5a'); // the footer: nobody reads it
        return m_out;
    }

private:
    bool has_arrays() const
    {
        return m_encoding.version >= 7000;
    }

    std::size_t field_bytes() const
    {
        return m_encoding.version >= 7500 ? 8 : 4;
    }

    void put_word(std::uint64_t value, std::size_t bytes)
    {
        for (std::size_t i = 0; i < bytes; ++i)
        {
            const std::size_t shift = 8 * (m_encoding.big_endian ? bytes - 1 - i : i);
            m_out += static_cast<char>(value >> shift);
        }
    }

    template <typename T> void put(T value)
    {
        std::conditional_t<sizeof(T) == 8, std::uint64_t, std::uint32_t> word;
        static_assert(sizeof(word) == sizeof(value));
        std::memcpy(&word, &value, sizeof(word));
        put_word(word, sizeof(word));
    }

    void put_field(std::size_t at, std::uint64_t value)
    {
        binary_writer word(m_encoding);
        word.put_word(value, field_bytes());
        m_out.replace(at, field_bytes(), word.m_out);
    }

    void put_null_record()
    {
        m_out.append(3 * field_bytes() + 1, '\0');
    }

    void put_record(const fbx_node &node)
    {
        binary_writer record(m_encoding);
        record.m_base = m_base + m_out.size();
        record.put_record_here(node);
        m_out += record.m_out;
    }

    void put_record_here(const fbx_node &node)
    {
        const std::size_t field = field_bytes();
        m_out.append(3 * field, '\0');
        m_out += static_cast<char>(node.name.size());
        m_out += node.name;
        const std::size_t values_at = m_out.size();
        m_value_count = 0;
        for (const fbx_value &value : node.values)
            std::visit([&](const auto &v) { put_value(v); }, value);
        put_field(field, m_value_count);
        put_field(2 * field, m_out.size() - values_at);
        for (const fbx_node &child : node.children)
            put_record(child);
        if (!node.children.empty())
            put_null_record();
        put_field(0, m_base + m_out.size());
    }

    template <typename T> void put_value(const T &v)
    {
        if constexpr (std::is_same_v<T, fbx_object_name>)
            return put_value(v.name + std::string("\0\1", 2) + v.object_class);
        else if constexpr (std::is_arithmetic_v<T>)
        {
            m_out += code_of<T>;
            put(v);
        }
        else if constexpr (std::is_same_v<T, std::string>)
        {
            m_out += 'S';
            put(static_cast<std::uint32_t>(v.size()));
            m_out += v;
        }
        else if (!has_arrays())
        {
            for (const auto element : v)
                put_value(element);
            return;
        }
        else
            put_array(v);
        ++m_value_count;
    }

    template <typename T> void put_array(const std::vector<T> &array)
    {
        binary_writer content(m_encoding);
        for (const T v : array)
            content.put(v);
        if (m_encoding.deflated)
            content.deflate();
        m_out += std::is_same_v<T, int> ? 'i' : 'd';
        for (const std::size_t word :
             {array.size(), std::size_t{m_encoding.deflated}, content.m_out.size()})
            put(static_cast<std::uint32_t>(word));
        m_out += content.m_out;
    }

    void deflate()
    {
        libdeflate_compressor *const compressor = libdeflate_alloc_compressor(1);
        std::string packed(libdeflate_zlib_compress_bound(compressor, m_out.size()), '\0');
        packed.resize(libdeflate_zlib_compress(compressor, m_out.data(), m_out.size(),
                                               packed.data(), packed.size()));
        libdeflate_free_compressor(compressor);
        m_out = packed;
    }

    template <typename T> static constexpr char code_of = std::is_same_v<T, int>      ? 'I'
                                                          : std::is_same_v<T, double> ? 'D'
                                                                                      : 'L';

    const fbx_encoding m_encoding;
    std::string m_out;
    std::size_t m_base = 0; ///< where `m_out` begins in the file
    std::size_t m_value_count = 0;
};

class text_writer
{
public:
    explicit text_writer(const fbx_encoding &encoding) : m_encoding(encoding) {}

    std::string write(const std::vector<fbx_node> &records)
    {
        const unsigned int v = m_encoding.version;
        m_out = "; FBX " + std::to_string(v / 1000) + "." + std::to_string(v / 100 % 10) + "." +
                std::to_string(v / 10 % 10) + " project file\n\n";
        for (const fbx_node &node : records)
            put_record(node, 0);
        return m_out;
    }

private:
    void put_record(const fbx_node &node, std::size_t depth)
    {
        m_out.append(depth, '\t');
        m_out += node.name + ":";
        const char *separator = " ";
        for (const fbx_value &value : node.values)
        {
            m_out += separator;
            separator = ",";
            std::visit([&](const auto &v) { put_value(v); }, value);
        }
        if (!node.children.empty())
        {
            m_out += " {\n";
            for (const fbx_node &child : node.children)
                put_record(child, depth + 1);
            m_out.append(depth, '\t');
            m_out += "}";
        }
        m_out += "\n";
    }

    template <typename T> void put_value(const T &v)
    {
        if constexpr (std::is_same_v<T, double>)
        {
            char buffer[40];
            std::snprintf(buffer, sizeof(buffer), "%.17g", v);
            m_out += buffer;
        }
        else if constexpr (std::is_arithmetic_v<T>)
            m_out += std::to_string(v);
        else if constexpr (std::is_same_v<T, std::string>)
            m_out += '"' + v + '"';
        else if constexpr (std::is_same_v<T, fbx_object_name>)
            put_value(v.object_class + "::" + v.name);
        else
            put_array(v);
    }

    template <typename T> void put_array(const std::vector<T> &array)
    {
        const bool in_block = m_encoding.version >= 7000;
        if (in_block)
            m_out += "*" + std::to_string(array.size()) + " {\n\ta: ";
        for (std::size_t i = 0; i < array.size(); ++i)
        {
            if (i != 0)
                m_out += i % 16 == 0 ? ",\n" : ",";
            put_value(array[i]);
        }
        if (in_block)
            m_out += "\n}";
    }

    const fbx_encoding m_encoding;
    std::string m_out;
};
} // namespace

std::vector<fbx_encoding> all_fbx_encodings()
{
    std::vector<fbx_encoding> all;
    for (const unsigned int version : {6100u, 7400u, 7500u})
    {
        all.push_back({true, version, false, false});
        for (const bool big_endian : {false, true})
            for (const bool deflated : {false, true})
                if (!deflated || version >= 7000)
                    all.push_back({false, version, big_endian, deflated});
    }
    return all;
}

std::string write_fbx(const std::vector<fbx_node> &records, const fbx_encoding &encoding)
{
    std::vector<fbx_node> all = {
        {"FBXHeaderExtension", {}, {{"FBXVersion", {static_cast<int>(encoding.version)}, {}}}}};
    all.insert(all.end(), records.begin(), records.end());
    return encoding.text ? text_writer(encoding).write(all) : binary_writer(encoding).write(all);
}
