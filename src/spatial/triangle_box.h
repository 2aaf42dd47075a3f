#pragma once

#include "vesk/vector.h"

/// Whether a triangle touches a box: the separating-axis test of Akenine-Moller ("Fast 3D
/// Triangle-Box Overlap Testing", 2001) on nine edge axes, three box axes and the triangle's plane.
///
/// Single precision throughout, no epsilon: a triangle that only touches the box overlaps it. The
/// smallest of some numbers is greater than a limit when each of them is, so that a NaN never
/// separates on an edge axis or a box axis. The plane decides then, and a corner with a NaN in it
/// makes the triangle overlap nothing.
///
/// @param centre centre of the box
/// @param half_size half the box's extent on each axis
/// @param triangle three corners
/// @return 1 or 0
int vesk_triangle_box_overlap(const vesk_vector3 &centre, const vesk_vector3 &half_size,
                              const vesk_vector3 *triangle);
