#pragma once

#include "support/plain_triangle_box.h"
#include "vesk/mesh.h"

#include <new>

/// @file
/// Both trees built in the plainest form: nodes from the heap, lists that grow by pushing, a linear
/// search for each reference that rises. Tests hold the library's trees against these to the bit,
/// and benchmarks its speed.

namespace plain
{
/// What the octree has of its own.
struct octree_kind
{
    using node = vesk_octree_node_s;
    using triangle = vesk_octree_triangle_s;
    using space = vesk_octree_aa_bounding_box_s;
    static constexpr unsigned int child_count = 8;

    const vesk_3d_vertex_s *vertices;

    vesk_vector3 corner(unsigned int index) const
    {
        return vertices[index].position;
    }
    static space &space_of(node &n)
    {
        return n.box;
    }
    static space child_of(const space &box, unsigned int i)
    {
        const vesk_vector3 half = (box.max - box.min) * 0.5f;
        space child;
        child.min = vesk_vector3(i & 1 ? box.min.x + half.x : box.min.x,
                                 i & 4 ? box.min.y + half.y : box.min.y,
                                 i & 2 ? box.min.z + half.z : box.min.z);
        child.max = child.min + half;
        return child;
    }
    static int overlaps(const space &box, const vesk_vector3 *corners)
    {
        const vesk_vector3 half = (box.max - box.min) * 0.5f;
        return triangle_box_overlap(box.min + half, half, corners);
    }
};

/// What the quadtree of the UV lookup has of its own; raster corners and records are those that the
/// library filled in.
struct quadtree_kind
{
    using node = vesk_uv_lookup_node_s;
    using triangle = vesk_uv_lookup_triangle_s;
    using space = vesk_quadtree_aa_bounding_rect_s;
    static constexpr unsigned int child_count = 4;

    const vesk_vector3 *corners;

    vesk_vector3 corner(unsigned int index) const
    {
        return corners[index];
    }
    static space &space_of(node &n)
    {
        return n.bounding_rect;
    }
    static space child_of(const space &rect, unsigned int i)
    {
        const vesk_vector2 half = (rect.max - rect.min) * 0.5f;
        space child;
        child.min = vesk_vector2(i & 1 ? rect.min.x + half.x : rect.min.x,
                                 i & 2 ? rect.min.y + half.y : rect.min.y);
        child.max = child.min + half;
        return child;
    }
    static int overlaps(const space &rect, const vesk_vector3 *triangle_corners)
    {
        const float hx = (rect.max.x - rect.min.x) * 0.5f, hy = (rect.max.y - rect.min.y) * 0.5f;
        return triangle_box_overlap(vesk_vector3(rect.min.x + hx, 0.0f, rect.min.y + hy),
                                    vesk_vector3(hx, 0.5f, hy), triangle_corners);
    }
};

template <typename Kind> using list_of = vesk_list<typename Kind::triangle *>;

template <typename List, typename Element> bool holds(const List &list, const Element *wanted)
{
    for (unsigned int i = 0; i < list.count; ++i)
        if (list[i] == wanted)
            return true;
    return false;
}

template <typename Kind> typename Kind::node *build_node(const Kind &kind,
                                                         const list_of<Kind> &list,
                                                         const typename Kind::space &space,
                                                         int depth, int (*cancel_callback)(void))
{
    if (cancel_callback && cancel_callback())
        return nullptr;
    if (depth < 0 || list.count < 3)
        return nullptr;

    auto *node = new (std::nothrow) typename Kind::node;
    if (!node)
        return nullptr;
    Kind::space_of(*node) = space;
    typename Kind::space spaces[Kind::child_count];
    list_of<Kind> lists[Kind::child_count];
    for (unsigned int i = 0; i < Kind::child_count; ++i)
        spaces[i] = Kind::child_of(space, i);
    for (unsigned int t = 0; t < list.count; ++t)
        for (unsigned int i = 0; i < Kind::child_count; ++i)
        {
            const vesk_vector3 corners[3] = {kind.corner(list[t]->vertex_indices[0]),
                                             kind.corner(list[t]->vertex_indices[1]),
                                             kind.corner(list[t]->vertex_indices[2])};
            if (Kind::overlaps(spaces[i], corners))
                lists[i].push_back(list[t]);
        }

    for (unsigned int i = 0; i < Kind::child_count; ++i)
    {
        if (cancel_callback && cancel_callback())
            return node;
        if (lists[i].count == 0)
            continue;
        lists[i].trim();
        node->children[i] = build_node(kind, lists[i], spaces[i], depth - 1, cancel_callback);
    }

    for (unsigned int i = 0; i < Kind::child_count; ++i)
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

template <typename Kind> typename Kind::node *
build_tree(const Kind &kind, const vesk_mesh &mesh, typename Kind::triangle *records,
           unsigned int triangle_count, const typename Kind::space &space, unsigned int max_depth,
           const vesk_list<unsigned int> *subsets, int (*cancel_callback)(void))
{
    list_of<Kind> list;
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
        return build_node(kind, list, space, static_cast<int>(max_depth), cancel_callback);
    auto *root = new (std::nothrow) typename Kind::node;
    Kind::space_of(*root) = space;
    root->triangles = list;
    return root;
}

/// The root that `vesk_mesh::generate_octree` gives the mesh, or null where it gives none.
inline vesk_octree_node_s *build_octree(const vesk_mesh &mesh, unsigned int max_depth,
                                        const vesk_list<unsigned int> *subsets,
                                        int (*cancel_callback)(void))
{
    const vesk_vector3 margin(0.01f, 0.01f, 0.01f);
    vesk_octree_aa_bounding_box_s box;
    box.min = mesh.bounding_box_min - margin;
    box.max = mesh.bounding_box_max + margin;
    return build_tree(octree_kind{mesh.vertex_array}, mesh,
                      reinterpret_cast<vesk_octree_triangle_s *>(mesh.index_array),
                      mesh.index_count / 7, box, max_depth, subsets, cancel_callback);
}

/// The root that `vesk_mesh::generate_uv_lookup_quadtree` gives a mesh, or null where it gives
/// none; raster size, corners and records are those that stand in the mesh.
inline vesk_uv_lookup_node_s *build_uv_lookup(const vesk_mesh &mesh, unsigned int max_depth,
                                              const vesk_list<unsigned int> *subsets,
                                              int (*cancel_callback)(void))
{
    vesk_quadtree_aa_bounding_rect_s rect;
    rect.min = vesk_vector2(-0.01f, -0.01f);
    rect.max = vesk_vector2(static_cast<float>(mesh.uv_lookup_width) + 0.01f,
                            static_cast<float>(mesh.uv_lookup_height) + 0.01f);
    return build_tree(quadtree_kind{mesh.uv_lookup_vertex_array}, mesh,
                      reinterpret_cast<vesk_uv_lookup_triangle_s *>(mesh.uv_lookup_index_array),
                      mesh.uv_lookup_index_count / 7, rect, max_depth, subsets, cancel_callback);
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
