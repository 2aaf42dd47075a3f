// The test of triangles, eight at a time. Included inside an anonymous namespace, after
// octree_boxes.inl.

/// The two shapes of a question, and the ray that has no smallest parameter and wants no t.
enum class shape
{
    ray,
    free_ray,
    line
};

/// What a question asks of the hits.
enum class form
{
    any,
    all,      ///< in the promised order, with repeats
    unordered ///< in any order, most repeats left out
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

/// The triangles that a walk comes to, in its order, tested eight at a time: lists of several nodes
/// share a batch, and what the tests read comes from memory while the walk goes on. Where any hit
/// will do, the first one ends everything.
template <shape SHAPE, form FORM> class triangle_queue
{
public:
    triangle_queue(const query_terms &new_terms, vesk_octree_hits *new_hits)
        : terms(new_terms)
        , hits(new_hits)
    {
        if (FORM == form::unordered)
            for (const void *&taken : latest)
                taken = this; // which is no triangle
    }

    /// Takes the triangles of a node; true when the walk is over.
    __attribute__((always_inline)) bool take(const vesk_list<vesk_octree_triangle_s *> &list)
    {
        if (list.count > capacity - waiting_count || list.reversed)
            return take_one_by_one(list);
        unsigned int count = waiting_count;
        vesk_octree_triangle_s *const *const end = list.data + list.count;
        for (vesk_octree_triangle_s *const *record = list.data; record != end; ++record)
        {
            __builtin_prefetch(*record);
            count = put(*record, count);
        }
        waiting_count = count;
        return waiting_count >= threshold && test_full_batches();
    }

    /// Tests what is left, the last batch filled up with repeats. Returns whether anything was hit
    /// in all.
    bool finish()
    {
        if (test_full_batches())
            return true;
        if (waiting_count)
        {
            for (unsigned int i = waiting_count; i < 8; ++i)
                waiting[i] = waiting[0];
            test_batch(waiting, (1u << waiting_count) - 1u);
        }
        return is_hit;
    }

private:
    static constexpr unsigned int capacity = 128;
    static constexpr unsigned int threshold = FORM == form::any ? 8 : 96; ///< how many are let wait
    static constexpr unsigned int place_count = 128;

    const query_terms &terms;
    vesk_octree_hits *hits; ///< null for any
    unsigned int waiting_count = 0;
    bool is_hit = false;
    vesk_octree_triangle_s *waiting[capacity];
    const void *latest[place_count]; ///< of the triangles whose addresses end alike

    /// Puts one behind `count` others and gives their new number.
    unsigned int put(vesk_octree_triangle_s *record, unsigned int count)
    {
        waiting[count] = record;
        if (FORM != form::unordered)
            return count + 1;
        static_assert(sizeof(vesk_octree_triangle_s) / 4 % 2 == 1, "neighbours share no place");
        const void *&place = latest[reinterpret_cast<std::uintptr_t>(record) / 4 % place_count];
        const bool is_new = place != record;
        place = record;
        return count + is_new;
    }

    bool take_one_by_one(const vesk_list<vesk_octree_triangle_s *> &list)
    {
        for (unsigned int i = 0; i < list.count; ++i)
        {
            waiting_count = put(list.data[list.reversed ? list.count - 1 - i : i], waiting_count);
            if (waiting_count == capacity && test_full_batches())
                return true;
        }
        return waiting_count >= threshold && test_full_batches();
    }

    bool test_full_batches()
    {
        if (FORM != form::any)
            for (unsigned int i = 0; i < waiting_count; ++i)
                fetch_corners(*waiting[i]);
        unsigned int first = 0;
        for (; first + 8 <= waiting_count; first += 8)
            if (test_batch(waiting + first, 0xFFu))
                return true;
        waiting_count -= first;
        for (unsigned int i = 0; i < waiting_count; ++i)
            waiting[i] = waiting[first + i];
        return false;
    }

    void fetch_corners(const vesk_octree_triangle_s &record) const
    {
        for (const unsigned int vertex : record.vertex_indices)
            __builtin_prefetch(&terms.vertices[vertex]);
    }

    /// Out of line: its many registers are no matter of the walk's then.
    __attribute__((noinline)) bool test_batch(vesk_octree_triangle_s *const *records,
                                              unsigned int lanes)
    {
        hits8 hit;
        lanes &= triangles_hit<SHAPE>(terms, records, hit);
        if (!lanes)
            return false;
        is_hit = true;
        if (FORM == form::any)
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
        for (; lanes; lanes &= lanes - 1)
        {
            const unsigned int lane = static_cast<unsigned int>(__builtin_ctz(lanes));
            hits->take(t[lane], u[lane], v[lane], records[lane]);
        }
    }
};
