// The way of a texel down an own quadtree. Included inside an anonymous namespace.

/// Finds corners without a look at the records: where a record takes 28 bytes its corners take 36,
/// so an address grows 9/7 times as fast. The division is exact, so it is a product with the
/// inverse of 7, in words of any size.
class corner_finder
{
public:
    explicit corner_finder(const vesk_texel_question &question)
        : start(reinterpret_cast<std::uintptr_t>(question.corners) -
                reinterpret_cast<std::uintptr_t>(question.records) * growth)
    {
    }

    const float *operator()(const vesk_uv_lookup_triangle_s *record) const
    {
        return reinterpret_cast<const float *>(start +
                                               reinterpret_cast<std::uintptr_t>(record) * growth);
    }

private:
    static_assert(sizeof(vesk_uv_lookup_triangle_s) == 28 && sizeof(vesk_vector3) == 12);
    static constexpr std::uintptr_t seventh = static_cast<std::uintptr_t>(0x6DB6DB6DB6DB6DB7u);
    static_assert(static_cast<std::uintptr_t>(seventh * 7) == 1);
    static constexpr std::uintptr_t growth = seventh * 9;

    const std::uintptr_t start;
};

/// The first of eight triangles that covers the point, or null. Möller and Trumbore 1997,
/// two-sided, no epsilon, with a ray straight down. A comparison rejects only where it holds, so
/// that a NaN passes everything.
inline const vesk_uv_lookup_triangle_s *first_cover(const vesk_texel_question &question,
                                                    vesk_uv_lookup_triangle_s *const *list,
                                                    vesk_vector2 &barycentric)
{
    const corner_finder corners_of(question);
    const void *a_to_bx[8], *bz_to_c[8];
    for (unsigned int lane = 0; lane < 8; ++lane)
    {
        const float *corners = corners_of(list[lane]);
        a_to_bx[lane] = corners;
        bz_to_c[lane] = corners + 5;
    }
    const columns8 first = columns_of<0, 2, 3>(a_to_bx), second = columns_of<0, 1, 3>(bz_to_c);
    const float8 zero = broadcast8(0.0f);
    const columns8 a = {first.x, zero, first.y};
    const columns8 e1 = columns8{first.z, zero, second.x} - a;
    const columns8 e2 = columns8{second.y, zero, second.z} - a;

    const columns8 direction = broadcast_columns(vesk_vector3(0.0f, -1.0f, 0.0f));
    const columns8 h = cross8(direction, e2);
    const float8 det = dot8(e1, h);
    const float8 inv = 1.0f / det;
    const columns8 s =
        broadcast_columns(vesk_vector3(question.point.x, 10.0f, question.point.y)) - a;
    const float8 u = dot8(s, h) * inv;
    const float8 v = dot8(direction, cross8(s, e1)) * inv;
    const unsigned int covering =
        ~lane_bits((det == 0.0f) | (u < 0.0f) | (u > 1.0f) | (v < 0.0f) | (u + v > 1.0f)) & 0xFFu;
    if (!covering)
        return nullptr;

    const unsigned int lane = static_cast<unsigned int>(__builtin_ctz(covering));
    barycentric = vesk_vector2(lane_of(u, lane), lane_of(v, lane));
    return list[lane];
}

/// As above, for a list of any length.
inline const vesk_uv_lookup_triangle_s *
first_cover(const vesk_texel_question &question, const vesk_list<vesk_uv_lookup_triangle_s *> &list,
            vesk_vector2 &barycentric)
{
    if (list.count < 8)
    {
        // The last one fills the lanes that are left over: its own lane comes before.
        vesk_uv_lookup_triangle_s *filled[8];
        for (unsigned int lane = 0; lane < 8; ++lane)
            filled[lane] = list.data[lane < list.count ? lane : list.count - 1];
        return first_cover(question, filled, barycentric);
    }
    for (unsigned int i = 0; i < list.count; i += 8)
    {
        // The last eight may begin with some that have missed already.
        const unsigned int begin = i + 8 <= list.count ? i : list.count - 8;
        if (const vesk_uv_lookup_triangle_s *found =
                first_cover(question, list.data + begin, barycentric))
            return found;
    }
    return nullptr;
}

/// The slot of the one child that can hold the point, or 4 when both halves of an axis do, or a NaN
/// leaves it open. Branches, since neighbouring texels take the same ones: the way down is then
/// guessed right and waits for no arithmetic.
inline unsigned int quadrant_of(const vesk_float4 &rect, float x, float y)
{
    const vesk_float4 max = __builtin_shufflevector(rect, rect, 2, 3, 2, 3);
    const vesk_float4 middle = rect + (max - rect) * 0.5f;
    if (x < middle[0])
        return y < middle[1] ? 0 : middle[1] < y ? 2 : 4;
    if (middle[0] < x)
        return y < middle[1] ? 1 : middle[1] < y ? 3 : 4;
    return 4;
}

const vesk_uv_lookup_triangle_s *run_descent(const vesk_texel_question &question,
                                             const vesk_uv_lookup_node_s *&node,
                                             vesk_vector2 &barycentric)
{
    static_assert(sizeof(vesk_quadtree_aa_bounding_rect_s) == 16, "read as four floats");
    const float x = question.point.x, y = question.point.y;
    const vesk_uv_lookup_node_s *const root = node;
    if (!(root->bounding_rect.min.x <= x && root->bounding_rect.min.y <= y))
        return nullptr;

    // Low sides hold the point from here on. An upper child can end a little below its parent, so
    // the least of the high sides is kept for where it counts.
    vesk_float4 high = vesk_load4(&root->bounding_rect);
    for (const vesk_uv_lookup_node_s *next = root; next;)
    {
        const vesk_float4 rect = vesk_load4(&next->bounding_rect);
        high = vesk_min4(high, rect);
        const vesk_list<vesk_uv_lookup_triangle_s *> &list = next->triangles;
        if (list.count)
        {
            if (list.reversed || !(x <= high[2] && y <= high[3]))
                return nullptr;
            if (const vesk_uv_lookup_triangle_s *found = first_cover(question, list, barycentric))
                return found;
        }
        const unsigned int quadrant = quadrant_of(rect, x, y);
        if (quadrant == 4)
            return nullptr;
        next = next->children[quadrant];
    }
    node = nullptr;
    return nullptr;
}
