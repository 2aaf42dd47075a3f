#pragma once

#include "golden/digest.h"

// Each family folds the results of one part of the library. What goes in is fixed: seeds, grids of
// numbers, bundled files.

void fold_scalars(digest &out);
void fold_vectors(digest &out);
void fold_matrices(digest &out);
void fold_quaternions(digest &out);
void fold_planes(digest &out);

void fold_normals(digest &out);
void fold_tangents(digest &out);
void fold_render_index(digest &out);
void fold_transforms(digest &out);
void fold_mesh_file(digest &out);
void fold_fbx_import(digest &out);

void fold_octree(digest &out);
void fold_octree_queries(digest &out);
void fold_uv_lookup(digest &out);
void fold_uv_lookup_queries(digest &out);
