#pragma once

#include "foundation/alloc.h"

#include <new>

/// A node of an own tree, or null.
template <typename Node> Node *vesk_new_tree_node()
{
    Node *storage = vesk_alloc_array<Node>(1);
    return storage ? ::new (static_cast<void *>(storage)) Node : nullptr;
}

/// Releases an own tree; null is none.
template <typename Node> void vesk_free_tree(Node *root)
{
    if (!root)
        return;
    for (Node *child : root->children)
        vesk_free_tree(child);
    root->~Node();
    vesk_free_array(root);
}

/// The sum of `get_size_bytes` over the tree; 0 for none.
template <typename Node> unsigned int vesk_tree_size_bytes(const Node *root)
{
    if (!root)
        return 0;
    unsigned int bytes = root->get_size_bytes();
    for (const Node *child : root->children)
        bytes += vesk_tree_size_bytes(child);
    return bytes;
}
