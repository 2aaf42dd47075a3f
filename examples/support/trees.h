#pragma once

#include "vesk/vesk.h"

/// Builds the octree, over the whole mesh or some subsets, with a sign of progress on a terminal.
/// False with the mesh's messages on standard error.
bool build_octree(const char *program, vesk_mesh &mesh,
                  const vesk_list<unsigned int> *subsets = nullptr);

/// Builds the quadtree of a texture of this size over the current channel, in the same manner.
bool build_quadtree(const char *program, vesk_mesh &mesh, unsigned int width, unsigned int height,
                    const vesk_list<unsigned int> *subsets = nullptr);
