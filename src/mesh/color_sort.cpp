#include "mesh/color_sort.h"

#include "foundation/alloc.h"

#include <algorithm>
#include <utility>

namespace
{
/// Up to here a comparison sort on the stack beats the tables of the linear sorts.
constexpr unsigned int few_triangles = 32;
constexpr unsigned int palette_capacity = 256;
constexpr unsigned int digit_count = 4;
constexpr unsigned int digit_values = 256;

void copy_vertex_indices(unsigned int *to, const unsigned int *from)
{
    to[0] = from[0];
    to[1] = from[1];
    to[2] = from[2];
}

const unsigned int *record(const vesk_colored_triangles &triangles, std::size_t t)
{
    return triangles.records + t * 7;
}

int set_run_count(vesk_list<vesk_triangle_color_data_s> &runs, unsigned int count)
{
    runs.set_size(count);
    runs.set_count_to_size();
    return runs.size == count;
}

void set_run(vesk_triangle_color_data_s &run, std::uint32_t color, unsigned int first_index,
             unsigned int triangle_count)
{
    run.color = color;
    run.first_index = first_index;
    run.triangle_count = triangle_count;
}

/// The bits in which any two colours differ.
std::uint32_t varying_bits(const vesk_colored_triangles &triangles)
{
    const std::uint32_t first = triangles.color(0);
    std::uint32_t bits = 0;
    for (std::size_t t = 1; t < triangles.count; ++t)
        bits |= triangles.color(t) ^ first;
    return bits;
}

int write_single_run(const vesk_colored_triangles &triangles, unsigned int *render_indices,
                     unsigned int first_index, vesk_list<vesk_triangle_color_data_s> &runs)
{
    if (!set_run_count(runs, 1))
        return 0;
    set_run(runs.data[0], triangles.color(0), first_index, triangles.count);
    for (std::size_t t = 0; t < triangles.count; ++t)
        copy_vertex_indices(render_indices + first_index + t * 3, record(triangles, t));
    return 1;
}

int write_sorted_entries(const vesk_colored_entry *entries, unsigned int count,
                         unsigned int *render_indices, unsigned int first_index,
                         vesk_list<vesk_triangle_color_data_s> &runs)
{
    unsigned int run_count = 1;
    for (unsigned int i = 1; i < count; ++i)
        run_count += entries[i].color != entries[i - 1].color;
    if (!set_run_count(runs, run_count))
        return 0;

    vesk_triangle_color_data_s *run = runs.data;
    unsigned int run_start = 0;
    for (unsigned int i = 0; i < count; ++i)
    {
        copy_vertex_indices(render_indices + first_index + std::size_t(i) * 3,
                            entries[i].vertex_indices);
        if (i + 1 == count || entries[i + 1].color != entries[i].color)
        {
            set_run(*run++, entries[i].color, first_index + run_start * 3, i + 1 - run_start);
            run_start = i + 1;
        }
    }
    return 1;
}

int sort_few_triangles(const vesk_colored_triangles &triangles, unsigned int *render_indices,
                       unsigned int first_index, vesk_list<vesk_triangle_color_data_s> &runs)
{
    // The number below the colour keeps triangles of one colour in order.
    std::uint64_t keys[few_triangles];
    for (std::uint32_t t = 0; t < triangles.count; ++t)
        keys[t] = std::uint64_t(triangles.color(t)) << 32 | t;
    std::sort(keys, keys + triangles.count);

    vesk_colored_entry entries[few_triangles];
    for (unsigned int i = 0; i < triangles.count; ++i)
    {
        entries[i].color = static_cast<std::uint32_t>(keys[i] >> 32);
        copy_vertex_indices(entries[i].vertex_indices,
                            record(triangles, static_cast<std::uint32_t>(keys[i])));
    }
    return write_sorted_entries(entries, triangles.count, render_indices, first_index, runs);
}

/// Up to 256 colours in the order of their appearance, found through a hash of the colour. The
/// table is sparse, so that a look-up seldom goes past its first slot.
class palette
{
public:
    palette() : size(0)
    {
        std::fill(slots, slots + slot_count, free_slot);
    }

    /// The number of `color`, which is counted, or `palette_capacity` when there is no room.
    unsigned int count_color(std::uint32_t color)
    {
        std::uint32_t slot = color * 2654435769u >> (32 - slot_bits); // 2^32 / golden ratio
        while (slots[slot] != free_slot && colors[slots[slot]] != color)
            slot = (slot + 1) & (slot_count - 1);
        if (slots[slot] == free_slot)
        {
            if (size == palette_capacity)
                return palette_capacity;
            colors[size] = color;
            counts[size] = 0;
            slots[slot] = static_cast<std::uint16_t>(size++);
        }
        ++counts[slots[slot]];
        return slots[slot];
    }

