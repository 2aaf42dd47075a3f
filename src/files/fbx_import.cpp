#include "files/utf8.h"
#include "foundation/alloc.h"
#include "foundation/scratch.h"
#include "vesk/mesh.h"

#ifdef VESK_WITH_FBX_SDK
#include <fbxsdk.h>
#else
#include "files/fbx/sdk.h"
#endif

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <vector>

// FBX import: the scene of a file, flattened into one mesh. What the file says reaches this source
// through operations of the FBX SDK, and no other source knows them. Without the SDK, vesk's own
// layer stands in its place.

#ifndef VESK_WITH_FBX_SDK
using namespace vesk_fbx;
#endif

namespace
{
struct fbx_vertex_link_s
{
    unsigned int vertex_index;
    fbx_vertex_link_s *next;
};

/// Links, allocated many at a time. They live until `clear`, which keeps the storage.
class fbx_link_pool
{
public:
    fbx_vertex_link_s *take()
    {
        const std::size_t block = m_taken / block_links;
        if (block == m_blocks.size())
            m_blocks.push_back(block_of_links(new fbx_vertex_link_s[block_links]));
        return &m_blocks[block][m_taken++ % block_links];
    }
    void clear()
    {
        m_taken = 0;
    }
    void release()
    {
        m_taken = 0;
        m_blocks = decltype(m_blocks)();
    }

private:
    using block_of_links = std::unique_ptr<fbx_vertex_link_s[]>;
    static constexpr std::size_t block_links = 1024;

