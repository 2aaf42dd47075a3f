// What the C++ blocks of the pages may count on, next to the public headers:
// scripts/check_doc_code.sh compiles every block behind this.
#pragma once

#include <vesk/cancel_scope.h>
#include <vesk/debug_write.h>
#include <vesk/owned_mesh.h>
#include <vesk/validate.h>
#include <vesk/vesk.h>

#include <cfloat>
#include <cstdio>
#include <thread>
#include <vector>

/// The host's own way to tell of a failure; returns false.
bool fail(const char *message);
bool fail(const vesk_list<wchar_t *> *messages);
/// A mesh and a ray that the host has from somewhere.
extern vesk_mesh mesh, other;
extern vesk_vector3 origin, direction;
