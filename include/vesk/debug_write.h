#pragma once

#include "vesk/mesh.h"

/// @file
/// Writers that let a human see what a mesh and its trees hold: OBJ and PLY for 3D viewers, SVG
/// for the UV layout. They stand in a small static library of their own, the CMake target
/// `vesk::debug`.
///
/// All files are text. Numbers are the shortest digits that read back to the same float, whatever
/// the locale; values that are not finite are written as `nan` and `inf`. Paths are those of
/// `vesk_mesh::save_binary`, and an existing file is overwritten. Each call gives 1, or 0 when
/// the file could not be opened or written in full, or when memory was short; nothing throws and
/// no message is pushed. What is written reads the mesh alone, so any thread may do it while
/// nobody writes to the mesh.
///
/// Broken meshes can be looked at too: no index is followed that is out of range.

/// Writes positions, normals, the current UV channel and all triangles as OBJ.
///
/// Vertex k, UV k and face k of the file are vertex, UV and triangle k of the mesh (OBJ counts
/// from 1). A subset is a group, `subset_0` and so on; triangles that no subset names stand in the
/// group `no_subset`, and of several subsets the first one counts. Indexes are written as they
/// are, in range or not.
///
/// @param mesh any mesh, an instance or an empty one included
/// @param path the file
int vesk_debug_write_obj(const vesk_mesh &mesh, const wchar_t *path);

/// Writes positions, normals and all triangles as ascii PLY.
///
/// Vertex k and face k of the file are vertex and triangle k of the mesh. Faces carry their three
/// UVs of the current channel (`texcoord`; zeros where an index is out of range) and the number
/// of their subset, -1 where none names the triangle.
///
/// @param mesh any mesh, an instance or an empty one included
/// @param path the file
int vesk_debug_write_ply(const vesk_mesh &mesh, const wchar_t *path);

/// Writes the boxes of an octree as PLY lines: eight vertices and twelve edges a box, coloured by
/// depth, children behind their parents. Vertices carry the depth of their box too.
///
/// @param root as from `vesk_mesh::get_octree`; null writes a file without boxes
/// @param deepest boxes below this depth are left out; the root has depth 0
/// @param path the file
int vesk_debug_write_octree(const vesk_octree_node_s *root, unsigned int deepest,
                            const wchar_t *path);

/// A ray or line as it was asked, and how far it went.
struct vesk_debug_ray_s
{
    vesk_vector3 origin;    ///< where it begins
    vesk_vector3 direction; ///< of any length
    float distance;         ///< the hit's parameter, or how long to draw a miss
    int hit;                ///< other than 0: it hit
};

/// Writes rays as PLY lines from the origin to the point at `distance`: hits red, misses blue.
/// Edge k of the file is ray k.
///
/// @param rays `count` of them
/// @param count number of rays; 0 writes a file without lines
/// @param path the file
int vesk_debug_write_rays(const vesk_debug_ray_s *rays, unsigned int count, const wchar_t *path);

/// Draws the UV layout as SVG: triangles filled by subset, and the quadtree's rectangles by
/// depth on top of them.
///
/// With a quadtree the picture is its raster, one unit a texel, row 0 on top, and the triangles
/// are those that stand in the tree: one that texels cannot find is missing here too. Without one
/// it is the unit square of the current channel, with V upwards, at 512 units. What reaches beyond
/// lies outside of the view. A triangle with a UV that is out of range or not finite is left out,
/// and all are turned to run one way.
///
/// @param mesh any mesh, an instance or an empty one included
/// @param deepest rectangles below this depth are left out; the root has depth 0
/// @param path the file
int vesk_debug_write_uv_layout(const vesk_mesh &mesh, unsigned int deepest, const wchar_t *path);
