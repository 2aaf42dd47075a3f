#include "vesk/mesh.h"

#include "foundation/alloc.h"
#include "mesh/color_sort.h"

namespace
{
/// The render index in record order. It cannot fail, so a sort that fails goes back to it.
void write_record_order(const vesk_mesh &mesh)
{
    const std::size_t triangle_count = mesh.index_count / 7;
    const unsigned int *from = mesh.index_array;
    unsigned int *to = mesh.render_index_array;
    for (std::size_t t = 0; t < triangle_count; ++t, from += 7, to += 3)
    {
        to[0] = from[0];
        to[1] = from[1];
        to[2] = from[2];
    }
}

unsigned int largest_subset(const vesk_mesh &mesh)
{
    unsigned int largest = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        if (mesh.subset_lookup_table[s * 2 + 1] > largest)
            largest = mesh.subset_lookup_table[s * 2 + 1];
    return largest;
}

/// Subsets may lie on each other, and then together name more triangles than the render index
/// holds.
bool has_room_for_subsets(const vesk_mesh &mesh)
{
    unsigned int room = mesh.index_count / 7;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
    {
        const unsigned int count = mesh.subset_lookup_table[s * 2 + 1];
        if (count > room)
            return false;
        room -= count;
    }
    return true;
}

/// Fills the colour table, one element a subset, and the render index behind it.
int sort_subsets(vesk_mesh &mesh, const vesk_list<unsigned long> &colors)
{
    vesk_list<vesk_subset_color_lookup_s> &table = mesh.render_color_lookup_table;
    const unsigned int subset_count = mesh.get_subset_count();
    table.set_size(subset_count);
    if (table.size != subset_count)
        return 0;
    table.set_count_to_size();

    vesk_color_sort_memory memory(largest_subset(mesh));
    unsigned int color_index = 0;
    unsigned int first_word = 0;
    for (unsigned int s = 0; s < subset_count; ++s)
    {
        const unsigned int count = mesh.subset_lookup_table[s * 2 + 1];
        if (count == 0)
            continue;
        vesk_colored_triangles triangles;
        triangles.records = mesh.index_array + mesh.subset_lookup_table[s * 2];
        triangles.colors = &colors[color_index];
        triangles.color_step = colors.reversed ? -1 : 1;
        triangles.count = count;
        if (!vesk_sort_by_color(triangles, memory, mesh.render_index_array, first_word,
                                table[s].runs))
            return 0;
        color_index += count;
        first_word += count * 3;
    }
    return 1;
}
} // namespace

int vesk_mesh::generate_render_index_array()
{
    free_render_index_array();

    render_index_array = vesk_alloc_array<unsigned int>(std::size_t(index_count / 7) * 3);
    if (!render_index_array)
    {
        ___push_error(L"Memory Allocation Error: Failed to allocate mesh render index array.");
        return 0;
    }
    write_record_order(*this);
    return 1;
}

int vesk_mesh::sort_render_index_by_subset_color(const vesk_list<unsigned long> &colors)
{
    render_color_lookup_table.clear();
    if (!render_index_array)
        return 0;

    if (!has_room_for_subsets(*this) || !sort_subsets(*this, colors))
    {
        render_color_lookup_table.clear();
        write_record_order(*this);
        return 0;
    }
    return 1;
}
