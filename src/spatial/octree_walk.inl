// The walk over an octree in eight lanes. Included inside an anonymous namespace, after lanes8.h.

/// The terms of a query, formed once.
struct query_terms
{
    columns8 origin;
    columns8 direction;
    columns8 reach;        ///< absolute values of the direction
    float8 axis_origin;    ///< x, y, z in the lanes of both halves
    float8 axis_direction; ///< as above
    float8 length;         ///< largest parameter of a line
    float8 minimum;        ///< smallest parameter; minus infinity where there is no limit
    const vesk_3d_vertex_s *vertices;

    explicit query_terms(const vesk_octree_question &question)
        : origin(broadcast_columns(question.origin))
        , direction(broadcast_columns(question.direction))
        , reach{abs8(direction.x), abs8(direction.y), abs8(direction.z)}
        , axis_origin(both_halves(question.origin))
        , axis_direction(both_halves(question.direction))
        , length(broadcast8(question.length))
        , minimum(broadcast8(question.minimum_distance ? *question.minimum_distance
                                                       : -std::numeric_limits<float>::infinity()))
        , vertices(question.vertices)
    {
    }

    static float8 both_halves(const vesk_vector3 &v)
    {
        const vesk_float4 half = {v.x, v.y, v.z, 0.0f};
        return pair(half, half);
    }
};

/// Bits of the lanes whose ray or line passes the three cross axes beside a box with half size
/// `h`, its centre at -`d` as seen from the origin.
inline mask8 passed_beside(const query_terms &terms, const columns8 &d, const columns8 &h)
{
    const columns8 across = cross8(terms.direction, d);
    const columns8 &a = terms.reach;
    return (abs8(across.x) > a.y * h.z + a.z * h.y) | (abs8(across.y) > a.x * h.z + a.z * h.x) |
           (abs8(across.z) > a.x * h.y + a.y * h.x);
}

/// Lanes whose origin lies outside the slab while the direction leads away from it or along it.
inline mask8 outside_slab(float8 d, float8 h, float8 direction)
{
    return (abs8(d) > h) & (direction * d >= 0.0f);
}

/// The test of `intersect_ray` on the boxes of eight nodes.
inline unsigned int boxes_met(const query_terms &terms, const vesk_octree_node_s *const (&nodes)[8])
{
    static_assert(sizeof(vesk_octree_aa_bounding_box_s) == 24, "a box is read as two times four");
    const void *low[8], *high[8];
    for (unsigned int lane = 0; lane < 8; ++lane)
    {
        low[lane] = &nodes[lane]->box;
        high[lane] = &nodes[lane]->box.min.z;
    }
    const columns8 min = columns_of<0, 1, 2>(low), max = columns_of<1, 2, 3>(high);
    const columns8 size = max - min;
    const columns8 h = {size.x * 0.5f, size.y * 0.5f, size.z * 0.5f};
    const columns8 centre = {min.x + h.x, min.y + h.y, min.z + h.z};
    const columns8 d = terms.origin - centre;
    return ~lane_bits(outside_slab(d.x, h.x, terms.direction.x) |
                      outside_slab(d.y, h.y, terms.direction.y) |
                      outside_slab(d.z, h.z, terms.direction.z) | passed_beside(terms, d, h));
}

/// The same test on the octants of a box, as `split_into_eight` makes them, without a look at
/// the children: what octants share, such as the two slabs of an axis, is computed once.
inline unsigned int octants_met(const query_terms &terms, const vesk_octree_aa_bounding_box_s &box)
{
    const vesk_float4 min = vesk_load4(&box);
    const vesk_float4 z_and_max = vesk_load4(&box.min.z);
    const vesk_float4 max = __builtin_shufflevector(z_and_max, z_and_max, 1, 2, 3, 3);
    const vesk_float4 half = (max - min) * 0.5f;

    // The lower halves of the axes x, y, z and the upper ones.
    const float8 low = pair(min, min + half);
    const float8 h = ((low + pair(half, half)) - low) * 0.5f;
    const float8 d = terms.axis_origin - (low + h);
    const unsigned int outside =
        vesk_ruled_out_octants[lane_bits(outside_slab(d, h, terms.axis_direction))];

    // The bits of an octant run x, z, y.
    const columns8 d8 = {spread_x(d), spread_y(d), spread_z(d)};
    const columns8 h8 = {spread_x(h), spread_y(h), spread_z(h)};
    return ~(outside | lane_bits(passed_beside(terms, d8, h8)));
}

