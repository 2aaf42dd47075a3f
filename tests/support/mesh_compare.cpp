#include "support/mesh_compare.h"

#include <cstring>
#include <cwchar>
#include <string>

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

namespace
{
template <typename T> bool same_array(const T *a, const T *b, std::size_t count)
{
    if (count == 0)
        return true;
    return a && b &&
           std::memcmp(static_cast<const void *>(a), static_cast<const void *>(b),
                       count * sizeof(T)) == 0;
}

bool same_channel(const vesk_mesh &a, const vesk_mesh &b, unsigned int channel)
{
    const unsigned int uv_count = a.uv_channel_counts[channel];
    return b.uv_channel_counts[channel] == uv_count &&
           same_array(a.uv_channel_arrays[channel], b.uv_channel_arrays[channel], uv_count) &&
           same_array(a.uv_index_arrays[channel], b.uv_index_arrays[channel],
                      std::size_t(a.index_count / 7) * 3);
}

std::string narrow(const wchar_t *text)
{
    std::string result;
    for (; *text; ++text)
        result += static_cast<char>(*text);
    return result;
}
} // namespace

AssertionResult same_mesh(const vesk_mesh &a, const vesk_mesh &b)
{
    const bool in_range = a.get_cur_uv_channel() < a.get_uv_channel_count();
    const char *different = nullptr;
    const auto compare = [&different](const char *what, bool is_same)
    { different = different || is_same ? different : what; };
    compare("vertices", a.vertex_count == b.vertex_count &&
                            same_array(a.vertex_array, b.vertex_array, a.vertex_count));
    compare("records", a.index_count == b.index_count &&
                           same_array(a.index_array, b.index_array, a.index_count));
    compare("current channel", a.get_cur_uv_channel() == b.get_cur_uv_channel());
    compare("channel count", a.get_uv_channel_count() == b.get_uv_channel_count());
    for (unsigned int channel = 0; !different && channel < a.uv_channel_arrays.count; ++channel)
        compare("a channel", same_channel(a, b, channel));
    const unsigned int uv_count = in_range ? a.uv_count : a.uv_array ? 1 : 0;
    compare("UVs", a.uv_count == b.uv_count && same_array(a.uv_array, b.uv_array, uv_count));
    compare("subsets", a.subset_lookup_table.count == b.subset_lookup_table.count &&
                           same_array(a.subset_lookup_table.data, b.subset_lookup_table.data,
                                      a.subset_lookup_table.count));
    compare("tangents", a.tangent_count == b.tangent_count &&
                            same_array(a.tangent_array, b.tangent_array, a.tangent_count));
    compare("box", same_array(&a.bounding_box_min, &b.bounding_box_min, 1) &&
                       same_array(&a.bounding_box_max, &b.bounding_box_max, 1));
    return different ? AssertionFailure() << different : AssertionSuccess();
}

AssertionResult is_empty_mesh(const vesk_mesh &mesh)
{
    const bool has_flag = mesh.instance_geometry || mesh.instance_tangents ||
                          mesh.instance_uv_lookup || mesh.instance_octree;
    const bool has_data = mesh.vertex_array || mesh.uv_array || mesh.index_array ||
                          mesh.tangent_array || mesh.render_index_array || mesh.octree ||
                          mesh.uv_lookup_root || mesh.uv_lookup_vertex_array ||
                          mesh.uv_lookup_index_array;
    const bool has_number = mesh.vertex_count || mesh.uv_count || mesh.index_count ||
                            mesh.tangent_count || mesh.cur_uv_channel || mesh.uv_lookup_width ||
                            mesh.uv_lookup_height || mesh.uv_lookup_vertex_count ||
                            mesh.uv_lookup_index_count;
    const bool has_list = mesh.subset_lookup_table.data || mesh.uv_channel_arrays.data ||
                          mesh.uv_channel_counts.data || mesh.uv_index_arrays.data ||
                          mesh.render_color_lookup_table.data;
    const bool has_box = !mesh.bounding_box_min.is_zero() || !mesh.bounding_box_max.is_zero();
    return AssertionResult(!has_flag && !has_data && !has_number && !has_list && !has_box)
           << "flags " << has_flag << ", arrays or trees " << has_data << ", numbers " << has_number
           << ", lists " << has_list << ", box " << has_box;
}

AssertionResult has_message(const vesk_mesh &mesh, const wchar_t *message)
{
    const vesk_list<wchar_t *> &stack = *mesh.get_error_stack();
    if (stack.count != (message ? 1u : 0u))
        return AssertionFailure() << stack.count << " messages"
                                  << (stack.count ? ", the first: " + narrow(stack[0]) : "");
    if (message && std::wcscmp(stack[0], message) != 0)
        return AssertionFailure() << narrow(stack[0]);
    return AssertionSuccess();
}
