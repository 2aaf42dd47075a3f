#include "support/load.h"

#include "support/console.h"

#include <cstdio>
#include <filesystem>

namespace
{
bool is_fbx_name(const char *path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char &letter : extension)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return extension == ".fbx";
}
} // namespace

bool read_mesh(const char *program, const char *path, vesk_mesh &mesh)
{
    const std::wstring wide = wide_path(path);
    const work_sign sign("load");
    const int loaded =
        is_fbx_name(path) ? mesh.load_from_file(wide.c_str()) : mesh.load_binary(wide.c_str());
    if (!loaded)
        print_errors(program, mesh);
    return loaded != 0;
}

bool load_mesh(const char *program, const char *path, vesk_mesh &mesh)
{
    if (!read_mesh(program, path, mesh))
        return false;
    vesk_mesh_fault_s fault;
    if (vesk_mesh_validate(mesh, &fault))
        return true;
    print_fault(program, fault);
    return false;
}

void print_fault(const char *program, const vesk_mesh_fault_s &fault)
{
    std::fprintf(stderr, "%s: %ls (", program, vesk_mesh_fault_text(fault.kind));
    switch (fault.kind)
    {
    case vesk_mesh_fault_position_not_finite:
    case vesk_mesh_fault_normal_not_finite:
        std::fprintf(stderr, "vertex %u)\n", fault.vertex);
        break;
    case vesk_mesh_fault_vertex_index:
    case vesk_mesh_fault_uv_index:
    case vesk_mesh_fault_channel_uv_index:
        std::fprintf(stderr, "triangle %u, corner %u, channel %u, index %u)\n", fault.triangle,
                     fault.corner, fault.channel, fault.value);
        break;
    default:
        std::fprintf(stderr, "channel %u, subset %u, value %u)\n", fault.channel, fault.subset,
                     fault.value);
        break;
    }
}
