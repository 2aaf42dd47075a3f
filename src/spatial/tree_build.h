#pragma once

#include "spatial/block_stack.h"
#include "spatial/child_lists.h"
#include "spatial/rising_order.h"
#include "spatial/subset_gather.h"
#include "spatial/tree_overlaps.h"
#include "spatial/tree_storage.h"

#include <cstdint>

/// The builder of both trees.
///
/// `Tree` names the records (`node`, `box`), the number of children (`child_count`) and whether
/// boxes and triangles are flat (`is_flat`); it says how a box is split (`split`), where a node
/// keeps it (`box_of`), how boxes are given to the fast tests (`octants_of`, `is_tame`,
/// `lay_grid`), and has the plain test (`overlaps`). A tree object gives a triangle's record
/// (`record_of`) and its corners (`corners_of`), and where the corners of all triangles lie side by
/// side, if they do (`corners_by_number`).
///
/// **One node.** All triangles of the node's list are tested against the child boxes, which leaves
/// a byte of overlaps for each. From these bytes it is known at once which children there will be,
/// and which triangles stay with the node, in the order in which they rise: by the lowest of their
/// children that gets no node, then by place in the list. So the node and its list are taken in one
/// piece before its children are built, which is the order in which a walk reads them. A child's
/// list is written when its turn comes.
///
/// **Surprises.** When a child that was expected doesn't come, because a poll stopped it or memory
/// was short, the list is formed again from the bytes; a stop cuts it off.
///
/// **Memory.** Nodes and lists come from one block stack, everything temporary from another. What
/// makes a node impossible, be it the node, its list or its temporary memory, makes it absent as a
/// whole, with all below it: its triangles stay with the parent, and none is ever lost. Without a
/// root there is no tree.
///
/// **Nearness.** The first nodes on a way down with few enough triangles are settled: what the
/// tests read of these triangles is brought together, and the lists below name places in that set.
/// Where the corners of all triangles lie together from the start, all are settled as they are.
///
/// **Depth.** Levels lie on the scratch, not on the machine's stack. A level costs its node, about
/// 350 bytes and five bytes for each triangle of its list; nothing but the depth that is asked for
/// bounds them.
template <typename Tree> class vesk_tree_builder
{
public:
    using node = typename Tree::node;
    using box = typename Tree::box;
    using node_place = typename vesk_overlap_finder<Tree>::place;
    using triangle_set = typename vesk_overlap_finder<Tree>::triangle_set;

    /// @param new_tree stays alive
    /// @param new_root_box the box of the root
    /// @param triangle_count triangles of the mesh
    /// @param new_callback null, or polled: non-zero stops
    vesk_tree_builder(const Tree &new_tree, const box &new_root_box, std::uint32_t triangle_count,
                      int (*new_callback)(void))
        : tree(new_tree)
        , root_box(new_root_box)
        , cancel_callback(new_callback)
        , nodes(first_node_bytes(triangle_count))
        , scratch(first_scratch_bytes(triangle_count))
        , overlap_finder(new_tree, new_root_box)
        , triangles()
        , pick_list(vesk_pick_list_picker())
        , rising(scratch)
    {
    }
    ~vesk_tree_builder()
    {
        scratch.release();
    }
    vesk_tree_builder(const vesk_tree_builder &) = delete;
    vesk_tree_builder &operator=(const vesk_tree_builder &) = delete;

    /// A root that holds all triangles of a mesh, or null.
    node *build_small(std::uint32_t triangle_count)
    {
        node *root = nodes.take_node(triangle_count);
        if (!root)
            return nullptr;
        Tree::box_of(*root) = root_box;
        for (std::uint32_t t = 0; t < triangle_count; ++t)
            root->triangles.data[t] = tree.record_of(t);
        nodes.finish();
        return root;
    }

    /// Gathers what the tree is to be built over, as `vesk_gather_triangles`; false when that is
    /// nothing.
    bool gather(std::uint32_t triangle_count, const vesk_list<unsigned int> &table,
                const vesk_list<unsigned int> *subsets)
    {
        triangles = vesk_gather_triangles(triangle_count, table, subsets, scratch);
        return triangles.count != 0;
    }

    /// The root of the tree over what was gathered, or null.
    node *build(int depth)
    {
        rising.expect(triangles);
        if (depth >= 0)
            overlap_finder.lay_grid(static_cast<unsigned int>(depth) + 1);

        triangle_set all;
        const triangle_set *set =
            overlap_finder.settle_in_place(triangles, scratch, all) ? &all : nullptr;

        level *top = open(nullptr, {triangles.data, triangles.count}, set, overlap_finder.root(),
                          depth, scratch.here());
        node *made = nullptr;
        while (top)
        {
            if (level *child = open_next_child(*top))
            {
                top = child;
                continue;
            }
            made = close(*top);
            level *parent = top->parent;
            scratch.rewind(top->before);
            if (parent)
                parent->made->children[parent->next_child - 1] = made;
            top = parent;
        }
        if (made)
            nodes.finish();
        return made;
    }

private:
    static constexpr unsigned int child_count = Tree::child_count;
    static constexpr unsigned int all_children = (1u << child_count) - 1;
    static constexpr std::uint32_t fewest_triangles = 3;
    // A set of so many stays in a processor's own memory: 56 bytes each.
    static constexpr std::uint32_t most_settled = 32768;

    // A node under construction.
    struct level
    {
        level *parent;
        vesk_block_stack::mark before; // where the scratch stood
        vesk_block_stack::mark before_node;
        node *made;
        vesk_number_list list;
        const triangle_set *set; // in which the list names places; null for numbers
        triangle_set own_set;
        std::uint8_t *overlaps;       // of each triangle, a bit for each child box
        std::uint32_t child_lists[8]; // their lengths
        unsigned int expected;        // the children that are to come
        unsigned int next_child;
        int depth;
        bool is_stopped;
        vesk_grid_box cells;
        box boxes[child_count];
    };

    const Tree &tree;
    const box root_box;
    int (*cancel_callback)(void);
    vesk_own_tree<node> nodes;
    vesk_block_stack scratch;
    vesk_overlap_finder<Tree> overlap_finder;
    vesk_triangle_numbers triangles;
    const vesk_list_picker pick_list;
    vesk_rising_order rising;

    // A node and its list take about 30 bytes for each triangle; small trees fit in one block.
    static std::size_t first_node_bytes(std::uint32_t triangle_count)
    {
        return triangle_count < 512 ? std::size_t{triangle_count} * 32 : 16384;
    }

    // The root's list, its bytes, and the lists of one line of nodes below it.
    static std::size_t first_scratch_bytes(std::uint32_t triangle_count)
    {
        return std::size_t{triangle_count} * 8 + 1024;
    }

    bool poll() const
    {
        return cancel_callback && cancel_callback();
    }

    // Begins a node, or gives null when there is none to be. `before` is where the scratch goes
    // back to afterwards.
    level *open(level *parent, const vesk_number_list &list, const triangle_set *set,
                const node_place &at, int depth, const vesk_block_stack::mark &before)
    {
        level *opened = nullptr;
        if (!poll() && depth >= 0 && list.count >= fewest_triangles && list.data)
            opened = scratch.template take_array<level>(1);
        if (opened)
        {
            ::new (static_cast<void *>(opened)) level;
            opened->parent = parent;
            opened->before = before;
            opened->before_node = nodes.here();
            opened->list = list;
            opened->set = set;
            if (!opened->set && list.count <= most_settled)
                settle(*opened, at);
            opened->overlaps = scratch.template take_array<std::uint8_t>(std::size_t{list.count} +
                                                                         vesk_list_slack);
            opened->next_child = 0;
            opened->depth = depth;
            opened->is_stopped = false;
            opened->cells = at.cells;
            Tree::split(at.space, opened->boxes);
            if (!opened->overlaps || !begin_node(*opened, at))
                opened = nullptr;
        }
        if (!opened)
            scratch.rewind(before);
        return opened;
    }

    bool begin_node(level &at, const node_place &where)
    {
        overlap_finder.find(at.list, at.set, where, at.overlaps);
        vesk_count_members(at.overlaps, at.list.count, at.child_lists);
        at.expected = 0;
        for (unsigned int child = 0; at.depth > 0 && child < child_count; ++child)
            if (at.child_lists[child] >= fewest_triangles)
                at.expected |= 1u << child;

        const vesk_block_stack::mark before_list = scratch.here();
        vesk_number_list staying = {nullptr, 0};
        at.made = nullptr;
        if (find_risen(at, all_children & ~at.expected, staying))
            at.made = take_node(where.space, staying);
        scratch.rewind(before_list);
        return at.made;
    }

    // From here on down the list names places in a set of its own. Without memory for that, or for
    // the time being, it goes on with numbers.
    void settle(level &at, const node_place &where)
    {
        const vesk_block_stack::mark before = scratch.here();
        std::uint32_t *places = scratch.template take_array<std::uint32_t>(
            std::size_t{at.list.count} + vesk_list_slack);
        if (!places ||
            !overlap_finder.settle(at.list.data, at.list.count, where, scratch, at.own_set))
        {
            scratch.rewind(before);
            return;
        }
        for (std::uint32_t i = 0; i < at.list.count; ++i)
            places[i] = i;
        at.list.data = places;
        at.set = &at.own_set;
    }

    // A node at the full depth without a callback: it has no children, and nothing but the order of
    // its own triangles shows, in which each comes with its lowest child. Null when memory is
    // short.
    node *build_leaf(const vesk_number_list &list, const triangle_set *set, const node_place &at)
    {
        const vesk_block_stack::mark before = scratch.here();
        node *made = nullptr;
        vesk_number_list staying = {nullptr, 0};
        std::uint8_t *overlaps = scratch.template take_array<std::uint8_t>(list.count);
        if (overlaps)
        {
            overlap_finder.find_lowest(list, set, at, overlaps);
            if (rising.find(list, numbers_of(set), overlaps, all_children, staying))
                made = take_node(at.space, staying);
        }
        scratch.rewind(before);
        return made;
    }

    static const std::uint32_t *numbers_of(const triangle_set *set)
    {
        return set ? set->numbers : nullptr;
    }

    node *take_node(const box &space, const vesk_number_list &list)
    {
        node *made = nodes.take_node(list.count);
        if (made)
        {
            Tree::box_of(*made) = space;
            write_records(*made, list);
        }
        return made;
    }

    // Goes on to the next child that opens; null when there is none left or a poll stopped.
    level *open_next_child(level &at)
    {
        while (!at.is_stopped && at.next_child < child_count)
        {
            if (poll())
            {
                at.is_stopped = true;
                break;
            }
            const unsigned int child = at.next_child++;
            if (!at.child_lists[child])
                continue;
            const vesk_block_stack::mark before = scratch.here();
            vesk_number_list list = {nullptr, 0};
            if (at.expected >> child & 1)
                list = write_child_list(at, child);
            const node_place below = {at.boxes[child], at.cells.octant(child)};
            if (at.depth == 1 && !cancel_callback)
            {
                at.made->children[child] = list.data ? build_leaf(list, at.set, below) : nullptr;
                scratch.rewind(before);
                continue;
            }
            if (level *opened = open(&at, list, at.set, below, at.depth - 1, before))
                return opened;
        }
        return nullptr;
    }

    vesk_number_list write_child_list(const level &at, unsigned int child)
    {
        const std::uint32_t count = at.child_lists[child];
        std::uint32_t *numbers =
            scratch.template take_array<std::uint32_t>(std::size_t{count} + vesk_list_slack);
        if (!numbers)
            return {nullptr, 0};
        pick_list(at.list.data, at.overlaps, at.list.count, child, numbers);
        return {numbers, count};
    }

    // Ends a node whose children are done. Null when the list that it needs in the end cannot be
    // had: then all of it is given back.
    node *close(level &at)
    {
        unsigned int absent = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (!at.made->children[child])
                absent |= 1u << child;

        unsigned int done = at.is_stopped ? 0 : child_count;
        for (unsigned int child = 0; child < done; ++child)
            if (poll())
                done = child;
        const bool is_cut = done < child_count;
        const unsigned int risen_children = absent & ((1u << done) - 1);
        if (!is_cut && risen_children == (all_children & ~at.expected))
            return at.made;

        vesk_number_list risen = {nullptr, 0};
        const bool is_known = find_risen(at, risen_children, risen);
        const std::uint32_t capacity = is_cut ? doubled_capacity(risen.count) : risen.count;
        if (!is_known || !nodes.take_list(*at.made, risen.count, capacity))
        {
            nodes.rewind(at.before_node);
            return nullptr;
        }
        write_records(*at.made, risen);
        return at.made;
    }

    // What pushing one by one leaves behind.
    static std::uint32_t doubled_capacity(std::uint32_t count)
    {
        std::uint32_t capacity = count ? 1 : 0;
        while (capacity < count)
            capacity *= 2;
        return capacity;
    }

    // The triangles that rise into the node when the given children are absent: in the order of
    // these children, then of the list, each once. False when memory is short.
    bool find_risen(const level &at, unsigned int absent, vesk_number_list &risen)
    {
        // gcc 12 under -fsanitize=undefined gets a shifted condition wrong here, so this is an if.
        unsigned int occupied = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (at.child_lists[child])
                occupied |= 1u << child;
        if (occupied & absent)
            return rising.find(at.list, numbers_of(at.set), at.overlaps, absent, risen);
        risen = {nullptr, 0};
        return true;
    }

    void write_records(node &to, const vesk_number_list &from) const
    {
        for (std::uint32_t i = 0; i < from.count; ++i)
            to.triangles.data[i] = tree.record_of(from.data[i]);
    }
};
