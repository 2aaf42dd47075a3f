#pragma once

#include "files/file_stream.h"

#include <cstdint>
#include <cstdio>

/// @file
/// The chunk stream as mesh files use it: sizes above 4 GiB, and a count of what was read.

/// The public writer for the words of a section; swaps them. False where that gives 0.
bool vesk_write_chunk_stream(std::FILE *file, const void *bytes, std::uint64_t size,
                             bool swap = vesk_host_swaps) noexcept;

/// What becomes of the room behind a stream that yields less than there is room for. LZ4 is a
/// little faster when it may write there.
enum class vesk_behind_stream
{
    kept,
    used
};

/// The public reader, which keeps what is behind; false where that gives 0. `filled` gets the
/// number of bytes that came from the stream, also at a failure: what stands behind them in `bytes`
/// has no meaning then.
bool vesk_read_chunk_stream(std::FILE *file, void *bytes, std::uint64_t size,
                            vesk_behind_stream behind, std::uint64_t &filled) noexcept;
