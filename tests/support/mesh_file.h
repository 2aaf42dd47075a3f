#pragma once

#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <cstring>
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

/// A file of the first layout with the mesh's first channel.
inline byte_vector legacy_bytes(const vesk_mesh &mesh)
{
    const auto add = [](byte_vector &bytes, const void *from, std::size_t word_count)
    {
        for (std::size_t i = 0; i < word_count; ++i)
        {
            std::uint32_t word;
            std::memcpy(&word, static_cast<const char *>(from) + i * 4, 4);
            add_words(bytes, {word});
        }
    };
    byte_vector bytes;
    add_words(bytes, {0, 0, 3, mesh.vertex_count, mesh.uv_channel_counts[0], mesh.tangent_count,
                      mesh.index_count, mesh.get_subset_count()});
    add(bytes, &mesh.bounding_box_min, 3);
    add(bytes, &mesh.bounding_box_max, 3);
    add(bytes, mesh.vertex_array, mesh.vertex_count * 6);
    add(bytes, mesh.uv_channel_arrays[0], mesh.uv_channel_counts[0] * 2);
    add(bytes, mesh.index_array, mesh.index_count);
    add(bytes, mesh.subset_lookup_table.data, mesh.subset_lookup_table.count);
    add(bytes, mesh.tangent_array, mesh.tangent_count * 4);
    return bytes;
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
