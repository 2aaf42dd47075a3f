#pragma once

#include "spatial/block_stack.h"
#include "spatial/subset_gather.h"
#include "spatial/tree_overlaps.h"
#include "spatial/tree_storage.h"

#include <cstdint>
#include <cstring>

/// The builder of both trees.
///
/// `Tree` names the records (`node`, `box`), the number of children (`child_count`, `is_flat`), and
/// how a box is split (`split`), where a node keeps it (`box_of`) and how the boxes are given to
/// the fast test (`octants_of`, `is_tame`). A tree object gives a triangle's record (`record_of`),
/// its corners (`corners_of`), the plain test of it (`overlaps`), and whether the fast test can do
/// without a look at each triangle's size (`all_tame`).
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
/// **Depth.** Levels lie on the scratch, not on the machine's stack. A level costs its node, about
/// 300 bytes and five bytes for each triangle of its list; nothing but the depth that is asked for
/// bounds them.
template <typename Tree> class vesk_tree_builder
{
public:
    using node = typename Tree::node;
    using box = typename Tree::box;

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
        , stamps(nullptr)
        , stamp(0)
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
        if (triangles.may_repeat)
            take_stamps();

        level *top =
            open(nullptr, {triangles.data, triangles.count}, root_box, depth, scratch.here());
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

    struct number_list
    {
        std::uint32_t *data;
        std::uint32_t count;
    };

    // A node under construction.
    struct level
    {
        level *parent;
        vesk_block_stack::mark before; // where the scratch stood
        vesk_block_stack::mark before_node;
        node *made;
        number_list list;
        std::uint8_t *overlaps;                 // of each triangle, a bit for each child box
        std::uint32_t child_lists[child_count]; // their lengths
        unsigned int expected;                  // the children that are to come
        unsigned int next_child;
        int depth;
        bool is_stopped;
        box boxes[child_count];
    };

    const Tree &tree;
    const box root_box;
    int (*cancel_callback)(void);
    vesk_own_tree<node> nodes;
    vesk_block_stack scratch;
    vesk_overlap_finder<Tree> overlap_finder;
    vesk_triangle_numbers triangles;
    std::uint32_t *stamps; // of each triangle, the last list that took it
    std::uint32_t stamp;

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
    level *open(level *parent, const number_list &list, const box &space, int depth,
                const vesk_block_stack::mark &before)
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
            opened->overlaps = scratch.template take_array<std::uint8_t>(list.count);
            opened->next_child = 0;
            opened->depth = depth;
            opened->is_stopped = false;
            Tree::split(space, opened->boxes);
            if (!opened->overlaps || !begin_node(*opened, space))
                opened = nullptr;
        }
        if (!opened)
            scratch.rewind(before);
        return opened;
    }

    bool begin_node(level &at, const box &space)
    {
        overlap_finder.find(at.list.data, at.list.count, space, at.overlaps, nullptr);
        count_child_lists(at);
        at.expected = 0;
        for (unsigned int child = 0; at.depth > 0 && child < child_count; ++child)
            if (at.child_lists[child] >= fewest_triangles)
                at.expected |= 1u << child;

        const vesk_block_stack::mark before_list = scratch.here();
        number_list staying = {nullptr, 0};
        at.made = nullptr;
        if (find_risen(at, all_children & ~at.expected, staying))
            at.made = take_node(space, staying);
        scratch.rewind(before_list);
        return at.made;
    }

    // Eight counts side by side in one word, emptied before a byte can overflow.
    void count_child_lists(level &at) const
    {
        for (std::uint32_t &length : at.child_lists)
            length = 0;
        for (std::uint32_t begin = 0; begin < at.list.count;)
        {
            const std::uint32_t rest = at.list.count - begin;
            const std::uint32_t end = begin + (rest < 255 ? rest : 255);
            std::uint64_t counts = 0;
            for (std::uint32_t i = begin; i < end; ++i)
                counts += spread_bits.words[at.overlaps[i]];
            for (unsigned int child = 0; child < child_count; ++child)
                at.child_lists[child] += static_cast<std::uint32_t>(counts >> 8 * child & 255);
            begin = end;
        }
    }

    // A node at the full depth without a callback: it has no children, and nothing but the order of
    // its own triangles shows, in which each comes with its lowest child. Null when memory is
    // short.
    node *build_leaf(const number_list &list, const box &space)
    {
        const vesk_block_stack::mark before = scratch.here();
        node *made = nullptr;
        number_list staying = {nullptr, 0};
        std::uint8_t *overlaps =
            scratch.template take_array<std::uint8_t>(std::size_t{list.count} * 2);
        if (overlaps)
        {
            overlap_finder.find(list.data, list.count, space, overlaps, overlaps + list.count);
            if (find_risen(list, overlaps, all_children, staying))
                made = take_node(space, staying);
        }
        scratch.rewind(before);
        return made;
    }

    node *take_node(const box &space, const number_list &list)
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
            number_list list = {nullptr, 0};
            if (at.expected >> child & 1)
                list = write_child_list(at, child);
            if (at.depth == 1 && !cancel_callback)
            {
                at.made->children[child] = list.data ? build_leaf(list, at.boxes[child]) : nullptr;
                scratch.rewind(before);
                continue;
            }
            if (level *opened = open(&at, list, at.boxes[child], at.depth - 1, before))
                return opened;
        }
        return nullptr;
    }

    number_list write_child_list(const level &at, unsigned int child)
    {
        // One number more is written than the list has, whenever the last ones are left out.
        const std::uint32_t count = at.child_lists[child];
        std::uint32_t *numbers = scratch.template take_array<std::uint32_t>(count + std::size_t{1});
        if (!numbers)
            return {nullptr, 0};
        std::uint32_t *to = numbers;
        for (std::uint32_t i = 0; i < at.list.count; ++i)
        {
            *to = at.list.data[i];
            to += at.overlaps[i] >> child & 1;
        }
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

        number_list risen = {nullptr, 0};
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
    bool find_risen(const level &at, unsigned int absent, number_list &risen)
    {
        // gcc 12 under -fsanitize=undefined gets a shifted condition wrong here, so this is an if.
        unsigned int occupied = 0;
        for (unsigned int child = 0; child < child_count; ++child)
            if (at.child_lists[child])
                occupied |= 1u << child;
        if (occupied & absent)
            return find_risen(at.list, at.overlaps, absent, risen);
        risen = {nullptr, 0};
        return true;
    }

    // Sorts by the lowest absent child; what has none comes last and is left out.
    bool find_risen(const number_list &list, const std::uint8_t *overlaps, unsigned int absent,
                    number_list &risen)
    {
        risen.data = scratch.template take_array<std::uint32_t>(list.count);
        if (!risen.data)
            return false;
        std::uint32_t place[child_count + 1] = {};
        for (std::uint32_t i = 0; i < list.count; ++i)
            ++place[lowest_child(overlaps[i] & absent)];
        for (std::uint32_t child = 0, sum = 0; child <= child_count; ++child)
        {
            const std::uint32_t length = place[child];
            place[child] = sum;
            sum += length;
        }
        risen.count = place[child_count];
        for (std::uint32_t i = 0; i < list.count; ++i)
            risen.data[place[lowest_child(overlaps[i] & absent)]++] = list.data[i];

        if (triangles.may_repeat)
            drop_repeats(risen);
        return true;
    }

    static unsigned int lowest_child(unsigned int children)
    {
        return static_cast<unsigned int>(__builtin_ctz(children | 1u << child_count));
    }

    void write_records(node &to, const number_list &from) const
    {
        for (std::uint32_t i = 0; i < from.count; ++i)
            to.triangles.data[i] = tree.record_of(from.data[i]);
    }

    // Only subsets that overlap bring a triangle in twice.
    void take_stamps()
    {
        stamps = scratch.template take_array<std::uint32_t>(triangles.limit);
        if (stamps)
            std::memset(stamps, 0, sizeof(*stamps) * triangles.limit);
    }

    void drop_repeats(number_list &list)
    {
        if (++stamp == 0)
        {
            stamp = 1;
            if (stamps)
                std::memset(stamps, 0, sizeof(*stamps) * triangles.limit);
        }
        std::uint32_t kept = 0;
        for (std::uint32_t i = 0; i < list.count; ++i)
            if (!is_taken(list.data, kept, list.data[i]))
                list.data[kept++] = list.data[i];
        list.count = kept;
    }

    // Without memory for stamps the numbers that are kept are searched.
    bool is_taken(const std::uint32_t *kept, std::uint32_t kept_count, std::uint32_t number)
    {
        if (stamps)
        {
            const bool is_again = stamps[number] == stamp;
            stamps[number] = stamp;
            return is_again;
        }
        for (std::uint32_t i = 0; i < kept_count; ++i)
            if (kept[i] == number)
                return true;
        return false;
    }

    // Bit k of the index as byte k of the word.
    struct spread_table
    {
        std::uint64_t words[256];

        constexpr spread_table() : words()
        {
            for (unsigned int bits = 0; bits < 256; ++bits)
                for (unsigned int k = 0; k < 8; ++k)
                    words[bits] |= std::uint64_t{bits >> k & 1} << 8 * k;
        }
    };
    static constexpr spread_table spread_bits = {};
};
