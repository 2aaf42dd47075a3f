#pragma once

#include "vesk/list.h"

/// The triangles that a build starts from, as record pointers in build order.
///
/// @param records the first record
/// @param triangle_count triangles of the mesh
/// @param table pairs of word offset and triangle count
/// @param subsets null for all triangles, else indexes of pairs; one beyond the table names none
/// @param list empty; holds the pointers afterwards, its capacity trimmed to its count
template <typename Triangle>
void vesk_gather_triangles(Triangle *records, unsigned int triangle_count,
                           const vesk_list<unsigned int> &table,
                           const vesk_list<unsigned int> *subsets, vesk_list<Triangle *> &list)
{
    if (!subsets)
    {
        list.set_size(triangle_count);
        for (unsigned int t = 0; t < list.size; ++t)
            list.data[t] = records + t;
        list.set_count_to_size();
        return;
    }
    for (unsigned int i = 0; i < subsets->count; ++i)
    {
        const unsigned int subset = (*subsets)[i];
        if (subset >= table.count / 2)
            continue;
        const unsigned int first = table[2 * subset] / 7;
        for (unsigned int t = 0; t < table[2 * subset + 1]; ++t)
            list.push_back(records + first + t);
    }
    list.trim();
}
