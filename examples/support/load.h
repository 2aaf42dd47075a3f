#pragma once

#include "vesk/vesk.h"

/// Fills a mesh from a file: `load_from_file` when its name ends in ".fbx", whatever the case,
/// and `load_binary` otherwise. The name decides, not the content, so that a message is about
/// the format that was meant. False with the mesh's messages on standard error.
bool read_mesh(const char *program, const char *path, vesk_mesh &mesh);

/// `read_mesh`, and a mesh that anything may be done with: indexes in range, numbers finite.
bool load_mesh(const char *program, const char *path, vesk_mesh &mesh);

/// Prints a fault and its place to standard error.
void print_fault(const char *program, const vesk_mesh_fault_s &fault);
