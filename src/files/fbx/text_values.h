#pragma once

#include "files/fbx/document.h"

#include <cstdint>
#include <string_view>

// The values of text records: strings, numbers and bare words, with commas between them.

namespace vesk_fbx
{
/// Value number `i` of a record; see document::get_integer and its kin.
bool text_integer(const record &r, std::uint32_t i, std::int64_t &out);
bool text_real(const record &r, std::uint32_t i, double &out);
bool text_text(const record &r, std::uint32_t i, std::string_view &out);

/// All numbers of a record; see document::read_numbers.
/// `out` is empty before, and of no meaning after false.
template <typename T> bool read_text_numbers(const record &r, number_array<T> &out);
} // namespace vesk_fbx