/// Bit i of the result tells whether there is a child i.
inline unsigned int children_present(const vesk_octree_node_s &node)
{
#if defined(VESK_LANES_AVX2) && defined(__x86_64__)
    const __m256i none = _mm256_setzero_si256();
    const void *low = node.children, *high = node.children + 4;
    const __m256i a =
        _mm256_cmpeq_epi64(_mm256_loadu_si256(static_cast<const __m256i *>(low)), none);
    const __m256i b =
        _mm256_cmpeq_epi64(_mm256_loadu_si256(static_cast<const __m256i *>(high)), none);
    const int absent = _mm256_movemask_pd(_mm256_castsi256_pd(a)) |
                       _mm256_movemask_pd(_mm256_castsi256_pd(b)) << 4;
    return ~static_cast<unsigned int>(absent) & 0xFFu;
#else
    unsigned int present = 0;
    for (unsigned int i = 0; i < 8; ++i)
        if (node.children[i])
            present |= 1u << i;
    return present;
#endif
}

/// Which children the ray meets.
template <bool IS_OWN>
inline unsigned int children_met(const query_terms &terms, const vesk_octree_node_s &node)
{
    const unsigned int present = children_present(node);
    if (!present)
        return 0;
    if (IS_OWN)
        return present & octants_met(terms, node.box);

    // An absent child is stood in for by its parent.
    const vesk_octree_node_s *nodes[8];
    for (unsigned int i = 0; i < 8; ++i)
        nodes[i] = node.children[i] ? node.children[i] : &node;
    return present & boxes_met(terms, nodes);
}

/// The two shapes of a question, and the ray that has no smallest parameter and wants no t.
enum class shape
{
    ray,
    free_ray,
    line
};

struct hits8
{
    float8 t, u, v;
};

/// Möller and Trumbore 1997, two-sided, no epsilon, on eight triangles. A comparison rejects only
/// where it holds, so that a NaN passes everything. Lanes that are no hits hold nothing of use.
template <shape SHAPE> inline unsigned int
triangles_hit(const query_terms &terms, vesk_octree_triangle_s *const *records, hits8 &hit)
{
    // Sixteen bytes of a vertex are read, of which three floats count.
    static_assert(sizeof(vesk_3d_vertex_s) >= 16, "a corner is read as four floats");
    const void *rows[3][8];
    for (unsigned int lane = 0; lane < 8; ++lane)
        for (unsigned int c = 0; c < 3; ++c)
            rows[c][lane] = &terms.vertices[records[lane]->vertex_indices[c]];
    const columns8 a = columns_of<0, 1, 2>(rows[0]);
    const columns8 e1 = columns_of<0, 1, 2>(rows[1]) - a;
    const columns8 e2 = columns_of<0, 1, 2>(rows[2]) - a;

    const columns8 p = cross8(terms.direction, e2);
    const float8 det = dot8(e1, p);
    const float8 inv = 1.0f / det;
    const columns8 s = terms.origin - a;
    const columns8 q = cross8(s, e1);
    hit.u = dot8(s, p) * inv;
    hit.v = dot8(terms.direction, q) * inv;
    const mask8 missed =
        (det == 0.0f) | (hit.u < 0.0f) | (hit.u > 1.0f) | (hit.v < 0.0f) | (hit.u + hit.v > 1.0f);
    if (SHAPE == shape::free_ray)
    {
        hit.t = hit.u; // nobody asks for it
        return ~lane_bits(missed) & 0xFFu;
    }

    hit.t = dot8(e2, q) * inv;
    if (SHAPE == shape::line)
        return ~lane_bits(missed | (hit.t > terms.length) | (terms.minimum > hit.t)) & 0xFFu;
    hit.t = abs8(hit.t);
    return ~lane_bits(missed | (terms.minimum > hit.t)) & 0xFFu;
}