    std::vector<block_of_links> m_blocks;
    std::size_t m_taken = 0;
};

/// A control point number and the bits of a vertex.
using fbx_vertex_key = std::array<std::uint32_t, 7>;

// Chains end here, and further vertices of a control point are found by search. The tip of a cone
// may have a normal for each of a million sides, and each would be compared with all before it.
constexpr int longest_chain = 24;

// All three are empty between meshes and between imports; the table keeps its capacity.
// Entry k of the table is the chain of vertices made so far from control point k.
std::vector<fbx_vertex_link_s *> fbx_vertex_buckets;
fbx_link_pool fbx_vertex_links;
std::map<fbx_vertex_key, unsigned int> fbx_vertices_off_chain;

void clear_fbx_vertex_buckets()
{
    fbx_vertex_links.clear();
    fbx_vertices_off_chain.clear();
    fbx_vertex_buckets.clear();
}

bool same_words(const vesk_3d_vertex_s &a, const vesk_3d_vertex_s &b)
{
    static_assert(sizeof(vesk_3d_vertex_s) == 6 * sizeof(float), "six words, nothing between");
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

unsigned int add_fbx_vertex(const vesk_3d_vertex_s &vertex,
                            std::vector<vesk_3d_vertex_s> &working_vertices)
{
    working_vertices.push_back(vertex);
    return static_cast<unsigned int>(working_vertices.size() - 1);
}

unsigned int find_or_add_fbx_vertex_off_chain(unsigned int control_point,
                                              const vesk_3d_vertex_s &vertex,
                                              std::vector<vesk_3d_vertex_s> &working_vertices)
{
    fbx_vertex_key key = {control_point};
    std::memcpy(&key[1], &vertex, sizeof(vertex));
    const auto [place, is_new] = fbx_vertices_off_chain.emplace(key, 0u);
    if (is_new)
        place->second = add_fbx_vertex(vertex, working_vertices);
    return place->second;
}

/// The index of the vertex with the same bits that came from the same control point; added first
/// if there is none.
unsigned int find_or_add_fbx_vertex(unsigned int control_point, const vesk_3d_vertex_s &vertex,
                                    std::vector<vesk_3d_vertex_s> &working_vertices)
{
    if (control_point >= fbx_vertex_buckets.size())
        fbx_vertex_buckets.resize(std::size_t{control_point} + 1, nullptr);

    int length = 0;
    fbx_vertex_link_s **end = &fbx_vertex_buckets[control_point];
    for (; *end; end = &(*end)->next)
    {
        if (same_words(vertex, working_vertices[(*end)->vertex_index]))
            return (*end)->vertex_index;
        ++length;
    }
    if (length == longest_chain)
        return find_or_add_fbx_vertex_off_chain(control_point, vertex, working_vertices);

    fbx_vertex_link_s *link = fbx_vertex_links.take();
    *link = {add_fbx_vertex(vertex, working_vertices), nullptr};
    *end = link;
    return link->vertex_index;
}

/// A corner's normal as the file has it, and what became of it.
struct fbx_turned_normal
{
    FbxVector4 source;
    FbxVector4 turned;
};

bool same_bits(const FbxVector4 &a, const FbxVector4 &b)
{
    const double left[3] = {a[0], a[1], a[2]}, right[3] = {b[0], b[1], b[2]};
    return std::memcmp(left, right, sizeof(left)) == 0;
}

/// Appends the mesh nodes at and below `node`, depth first, parents before children. A node
/// without attribute hides what is below it.
void collect_fbx_mesh_nodes(FbxNode *node, std::vector<FbxNode *> &mesh_nodes)
{
    // Scenes nest as deep as a file likes, the call stack does not.
    struct level
    {
        FbxNode *node;
        int next_child;
    };
    std::vector<level> path;
    const auto enter = [&](FbxNode *entered)
    {
        if (!entered || !entered->GetNodeAttribute())
            return;
        if (entered->GetNodeAttribute()->GetAttributeType() == FbxNodeAttribute::eMesh)
            mesh_nodes.push_back(entered);
        path.push_back({entered, 0});
    };

    enter(node);
    while (!path.empty())
    {
        level &last = path.back();
        if (last.next_child < last.node->GetChildCount(false))
            enter(last.node->GetChild(last.next_child++)); // `last` dangles from here on
        else
            path.pop_back();
    }
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

/// One import: the objects and working arrays of the call, and the steps that fill the mesh.
class fbx_import
{
public:
    explicit fbx_import(vesk_mesh &target) : mesh(target) {}
    ~fbx_import();
    fbx_import(const fbx_import &) = delete;
    fbx_import &operator=(const fbx_import &) = delete;

    /// Null, or the message of the failure; the mesh then holds what was written so far.
    const wchar_t *run(const wchar_t *path);

private:
    const wchar_t *open(const wchar_t *path);
    const wchar_t *read_scene();
    const wchar_t *triangulate();
    const wchar_t *allocate_triangles();
    const wchar_t *read_uv_channel(unsigned int channel);
    bool append_uvs(FbxMesh &source, unsigned int channel);
    const wchar_t *store_uv_channel(unsigned int channel);
    const wchar_t *read_vertices();
    const wchar_t *read_mesh(FbxNode &node, FbxMesh &source);
    const fbx_vertex_link_s *find_vertex_made_from(unsigned int control_point,
                                                   const FbxVector4 &normal) const;
    const wchar_t *store_vertices();

    vesk_mesh &mesh;
    FbxManager *manager = nullptr;
    FbxScene *scene = nullptr;
    FbxImporter *importer = nullptr;
    std::vector<FbxNode *> mesh_nodes;
    std::vector<FbxMesh *> triangulated_meshes; ///< one for each of `mesh_nodes`
    std::uint64_t triangle_count = 0;
    unsigned int channel_count = 1;

    std::vector<vesk_vector2> working_uvs;
    std::vector<unsigned int> working_uv_indices;
    std::vector<vesk_3d_vertex_s> working_vertices;
    std::vector<fbx_turned_normal> working_normals; ///< of the vertices of one mesh
    std::size_t first_vertex = 0;                   ///< of that mesh
    unsigned int next_word = 0;                     ///< of `index_array`
    FbxVector4 corner_normal; ///< lives on: a corner without normal sees the one before
};

/// Runs on success, failure and exception alike.
fbx_import::~fbx_import()
{
    clear_fbx_vertex_buckets();
    fbx_vertex_links.release();
    for (FbxMesh *triangles : triangulated_meshes)
        triangles->Destroy(false);
    if (manager)
        manager->Destroy();
}

const wchar_t *fbx_import::run(const wchar_t *path)
{
    const wchar_t *failure = open(path);
    if (!failure)
        failure = read_scene();
    if (!failure)
        failure = triangulate();
    if (!failure)
        failure = allocate_triangles();
    for (unsigned int channel = 0; !failure && channel < channel_count; ++channel)
        failure = read_uv_channel(channel);
    if (!failure)
        failure = read_vertices();
    if (!failure)
        failure = store_vertices();
    return failure;
}

const wchar_t *fbx_import::open(const wchar_t *path)
{
    constexpr const wchar_t *failure = L"Failed to initialize FBX importer.";
    manager = FbxManager::Create();
    FbxIOSettings *settings = manager ? FbxIOSettings::Create(manager, "IOSRoot") : nullptr;
    if (!settings)
        return failure;
    manager->SetIOSettings(settings);
    scene = FbxScene::Create(manager, "");
    importer = FbxImporter::Create(manager, "");

    // As long as it has to be; a path that is not valid text names no file.
    const std::size_t path_bytes = vesk_utf8_from_wide(path, nullptr, 0);
    vesk_scratch<char> utf8_path(path_bytes);
    if (!scene || !importer || path_bytes == 0 || !utf8_path.data)
        return failure;
    vesk_utf8_from_wide(path, utf8_path.data, path_bytes);
    if (!importer->Initialize(utf8_path.data, -1, manager->GetIOSettings()))
        return failure;
    if (!importer->IsFBX())
        return L"Failed to import FBX. Not a valid FBX file.";
    return nullptr;
}

const wchar_t *fbx_import::read_scene()
{
    FbxIOSettings *settings = manager->GetIOSettings();
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Material", false);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Texture", false);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Link", false);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Shape", false);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Gobo", false);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Animation", false);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Model", true);
    settings->SetBoolProp("Import|AdvOptGrp|FileFormat|Fbx|Global_Settings", false);
    if (!importer->Import(scene, false))
        return L"Failed to import FBX. Import(fbx_scene) failed.";
    importer->Destroy(false);

