#pragma once

/// @file
/// All of vesk in one include.

#include "vesk/chunk_stream.h"
#include "vesk/list.h"
#include "vesk/matrix.h"
#include "vesk/mesh.h"
#include "vesk/octree.h"
#include "vesk/plane.h"
#include "vesk/quaternion.h"
#include "vesk/scalar.h"
#include "vesk/uv_lookup.h"
#include "vesk/validate.h"
#include "vesk/vector.h"
#include "vesk/version.h"
