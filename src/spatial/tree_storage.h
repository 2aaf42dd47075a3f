#pragma once

#include "spatial/block_stack.h"
#include "spatial/tree_walk.h"
#include "vesk/list.h"

#include <cstdint>
#include <new>
#include <type_traits>

/// @file
/// Where the nodes of an own tree and their lists live: in the blocks of one block stack, whose
/// first piece is the root. So the head of the first block stands right in front of the root, and
/// from there the whole tree is released in a few steps, however deep it is.
///
/// Such nodes are never destroyed and their lists never released one by one. Trees that a host
/// builds from nodes of its own are not of this kind: a mesh borrows them.

/// The nodes of a tree under construction. Released unless `finish` was called.
template <typename Node> class vesk_own_tree
{
public:
    using element = typename std::remove_pointer<decltype(Node::triangles.data)>::type;

    explicit vesk_own_tree(std::size_t first_bytes) : blocks(first_bytes) {}
    ~vesk_own_tree()
    {
        blocks.release();
    }
    vesk_own_tree(const vesk_own_tree &) = delete;
    vesk_own_tree &operator=(const vesk_own_tree &) = delete;

    /// A new node with room for exactly `count` triangles behind it, declared used; or null. The
    /// first one is the root.
    Node *take_node(std::uint32_t count)
    {
        static_assert(sizeof(Node) % alignof(element) == 0, "the list follows the node");
        void *piece = count > (PTRDIFF_MAX - sizeof(Node)) / sizeof(element)
                          ? nullptr
                          : blocks.take(sizeof(Node) + sizeof(element) * count);
        if (!piece)
            return nullptr;
        Node *made = ::new (piece) Node;
        set_list(*made, reinterpret_cast<element *>(made + 1), count, count);
        return made;
    }

    /// Gives the node another list, with a capacity of its own; false when memory is short.
    bool take_list(Node &of, std::uint32_t count, std::uint32_t capacity)
    {
        element *list = capacity ? blocks.template take_array<element>(capacity) : nullptr;
        if (capacity && !list)
            return false;
        set_list(of, list, count, capacity);
        return true;
    }

    vesk_block_stack::mark here() const
    {
        return blocks.here();
    }

    void rewind(const vesk_block_stack::mark &to)
    {
        blocks.rewind(to);
    }

    /// Leaves everything to the root.
    void finish()
    {
        blocks.trim();
        blocks.hand_on();
    }

private:
    vesk_block_stack blocks;

    static void set_list(Node &of, element *data, std::uint32_t count, std::uint32_t capacity)
    {
        of.triangles.data = capacity ? data : nullptr;
        of.triangles.size = capacity;
        of.triangles.count = count;
    }
};

/// Releases an own tree; null is none.
template <typename Node> void vesk_free_own_tree(Node *root)
{
    if (root)
        vesk_block_stack::release_chain(
            reinterpret_cast<vesk_block_stack::block *>(static_cast<void *>(root)) - 1);
}

/// The sum of `get_size_bytes` over a tree of any kind; 0 for none.
template <typename Node> unsigned int vesk_tree_size_bytes(const Node *root)
{
    struct size_query
    {
        unsigned int bytes = 0;

        bool visit(const Node &node)
        {
            bytes += node.get_size_bytes();
            return false;
        }

        unsigned int reach(const Node &node, const Node **reached) const
        {
            unsigned int count = 0;
            for (const Node *child : node.children)
                if (child)
                    reached[count++] = child;
            return count;
        }
    };
    size_query query;
    if (root)
        vesk_walk_reached(*root, query);
    return query.bytes;
}