    FbxNode *root = scene->GetRootNode();
    for (int i = 0; i < root->GetChildCount(false); ++i)
        collect_fbx_mesh_nodes(root->GetChild(i), mesh_nodes);
    return mesh_nodes.empty() ? L"Failed to find any meshes in the FBX scene." : nullptr;
}

const wchar_t *fbx_import::triangulate()
{
    triangulated_meshes.reserve(mesh_nodes.size());
    for (FbxNode *node : mesh_nodes)
    {
        FbxGeometryConverter converter(manager);
        FbxNodeAttribute *triangles = converter.Triangulate(node->GetMesh(), false, false);
        if (!triangles)
            return L"Failed to triangulate fbx_mesh.";
        triangulated_meshes.push_back(static_cast<FbxMesh *>(triangles));
    }
    for (FbxMesh *triangles : triangulated_meshes)
    {
        const int uv_count = triangles->GetElementUVCount(FbxLayerElement::eUnknown);
        triangle_count += static_cast<unsigned int>(triangles->GetPolygonCount());
        channel_count = std::max(channel_count, static_cast<unsigned int>(uv_count));
    }
    return nullptr;
}

const wchar_t *fbx_import::allocate_triangles()
{
    // Words are counted in 32 bits.
    if (triangle_count <= UINT32_MAX / 7)
        mesh.index_array =
            vesk_alloc_array<unsigned int>(static_cast<std::size_t>(triangle_count) * 7);
    if (!mesh.index_array)
        return L"Memory Allocation Error: Failed to allocate mesh index array.";

    mesh.uv_channel_arrays.set_size(channel_count);
    mesh.uv_channel_counts.set_size(channel_count);
    mesh.uv_index_arrays.set_size(channel_count);
    // A list that could not grow has kept its size.
    if (mesh.uv_channel_arrays.size != channel_count ||
        mesh.uv_channel_counts.size != channel_count || mesh.uv_index_arrays.size != channel_count)
        return L"Memory Allocation Error: Failed to allocate mesh uv array.";
    mesh.uv_channel_arrays.set_count_to_size();
    mesh.uv_channel_counts.set_count_to_size();
    mesh.uv_index_arrays.set_count_to_size();
    for (unsigned int channel = 0; channel < channel_count; ++channel)
    {
        mesh.uv_channel_arrays[channel] = nullptr;
        mesh.uv_channel_counts[channel] = 0;
        mesh.uv_index_arrays[channel] = nullptr;
    }
    return nullptr;
}

