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

/// Polls that a build may use before it is stopped: deep trees over triangles that lie on each
/// other are the host's wish, not a fault.
void allow_polls(unsigned int count);
int stop_after_polls();

/// `vesk_mesh_validate` passes, apart from positions and normals that are not finite.
bool is_sound(const vesk_mesh &mesh);

/// Asks for hits in every form; the forms have to agree to the bit. Texels as well.
void run_queries(const vesk_mesh &mesh, byte_source &source);

/// Runs every operation that takes a filled mesh, on the mesh itself and on a copy and an instance
/// of it. The mesh is sound.
void run_every_operation(vesk_mesh &mesh, byte_source &source);
