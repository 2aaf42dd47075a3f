#include "input_file.h"
#include "mesh_checks.h"
#include "vesk/mesh.h"
#include "vesk/validate.h"

// Any bytes as a mesh file. What `vesk_mesh_validate` passes has to stand every operation, and what
// it refuses has to be released. The bytes are the file and, read from behind, the decisions too.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const input_file file(".bin");
    file.write(data, size);
    vesk_mesh mesh;
    const int result = mesh.load_binary(file.wide());
    file.remove();
    FUZZ_CHECK(mesh.error_stack.count == (result == 1 ? 0u : 1u));
    FUZZ_CHECK(result == 1 || !mesh.is_valid());

    // A compressed file can unpack to 255 times its size, which would take seconds each.
    const bool is_small = mesh.index_count / 7 <= 5000 && mesh.vertex_count <= 15000;
    if (result == 1 && vesk_mesh_validate(mesh, nullptr) && is_small)
    {
        const std::size_t tail = size < 64 ? size : 64;
        byte_source source(data + size - tail, tail);
        run_every_operation(mesh, source);
    }
    mesh.free();
    return 0;
}
