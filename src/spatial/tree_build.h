#pragma once

#include "spatial/tree_storage.h"
#include "vesk/mesh.h"

/// Building and releasing, one way for both trees. `Tree` names the records (`node`, `box`,
/// `triangle`), the number of children, and how a box is split (`split`), stored (`space_of`) and
/// met by a triangle (`overlaps`).
template <typename Tree> class vesk_tree_builder
{
public:
    using node = typename Tree::node;
    using box = typename Tree::box;
    using triangle = typename Tree::triangle;

    vesk_tree_builder(const Tree &new_tree, int (*new_callback)(void))
        : tree(new_tree)
        , cancel_callback(new_callback)
    {
    }

    /// The node of the triangles of `list` in `space`, or null.
    node *build(const vesk_list<triangle *> &list, const box &space, int depth) const
    {
        if (is_stopped() || depth < 0 || list.count < 3)
            return nullptr;
        node *made = vesk_new_tree_node<node>();
        if (!made)
            return nullptr;
        Tree::space_of(*made) = space;

        box spaces[Tree::child_count];
        vesk_list<triangle *> lists[Tree::child_count];
        Tree::split(space, spaces);
        distribute(list, spaces, lists);
        if (make_children(*made, spaces, lists, depth) && absorb(*made, lists) &&
            made->triangles.count)
            made->triangles.trim();
        return made;
    }

private:
    const Tree &tree;
    int (*cancel_callback)(void);

    bool is_stopped() const
    {
        return cancel_callback && cancel_callback();
    }

    void distribute(const vesk_list<triangle *> &list, const box *spaces,
                    vesk_list<triangle *> *lists) const
    {
        for (unsigned int t = 0; t < list.count; ++t)
            for (unsigned int child = 0; child < Tree::child_count; ++child)
                if (tree.overlaps(*list.data[t], spaces[child]))
                    lists[child].push_back(list.data[t]);
    }

    bool make_children(node &parent, const box *spaces, vesk_list<triangle *> *lists,
                       int depth) const
    {
        for (unsigned int child = 0; child < Tree::child_count; ++child)
        {
            if (is_stopped())
                return false;
            if (!lists[child].count)
                continue;
            lists[child].trim();
            parent.children[child] = build(lists[child], spaces[child], depth - 1);
        }
        return true;
    }

    bool absorb(node &parent, const vesk_list<triangle *> *lists) const
    {
        for (unsigned int child = 0; child < Tree::child_count; ++child)
        {
            if (is_stopped())
                return false;
            if (parent.children[child])
                continue;
            for (unsigned int t = 0; t < lists[child].count; ++t)
                if (!holds(parent.triangles, lists[child].data[t]))
                    parent.triangles.push_back(lists[child].data[t]);
        }
        return true;
    }

    static bool holds(const vesk_list<triangle *> &list, const triangle *wanted)
    {
        for (unsigned int t = 0; t < list.count; ++t)
            if (list.data[t] == wanted)
                return true;
        return false;
    }
};
