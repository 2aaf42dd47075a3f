// Which nodes of an octree a query reaches, in eight lanes. Included inside an anonymous namespace,
// after octree_spans.inl.

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
    ray_spans spans;
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
        , spans(question)
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
    const vesk_float4 min = low_side(box);
    const vesk_float4 half = (high_side(box) - min) * 0.5f;

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

/// Which children the ray meets. In an own tree the boxes of the children follow from their
/// parent's, in a lent one each counts as it stands.
template <bool IS_OWN>
inline unsigned int children_met(const query_terms &terms, const vesk_octree_node_s &node)
{
    const unsigned int present = children_present(node);
    if (!present)
        return 0;
    if (IS_OWN)
    {
        if (terms.spans.are_sharp())
        {
            unsigned int in_doubt;
            const unsigned int met = terms.spans.octants_met(node.box, in_doubt);
            if (!(in_doubt & present))
                return present & met;
        }
        return present & octants_met(terms, node.box);
    }

    // An absent child is stood in for by its parent.
    const vesk_octree_node_s *nodes[8];
    for (unsigned int i = 0; i < 8; ++i)
        nodes[i] = node.children[i] ? node.children[i] : &node;
    return present & boxes_met(terms, nodes);
}

/// Begins to load a node that the walk is to come to: it spans two or three cache lines.
inline void fetch_node(const vesk_octree_node_s *node)
{
    __builtin_prefetch(&node->box);
    __builtin_prefetch(&node->children[2]);
    __builtin_prefetch(&node->children[7]);
}

/// Begins to load the references of a node's list. It may be null, from where no address may be
/// counted, so the address is a number.
inline void fetch_list(const void *list)
{
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(list);
    __builtin_prefetch(list);
    __builtin_prefetch(reinterpret_cast<const void *>(address + 64));
}
