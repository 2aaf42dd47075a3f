#pragma once

#include "vesk/mesh_records.h"

#include <cstddef>
#include <cstdint>

/// The triangles of one subset and their colours, none of them a copy.
struct vesk_colored_triangles
{
    const unsigned int *records; ///< triangle records, seven words each
    const unsigned long *colors; ///< the first triangle's colour
    std::ptrdiff_t color_step;   ///< from one triangle's colour to the next: 1 or -1
    unsigned int count;          ///< triangles, at least 1

    std::uint32_t color(std::size_t t) const
    {
        return static_cast<std::uint32_t>(colors[static_cast<std::ptrdiff_t>(t) * color_step]);
    }
};

/// A triangle on its way through the sort.
struct vesk_colored_entry
{
    std::uint32_t color;
    unsigned int vertex_indices[3];
};

/// Working memory that serves one subset after the other. It is acquired once, for the largest of
/// them, when one needs it: nothing for small subsets and for a single colour, a byte a triangle
/// up to 256 colours, 32 bytes a triangle beyond.
class vesk_color_sort_memory
{
public:
    explicit vesk_color_sort_memory(unsigned int largest_subset) noexcept;
    ~vesk_color_sort_memory();
    vesk_color_sort_memory(const vesk_color_sort_memory &) = delete;
    vesk_color_sort_memory &operator=(const vesk_color_sort_memory &) = delete;

    /// 1 when there is room in `ranks`.
    int acquire_ranks() noexcept;
    /// 1 when there is room in `entries` and in `spare_entries`.
    int acquire_entries() noexcept;

    unsigned char *ranks;
    vesk_colored_entry *entries;
    vesk_colored_entry *spare_entries;

private:
    std::size_t capacity;
};

/// Writes the vertex indexes of the triangles to `render_indices` from word `first_index` on, in
/// ascending order of colour, and fills the empty list `runs`. Triangles of one colour keep their
/// order, so that the result is the same on every platform. Linear in time.
///
/// @return 1, or 0 when memory was short: what was written has no meaning then
int vesk_sort_by_color(const vesk_colored_triangles &triangles, vesk_color_sort_memory &memory,
                       unsigned int *render_indices, unsigned int first_index,
                       vesk_list<vesk_triangle_color_data_s> &runs);
