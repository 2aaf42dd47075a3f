#include "input_file.h"
#include "mesh_checks.h"
#include "vesk/mesh.h"

// Any bytes as an FBX file, all the way into a mesh, which then has to stand every operation. Such
// a mesh passes `vesk_mesh_validate`, but for numbers of the file that no float can hold.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const input_file file(".fbx");
    file.write(data, size);
    vesk_mesh mesh;
    const int result = mesh.load_from_file(file.wide());
    file.remove();
    FUZZ_CHECK(mesh.error_stack.count == (result == 1 ? 0u : 1u));
    FUZZ_CHECK(is_sound(mesh));
    FUZZ_CHECK(result == 1 || !mesh.vertex_array);
    if (result == 1 && mesh.index_count / 7 <= 5000)
    {
        const std::size_t tail = size < 64 ? size : 64;
        byte_source source(data + size - tail, tail);
        run_every_operation(mesh, source);
    }
    mesh.free();
    return 0;
}
