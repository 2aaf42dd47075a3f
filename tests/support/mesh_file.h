#pragma once

#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <gtest/gtest.h>
#include <new>

/// `load_binary` from a file with these bytes.
inline int load(vesk_mesh &mesh, const byte_vector &bytes)
{
    const temp_file file;
    file.set_bytes(bytes);
    return mesh.load_binary(file.wide());
}

/// What `save_binary` writes.
inline byte_vector saved(vesk_mesh &mesh, int compress)
{
    const temp_file file;
    EXPECT_EQ(mesh.save_binary(file.wide(), compress), 1);
    return file.bytes();
}

/// Gives a mesh that has no tangents some, allocated as the mesh does it.
inline void add_random_tangents(vesk_mesh &mesh, test_random &random, unsigned int count)
{
    mesh.tangent_array =
        static_cast<vesk_mesh_tangent_s *>(::operator new[](count * sizeof(vesk_mesh_tangent_s)));
    mesh.tangent_count = count;
    for (unsigned int i = 0; i < count; ++i)
    {
        mesh.tangent_array[i].tangent = random.point(-1.0f, 1.0f);
        mesh.tangent_array[i].handedness = random.below(2) ? 1.0f : -1.0f;
    }
}
