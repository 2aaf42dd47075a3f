#pragma once

#include "files/file_stream.h"

#include <cstdint>
#include <cstdio>

/// @file
/// The chunk stream as mesh files use it: sizes above 4 GiB, and a count of what was read.

/// The public writer for the words of a section; swaps them. False where that gives 0.
bool vesk_write_chunk_stream(std::FILE *file, const void *bytes, std::uint64_t size,
                             bool swap = vesk_host_swaps) noexcept;

/// The public reader; false where that gives 0. `filled` gets the number of bytes that came from
/// the stream, also at a failure: what stands behind them in `bytes` has no meaning.
bool vesk_read_chunk_stream(std::FILE *file, void *bytes, std::uint64_t size,
                            std::uint64_t &filled) noexcept;
