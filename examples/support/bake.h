#pragma once

#include "support/picture.h"
#include "vesk/vesk.h"

/// What a texel is painted with.
enum class bake_kind
{
    normal,   ///< the surface normal, -1 to 1 mapped to 0 to 1
    position, ///< the position inside the bounding box, each axis from 0 to 1
    occlusion ///< the part of the sky above the surface that nothing hides; needs an octree
};

/// All of them.
inline constexpr bake_kind all_bake_kinds[] = {bake_kind::normal, bake_kind::position,
                                               bake_kind::occlusion};

/// The name of a kind, such as "normal".
const char *name_of(bake_kind kind);

/// Paints a texture by texel lookup. The mesh needs a quadtree of the texture's size. Texels
/// that no triangle covers are filled from painted neighbours for `padding` rounds, so that
/// filtering doesn't bleed in at seams; what is left is black. A terminal gets a progress bar.
picture bake_texture(const vesk_mesh &mesh, bake_kind kind, unsigned int padding);
