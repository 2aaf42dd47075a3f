#pragma once

#include "vesk/mesh.h"

#include <vector>

/// Triangles of a mesh: whole records, and none where the array is missing.
unsigned int vesk_debug_triangle_count(const vesk_mesh &mesh);

/// For each triangle the number of the first subset that names it, or -1. Subsets that reach
/// beyond the records are cut off.
std::vector<int> vesk_debug_subset_of_triangle(const vesk_mesh &mesh);
