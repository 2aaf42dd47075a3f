#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// What a file is, told by its content: names and extensions play no part.

namespace vesk_fbx
{
enum class file_format
{
    unknown,
    fbx_binary,
    fbx_text,
    collada,
    dxf,
    studio_3ds,
    obj
};

/// Bytes from the start of a file that are enough to tell its format.
constexpr std::size_t format_head_bytes = std::size_t{1} << 16;

/// The byte order and the version of a binary FBX file stand behind its magic; see binary_reader.
constexpr std::size_t binary_magic_bytes = 21;

/// `head` holds the first bytes of a file of `file_size` bytes, all of them or at least
/// `format_head_bytes`.
file_format detect_format(std::string_view head, std::uint64_t file_size);
} // namespace vesk_fbx
