#pragma once

#include "vesk/export.h"

#include <cstdio>

/// @file
/// The chunk stream: how compressed mesh files store their large arrays.
///
/// A stream is a little-endian word with the number of chunks, then for each chunk a word with
/// its compressed size and one LZ4 block, with no gap. A chunk holds 2 MiB (0x200000 bytes) of
/// the array, the last one what is left. Blocks are independent of each other. There is no magic
/// number, checksum or record of the uncompressed size.

/// Writes `size` bytes as one chunk stream at the current position of `file`, which is open for
/// binary writing and stays open. Costs LZ4's compression at its default acceleration.
///
/// @return 1; 0 when the work buffer of about 2 MiB cannot be had (nothing is written then) or
/// LZ4 fails. Results of file writes are not examined.
///
/// A `size` of 0 writes a stream of nine bytes that the reader refuses.
VESK_API int vesk_compress_bytes_to_file_lz4(const void *bytes, unsigned int size, FILE *file);

/// Reads one chunk stream at the current position of `file` into `bytes`, a buffer of `size`
/// bytes. The file is open for binary reading and stays open, its position right behind the
/// stream.
///
/// Chunks may be of any size; a stream that yields less than `size` bytes leaves the rest of the
/// buffer as it was and still gives 1.
///
/// @return 1; 0 when the work buffer cannot be had, when the file ends within the stream, when a
/// compressed size is above 0x202030 bytes, or when a block does not decompress to at least one
/// byte within what is left of the buffer. The file position is then somewhere in the stream, and
/// what was decompressed stays in the buffer.
VESK_API int vesk_decompress_bytes_from_file_lz4(void *bytes, unsigned int size, FILE *file);
