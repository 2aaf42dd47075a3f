// The walk over an octree. Included inside an anonymous namespace, after octree_triangles.inl.

/// The nodes that a query reaches and that hold triangles, in the order of the walk.
///
/// They are found level by level. Going down depth first, each step waits for a node that the step
/// before has just named; here the steps of a level don't depend on one another, so the processor
/// works on several at a time. A level is in walk order always: in the next one, each node has
/// given place to itself, if it holds triangles, and to the children reached behind it.
template <bool IS_OWN> class reached_holders
{
public:
    /// False when there are more than find room.
    bool find(const query_terms &terms, const vesk_octree_node_s &root)
    {
        last = levels;
        last->count = 1;
        last->nodes[0] = &root;
        last->is_settled[0] = false;
        for (unsigned int depth = 0; depth < deepest; ++depth)
        {
            const level &from = *last;
            last = levels + (depth + 1) % 2;
            if (!go_down(terms, from, *last))
                return false;
            if (!last->has_open)
                return true;
        }
        return false;
    }

    template <typename Visit> void visit_all(Visit &&visit) const
    {
        for (unsigned int i = 0; i < last->count; ++i)
            visit(*last->nodes[i]);
    }

private:
    static constexpr unsigned int capacity = 256;
    static constexpr unsigned int deepest = 32;

    struct level
    {
        unsigned int count;
        bool has_open;             ///< not all are settled
        bool is_settled[capacity]; ///< has given place already, and stays for its triangles
        const vesk_octree_node_s *nodes[capacity];
    };

    level *last;
    level levels[2];

    /// False when there is no room left.
    static bool go_down(const query_terms &terms, const level &from, level &to)
    {
        unsigned int count = 0;
        bool has_open = false;
        for (unsigned int i = 0; i < from.count; ++i)
        {
            if (count + 9 > capacity)
                return false;
            const vesk_octree_node_s &node = *from.nodes[i];
            to.nodes[count] = &node;
            to.is_settled[count] = true;
            if (from.is_settled[i])
            {
                ++count;
                continue;
            }
            fetch_list(node.triangles.data);
            count += node.triangles.count != 0;
            for (unsigned int met = children_met<IS_OWN>(terms, node); met; met &= met - 1)
            {
                const vesk_octree_node_s *child = node.children[__builtin_ctz(met)];
                fetch_node(child);
                to.nodes[count] = child;
                to.is_settled[count] = false;
                ++count;
                has_open = true;
            }
        }
        to.count = count;
        to.has_open = has_open;
        return true;
    }
};

