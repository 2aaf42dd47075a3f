#include "vesk/mesh.h"

// No operation builds a tree yet, so there is none to release.
void vesk_mesh::free_octree()
{
    instance_octree = 0;
    octree = nullptr;
}

void vesk_mesh::free_uv_lookup_quadtree()
{
    instance_uv_lookup = 0;
    uv_lookup_root = nullptr;
}
