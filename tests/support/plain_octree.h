#pragma once

#include "support/plain_triangle_box.h"
#include "vesk/mesh.h"

#include <new>

/// @file
/// The octree built in the plainest form: nodes from the heap, eight lists that grow by pushing,
/// a linear search for each reference that rises. Tests hold the library's trees against these to
/// the bit, and benchmarks its speed.

namespace plain
{
using octree_list = vesk_list<vesk_octree_triangle_s *>;

inline void split_into_eight(const vesk_octree_aa_bounding_box_s &box,
                             vesk_octree_aa_bounding_box_s *children)
{
    const vesk_vector3 half = (box.max - box.min) * 0.5f;
    for (unsigned int i = 0; i < 8; ++i)
    {
        children[i].min = box.min;
        if (i & 1)
            children[i].min.x = box.min.x + half.x;
        if (i & 2)
            children[i].min.z = box.min.z + half.z;
        if (i & 4)
            children[i].min.y = box.min.y + half.y;
        children[i].max = children[i].min + half;
    }
}

template <typename List, typename Element> bool holds(const List &list, const Element *wanted)
{
    for (unsigned int i = 0; i < list.count; ++i)
        if (list[i] == wanted)
            return true;
    return false;
}

inline vesk_octree_node_s *build_octree_node(const vesk_3d_vertex_s *vertices,
                                             const octree_list &list,
                                             const vesk_octree_aa_bounding_box_s &box, int depth,
                                             int (*cancel_callback)(void))
{
    if (cancel_callback && cancel_callback())
        return nullptr;
    if (depth < 0 || list.count < 3)
        return nullptr;

    vesk_octree_aa_bounding_box_s boxes[8];
    split_into_eight(box, boxes);
    vesk_octree_node_s *node = new (std::nothrow) vesk_octree_node_s;
    if (!node)
        return nullptr;
    node->box = box;

    octree_list lists[8];
    for (unsigned int t = 0; t < list.count; ++t)
        for (unsigned int i = 0; i < 8; ++i)
        {
            const vesk_vector3 half = (boxes[i].max - boxes[i].min) * 0.5f;
            const vesk_vector3 centre = boxes[i].min + half;
            const vesk_vector3 corners[3] = {vertices[list[t]->vertex_indices[0]].position,
                                             vertices[list[t]->vertex_indices[1]].position,
                                             vertices[list[t]->vertex_indices[2]].position};
            if (triangle_box_overlap(centre, half, corners))
                lists[i].push_back(list[t]);
        }

    for (unsigned int i = 0; i < 8; ++i)
    {
        if (cancel_callback && cancel_callback())
            return node;
        if (lists[i].count == 0)
            continue;
        lists[i].trim();
        node->children[i] =
            build_octree_node(vertices, lists[i], boxes[i], depth - 1, cancel_callback);
    }

    for (unsigned int i = 0; i < 8; ++i)
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

/// The root that `vesk_mesh::generate_octree` gives the mesh, or null where it gives none.
inline vesk_octree_node_s *build_octree(const vesk_mesh &mesh, unsigned int max_depth,
                                        const vesk_list<unsigned int> *subsets,
                                        int (*cancel_callback)(void))
{
    auto *records = reinterpret_cast<vesk_octree_triangle_s *>(mesh.index_array);
    const unsigned int triangle_count = mesh.index_count / 7;
    const vesk_vector3 margin(0.01f, 0.01f, 0.01f);
    vesk_octree_aa_bounding_box_s box;
    box.min = mesh.bounding_box_min - margin;
    box.max = mesh.bounding_box_max + margin;

    octree_list list;
    if (!subsets || mesh.index_count < 21)
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

    if (mesh.index_count >= 21)
        return build_octree_node(mesh.vertex_array, list, box, static_cast<int>(max_depth),
                                 cancel_callback);
    vesk_octree_node_s *root = new (std::nothrow) vesk_octree_node_s;
    root->box = box;
    root->triangles = list;
    return root;
}

/// Releases a tree of plain nodes, of either kind; null is none.
template <typename Node> void free_tree(Node *node)
{
    if (!node)
        return;
    for (Node *child : node->children)
        free_tree(child);
    delete node;
}
} // namespace plain
