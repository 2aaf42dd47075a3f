#include "mesh_player.h"
#include "support/byte_file.h"

// Any bytes as an FBX file, all the way into a mesh, which then has to stand every operation. Such
// a mesh passes `vesk_mesh_validate`, but for numbers of the file that no float can hold.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const temp_file file(".fbx", L".fbx");
    file.set_bytes({data, data + size});
    mesh_player p;
    const int result = p.mesh.load_from_file(file.wide());
    FUZZ_CHECK(p.mesh.error_stack.count == (result == 1 ? 0u : 1u));
    FUZZ_CHECK(is_sound(p.mesh));
    FUZZ_CHECK(result == 1 || !p.mesh.vertex_array);
    if (result == 1 && p.mesh.index_count / 7 <= 5000)
    {
        const std::size_t tail = size < 64 ? size : 64;
        byte_source source(data + size - tail, tail);
        run_every_operation(p, source);
    }
    p.free();
    return 0;
}
