#pragma once

#include "vesk/vector.h"

#include <charconv>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <type_traits>

/// A text file that is written piece by piece. Numbers go through `std::to_chars`: the shortest
/// digits that read back to the same value, and no locale gets between.
class vesk_text_file
{
public:
    explicit vesk_text_file(const wchar_t *path);

    /// Writes what is still in the buffer. False when anything since the opening failed.
    bool close();

    vesk_text_file &operator<<(const char *text);
    vesk_text_file &operator<<(const std::string &text);
    vesk_text_file &operator<<(const vesk_vector2 &v); ///< "x y"
    vesk_text_file &operator<<(const vesk_vector3 &v); ///< "x y z"

    /// A number; bytes of a colour come as `int`. Every NaN is "nan": its sign is the platform's.
    template <typename Number> vesk_text_file &operator<<(Number number)
    {
        if constexpr (std::is_floating_point<Number>::value)
            if (std::isnan(number))
                return *this << "nan";
        char digits[64]; // room for a sign and the digits of any 64-bit integer or float
        const std::to_chars_result end = std::to_chars(digits, digits + sizeof(digits), number);
        m_buffer.append(digits, end.ptr);
        flush_when_full();
        return *this;
    }

private:
    void flush_when_full();

    std::ofstream m_stream;
    std::string m_buffer;
};

/// Opens `path` and hands the file to `write`: 1 when all of it is on its way to the disk. Paths
/// that cannot be converted and exhausted memory throw in the standard library; here they are 0.
template <typename Write> int vesk_write_text(const wchar_t *path, const Write &write)
{
    try
    {
        vesk_text_file file(path);
        write(file);
        return file.close() ? 1 : 0;
    }
    catch (const std::exception &)
    {
        return 0;
    }
}
