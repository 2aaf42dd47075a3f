#pragma once

#include "files/fbx_sdk.h"
#include "vesk/mesh_records.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The vertices of one import. Corners of a mesh node share a vertex when they have their control
/// point and all bits of position and normal in common; vertices come in the order of first use.
///
/// A mesh has few normals at each point and many corners with each, so a corner is first told by
/// what the file says of it: the corners with one point and one normal there are one source. Each
/// source is then turned into a vertex in a loop that does nothing else, and sources whose vertices
/// came out equal become one. Nothing here may be used by two threads at a time.
class fbx_vertex_pass
{
public:
    fbx_vertex_pass() = default;
    ~fbx_vertex_pass();
    fbx_vertex_pass(const fbx_vertex_pass &) = delete;
    fbx_vertex_pass &operator=(const fbx_vertex_pass &) = delete;

    /// Adds the vertices of a mesh and fills its triangle records, which begin at `next_word` of
    /// `index_array`; moves `next_word` behind them. UV indices are 0. May throw std::bad_alloc.
    void read_mesh(FbxNode &node, FbxMesh &source, unsigned int *index_array,
                   unsigned int &next_word);

    const std::vector<vesk_3d_vertex_s> &vertices() const
    {
        return working_vertices;
    }

private:
    /// A normal at a control point, as the file has it.
    struct vertex_source
    {
        std::uint64_t x, y, z; ///< bits of the normal
        unsigned int control_point;
        unsigned int chain; ///< one more than the number of the source before at this point, or 0
    };

    unsigned int find_or_add_source(unsigned int control_point, const FbxVector4 &normal);
    void list_sources(FbxMesh &mesh, unsigned int *index_array, unsigned int &next_word);
    void make_vertices(FbxNode &node, const FbxVector4 *control_points);
    void merge_vertices(unsigned int *records, int triangle_count);

    std::vector<vesk_3d_vertex_s> working_vertices;
    FbxVector4 corner_normal; ///< lives on: a corner without normal sees the one before

    // Of the mesh that is being read.
    std::vector<vertex_source> sources;
    unsigned int first_vertex = 0;
    std::vector<unsigned int> source_vertices; ///< of each source; 0 is `first_vertex`
};