const wchar_t *fbx_import::read_uv_channel(unsigned int channel)
{
    working_uvs.clear();
    working_uv_indices.clear();
    working_uv_indices.reserve(static_cast<std::size_t>(triangle_count) * 3);
    for (FbxMesh *source : triangulated_meshes)
        if (!append_uvs(*source, channel))
            return L"Not enough FBX uv indices for triangles.";
    if (working_uvs.empty())
        working_uvs.emplace_back(0.0f, 0.0f);
    return store_uv_channel(channel);
}

/// Appends a mesh's part of a channel. False when it has another number of UV indices than corners.
bool fbx_import::append_uvs(FbxMesh &source, unsigned int channel)
{
    const std::size_t corner_count = 3 * static_cast<std::size_t>(source.GetPolygonCount());
    const std::size_t first_corner = working_uv_indices.size();
    const auto *element = source.GetElementUV(static_cast<int>(channel), FbxLayerElement::eUnknown);
    if (!element)
    {
        working_uv_indices.resize(first_corner + corner_count, 0u);
        return true;
    }

    const FbxLayerElementArray &indices = element->GetIndexArray();
    if (static_cast<std::size_t>(indices.GetCount()) != corner_count)
        return false;
    const std::uint64_t uv_base = working_uvs.size();
    working_uv_indices.resize(first_corner + corner_count);
    unsigned int *target = working_uv_indices.data() + first_corner;
    for (int j = 0; j < indices.GetCount(); ++j)
    {
        int i = -1;
        indices.GetAt(j, &i, eFbxInt);
        const std::uint64_t index = i < 0 ? 0 : static_cast<std::uint64_t>(i) + uv_base;
        *target++ = static_cast<unsigned int>(std::min<std::uint64_t>(index, UINT32_MAX));
    }

    const FbxLayerElementArray &values = element->GetDirectArray();
    working_uvs.reserve(working_uvs.size() + static_cast<std::size_t>(values.GetCount()));
    for (int j = 0; j < values.GetCount(); ++j)
    {
        FbxVector2 uv;
        values.GetAt(j, &uv, eFbxDouble2);
        working_uvs.emplace_back(static_cast<float>(uv[0]), static_cast<float>(uv[1]));
    }
    return true;
}

const wchar_t *fbx_import::store_uv_channel(unsigned int channel)
{
    const std::size_t uv_count = working_uvs.size();
    vesk_vector2 *uvs = uv_count <= UINT32_MAX ? vesk_alloc_array<vesk_vector2>(uv_count) : nullptr;
    mesh.uv_channel_arrays[channel] = uvs;
    if (!uvs)
        return L"Memory Allocation Error: Failed to allocate mesh uv array.";
    unsigned int *indices = vesk_alloc_array<unsigned int>(working_uv_indices.size());
    mesh.uv_index_arrays[channel] = indices;
    if (!indices)
        return L"Memory Allocation Error: Failed to allocate mesh uv index array.";

    std::copy(working_uvs.begin(), working_uvs.end(), uvs);
    mesh.uv_channel_counts[channel] = static_cast<unsigned int>(uv_count);
    // An index beyond the channel reads UV 0, like one that is negative: no reader checks again.
    for (std::size_t j = 0; j < working_uv_indices.size(); ++j)
        indices[j] = working_uv_indices[j] < uv_count ? working_uv_indices[j] : 0;
    return nullptr;
}

const wchar_t *fbx_import::read_vertices()
{
    for (std::size_t i = 0; i < mesh_nodes.size(); ++i)
    {
        const wchar_t *failure = read_mesh(*mesh_nodes[i], *triangulated_meshes[i]);
        if (failure)
            return failure;
    }
    return nullptr;
}

