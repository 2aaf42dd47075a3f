#pragma once

#include "vesk/mesh.h"

#include <new>

/// What `generate_tangents` does around its work: the old records go, new ones come, and a second
/// array lives as long as the call. `write(records, second array)` stands for the work, so that a
/// comparison is about the work and not about the allocator.
template <typename work> void renew_tangents(vesk_mesh &mesh, const work &write)
{
    mesh.free_tangents();
    mesh.tangent_count = mesh.index_count / 7 * 3;
    void *records = ::operator new[](mesh.tangent_count * sizeof(vesk_mesh_tangent_s));
    void *second = ::operator new[](mesh.tangent_count * sizeof(vesk_vector3));
    mesh.tangent_array = static_cast<vesk_mesh_tangent_s *>(records);
    write(mesh.tangent_array, static_cast<vesk_vector3 *>(second));
    ::operator delete[](second);
}
