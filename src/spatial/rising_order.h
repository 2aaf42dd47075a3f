#pragma once

#include "spatial/child_lists.h"
#include "spatial/subset_gather.h"

#include <cstring>

/// Which triangles of a node rise into it when some of its children are absent, and in what order:
/// by the lowest absent child that a triangle touches, then by place in the list, each once.
class vesk_rising_order
{
public:
    /// @param new_scratch stays alive; lists are taken there
    explicit vesk_rising_order(vesk_block_stack &new_scratch)
        : scratch(new_scratch)
        , may_repeat(false)
        , stamps(nullptr)
        , stamp_count(0)
        , stamp(0)
    {
    }

    /// Gets ready for lists of these triangles. Only subsets that overlap bring one in twice.
    void expect(const vesk_triangle_numbers &triangles)
    {
        may_repeat = triangles.may_repeat;
        stamp_count = triangles.limit;
        if (may_repeat)
            stamps = scratch.take_array<std::uint32_t>(stamp_count);
        clear_stamps();
    }

    /// @param numbers of the triangles that the list names; null when it names them by number
    /// @param overlaps of each triangle of the list, the children that it touches
    /// @param absent a bit for each absent child
    /// @param risen the result by number, on top of the scratch
    /// @return false when memory is short
    bool find(const vesk_number_list &list, const std::uint32_t *numbers,
              const std::uint8_t *overlaps, unsigned int absent, vesk_number_list &risen)
    {
        risen.data = scratch.take_array<std::uint32_t>(list.count);
        if (!risen.data)
            return false;
        // What touches no absent child comes last and is left out.
        std::uint32_t place[none + 1] = {};
        for (std::uint32_t i = 0; i < list.count; ++i)
            ++place[lowest_child(overlaps[i] & absent)];
        for (std::uint32_t child = 0, sum = 0; child <= none; ++child)
        {
            const std::uint32_t length = place[child];
            place[child] = sum;
            sum += length;
        }
        risen.count = place[none];
        for (std::uint32_t i = 0; i < list.count; ++i)
            risen.data[place[lowest_child(overlaps[i] & absent)]++] =
                numbers ? numbers[list.data[i]] : list.data[i];

        if (may_repeat)
            drop_repeats(risen);
        return true;
    }

private:
    static constexpr unsigned int none = 8; // children at most

    vesk_block_stack &scratch;
    bool may_repeat;
    std::uint32_t *stamps; // of each triangle, the last list that took it; null without memory
    std::uint32_t stamp_count;
    std::uint32_t stamp;

    static unsigned int lowest_child(unsigned int children)
    {
        return static_cast<unsigned int>(__builtin_ctz(children | 1u << none));
    }

    void clear_stamps()
    {
        if (stamps)
            std::memset(stamps, 0, sizeof(*stamps) * stamp_count);
    }

    void drop_repeats(vesk_number_list &list)
    {
        if (++stamp == 0)
        {
            stamp = 1;
            clear_stamps();
        }
        std::uint32_t kept = 0;
        for (std::uint32_t i = 0; i < list.count; ++i)
            if (!is_taken(list.data, kept, list.data[i]))
                list.data[kept++] = list.data[i];
        list.count = kept;
    }

    // Without memory for stamps the numbers that are kept are searched.
    bool is_taken(const std::uint32_t *kept, std::uint32_t kept_count, std::uint32_t number)
    {
        if (stamps)
        {
            const bool is_again = stamps[number] == stamp;
            stamps[number] = stamp;
            return is_again;
        }
        for (std::uint32_t i = 0; i < kept_count; ++i)
            if (kept[i] == number)
                return true;
        return false;
    }
};
