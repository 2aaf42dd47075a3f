#pragma once

#include "vesk/mesh.h"

#include <cstddef>

/// Makes `channel` current in the fields and leaves the records alone.
///
/// @return the channel's UV indexes, three a triangle, or null when the channel does not exist:
///   every UV word is 0 then
const unsigned int *vesk_select_uv_channel(vesk_mesh &mesh, unsigned int channel);

/// Copies records with their UV words taken from `uv_indices`, null for zeros. `to` may be `from`.
void vesk_copy_records(unsigned int *to, const unsigned int *from, std::size_t triangle_count,
                       const unsigned int *uv_indices);
