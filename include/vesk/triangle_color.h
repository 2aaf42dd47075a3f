#pragma once

#include "vesk/export.h"

/// One run of triangles of one colour in the render index.
struct VESK_KIT vesk_triangle_color_data_s
{
    unsigned int color;          ///< the colour, as the host gave it
    unsigned int first_index;    ///< where the run begins in the render index, in words
    unsigned int triangle_count; ///< triangles in the run, three words each

    /// Leaves the fields alone: the record is a plain value.
    vesk_triangle_color_data_s() = default;
    /// A copy.
    vesk_triangle_color_data_s(const vesk_triangle_color_data_s &other) = default;
    /// Copies the three fields.
    vesk_triangle_color_data_s &operator=(const vesk_triangle_color_data_s &other);
};

#if !defined(VESK_NO_INLINE)
// Weak where clang builds the library. NOLINTBEGIN(misc-definitions-in-headers)
VESK_INLINE vesk_triangle_color_data_s &
vesk_triangle_color_data_s::operator=(const vesk_triangle_color_data_s &other)
{
    color = other.color;
    first_index = other.first_index;
    triangle_count = other.triangle_count;
    return *this;
}
// NOLINTEND(misc-definitions-in-headers)
#endif
