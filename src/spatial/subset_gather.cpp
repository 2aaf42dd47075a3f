#include "spatial/subset_gather.h"

#include "spatial/child_lists.h"

#include <algorithm>

namespace
{
struct stretch
{
    std::uint32_t first;
    std::uint32_t count;
};

stretch stretch_of(const vesk_list<unsigned int> &table, unsigned int subset)
{
    if (subset >= table.count / 2)
        return {0, 0};
    return {table[2 * subset] / 7, table[2 * subset + 1]};
}

std::uint32_t *append(std::uint32_t *to, const stretch &numbers)
{
    for (std::uint32_t i = 0; i < numbers.count; ++i)
        *to++ = numbers.first + i;
    return to;
}
} // namespace

vesk_triangle_numbers vesk_gather_triangles(std::uint32_t triangle_count,
                                            const vesk_list<unsigned int> &table,
                                            const vesk_list<unsigned int> *subsets,
                                            vesk_block_stack &scratch)
{
    std::uint64_t count = subsets ? 0 : triangle_count;
    std::uint64_t limit = count;
    bool may_repeat = false;
    for (unsigned int i = 0; subsets && i < subsets->count; ++i)
    {
        const stretch numbers = stretch_of(table, (*subsets)[i]);
        if (!numbers.count)
            continue;
        // What comes in ascending order repeats nothing. Other orders may, and mostly don't.
        may_repeat = may_repeat || numbers.first < limit;
        limit = std::max(limit, std::uint64_t{numbers.first} + numbers.count);
        count += numbers.count;
    }

    vesk_triangle_numbers gathered = {
        nullptr, static_cast<std::uint32_t>(std::min<std::uint64_t>(count, UINT32_MAX)),
        static_cast<std::uint32_t>(limit), may_repeat};
    if (count == 0 || count > UINT32_MAX - vesk_list_slack || limit > UINT32_MAX)
        return gathered;
    gathered.data =
        scratch.take_array<std::uint32_t>(static_cast<std::size_t>(count) + vesk_list_slack);
    if (!gathered.data)
        return gathered;

    std::uint32_t *to = gathered.data;
    if (!subsets)
        append(to, {0, triangle_count});
    for (unsigned int i = 0; subsets && i < subsets->count; ++i)
        to = append(to, stretch_of(table, (*subsets)[i]));
    return gathered;
}
