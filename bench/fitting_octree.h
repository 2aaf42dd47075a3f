#pragma once

#include "vesk/mesh.h"

struct octree_counts
{
    unsigned int holders = 0; ///< nodes that hold triangles
    unsigned int references = 0;

    void add(const vesk_octree_node_s &node)
    {
        holders += node.triangles.count != 0;
        references += node.triangles.count;
        for (const vesk_octree_node_s *child : node.children)
            if (child)
                add(*child);
    }
};

/// Builds the octree with the least depth at which nodes that hold triangles hold 16 at most on
/// average, and gives that depth.
inline unsigned int build_fitting_octree(vesk_mesh &mesh)
{
    for (unsigned int depth = 3;; ++depth)
    {
        mesh.generate_octree(depth, nullptr, nullptr);
        octree_counts counts;
        counts.add(*mesh.octree);
        if (counts.references <= 16 * counts.holders)
            return depth;
    }
}
