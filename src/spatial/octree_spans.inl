// The quick way to tell which octants a query meets. Included inside an anonymous namespace, after
// lanes8.h.

/// The octant of a box that a line along a direction comes to first; the bits run x, z, y.
inline unsigned int octant_against(const vesk_vector3 &direction)
{
    return (direction.x < 0.0f ? 1u : 0u) | (direction.z < 0.0f ? 2u : 0u) |
           (direction.y < 0.0f ? 4u : 0u);
}

/// The planes that bound a box from below, in three lanes.
inline vesk_float4 low_side(const vesk_octree_aa_bounding_box_s &box)
{
    static_assert(sizeof(box) == 24, "read as two times four");
    return vesk_load4(&box);
}

/// Those that bound it from above.
inline vesk_float4 high_side(const vesk_octree_aa_bounding_box_s &box)
{
    const vesk_float4 z_and_max = vesk_load4(&box.min.z);
    return __builtin_shufflevector(z_and_max, z_and_max, 1, 2, 3, 3);
}

/// What a ray's parameter says of boxes. Between the two planes that bound a box on an axis it runs
/// through a span, and the ray meets the box where the three spans and what lies ahead of the
/// origin have a part in common. For the octants of a box, which share their planes, that takes
/// two thirds of the operations of `intersect_ray`, and fewer of them wait for one another. But
/// they round otherwise, so that an answer counts only where it is clear by a margin.
///
/// **Exact.** Let u = 2^-24, and for each axis S the greatest absolute value of the root's box and
/// the origin, D the direction; boxes below the root grow beyond S by less than 2^-16 of it. A
/// split puts the planes of octants at most 4uS beside the box's own and their mean. Seen from
/// these, `intersect_ray` has its centre off by at most 9uS and its half size h by 6uS. For two
/// axes j and k it compares |Dj dk - Dk dj| with |Dj| hk + |Dk| hj, whose own rounding adds
/// 6u(|Dj| Sk + |Dk| Sj); so the difference of the two sides is off by 21u(|Dj| Sk + |Dk| Sj) at
/// most. Divided by |Dj Dk| it is the gap between the later start and the earlier end of both
/// spans, off by 21u(Sj / |Dj| + Sk / |Dk|). The slab of an axis lets pass whatever ends more than
/// 33uS / |D| ahead of the origin, and nothing that ends so far behind it. The spans' own
/// arithmetic is off by at most 8uS / |D| at each end. A gap of more than 42u times the sum of
/// S / |D| over the axes thus has the sign that the test gives it; the margin is 64u times that
/// sum. Limits on S and D keep all products away from overflow and underflow.
class ray_spans
{
public:
    explicit ray_spans(const vesk_octree_question &question)
        : origin{question.origin.x, question.origin.y, question.origin.z, 0.0f}
        , inverse(1.0f / vesk_float4{question.direction.x, question.direction.y,
                                     question.direction.z, 1.0f})
        , octants(vesk_flipped_octants.by[octant_against(question.direction)])
    {
        const vesk_octree_aa_bounding_box_s &root = question.root->box;
        const vesk_float4 low = low_side(root), high = high_side(root);
        const vesk_float4 greatest =
            vesk_max4(vesk_max4(vesk_abs4(low), vesk_abs4(high)), vesk_abs4(origin));
        const vesk_float4 per_unit = vesk_abs4(inverse);
        const vesk_float4 lags = greatest * per_unit, lengths = (high - low) * per_unit;
        const float doubt = (lags[0] + lags[1] + lags[2]) * 0x1p-18f;
        const float shortest = doubt * 512.0f;
        margin = broadcast8(doubt);

        const vesk_float4 tiny = vesk_splat4(0x1p-40f), huge = vesk_splat4(0x1p40f);
        const vesk_mask4 is_tame =
            (greatest > tiny) & (greatest < huge) & (per_unit > tiny) & (per_unit < huge);
        is_sharp = (vesk_lane_bits(is_tame) & 7) == 7 && shortest < lengths[0] &&
                   shortest < lengths[1] && shortest < lengths[2];
    }

    /// Whether they can be asked, and it pays: not along an axis or nearly so, and not from far
    /// away, where small boxes are lost in the margin.
    bool are_sharp() const
    {
        return is_sharp;
    }

    /// Bit i of the result tells whether octant i of a box is met, and bit i of `in_doubt` that it
    /// may be otherwise.
    unsigned int octants_met(const vesk_octree_aa_bounding_box_s &box, unsigned int &in_doubt) const
    {
        const vesk_float4 low = (low_side(box) - origin) * inverse;
        const vesk_float4 high = (high_side(box) - origin) * inverse;
        const vesk_float4 middle = (low + high) * 0.5f;

        // In the order in which the ray comes to the halves of an axis.
        const float8 starts = pair(vesk_min4(low, high), middle);
        const float8 ends = pair(middle, vesk_max4(low, high));
        const float8 start = max8(max8(spread_x(starts), spread_y(starts)),
                                  max8(spread_z(starts), broadcast8(0.0f)));
        const float8 end = min8(min8(spread_x(ends), spread_y(ends)), spread_z(ends));
        const float8 gap = end - start;
        in_doubt = octants[~lane_bits(abs8(gap) > margin) & 0xFFu];
        return octants[lane_bits(gap > 0.0f)];
    }

private:
    float8 margin; ///< of a gap, in units of the parameter
    const vesk_float4 origin, inverse;
    const unsigned char *const octants; ///< from sets in the ray's order to sets in the box's
    bool is_sharp;
};
