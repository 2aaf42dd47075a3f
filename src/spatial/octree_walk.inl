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
        bool has_open; ///< nodes whose children are still to be looked for
        bool is_settled[capacity];
        const vesk_octree_node_s *nodes[capacity];
    };

    level *last;
    level levels[2];

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

/// A walk of one shape over one kind of tree; without `hits` it ends at the first hit.
template <shape SHAPE, bool IS_OWN> class octree_walk
{
public:
    octree_walk(const query_terms &new_terms, vesk_octree_hits *hits)
        : terms(new_terms)
        , triangles(new_terms, hits)
    {
    }

    int every(const vesk_octree_node_s &root)
    {
        reached_holders<IS_OWN> reached;
        if (!reached.find(terms, root))
            return any(root);
        reached.visit_all([this](const vesk_octree_node_s &node)
                          { triangles.take(node.triangles); });
        return triangles.finish();
    }

    /// Depth first: the first hit ends the walk early.
    int any(const vesk_octree_node_s &root)
    {
        return vesk_walk_reached(root, *this) || triangles.finish();
    }

    bool visit(const vesk_octree_node_s &node)
    {
        return triangles.take(node.triangles);
    }

    unsigned int reach(const vesk_octree_node_s &node, const vesk_octree_node_s **reached) const
    {
        unsigned int count = 0;
        for (unsigned int met = children_met<IS_OWN>(terms, node); met; ++count)
        {
            const unsigned int child = 31u - static_cast<unsigned int>(__builtin_clz(met));
            met ^= 1u << child;
            reached[count] = node.children[child];
            fetch_node(reached[count]);
        }
        return count;
    }

private:
    const query_terms &terms;
    triangle_queue<SHAPE> triangles;
};

template <shape SHAPE> int walk_shape(const vesk_octree_question &question,
                                      const query_terms &terms, vesk_octree_hits *hits)
{
    const vesk_octree_node_s &root = *question.root;
    if (question.is_own)
    {
        octree_walk<SHAPE, true> walk(terms, hits);
        return hits ? walk.every(root) : walk.any(root);
    }
    octree_walk<SHAPE, false> walk(terms, hits);
    return hits ? walk.every(root) : walk.any(root);
}

int walk_any(const vesk_octree_question &question)
{
    if (!question.root->box.intersect_ray(question.origin, question.direction))
        return 0;
    const query_terms terms(question);
    if (question.is_line)
        return walk_shape<shape::line>(question, terms, nullptr);
    if (question.minimum_distance)
        return walk_shape<shape::ray>(question, terms, nullptr);
    return walk_shape<shape::free_ray>(question, terms, nullptr);
}

int walk_every(const vesk_octree_question &question, vesk_octree_hits &hits)
{
    if (!question.root->box.intersect_ray(question.origin, question.direction))
        return 0;
    const query_terms terms(question);
    if (question.is_line)
        return walk_shape<shape::line>(question, terms, &hits);
    return walk_shape<shape::ray>(question, terms, &hits);
}
