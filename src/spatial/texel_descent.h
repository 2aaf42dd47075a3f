#pragma once

#include "vesk/uv_lookup.h"

/// @file
/// The fast way of a texel's question down an own quadtree, compiled once for every instruction
/// set that pays: same bits.

/// What a texel asks of an own tree: three corners for each record lie side by side on the plane
/// y = 0, in the order of the records, and the rectangles of the nodes follow from the root's by
/// `split_into_four`.
struct vesk_texel_question
{
    const vesk_vector3 *corners;
    const unsigned int *records; ///< seven words each
    vesk_vector2 point;
};

/// Goes down as long as one child alone holds the point, which is the rule.
struct vesk_texel_descent
{
    /// The first triangle on the way that covers the point, with its weights; or null. Then `node`,
    /// the root at first, becomes null if there is none; otherwise the search starts again in full.
    const vesk_uv_lookup_triangle_s *(*run)(const vesk_texel_question &question,
                                            const vesk_uv_lookup_node_s *&node,
                                            vesk_vector2 &barycentric);
};

extern const vesk_texel_descent vesk_texel_descent_baseline;

#if (defined(__x86_64__) || defined(__i386__)) && !defined(_WIN32)
#define VESK_TEXEL_DESCENT_AVX2
extern const vesk_texel_descent vesk_texel_descent_avx2;
#endif
