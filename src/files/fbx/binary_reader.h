#pragma once

#include "files/fbx/document.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vesk_fbx
{
class record_arena;

/// How a binary file writes its numbers, as its first bytes tell.
struct binary_layout
{
    bool big_endian = false;
    bool wide_headers = false; ///< 64-bit fields in record headers: from 7.5 on
    std::uint32_t version = 0;
};

/// False when the file ends too early or names a byte order that does not exist.
bool read_binary_layout(std::string_view file, binary_layout &out);

/// Builds the tree of a binary file. False when its structure is damaged.
bool read_binary_records(std::string_view file, const binary_layout &layout, record_arena &arena,
                         const record *&first);
} // namespace vesk_fbx