    std::uint32_t colors[palette_capacity];
    unsigned int counts[palette_capacity];
    unsigned int size;

private:
    static constexpr unsigned int slot_bits = 12;
    static constexpr unsigned int slot_count = 1u << slot_bits;
    static constexpr std::uint16_t free_slot = 0xFFFF;
    std::uint16_t slots[slot_count];
};

/// Counts the colours and writes each triangle's number of colour to `ranks`; 0 when there are
/// more colours than the palette holds.
int fill_palette(const vesk_colored_triangles &triangles, palette &found, unsigned char *ranks)
{
    for (std::size_t t = 0; t < triangles.count; ++t)
    {
        const unsigned int number = found.count_color(triangles.color(t));
        if (number == palette_capacity)
            return 0;
        ranks[t] = static_cast<unsigned char>(number);
    }
    return 1;
}

/// One counting pass: each triangle goes straight to its place.
int sort_few_colors(const vesk_colored_triangles &triangles, const palette &found,
                    const unsigned char *ranks, unsigned int *render_indices,
                    unsigned int first_index, vesk_list<vesk_triangle_color_data_s> &runs)
{
    if (!set_run_count(runs, found.size))
        return 0;

    std::uint64_t order[palette_capacity];
    for (unsigned int number = 0; number < found.size; ++number)
        order[number] = std::uint64_t(found.colors[number]) << 32 | number;
    std::sort(order, order + found.size);

    unsigned int *next[palette_capacity];
    for (unsigned int i = 0; i < found.size; ++i)
    {
        const unsigned int number = static_cast<unsigned int>(order[i] & 0xFF);
        set_run(runs.data[i], found.colors[number], first_index, found.counts[number]);
        next[number] = render_indices + first_index;
        first_index += found.counts[number] * 3;
    }
    for (std::size_t t = 0; t < triangles.count; ++t)
    {
        unsigned int *&place = next[ranks[t]];
        copy_vertex_indices(place, record(triangles, t));
        place += 3;
    }
    return 1;
}

/// For each byte of the colours, where the entries of each of its values begin.
struct digit_offsets
{
    unsigned int offsets[digit_count][digit_values];

    explicit digit_offsets(const vesk_colored_triangles &triangles) : offsets()
    {
        for (std::size_t t = 0; t < triangles.count; ++t)
            for (unsigned int digit = 0; digit < digit_count; ++digit)
                ++offsets[digit][triangles.color(t) >> (digit * 8) & 0xFF];
        for (unsigned int(&row)[digit_values] : offsets)
        {
            unsigned int sum = 0;
            for (unsigned int &offset : row)
                sum += std::exchange(offset, sum);
        }
    }
};

/// Least significant byte first, without the bytes that all colours share. Whole entries move:
/// sorting numbers and fetching the triangles last misses the cache at every fetch, which took
/// three to four times as long on 500,000 triangles.
int sort_many_colors(const vesk_colored_triangles &triangles, std::uint32_t varying,
                     vesk_color_sort_memory &memory, unsigned int *render_indices,
                     unsigned int first_index, vesk_list<vesk_triangle_color_data_s> &runs)
{
    digit_offsets digits(triangles);
    vesk_colored_entry *from = nullptr; // the first pass reads the triangles themselves
    vesk_colored_entry *to = memory.entries;
    for (unsigned int digit = 0; digit < digit_count; ++digit)
    {
        const unsigned int shift = digit * 8;
        if ((varying >> shift & 0xFF) == 0)
            continue;
        unsigned int *offsets = digits.offsets[digit];
        for (std::size_t t = 0; t < triangles.count; ++t)
        {
            vesk_colored_entry entry;
            if (from)
                entry = from[t];
            else
            {
                entry.color = triangles.color(t);
                copy_vertex_indices(entry.vertex_indices, record(triangles, t));
            }
            to[offsets[entry.color >> shift & 0xFF]++] = entry;
        }
        from = to;
        to = to == memory.entries ? memory.spare_entries : memory.entries;
    }
    return write_sorted_entries(from, triangles.count, render_indices, first_index, runs);
}
} // namespace

vesk_color_sort_memory::vesk_color_sort_memory(unsigned int largest_subset) noexcept
    : ranks(nullptr)
    , entries(nullptr)
    , spare_entries(nullptr)
    , capacity(largest_subset)
{
}

vesk_color_sort_memory::~vesk_color_sort_memory()
{
    vesk_free_array(ranks);
    vesk_free_array(entries);
    vesk_free_array(spare_entries);
}

int vesk_color_sort_memory::acquire_ranks() noexcept
{
    if (!ranks)
        ranks = vesk_alloc_array<unsigned char>(capacity);
    return ranks != nullptr;
}

int vesk_color_sort_memory::acquire_entries() noexcept
{
    if (!entries)
        entries = vesk_alloc_array<vesk_colored_entry>(capacity);
    if (!spare_entries)
        spare_entries = vesk_alloc_array<vesk_colored_entry>(capacity);
    return entries && spare_entries;
}

int vesk_sort_by_color(const vesk_colored_triangles &triangles, vesk_color_sort_memory &memory,
                       unsigned int *render_indices, unsigned int first_index,
                       vesk_list<vesk_triangle_color_data_s> &runs)
{
    const std::uint32_t varying = varying_bits(triangles);
    if (varying == 0)
        return write_single_run(triangles, render_indices, first_index, runs);
    if (triangles.count <= few_triangles)
        return sort_few_triangles(triangles, render_indices, first_index, runs);

    if (!memory.acquire_ranks())
        return 0;
    palette found;
    if (fill_palette(triangles, found, memory.ranks))
        return sort_few_colors(triangles, found, memory.ranks, render_indices, first_index, runs);

    return memory.acquire_entries() &&
           sort_many_colors(triangles, varying, memory, render_indices, first_index, runs);
}
