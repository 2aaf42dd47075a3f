#pragma once

#include "files/fbx/document.h"

#include <string_view>

namespace vesk_fbx
{
class record_arena;

/// Builds the tree of a text file, behind which `text_padding` zero bytes have to stand. False
/// when its structure is damaged: an open string or brace, a brace too many, a value without a
/// record, a control character outside strings.
bool read_text_records(std::string_view file, record_arena &arena, const record *&first);

/// The version that the comment of line 1 gives, as in `; FBX 7.4.0 project file`; 0 without one.
unsigned int version_in_first_comment(std::string_view file);
} // namespace vesk_fbx
