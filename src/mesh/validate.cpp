#include "vesk/validate.h"

#include "vesk/mesh.h"

#include <algorithm>
#include <cstring>

namespace
{
// Loops look at this many items without a branch and search for the culprit only when one of them
// is at fault: sound meshes, which nearly all are, pass at the speed of memory.
constexpr unsigned int block_size = 256;

int report(vesk_mesh_fault_s &fault, vesk_mesh_fault_kind kind, unsigned int value)
{
    fault.kind = kind;
    fault.value = value;
    return 0;
}

/// All ones in the exponent: infinite or NaN.
unsigned int is_not_finite(float number)
{
    unsigned int bits;
    std::memcpy(&bits, &number, sizeof(bits));
    return (bits & 0x7F800000u) == 0x7F800000u;
}

unsigned int is_not_finite(const vesk_vector3 &v)
{
    return is_not_finite(v.x) | is_not_finite(v.y) | is_not_finite(v.z);
}

int check_counts(const vesk_mesh &mesh, vesk_mesh_fault_s &fault)
{
    if (mesh.index_count % 7 != 0)
        return report(fault, vesk_mesh_fault_index_count, mesh.index_count);
    if ((mesh.vertex_count && !mesh.vertex_array) || (mesh.index_count && !mesh.index_array))
        return report(fault, vesk_mesh_fault_missing_array, 0);
    if (mesh.tangent_count && mesh.tangent_count != mesh.index_count / 7 * 3)
        return report(fault, vesk_mesh_fault_tangent_count, mesh.tangent_count);
    if (mesh.tangent_count && !mesh.tangent_array)
        return report(fault, vesk_mesh_fault_missing_array, 0);
    return 1;
}

int check_channel_lists(const vesk_mesh &mesh, vesk_mesh_fault_s &fault)
{
    const unsigned int channel_count = mesh.uv_channel_arrays.count;
    if (mesh.uv_channel_counts.count != channel_count ||
        mesh.uv_index_arrays.count != channel_count)
        return report(fault, vesk_mesh_fault_channel_lists, channel_count);
    for (unsigned int c = 0; c < channel_count; ++c)
        if (!mesh.uv_channel_arrays[c] || !mesh.uv_index_arrays[c])
        {
            fault.channel = c;
            return report(fault, vesk_mesh_fault_missing_channel, 0);
        }
    return 1;
}

/// How many entries of `uv_array` a record may name; 0 as well when the array is at fault.
int check_current_channel(const vesk_mesh &mesh, unsigned int &usable_uvs, vesk_mesh_fault_s &fault)
{
    usable_uvs = 0;
    if (mesh.index_count == 0)
        return 1;
    if (!mesh.uv_array)
        return report(fault, vesk_mesh_fault_missing_array, 0);

    const unsigned int channel = mesh.cur_uv_channel;
    const bool is_listed = !mesh.instance_geometry && channel < mesh.uv_channel_arrays.count;
    if (is_listed && (mesh.uv_array != mesh.uv_channel_arrays[channel] ||
                      mesh.uv_count != mesh.uv_channel_counts[channel]))
        return report(fault, vesk_mesh_fault_current_channel, channel);
    const bool is_shared_zero = !mesh.instance_geometry && !is_listed;
    usable_uvs = is_shared_zero ? 1 : mesh.uv_count;
    return 1;
}

int check_vertices(const vesk_mesh &mesh, vesk_mesh_fault_s &fault)
{
    for (unsigned int first = 0; first < mesh.vertex_count;)
    {
        const vesk_3d_vertex_s *vertices = mesh.vertex_array + first;
        const unsigned int count = std::min(block_size, mesh.vertex_count - first);
        unsigned int bad = 0;
        for (unsigned int i = 0; i < count; ++i)
            bad |= is_not_finite(vertices[i].position) | is_not_finite(vertices[i].normal);

        for (unsigned int i = 0; bad; ++i)
        {
            fault.vertex = first + i;
            if (is_not_finite(vertices[i].position))
                return report(fault, vesk_mesh_fault_position_not_finite, 0);
            if (is_not_finite(vertices[i].normal))
                return report(fault, vesk_mesh_fault_normal_not_finite, 0);
        }
        first += count;
    }
    return 1;
}

int check_corner(const unsigned int *indices, unsigned int limit, unsigned int triangle,
                 vesk_mesh_fault_kind kind, vesk_mesh_fault_s &fault)
{
    for (unsigned int corner = 0; corner < 3; ++corner)
        if (indices[corner] >= limit)
        {
            fault.triangle = triangle;
            fault.corner = corner;
            return report(fault, kind, indices[corner]);
        }
    return 1;
}

int check_records(const vesk_mesh &mesh, unsigned int usable_uvs, vesk_mesh_fault_s &fault)
{
    const unsigned int triangle_count = mesh.index_count / 7;
    for (unsigned int first = 0; first < triangle_count;)
    {
        const unsigned int count = std::min(block_size, triangle_count - first);
        const unsigned int *records = mesh.index_array + static_cast<std::size_t>(first) * 7;
        unsigned int bad = 0;
        for (unsigned int i = 0; i < count; ++i)
        {
            const unsigned int *r = records + i * 7;
            bad |= (r[0] >= mesh.vertex_count) | (r[1] >= mesh.vertex_count) |
                   (r[2] >= mesh.vertex_count) | (r[3] >= usable_uvs) | (r[4] >= usable_uvs) |
                   (r[5] >= usable_uvs);
        }
        for (unsigned int i = 0; bad && i < count; ++i)
            if (!check_corner(records + i * 7, mesh.vertex_count, first + i,
                              vesk_mesh_fault_vertex_index, fault) ||
                !check_corner(records + i * 7 + 3, usable_uvs, first + i, vesk_mesh_fault_uv_index,
                              fault))
                return 0;
        first += count;
    }
    return 1;
}

int check_channel_indexes(const vesk_mesh &mesh, unsigned int channel, vesk_mesh_fault_s &fault)
{
    const unsigned int limit = mesh.uv_channel_counts[channel];
    const unsigned int triangle_count = mesh.index_count / 7;
    const unsigned int *indices = mesh.uv_index_arrays[channel];
    for (unsigned int first = 0; first < triangle_count;)
    {
        const unsigned int count = std::min(block_size, triangle_count - first);
        const unsigned int *block = indices + static_cast<std::size_t>(first) * 3;
        unsigned int highest = 0;
        for (unsigned int i = 0; i < count * 3; ++i)
            highest = std::max(highest, block[i]);
        for (unsigned int i = 0; highest >= limit; ++i)
            if (!check_corner(block + i * 3, limit, first + i, vesk_mesh_fault_channel_uv_index,
                              fault))
            {
                fault.channel = channel;
                return 0;
            }
        first += count;
    }
    return 1;
}

int check_subsets(const vesk_mesh &mesh, vesk_mesh_fault_s &fault)
{
    const vesk_list<unsigned int> &table = mesh.subset_lookup_table;
    if (table.count % 2 != 0)
        return report(fault, vesk_mesh_fault_subset_table, table.count);
    for (unsigned int s = 0; s < table.count / 2; ++s)
    {
        const unsigned int first = table[s * 2];
        const unsigned int triangle_count = table[s * 2 + 1];
        if (first % 7 != 0 || first > mesh.index_count ||
            triangle_count > (mesh.index_count - first) / 7)
        {
            fault.subset = s;
            return report(fault, vesk_mesh_fault_subset_range, first);
        }
    }
    return 1;
}

int check_mesh(const vesk_mesh &mesh, vesk_mesh_fault_s &fault)
{
    unsigned int usable_uvs;
    if (!check_counts(mesh, fault) || !check_channel_lists(mesh, fault) ||
        !check_current_channel(mesh, usable_uvs, fault) || !check_subsets(mesh, fault) ||
        !check_vertices(mesh, fault) || !check_records(mesh, usable_uvs, fault))
        return 0;
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        if (!check_channel_indexes(mesh, c, fault))
            return 0;
    return 1;
}
} // namespace

