#pragma once

#include "files/fbx/geometry.h"

namespace vesk_fbx
{
/// Reads the normals and all UV elements of a mesh: layers by number, within a layer by kind.
/// Normals are those of the first layer that has any. An element that no layer names does not
/// exist, one that several name counts once. False when the numbers are damaged. May throw
/// std::bad_alloc.
bool read_layers(const document &file, const record &source, mesh_geometry &out);
} // namespace vesk_fbx
