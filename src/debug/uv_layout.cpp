#include "debug/depth_color.h"
#include "debug/subset_of_triangle.h"
#include "debug/text_file.h"
#include "vesk/debug_write.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace
{
constexpr float unit_square_size = 512.0f; // of a picture without a raster

struct flat_triangle
{
    vesk_vector2 corners[3];
};

using subset_triangles = std::map<int, std::vector<flat_triangle>>;
using depth_rectangles = std::vector<std::vector<vesk_quadtree_aa_bounding_rect_s>>;

bool is_finite(const flat_triangle &triangle)
{
    return std::all_of(triangle.corners, triangle.corners + 3,
                       [](const vesk_vector2 &corner)
                       { return std::isfinite(corner.x) && std::isfinite(corner.y); });
}

/// Turns a triangle so that all of a path run one way: where two that run against each other
/// overlap, they would cancel out and leave a hole.
void turn_one_way(flat_triangle &triangle)
{
    const vesk_vector2 e1 = triangle.corners[1] - triangle.corners[0];
    const vesk_vector2 e2 = triangle.corners[2] - triangle.corners[0];
    if (e1.x * e2.y < e1.y * e2.x)
        std::swap(triangle.corners[1], triangle.corners[2]);
}

/// Marks the triangles that stand in a node or below it.
void mark_held(const vesk_uv_lookup_node_s *node, std::vector<char> &held)
{
    if (!node)
        return;
    for (unsigned int i = 0; i < node->triangles.count; ++i)
    {
        const unsigned int triangle = node->triangles.data[i]->record_offset / 7;
        if (triangle < held.size())
            held[triangle] = 1;
    }
    for (const vesk_uv_lookup_node_s *child : node->children)
        mark_held(child, held);
}

/// Corner c of triangle t in the quadtree's raster, which has three of them a triangle.
bool raster_corner(const vesk_mesh &mesh, std::size_t t, unsigned int c, vesk_vector2 &corner)
{
    const std::size_t at = t * 3 + c;
    if (at >= mesh.uv_lookup_vertex_count)
        return false;
    corner = vesk_vector2(mesh.uv_lookup_vertex_array[at].x, mesh.uv_lookup_vertex_array[at].z);
    return true;
}

/// The same in the unit square, with V upwards.
bool channel_corner(const vesk_mesh &mesh, std::size_t t, unsigned int c, vesk_vector2 &corner)
{
    const unsigned int uv = mesh.index_array[t * 7 + 3 + c];
    if (!mesh.uv_array || uv >= mesh.uv_count)
        return false;
    corner = vesk_vector2(mesh.uv_array[uv].x, 1.0f - mesh.uv_array[uv].y) * unit_square_size;
    return true;
}

subset_triangles triangles_by_subset(const vesk_mesh &mesh)
{
    const auto corner_of = mesh.uv_lookup_root ? raster_corner : channel_corner;
    const std::vector<int> subset_of = vesk_debug_subset_of_triangle(mesh);
    std::vector<char> drawn(subset_of.size(), !mesh.uv_lookup_root);
    mark_held(mesh.uv_lookup_root, drawn);
    subset_triangles triangles;
    for (std::size_t t = 0; t < subset_of.size(); ++t)
    {
        flat_triangle triangle;
        bool complete = drawn[t] != 0;
        for (unsigned int c = 0; c < 3; ++c)
            complete = complete && corner_of(mesh, t, c, triangle.corners[c]);
        if (!complete || !is_finite(triangle))
            continue;
        turn_one_way(triangle);
        triangles[subset_of[t]].push_back(triangle);
    }
    return triangles;
}

void gather_rectangles(const vesk_uv_lookup_node_s *node, unsigned int depth, unsigned int deepest,
                       depth_rectangles &rectangles)
{
    if (!node)
        return;
    if (rectangles.size() <= depth)
        rectangles.resize(depth + std::size_t{1});
    rectangles[depth].push_back(node->bounding_rect);
    if (depth == deepest)
        return;
    for (const vesk_uv_lookup_node_s *child : node->children)
        gather_rectangles(child, depth + 1, deepest, rectangles);
}

void write_triangles(vesk_text_file &file, const subset_triangles &triangles)
{
    static const char *const tones[] = {"#db8c5c", "#73a1b8", "#d4c285", "#8fad73", "#b88aa8"};
    file << "<g stroke=\"#303030\" stroke-opacity=\"0.35\" fill-opacity=\"0.6\">\n";
    for (const auto &[subset, members] : triangles)
    {
        const char *tone = subset < 0 ? "#b3b3b3" : tones[subset % 5];
        file << "<path id=\"subset_" << subset << "\" fill=\"" << tone << "\" d=\"";
        for (const flat_triangle &triangle : members)
            file << "M" << triangle.corners[0] << "L" << triangle.corners[1] << " "
                 << triangle.corners[2] << "Z\n";
        file << "\"/>\n";
    }
    file << "</g>\n";
}

void write_rectangles(vesk_text_file &file, const depth_rectangles &rectangles)
{
    file << "<g fill=\"none\">\n";
    for (std::size_t depth = 0; depth < rectangles.size(); ++depth)
    {
        const vesk_debug_color &color = vesk_debug_depth_color(static_cast<unsigned int>(depth));
        file << "<path id=\"depth_" << depth << "\" stroke=\"rgb(" << color.red << ","
             << color.green << "," << color.blue << ")\" d=\"";
        for (const vesk_quadtree_aa_bounding_rect_s &rect : rectangles[depth])
            file << "M" << rect.min << "H" << rect.max.x << "V" << rect.max.y << "H" << rect.min.x
                 << "Z\n";
        file << "\"/>\n";
    }
    file << "</g>\n";
}

void write_layout(const vesk_mesh &mesh, unsigned int deepest, vesk_text_file &file)
{
    // Texel centres lie on whole numbers, so the raster begins half a texel before them; the root
    // rectangle ends a little later than the raster.
    const bool has_raster = mesh.uv_lookup_root != nullptr;
    const float low = has_raster ? -0.5f : 0.0f;
    const float width =
        has_raster ? static_cast<float>(mesh.uv_lookup_width) + 1.0f : unit_square_size;
    const float height =
        has_raster ? static_cast<float>(mesh.uv_lookup_height) + 1.0f : unit_square_size;
    file << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"" << low << " " << low << " "
         << width << " " << height << "\" stroke-linejoin=\"round\">\n"
         << "<style>path{vector-effect:non-scaling-stroke;stroke-width:0.7px}</style>\n"
         << "<rect x=\"" << low << "\" y=\"" << low << "\" width=\"" << width << "\" height=\""
         << height << "\" fill=\"#ffffff\"/>\n";
    write_triangles(file, triangles_by_subset(mesh));
    depth_rectangles rectangles;
    gather_rectangles(mesh.uv_lookup_root, 0, deepest, rectangles);
    write_rectangles(file, rectangles);
    file << "</svg>\n";
}
} // namespace

int vesk_debug_write_uv_layout(const vesk_mesh &mesh, unsigned int deepest, const wchar_t *path)
{
    return vesk_write_text(path, [&mesh, deepest](vesk_text_file &file)
                           { write_layout(mesh, deepest, file); });
}
