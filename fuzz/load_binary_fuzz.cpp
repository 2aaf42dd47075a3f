#include "mesh_player.h"
#include "support/byte_file.h"
#include "vesk/validate.h"

// Any bytes as a mesh file. What `vesk_mesh_validate` passes has to stand every operation, and what
// it refuses has to be released. The last bytes of the file are the decisions too.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const temp_file file;
    file.set_bytes({data, data + size});
    mesh_player p;
    const int result = p.mesh.load_binary(file.wide());
    FUZZ_CHECK(p.mesh.error_stack.count == (result == 1 ? 0u : 1u));
    FUZZ_CHECK(result == 1 || !p.mesh.is_valid());

    // A compressed file can unpack to 255 times its size, which would take seconds each.
    const bool is_small = p.mesh.index_count / 7 <= 5000 && p.mesh.vertex_count <= 15000;
    if (result == 1 && vesk_mesh_validate(p.mesh, nullptr) && is_small)
    {
        const std::size_t tail = size < 64 ? size : 64;
        byte_source source(data + size - tail, tail);
        run_every_operation(p, source);
    }
    p.free();
    return 0;
}
