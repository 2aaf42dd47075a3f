#pragma once

#include <cstdint>

/// @file
/// From a list of triangles and a set of children for each of them to the lists of the children.

/// The members of each set of up to eight, in order.
struct vesk_set_members
{
    std::uint8_t of[256][8];
    std::uint8_t count[256];

    constexpr vesk_set_members() : of(), count()
    {
        for (unsigned int set = 0; set < 256; ++set)
            for (unsigned int member = 0; member < 8; ++member)
                if (set >> member & 1)
                    of[set][count[set]++] = static_cast<std::uint8_t>(member);
    }
};
constexpr vesk_set_members vesk_members;

/// Triangles by number.
struct vesk_number_list
{
    std::uint32_t *data;
    std::uint32_t count;
};

/// Bit k of the index as byte k of the word.
struct vesk_spread_bits
{
    std::uint64_t words[256];

    constexpr vesk_spread_bits() : words()
    {
        for (unsigned int bits = 0; bits < 256; ++bits)
            for (unsigned int k = 0; k < 8; ++k)
                words[bits] |= std::uint64_t{bits >> k & 1} << 8 * k;
    }
};
constexpr vesk_spread_bits vesk_bits_spread;

/// How many of some sets have each member: the lengths of the children's lists.
inline void vesk_count_members(const std::uint8_t *sets, std::uint32_t count,
                               std::uint32_t (&lengths)[8])
{
    for (std::uint32_t &length : lengths)
        length = 0;
    while (count)
    {
        // Eight counts side by side in one word, emptied before a byte can overflow.
        const std::uint32_t some = count < 255 ? count : 255;
        std::uint64_t counts = 0;
        for (std::uint32_t i = 0; i < some; ++i)
            counts += vesk_bits_spread.words[sets[i]];
        for (unsigned int member = 0; member < 8; ++member)
            lengths[member] += static_cast<std::uint32_t>(counts >> 8 * member & 255);
        sets += some;
        count -= some;
    }
}

/// So many elements behind a list may be read or written.
constexpr unsigned int vesk_list_slack = 8;

/// Writes the numbers whose sets have `member`, in order; the list that comes out has slack.
using vesk_list_picker = void (*)(const std::uint32_t *numbers, const std::uint8_t *sets,
                                  std::uint32_t count, unsigned int member, std::uint32_t *to);

/// The fastest picker that this processor runs.
vesk_list_picker vesk_pick_list_picker();
