#pragma once

#include "golden/digest.h"

#include <vector>

/// Results of one part of the library. What goes in is fixed: seeds, grids of numbers, a bundled
/// file.
struct family
{
    const char *name;
    void (*fold)(digest &out);
};

std::vector<family> kit_families();
std::vector<family> mesh_families();
