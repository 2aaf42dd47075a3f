#pragma once

#include "spatial/block_stack.h"
#include "vesk/list.h"

#include <cstdint>

/// The triangles that a tree is built over, by number, in build order.
struct vesk_triangle_numbers
{
    std::uint32_t *data; ///< with slack, as lists of children; null without memory for them
    std::uint32_t count;
    std::uint32_t limit; ///< every number is below this
    bool may_repeat;     ///< whether a number may stand there more than once
};

/// Gathers all triangles, or those of some subsets in the order of the list.
///
/// @param triangle_count triangles of the mesh
/// @param table pairs of a subset's word offset and its number of triangles
/// @param subsets null for all triangles, else indexes of pairs; one beyond the table names none
/// @param scratch where the numbers are to lie
vesk_triangle_numbers vesk_gather_triangles(std::uint32_t triangle_count,
                                            const vesk_list<unsigned int> &table,
                                            const vesk_list<unsigned int> *subsets,
                                            vesk_block_stack &scratch);
