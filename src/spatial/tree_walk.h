#pragma once

/// @file
/// The walk over a tree, the same for both trees: a node's own triangles first, then the children
/// that the query reaches, in index order, depth first.

/// Nodes that wait in one stretch of a walk: enough for any tree that pays off. A deeper one goes
/// on in a further stretch. Each stretch costs the calling thread's stack about 4 KB and takes at
/// least 70 levels of an octree, which leave at most seven nodes waiting on each.
inline constexpr unsigned int vesk_pending_capacity = 500;

/// Visits a node that the query reaches, and what it reaches below. Never allocates.
///
/// `query.visit(node)` takes a node and ends the walk by answering true.
/// `query.reach(node, reached)` writes the children that the query reaches, the last one first,
/// which is how they lie on a stack, and returns their number.
template <typename Node, typename Query> bool vesk_walk_reached(const Node &root, Query &query)
{
    constexpr unsigned int child_count = sizeof(root.children) / sizeof(root.children[0]);
    const Node *pending[vesk_pending_capacity];
    unsigned int pending_count = 0;
    pending[pending_count++] = &root;
    while (pending_count > 0)
    {
        const Node &node = *pending[--pending_count];
        if (query.visit(node))
            return true;
        if (pending_count + child_count <= vesk_pending_capacity)
        {
            pending_count += query.reach(node, pending + pending_count);
            continue;
        }

        const Node *reached[child_count];
        for (unsigned int i = query.reach(node, reached); i-- > 0;)
            if (vesk_walk_reached(*reached[i], query))
                return true;
    }
    return false;
}
