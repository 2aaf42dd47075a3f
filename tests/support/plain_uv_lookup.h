#pragma once

#include "support/plain_octree.h"

/// @file
/// The quadtree of the UV lookup built in the plainest form.

namespace plain
{
using uv_lookup_list = vesk_list<vesk_uv_lookup_triangle_s *>;

/// Raster corners and lookup records of a mesh, into arrays that have room for them.
inline void fill_raster(const vesk_mesh &mesh, unsigned int width, unsigned int height,
                        vesk_vector3 *corners, unsigned int *records)
{
    const float w = static_cast<float>(width), h = static_cast<float>(height);
    for (unsigned int i = 0; i < mesh.index_count / 7 * 7; i += 7)
    {
        for (unsigned int c = 0; c < 3; ++c)
        {
            const unsigned int corner = i / 7 * 3 + c;
            const vesk_vector2 &uv = mesh.uv_array[mesh.index_array[i + 3 + c]];
            corners[corner].x = uv.x * w - 0.5f;
            corners[corner].y = 0.0f;
            corners[corner].z = h - uv.y * h - 0.5f;
            records[i + c] = corner;
            records[i + 3 + c] = mesh.index_array[i + 3 + c];
        }
        records[i + 6] = i;
    }
}

inline void split_into_four(const vesk_quadtree_aa_bounding_rect_s &rect,
                            vesk_quadtree_aa_bounding_rect_s *out)
{
    const vesk_vector2 half = (rect.max - rect.min) * 0.5f;
    out[0].min = vesk_vector2(rect.min.x, rect.min.y);
    out[1].min = vesk_vector2(rect.min.x + half.x, rect.min.y);
    out[2].min = vesk_vector2(rect.min.x, rect.min.y + half.y);
    out[3].min = vesk_vector2(rect.min.x + half.x, rect.min.y + half.y);
    for (unsigned int i = 0; i < 4; ++i)
        out[i].max = out[i].min + half;
}

inline vesk_uv_lookup_node_s *build_uv_lookup_node(const vesk_vector3 *corners,
                                                   const uv_lookup_list &list,
                                                   const vesk_quadtree_aa_bounding_rect_s &rect,
                                                   int depth, int (*cancel_callback)(void))
{
    if (cancel_callback && cancel_callback())
        return nullptr;
    if (depth < 0 || list.count < 3)
        return nullptr;

    vesk_quadtree_aa_bounding_rect_s rects[4];
    split_into_four(rect, rects);
    uv_lookup_list lists[4];
    vesk_uv_lookup_node_s *node = new (std::nothrow) vesk_uv_lookup_node_s;
    if (!node)
        return nullptr;
    node->bounding_rect = rect;

    for (unsigned int t = 0; t < list.count; ++t)
        for (unsigned int i = 0; i < 4; ++i)
        {
            const float hx = (rects[i].max.x - rects[i].min.x) * 0.5f;
            const float hy = (rects[i].max.y - rects[i].min.y) * 0.5f;
            const vesk_vector3 triangle[3] = {corners[list[t]->vertex_indices[0]],
                                              corners[list[t]->vertex_indices[1]],
                                              corners[list[t]->vertex_indices[2]]};
            if (triangle_box_overlap(vesk_vector3(rects[i].min.x + hx, 0.0f, rects[i].min.y + hy),
                                     vesk_vector3(hx, 0.5f, hy), triangle))
                lists[i].push_back(list[t]);
        }

    for (unsigned int i = 0; i < 4; ++i)
    {
        if (cancel_callback && cancel_callback())
            return node;
        if (lists[i].count == 0)
            continue;
        lists[i].trim();
        node->children[i] =
            build_uv_lookup_node(corners, lists[i], rects[i], depth - 1, cancel_callback);
    }

    for (unsigned int i = 0; i < 4; ++i)
    {
        if (cancel_callback && cancel_callback())
            return node;
        if (node->children[i])
            continue;
        for (unsigned int t = 0; t < lists[i].count; ++t)
            if (!holds(node->triangles, lists[i][t]))
                node->triangles.push_back(lists[i][t]);
    }
    if (node->triangles.count)
        node->triangles.trim();
    return node;
}

/// The root that `vesk_mesh::generate_uv_lookup_quadtree` gives a mesh, or null where it gives
/// none; raster size, corners and records are those that stand in the mesh.
inline vesk_uv_lookup_node_s *build_uv_lookup(const vesk_mesh &mesh, unsigned int max_depth,
                                              const vesk_list<unsigned int> *subsets,
                                              int (*cancel_callback)(void))
{
    auto *records = reinterpret_cast<vesk_uv_lookup_triangle_s *>(mesh.uv_lookup_index_array);
    const unsigned int triangle_count = mesh.uv_lookup_index_count / 7;
    vesk_quadtree_aa_bounding_rect_s rect;
    rect.min = vesk_vector2(-0.01f, -0.01f);
    rect.max = vesk_vector2(static_cast<float>(mesh.uv_lookup_width) + 0.01f,
                            static_cast<float>(mesh.uv_lookup_height) + 0.01f);

    uv_lookup_list list;
    if (!subsets || triangle_count < 3)
    {
        list.set_size(triangle_count);
        list.set_count_to_size();
        for (unsigned int t = 0; t < triangle_count; ++t)
            list[t] = records + t;
    }
    else
    {
        for (unsigned int i = 0; i < subsets->count; ++i)
        {
            const unsigned int s = (*subsets)[i];
            if (s >= mesh.get_subset_count())
                continue;
            for (unsigned int t = 0; t < mesh.subset_lookup_table[2 * s + 1]; ++t)
                list.push_back(records + mesh.subset_lookup_table[2 * s] / 7 + t);
        }
        list.trim();
    }

    if (triangle_count >= 3)
        return build_uv_lookup_node(mesh.uv_lookup_vertex_array, list, rect,
                                    static_cast<int>(max_depth), cancel_callback);
    vesk_uv_lookup_node_s *root = new (std::nothrow) vesk_uv_lookup_node_s;
    root->bounding_rect = rect;
    root->triangles = list;
    return root;
}
} // namespace plain