int vesk_mesh_validate(const vesk_mesh &mesh, vesk_mesh_fault_s *fault)
{
    vesk_mesh_fault_s found = {};
    const int sound = check_mesh(mesh, found);
    if (fault)
        *fault = found;
    return sound;
}

const wchar_t *vesk_mesh_fault_text(vesk_mesh_fault_kind kind)
{
    switch (kind)
    {
    case vesk_mesh_fault_none:
        return L"no fault";
    case vesk_mesh_fault_index_count:
        return L"the index count is no multiple of seven";
    case vesk_mesh_fault_missing_array:
        return L"an array is missing";
    case vesk_mesh_fault_channel_lists:
        return L"the channel lists differ in length";
    case vesk_mesh_fault_missing_channel:
        return L"a channel has no arrays";
    case vesk_mesh_fault_current_channel:
        return L"the current UVs are not those of the current channel";
    case vesk_mesh_fault_position_not_finite:
        return L"a position is not finite";
    case vesk_mesh_fault_normal_not_finite:
        return L"a normal is not finite";
    case vesk_mesh_fault_vertex_index:
        return L"a vertex index is out of range";
    case vesk_mesh_fault_uv_index:
        return L"a UV index of a record is out of range";
    case vesk_mesh_fault_channel_uv_index:
        return L"a UV index of a channel is out of range";
    case vesk_mesh_fault_subset_table:
        return L"the subset table has an odd number of words";
    case vesk_mesh_fault_subset_range:
        return L"a subset lies outside the records";
    case vesk_mesh_fault_tangent_count:
        return L"the tangent count does not fit the triangles";
    }
    return L"unknown fault";
}