/// The nodes that a query reaches, found level by level and then put into the order of the walk.
/// Going down depth first, each step waits for a node that the step before has just named; here
/// the steps of a level don't depend on one another, so the processor works on several at a time.
template <bool IS_OWN> class reached_nodes
{
public:
    /// False when there are more than find room.
    bool find(const query_terms &terms, const vesk_octree_node_s &root)
    {
        nodes[0] = &root;
        count = 1;
        const vesk_octree_node_s *level[capacity];
        for (unsigned int begin = 0, end = 1; begin < end; begin = end, end = count)
        {
            // Read before anything new is written: a load waits for stores that may meet it.
            for (unsigned int i = begin; i < end; ++i)
            {
                level[i] = nodes[i];
                __builtin_prefetch(&level[i]->box);
                __builtin_prefetch(&level[i]->children[2]);
            }
            for (unsigned int i = begin; i < end; ++i)
                if (!step(terms, *level[i], i))
                    return false;
        }
        return true;
    }

    /// Hands each node to `visit`, parents before children, children in index order.
    template <typename Visit> void visit_in_order(Visit &&visit)
    {
        for (unsigned int i = 0; i < count; ++i)
            sizes[i] = 1;
        for (unsigned int i = count; --i > 0;)
            sizes[parents[i]] += sizes[i];

        const vesk_octree_node_s *ordered[capacity];
        unsigned int next_places[capacity]; // of each node's next child
        ordered[0] = nodes[0];
        next_places[0] = 1;
        for (unsigned int i = 1; i < count; ++i)
        {
            const unsigned int place = next_places[parents[i]];
            next_places[parents[i]] += sizes[i];
            next_places[i] = place + 1;
            ordered[place] = nodes[i];
        }
        for (unsigned int i = 0; i < count; ++i)
            visit(*ordered[i]);
    }

private:
    static constexpr unsigned int capacity = 256;

    /// Adds what is reached of the children of node `i`.
    bool step(const query_terms &terms, const vesk_octree_node_s &node, unsigned int i)
    {
        if (count + 8 > capacity)
            return false;
        __builtin_prefetch(node.triangles.data);
        const unsigned int met = children_met<IS_OWN>(terms, node);
        for (unsigned int child = 0; child < 8; ++child)
        {
            nodes[count] = node.children[child];
            parents[count] = i;
            count += met >> child & 1u;
        }
        return true;
    }

    unsigned int count;
    const vesk_octree_node_s *nodes[capacity];
    unsigned int parents[capacity];
    unsigned int sizes[capacity]; ///< nodes of each subtree
};

