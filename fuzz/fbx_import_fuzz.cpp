#include "vesk/mesh.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>

// Any bytes as an FBX file, all the way into a mesh, whose indices then have to be in range.

namespace
{
/// One file for the life of the process.
const std::filesystem::path &input_path()
{
    static const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("vesk_fuzz_" + std::to_string(std::random_device{}()) + ".fbx");
    return path;
}

void write_input(const std::uint8_t *data, std::size_t size)
{
    std::FILE *file = std::fopen(input_path().string().c_str(), "wb");
    if (!file || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0)
        __builtin_trap();
}

bool is_sound(const vesk_mesh &mesh)
{
    for (unsigned int w = 0; w < mesh.index_count; w += 7)
        for (unsigned int k = 0; k < 3; ++k)
        {
            if (mesh.index_array[w + k] >= mesh.vertex_count)
                return false;
            for (unsigned int c = 0; c < mesh.uv_index_arrays.count; ++c)
                if (mesh.uv_index_arrays[c][w / 7 * 3 + k] >= mesh.uv_channel_counts[c])
                    return false;
        }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    write_input(data, size);
    vesk_mesh mesh;
    const int result = mesh.load_from_file(input_path().wstring().c_str());
    const bool told = mesh.error_stack.count == (result == 1 ? 0u : 1u);
    if (!told || !is_sound(mesh) || (result == 0 && mesh.vertex_array))
        __builtin_trap();
    mesh.free();
    std::filesystem::remove(input_path());
    return 0;
}
