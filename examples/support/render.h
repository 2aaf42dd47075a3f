#pragma once

#include "support/picture.h"
#include "vesk/vesk.h"

/// Where a picture is taken from.
struct camera
{
    vesk_vector3 eye;
    vesk_vector3 forward; ///< unit length
    vesk_vector3 right;   ///< unit length
    vesk_vector3 up;      ///< unit length
    float half_width;     ///< of the picture plane at distance 1
};

/// A camera that looks at the middle of the mesh's box from a direction and has all of it in view.
camera camera_around(const vesk_mesh &mesh, const vesk_vector3 &from_direction);

/// The direction, of unit length, in which pixel (`column`, `row`) of a picture lies.
vesk_vector3 pixel_direction(const camera &from, unsigned int width, unsigned int height,
                             unsigned int column, unsigned int row);

/// A shaded picture of a mesh with an octree, by one closest-hit ray and one shadow line a pixel.
/// Rows are shared among `threads` threads; the picture doesn't depend on their number. A terminal
/// gets a progress bar.
picture render_mesh(const vesk_mesh &mesh, const camera &from, unsigned int width,
                    unsigned int height, unsigned int threads);