/// A walk of one shape over one kind of tree; without `hits` it ends at the first hit.
///
/// Triangles wait in a queue, in walk order, and are tested eight at a time: lists of several
/// nodes share a batch, and records come from memory while the walk goes on.
template <shape SHAPE, bool IS_OWN> class octree_walk
{
public:
    octree_walk(const query_terms &new_terms, vesk_octree_hits *new_hits)
        : terms(new_terms)
        , hits(new_hits)
        , threshold(new_hits ? 32 : 8)
    {
    }

    int run(const vesk_octree_node_s &root)
    {
        // The first hit ends a walk that goes depth first early.
        reached_nodes<IS_OWN> reached;
        if (hits && reached.find(terms, root))
        {
            reached.visit_in_order([this](const vesk_octree_node_s &node) { visit(node); });
            finish();
        }
        else if (!vesk_walk_reached(root, *this))
            finish();
        return found;
    }

    bool visit(const vesk_octree_node_s &node)
    {
        const vesk_list<vesk_octree_triangle_s *> &list = node.triangles;
        if (list.count <= capacity - waiting_count && !list.reversed)
        {
            vesk_octree_triangle_s *const *from = list.data;
            vesk_octree_triangle_s **to = waiting + waiting_count;
            for (unsigned int i = 0; i < list.count; ++i)
            {
                __builtin_prefetch(from[i]);
                to[i] = from[i];
            }
            waiting_count += list.count;
            return waiting_count >= threshold && test_waiting();
        }
        for (unsigned int i = 0; i < list.count; ++i)
        {
            vesk_octree_triangle_s *record = list.data[list.reversed ? list.count - 1 - i : i];
            __builtin_prefetch(record);
            waiting[waiting_count] = record;
            if (++waiting_count == capacity && test_waiting())
                return true;
        }
        return waiting_count >= threshold && test_waiting();
    }

    unsigned int reach(const vesk_octree_node_s &node, const vesk_octree_node_s **reached)
    {
        unsigned int met = children_met<IS_OWN>(terms, node);
        unsigned int count = 0;
        while (met)
        {
            const unsigned int last = 31u - static_cast<unsigned int>(__builtin_clz(met));
            met ^= 1u << last;
            reached[count] = node.children[last];
            __builtin_prefetch(&reached[count]->box);
            __builtin_prefetch(&reached[count]->children[2]);
            ++count;
        }
        return count;
    }

private:
    static constexpr unsigned int capacity = 64;

    const query_terms &terms;
    vesk_octree_hits *hits;
    unsigned int threshold; ///< how many are let wait at the end of a visit
    unsigned int waiting_count = 0;
    int found = 0;
    vesk_octree_triangle_s *waiting[capacity];

    /// Tests as many as fill batches. True when the walk is over.
    bool test_waiting()
    {
        unsigned int first = 0;
        for (; first + 8 <= waiting_count; first += 8)
            if (test_batch(waiting + first, 0xFFu))
                return true;
        waiting_count -= first;
        for (unsigned int i = 0; i < waiting_count; ++i)
            waiting[i] = waiting[first + i];
        return false;
    }

    /// Tests the rest, its last batch filled up with repeats.
    void finish()
    {
        if (test_waiting() || waiting_count == 0)
            return;
        for (unsigned int i = waiting_count; i < 8; ++i)
            waiting[i] = waiting[0];
        test_batch(waiting, (1u << waiting_count) - 1u);
    }

    bool test_batch(vesk_octree_triangle_s *const *records, unsigned int lanes)
    {
        hits8 hit;
        lanes &= triangles_hit<SHAPE>(terms, records, hit);
        if (!lanes)
            return false;
        found = 1;
        if (!hits)
            return true;
        give(hit, records, lanes);
        return false;
    }

    void give(const hits8 &hit, vesk_octree_triangle_s *const *records, unsigned int lanes)
    {
        float t[8], u[8], v[8];
        std::memcpy(t, &hit.t, sizeof(t));
        std::memcpy(u, &hit.u, sizeof(u));
        std::memcpy(v, &hit.v, sizeof(v));
        for (unsigned int lane = 0; lane < 8; ++lane)
            if (lanes >> lane & 1u)
                hits->take(t[lane], u[lane], v[lane], records[lane]);
    }
};

template <shape SHAPE> int walk_shape(const vesk_octree_question &question,
                                      const query_terms &terms, vesk_octree_hits *hits)
{
    if (question.is_own)
        return octree_walk<SHAPE, true>(terms, hits).run(*question.root);
    return octree_walk<SHAPE, false>(terms, hits).run(*question.root);
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
