#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// The lexical rules of text files, shared by the reader of the structure and that of the values.
// All functions stop at a zero byte, which no lawful file holds outside strings; the bytes behind
// the file are zeros, `text_padding` of them at least, so nothing here needs an end.

namespace vesk_fbx
{
constexpr std::size_t text_padding = 32;

inline bool is_text_blank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// What words and numbers are made of: all but blanks, controls and the punctuation of the format.
inline bool is_word_byte(char c)
{
    if (static_cast<unsigned char>(c) <= ' ')
        return false;
    switch (c)
    {
    case ',':
    case '{':
    case '}':
    case '"':
    case ':':
    case ';':
        return false;
    default:
        return true;
    }
}

/// Behind the word at `p`, or `p` when none stands there.
inline const char *skip_word(const char *p)
{
    while (is_word_byte(*p))
        ++p;
    return p;
}

inline bool starts_number(const char *p)
{
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    if (*p == '-' || *p == '+')
        ++p;
    if (*p == '.')
        ++p;
    return is_digit(*p);
}

/// Behind blanks and comments, and behind commas as well when `commas` says so.
template <bool commas> const char *skip_blanks(const char *p)
{
    for (;;)
    {
        while (is_text_blank(*p) || (commas && *p == ','))
            ++p;
        if (*p != ';')
            return p;
        while (*p != '\n' && *p != '\r' && *p != '\0')
            ++p;
    }
}

/// Behind the numbers, blanks and commas that begin at `p`, and before the word that is none of
/// them. `count` grows by the numbers passed. The byte before `p` is no part of a word.
const char *skip_numbers(const char *p, std::uint32_t &count);

/// The next quotation mark, brace or semicolon, or a zero byte.
const char *find_structure(const char *p);
} // namespace vesk_fbx
