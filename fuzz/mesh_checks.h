#pragma once

#include "byte_source.h"
#include "vesk/mesh.h"

/// What has to be true of a mesh whatever was done to it, as a trap for the fuzzer.

#define FUZZ_CHECK(condition)                                                                      \
    do                                                                                             \
    {                                                                                              \
        if (!(condition))                                                                          \
            __builtin_trap();                                                                      \
    } while (false)

/// `vesk_mesh_validate` passes, apart from positions and normals that are not finite.
bool is_sound(const vesk_mesh &mesh);

/// All that a mesh can lend, in one number.
std::uint64_t digest_of(const vesk_mesh &mesh);

vesk_vector3 take_point(byte_source &source);

/// Asks for hits in every form; the forms have to agree to the bit. Texels as well.
void run_queries(const vesk_mesh &mesh, byte_source &source);