/// The vertex that this very normal made at this point before, or null. It is the one that would
/// be found, and in most meshes five corners of six need no arithmetic.
const fbx_vertex_link_s *fbx_import::find_vertex_made_from(unsigned int control_point,
                                                           const FbxVector4 &normal) const
{
    if (control_point >= fbx_vertex_buckets.size())
        return nullptr;
    const fbx_vertex_link_s *link = fbx_vertex_buckets[control_point];
    while (link && !same_bits(working_normals[link->vertex_index - first_vertex].source, normal))
        link = link->next;
    return link;
}

const wchar_t *fbx_import::read_mesh(FbxNode &node, FbxMesh &source)
{
    const FbxAMatrix vertex_matrix = make_vertex_matrix(node);
    const FbxAMatrix normal_matrix = make_normal_matrix(vertex_matrix);
    const FbxVector4 *control_points = source.GetControlPoints();
    const int polygon_count = source.GetPolygonCount();

    const unsigned int table_count = mesh.subset_lookup_table.count;
    mesh.subset_lookup_table.push_back(next_word);
    mesh.subset_lookup_table.push_back(static_cast<unsigned int>(polygon_count));
    if (mesh.subset_lookup_table.count != table_count + 2)
        return L"Memory Allocation Error: Failed to allocate mesh index array.";

    first_vertex = working_vertices.size();
    working_normals.clear();
    const auto read_corner = [&](int polygon, int k)
    {
        const int point = source.GetPolygonVertex(polygon, k);
        const unsigned int control_point = static_cast<unsigned int>(point);
        source.GetPolygonVertexNormal(polygon, k, corner_normal);
        if (const fbx_vertex_link_s *known = find_vertex_made_from(control_point, corner_normal))
        {
            corner_normal = working_normals[known->vertex_index - first_vertex].turned;
            return known->vertex_index;
        }
        const FbxVector4 source_normal = corner_normal;
        corner_normal.Normalize();
        corner_normal = normal_matrix.MultT(corner_normal);
        corner_normal.Normalize();

        vesk_3d_vertex_s vertex;
        vertex.position = z_mirrored(vertex_matrix.MultT(control_points[point]));
        vertex.normal = z_mirrored(corner_normal);
        const unsigned int index = find_or_add_fbx_vertex(control_point, vertex, working_vertices);
        if (index - first_vertex == working_normals.size())
            working_normals.push_back({source_normal, corner_normal});
        return index;
    };
    for (int p = 0; p < polygon_count; ++p)
    {
        unsigned int *record = mesh.index_array + next_word;
        for (int k = 0; k < 3; ++k)
        {
            record[k] = read_corner(p, k);
            record[3 + k] = 0;
        }
        record[6] = next_word;
        next_word += 7;
    }
    clear_fbx_vertex_buckets();
    return nullptr;
}

const wchar_t *fbx_import::store_vertices()
{
    mesh.vertex_array = vesk_alloc_array<vesk_3d_vertex_s>(working_vertices.size());
    if (!mesh.vertex_array)
        return L"Memory Allocation Error: Failed to allocate mesh vertex array.";
    std::copy(working_vertices.begin(), working_vertices.end(), mesh.vertex_array);
    mesh.vertex_count = static_cast<unsigned int>(working_vertices.size());
    mesh.index_count = next_word;
    return nullptr;
}

/// The working data is gone when this returns, whatever happened.
const wchar_t *import_fbx(vesk_mesh &mesh, const wchar_t *path)
{
    fbx_import one_import(mesh);
    return one_import.run(path);
}
} // namespace

int vesk_mesh::load_from_file(const wchar_t *path)
{
    free_fail();
    ___clear_error_stack();

    const wchar_t *failure = nullptr;
    try
    {
        failure = import_fbx(*this, path);
    }
    catch (...) // the working arrays found no memory
    {
        free_fail();
        throw;
    }
    if (failure)
    {
        ___push_error(failure);
        free_fail();
        return 0;
    }
    set_uv_channel(0);
    ___calculate_min_max_bounding_box();
    return 1;
}