/// A walk over one kind of tree.
template <shape SHAPE, form FORM, bool IS_OWN> class octree_walk
{
public:
    octree_walk(const vesk_octree_question &question, const query_terms &new_terms,
                vesk_octree_hits *hits)
        : terms(new_terms)
        , triangles(new_terms, hits)
        , first_octant(
              FORM == form::any && SHAPE == shape::line ? octant_against(question.direction) : 0)
    {
    }

    int run(const vesk_octree_node_s &root)
    {
        if constexpr (FORM == form::any)
            return any(root);
        else if constexpr (FORM == form::all)
            return all(root);
        else
            return unordered(root);
    }

    __attribute__((always_inline)) bool visit(const vesk_octree_node_s &node)
    {
        return triangles.take(node.triangles);
    }

    __attribute__((always_inline)) unsigned int reach(const vesk_octree_node_s &node,
                                                      const vesk_octree_node_s **reached) const
    {
        unsigned int count = 0;
        unsigned int met = vesk_flipped_octants.by[first_octant][children_met<IS_OWN>(terms, node)];
        for (; met; ++count)
        {
            const unsigned int last = 31u - static_cast<unsigned int>(__builtin_clz(met));
            met ^= 1u << last;
            reached[count] = node.children[last ^ first_octant];
            fetch_node(reached[count]);
        }
        return count;
    }

private:
    const query_terms &terms;
    triangle_queue<SHAPE, FORM> triangles;
    /// Of each node's children; 0 in the order of the walk. What a line that ends meets soon is
    /// likelier to count.
    const unsigned int first_octant;

    /// Depth first, since the first hit ends the walk, but two nodes at a time: the processor works
    /// on one while the other comes from memory.
    int any(const vesk_octree_node_s &root)
    {
        const vesk_octree_node_s *pending[vesk_pending_capacity];
        unsigned int count = 0;
        pending[count++] = &root;
        while (count > 0)
        {
            const unsigned int taken = count < 2 ? 1 : 2;
            const vesk_octree_node_s *const nodes[2] = {pending[count - taken], pending[count - 1]};
            count -= taken;
            for (unsigned int i = 0; i < taken; ++i)
            {
                const bool has_room = count + 8 <= vesk_pending_capacity;
                if (has_room)
                    count += reach(*nodes[i], pending + count);
                if (has_room ? visit(*nodes[i]) : vesk_walk_reached(*nodes[i], *this))
                    return 1;
            }
        }
        return triangles.finish();
    }

    int all(const vesk_octree_node_s &root)
    {
        reached_holders<IS_OWN> reached;
        if (!reached.find(terms, root))
            return depth_first(root);
        reached.visit_all([this](const vesk_octree_node_s &node) { visit(node); });
        return triangles.finish();
    }

    /// Level by level as well, but nothing keeps the nodes that hold triangles in order.
    int unordered(const vesk_octree_node_s &root)
    {
        constexpr unsigned int capacity = 256;
        const vesk_octree_node_s *levels[2][capacity], *holders[capacity];
        levels[0][0] = &root;
        unsigned int count = 1, holder_count = 0;
        for (unsigned int depth = 0; count > 0; ++depth)
        {
            const vesk_octree_node_s *const *from = levels[depth % 2];
            const vesk_octree_node_s **to = levels[(depth + 1) % 2];
            unsigned int reached = 0;
            for (unsigned int i = 0; i < count; ++i)
            {
                if (reached + 8 > capacity || holder_count == capacity)
                    return depth_first(root);
                const vesk_octree_node_s &node = *from[i];
                fetch_list(node.triangles.data);
                holders[holder_count] = &node;
                holder_count += node.triangles.count != 0;
                for (unsigned int met = children_met<IS_OWN>(terms, node); met; met &= met - 1)
                {
                    const vesk_octree_node_s *child = node.children[__builtin_ctz(met)];
                    fetch_node(child);
                    to[reached++] = child;
                }
            }
            count = reached;
        }
        for (unsigned int i = 0; i < holder_count; ++i)
            visit(*holders[i]);
        return triangles.finish();
    }

    int depth_first(const vesk_octree_node_s &root)
    {
        return vesk_walk_reached(root, *this) || triangles.finish();
    }
};

template <shape SHAPE, form FORM>
int walk_tree(const vesk_octree_question &question, vesk_octree_hits *hits)
{
    const vesk_octree_node_s &root = *question.root;
    if (!root.box.intersect_ray(question.origin, question.direction))
        return 0;
    const query_terms terms(question);
    if (question.is_own)
        return octree_walk<SHAPE, FORM, true>(question, terms, hits).run(root);
    return octree_walk<SHAPE, FORM, false>(question, terms, hits).run(root);
}

int walk_any(const vesk_octree_question &question)
{
    if (question.is_line)
        return walk_tree<shape::line, form::any>(question, nullptr);
    if (question.minimum_distance)
        return walk_tree<shape::ray, form::any>(question, nullptr);
    return walk_tree<shape::free_ray, form::any>(question, nullptr);
}

template <form FORM> int walk_every(const vesk_octree_question &question, vesk_octree_hits &hits)
{
    return question.is_line ? walk_tree<shape::line, FORM>(question, &hits)
                            : walk_tree<shape::ray, FORM>(question, &hits);
}

constexpr vesk_octree_walks walks = {walk_any, walk_every<form::all>, walk_every<form::unordered>};
