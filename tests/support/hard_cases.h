#pragma once

#include "support/mesh_builder.h"
#include "support/plain_tree.h"

#include <cmath>
#include <memory>
#include <vector>

/// @file
/// Meshes that are hard on trees and queries, and trees over them that no builder of the library
/// made.

/// Of every kind, the last one with positions and UVs on a grid: rays run along its edges, and
/// sides of boxes through its corners.
inline std::vector<mesh_source> meshes_of_all_kinds(std::uint64_t seed, unsigned int triangle_count)
{
    std::vector<mesh_source> sources = {random_soup(seed, triangle_count),
                                        random_web(seed, triangle_count, triangle_count / 5 + 3),
                                        displaced_sphere(triangle_count),
                                        clustered(seed, triangle_count),
                                        degenerate(seed, triangle_count),
                                        nan_bearing(seed, triangle_count),
                                        random_web(seed, triangle_count, triangle_count / 2 + 3)};
    for (vesk_3d_vertex_s &vertex : sources.back().vertices)
        for (unsigned int axis = 0; axis < 3; ++axis)
            vertex.position[axis] = std::floor(vertex.position[axis] * 4.0f) / 4.0f;
    for (vesk_vector2 &uv : sources.back().channels[0].uvs)
        for (unsigned int axis = 0; axis < 2; ++axis)
            uv[axis] = (std::floor(uv[axis] * 16.0f) + 0.5f) / 16.0f;
    return sources;
}

/// A host's own tree, drawn by lot: boxes that fit, that lie anywhere, that are inside out; a
/// triangle in many nodes; lists read backwards.
template <typename Kind> class random_tree
{
public:
    using node = typename Kind::node;

    random_tree(test_random &new_random, const typename Kind::space &space,
                unsigned int *new_records, unsigned int new_record_count, unsigned int depth)
        : random(new_random)
        , records(new_records)
        , record_count(new_record_count)
    {
        root = draw_node(space, depth);
    }

    node *root;

private:
    test_random &random;
    unsigned int *records;
    unsigned int record_count;
    std::vector<std::unique_ptr<node>> nodes;

    node *draw_node(const typename Kind::space &space, unsigned int depth)
    {
        nodes.push_back(std::make_unique<node>());
        node *const drawn = nodes.back().get();
        Kind::space_of(*drawn) = space;
        for (unsigned int left = random.below(12); left > 0; --left)
            drawn->triangles.push_back(reinterpret_cast<typename Kind::triangle *>(
                records + random.below(record_count) * 7));
        drawn->triangles.reversed = random.below(4) == 0;
        for (unsigned int i = 0; depth > 0 && i < Kind::child_count; ++i)
            if (random.below(2))
                drawn->children[i] = draw_node(spoiled(Kind::child_of(space, i)), depth - 1);
        return drawn;
    }

    typename Kind::space spoiled(typename Kind::space space)
    {
        auto &side = random.below(2) ? space.min : space.max;
        if (random.below(4) == 0)
            side[random.below(sizeof(side) / sizeof(float))] =
                random.below(2) ? random.between(-1.0f, 1.0f) : random.odd();
        return space;
    }
};
