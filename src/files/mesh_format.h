#pragma once

#include "vesk/mesh_records.h"
#include "vesk/vector.h"

#include <cstdint>

/// @file
/// What the reader and the writer of the binary mesh file share: the sizes of its records, which
/// are those in memory.

constexpr unsigned int vesk_vertex_words = 6;
constexpr unsigned int vesk_uv_words = 2;
constexpr unsigned int vesk_tangent_words = 4;

static_assert(sizeof(vesk_3d_vertex_s) == vesk_vertex_words * 4, "a vertex of the file");
static_assert(sizeof(vesk_vector2) == vesk_uv_words * 4, "a UV of the file");
static_assert(sizeof(vesk_mesh_tangent_s) == vesk_tangent_words * 4, "a tangent of the file");

/// Words in each channel's UV index section.
constexpr std::uint64_t vesk_uv_index_words(unsigned int index_count)
{
    return index_count / 7 * std::uint64_t(3);
}
