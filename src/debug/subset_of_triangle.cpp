#include "debug/subset_of_triangle.h"

#include <algorithm>

unsigned int vesk_debug_triangle_count(const vesk_mesh &mesh)
{
    return mesh.index_array ? mesh.index_count / 7 : 0;
}

std::vector<int> vesk_debug_subset_of_triangle(const vesk_mesh &mesh)
{
    const unsigned int triangle_count = vesk_debug_triangle_count(mesh);
    std::vector<int> subset_of(triangle_count, -1);
    const vesk_list<unsigned int> &table = mesh.subset_lookup_table;
    for (unsigned int s = 0; s < table.count / 2; ++s)
    {
        const unsigned int first = std::min(table[s * 2] / 7, triangle_count);
        const unsigned int count = std::min(table[s * 2 + 1], triangle_count - first);
        for (unsigned int t = first; t < first + count; ++t)
            if (subset_of[t] < 0)
                subset_of[t] = static_cast<int>(s);
    }
    return subset_of;
}
