#include "files/fbx_vertices.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>

namespace
{
// Further sources of a control point are no part of its chain: each is a source of its own, and
// equal vertices among them are found by search. The tip of a cone may have a normal for each of a
// million sides, and each would be compared with all before it.
constexpr int longest_chain = 24;

// Entry k is one more than the number of the latest source in the chain of control point k. Empty
// between meshes and between imports; it keeps its capacity.
std::vector<unsigned int> fbx_vertex_buckets;

/// A control point number and the bits of a vertex.
using fbx_vertex_key = std::array<std::uint32_t, 7>;

fbx_vertex_key make_key(unsigned int control_point, const vesk_3d_vertex_s &vertex)
{
    static_assert(sizeof(vesk_3d_vertex_s) == 6 * sizeof(float), "six words, nothing between");
    fbx_vertex_key key = {control_point};
    std::memcpy(&key[1], &vertex, sizeof(vertex));
    return key;
}

bool same_words(const vesk_3d_vertex_s &a, const vesk_3d_vertex_s &b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

std::uint64_t bits_of(double number)
{
    std::uint64_t bits;
    std::memcpy(&bits, &number, sizeof(bits));
    return bits;
}

double number_of(std::uint64_t bits)
{
    double number;
    std::memcpy(&number, &bits, sizeof(number));
    return number;
}

FbxAMatrix make_vertex_matrix(FbxNode &node)
{
    const FbxAMatrix global =
        node.EvaluateGlobalTransform(FBXSDK_TIME_INFINITE, FbxNode::eSourcePivot, false, false);
    const FbxAMatrix geometric(node.GetGeometricTranslation(FbxNode::eSourcePivot),
                               node.GetGeometricRotation(FbxNode::eSourcePivot),
                               node.GetGeometricScaling(FbxNode::eSourcePivot));
    const FbxAMatrix flip_matrix(FbxVector4(0.0, 0.0, 0.0, 1.0), FbxVector4(0.0, 180.0, 0.0, 1.0),
                                 FbxVector4(1.0, 1.0, 1.0, 1.0));
    return flip_matrix * (global * geometric);
}

FbxAMatrix make_normal_matrix(const FbxAMatrix &vertex_matrix)
{
    FbxAMatrix normal_matrix = vertex_matrix.Inverse().Transpose();
    for (int i = 0; i < 3; ++i)
    {
        normal_matrix[i][3] = 0.0;
        normal_matrix[3][i] = 0.0;
    }
    normal_matrix[3][3] = 1.0;
    return normal_matrix;
}

/// With the half turn of the vertex matrix this mirrors the scene in x.
vesk_vector3 z_mirrored(const FbxVector4 &v)
{
    return vesk_vector3(static_cast<float>(v[0]), static_cast<float>(v[1]),
                        -static_cast<float>(v[2]));
}
} // namespace

fbx_vertex_pass::~fbx_vertex_pass()
{
    fbx_vertex_buckets.clear();
}

void fbx_vertex_pass::read_mesh(FbxNode &node, FbxMesh &source, unsigned int *index_array,
                                unsigned int &next_word)
{
    const unsigned int first_word = next_word;
    first_vertex = static_cast<unsigned int>(working_vertices.size());
    sources.clear();
    // More than enough for smooth meshes, which have six corners of triangles to a point.
    sources.reserve(3 * static_cast<std::size_t>(source.GetPolygonCount()) / 4);
    list_sources(source, index_array, next_word);
    fbx_vertex_buckets.clear();

    make_vertices(node, source.GetControlPoints());
    merge_vertices(index_array + first_word, source.GetPolygonCount());
}

/// Fills the records as if every source made a vertex of its own.
void fbx_vertex_pass::list_sources(FbxMesh &mesh, unsigned int *index_array,
                                   unsigned int &next_word)
{
    const int triangle_count = mesh.GetPolygonCount();
    for (int t = 0; t < triangle_count; ++t, next_word += 7)
    {
        unsigned int *const record = index_array + next_word;
        for (int k = 0; k < 3; ++k)
        {
            const int control_point = mesh.GetPolygonVertex(t, k);
            mesh.GetPolygonVertexNormal(t, k, corner_normal);
            record[k] = first_vertex +
                        find_or_add_source(static_cast<unsigned int>(control_point), corner_normal);
            record[3 + k] = 0;
        }
        record[6] = next_word;
    }
}

/// The number of the source with this point and these very bits of a normal.
inline unsigned int fbx_vertex_pass::find_or_add_source(unsigned int control_point,
                                                        const FbxVector4 &normal)
{
    // In steps that grow with the table: its entries are zeroed a stretch at a time.
    if (control_point >= fbx_vertex_buckets.size())
        fbx_vertex_buckets.resize(std::size_t{control_point} + control_point / 2 + 64, 0u);

    const std::uint64_t x = bits_of(normal[0]), y = bits_of(normal[1]), z = bits_of(normal[2]);
    unsigned int &head = fbx_vertex_buckets[control_point];
    int length = 0;
    for (unsigned int chain = head; chain != 0; ++length)
    {
        const vertex_source &known = sources[chain - 1];
        if (known.x == x && known.y == y && known.z == z)
            return chain - 1;
        chain = known.chain;
    }
    // Field by field: a copy of the whole makes processors wait for its parts.
    vertex_source &added = sources.emplace_back();
    added.x = x;
    added.y = y;
    added.z = z;
    added.control_point = control_point;
    added.chain = head;
    const unsigned int count = static_cast<unsigned int>(sources.size());
    if (length < longest_chain)
        head = count;
    return count - 1;
}

void fbx_vertex_pass::make_vertices(FbxNode &node, const FbxVector4 *control_points)
{
    const FbxAMatrix vertex_matrix = make_vertex_matrix(node);
    const FbxAMatrix normal_matrix = make_normal_matrix(vertex_matrix);
    const std::size_t count = working_vertices.size() + sources.size();
    if (count > working_vertices.capacity())
        working_vertices.reserve(std::max(count, 2 * working_vertices.capacity()));
    for (const vertex_source &source : sources)
    {
        FbxVector4 normal(number_of(source.x), number_of(source.y), number_of(source.z));
        normal.Normalize();
        normal = normal_matrix.MultT(normal);
        normal.Normalize();
        vesk_3d_vertex_s vertex;
        vertex.position = z_mirrored(vertex_matrix.MultT(control_points[source.control_point]));
        vertex.normal = z_mirrored(normal);
        working_vertices.push_back(vertex);
    }
}

/// Drops each vertex that equals an earlier one of the same control point; the records follow.
void fbx_vertex_pass::merge_vertices(unsigned int *records, int triangle_count)
{
    std::map<fbx_vertex_key, unsigned int> off_chain;
    source_vertices.resize(sources.size());
    vesk_3d_vertex_s *const vertices = working_vertices.data() + first_vertex;
    unsigned int count = 0;
    for (std::size_t i = 0; i < sources.size(); ++i)
    {
        int length = 0;
        unsigned int chain = sources[i].chain;
        while (chain != 0 && !same_words(vertices[i], vertices[source_vertices[chain - 1]]))
        {
            chain = sources[chain - 1].chain;
            ++length;
        }
        unsigned int vertex = chain != 0 ? source_vertices[chain - 1] : count;
        if (length == longest_chain)
            vertex = off_chain.emplace(make_key(sources[i].control_point, vertices[i]), count)
                         .first->second;
        if (vertex == count)
            vertices[count++] = vertices[i];
        source_vertices[i] = vertex;
    }
    if (count == sources.size())
        return;
    working_vertices.resize(std::size_t{first_vertex} + count);
    for (int t = 0; t < triangle_count; ++t, records += 7)
        for (int k = 0; k < 3; ++k)
            records[k] = first_vertex + source_vertices[records[k] - first_vertex];
}
