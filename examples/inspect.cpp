// What is in an FBX or mesh file, and whether it can be trusted.

#include "support/command_line.h"
#include "support/console.h"
#include "support/load.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

#include <cstdio>

namespace
{
const char program[] = "vesk_inspect";
const char usage[] =
    "usage: vesk_inspect FILE\n"
    "\n"
    "Tells what a mesh holds: counts, bounding box, subsets, UV channels, tangents, and whether\n"
    "its indexes and numbers are sound. FILE is an FBX file when its name ends in .fbx, and a\n"
    "mesh file otherwise.\n"
    "\n"
    "Exit status: 0 for a sound mesh, 1 when it cannot be read or has a fault, 2 for bad usage.\n";

/// Triangles that no subset names: nothing draws them.
unsigned long long unnamed_triangles(const vesk_mesh &mesh)
{
    const vesk_list<unsigned int> &table = *mesh.get_subset_lookup_table();
    unsigned long long named = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        named += table[s * 2 + 1];
    const unsigned long long all = mesh.get_index_count() / 7;
    return all > named ? all - named : 0;
}
} // namespace

int main(int argc, char **argv)
{
    command_line line(argc, argv, program, usage);
    if (const std::optional<int> status = line.ends(1, 1))
        return *status;

    vesk_owned_mesh mesh;
    if (!read_mesh(program, line.word(0), *mesh))
        return 1;
    std::printf("%s\n", line.word(0));
    print_contents(*mesh);
    std::printf("  tangents   %s\n", grouped(mesh->get_tangent_count()).c_str());
    if (const unsigned long long unnamed = unnamed_triangles(*mesh))
        std::printf("  no subset  %s triangles\n", grouped(unnamed).c_str());

    vesk_mesh_fault_s fault;
    const bool sound = vesk_mesh_validate(*mesh, &fault) != 0;
    std::printf("  check      %ls\n", sound ? L"sound" : vesk_mesh_fault_text(fault.kind));
    if (!sound)
        print_fault(program, fault);
    return sound ? 0 : 1;
}
