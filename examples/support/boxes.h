#pragma once

#include "support/picture.h"
#include "support/render.h"
#include "vesk/vesk.h"

/// Draws the edges of an octree's boxes down to a depth over a picture that `render_mesh` drew
/// from the same camera, deeper ones lighter. What the mesh hides is left out, which a line query
/// tells for each pixel.
void draw_boxes(const vesk_mesh &mesh, const camera &from, unsigned int deepest, picture &target);
