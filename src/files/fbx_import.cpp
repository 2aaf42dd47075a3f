#include "files/fbx_sdk.h"
#include "files/fbx_vertices.h"
#include "files/utf8.h"
#include "foundation/alloc.h"
#include "foundation/scratch.h"
#include "vesk/mesh.h"

#include <algorithm>
#include <cstdint>
#include <vector>

// FBX import: the scene of a file, flattened into one mesh. What the file says reaches this source
// through operations of the FBX SDK, which only this source and that of the vertices call.

namespace
{
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
    bool count_uvs(unsigned int channel, std::uint64_t &uv_count) const;
    void copy_uvs(unsigned int channel) const;
    const wchar_t *read_vertices();
    const wchar_t *store_vertices();

    vesk_mesh &mesh;
    FbxManager *manager = nullptr;
    FbxScene *scene = nullptr;
    FbxImporter *importer = nullptr;
    std::vector<FbxNode *> mesh_nodes;
    std::vector<FbxMesh *> triangulated_meshes; ///< one for each of `mesh_nodes`
    std::uint64_t triangle_count = 0;
    unsigned int channel_count = 1;

    fbx_vertex_pass vertex_pass;
    unsigned int next_word = 0; ///< of `index_array`
};

/// Runs on success, failure and exception alike.
fbx_import::~fbx_import()
{
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
    std::uint64_t uv_count = 0;
    if (!count_uvs(channel, uv_count))
        return L"Not enough FBX uv indices for triangles.";
    if (uv_count == 0)
        uv_count = 1; // every channel has one at least
    // UVs are counted in 32 bits.
    if (uv_count <= UINT32_MAX)
        mesh.uv_channel_arrays[channel] =
            vesk_alloc_array<vesk_vector2>(static_cast<std::size_t>(uv_count));
    if (!mesh.uv_channel_arrays[channel])
        return L"Memory Allocation Error: Failed to allocate mesh uv array.";
    mesh.uv_index_arrays[channel] =
        vesk_alloc_array<unsigned int>(static_cast<std::size_t>(triangle_count) * 3);
    if (!mesh.uv_index_arrays[channel])
        return L"Memory Allocation Error: Failed to allocate mesh uv index array.";
    mesh.uv_channel_counts[channel] = static_cast<unsigned int>(uv_count);
    copy_uvs(channel);
    return nullptr;
}

/// The UVs of all meshes together. False when a mesh has another number of UV indices than corners.
bool fbx_import::count_uvs(unsigned int channel, std::uint64_t &uv_count) const
{
    for (FbxMesh *source : triangulated_meshes)
    {
        const auto *element =
            source->GetElementUV(static_cast<int>(channel), FbxLayerElement::eUnknown);
        if (!element)
            continue;
        if (element->GetIndexArray().GetCount() != 3 * std::int64_t{source->GetPolygonCount()})
            return false;
        uv_count += static_cast<unsigned int>(element->GetDirectArray().GetCount());
    }
    return true;
}

/// Lays the UVs of all meshes end to end, and fills the indices of all triangles.
void fbx_import::copy_uvs(unsigned int channel) const
{
    vesk_vector2 *const uvs = mesh.uv_channel_arrays[channel];
    const std::uint64_t uv_count = mesh.uv_channel_counts[channel];
    unsigned int *target = mesh.uv_index_arrays[channel];
    uvs[0] = vesk_vector2(0.0f, 0.0f); // where no mesh has any
    std::uint64_t uv_base = 0;
    for (FbxMesh *source : triangulated_meshes)
    {
        const int corner_count = 3 * source->GetPolygonCount();
        const auto *element =
            source->GetElementUV(static_cast<int>(channel), FbxLayerElement::eUnknown);
        if (!element)
        {
            target = std::fill_n(target, corner_count, 0u);
            continue;
        }
        const auto &indices = element->GetIndexArray();
        for (int j = 0; j < corner_count; ++j)
        {
            int i = -1;
            indices.GetAt(j, &i, eFbxInt);
            // An index beyond the channel reads UV 0, like one that is negative: no reader of the
            // mesh checks again.
            const std::uint64_t index = uv_base + static_cast<unsigned int>(i);
            *target++ = i >= 0 && index < uv_count ? static_cast<unsigned int>(index) : 0;
        }
        const auto &values = element->GetDirectArray();
        const int value_count = values.GetCount();
        for (int j = 0; j < value_count; ++j)
        {
            FbxVector2 uv;
            values.GetAt(j, &uv, eFbxDouble2);
            uvs[uv_base++] = vesk_vector2(static_cast<float>(uv[0]), static_cast<float>(uv[1]));
        }
    }
}

const wchar_t *fbx_import::read_vertices()
{
    for (std::size_t i = 0; i < mesh_nodes.size(); ++i)
    {
        FbxMesh &triangles = *triangulated_meshes[i];
        const unsigned int table_count = mesh.subset_lookup_table.count;
        mesh.subset_lookup_table.push_back(next_word);
        mesh.subset_lookup_table.push_back(static_cast<unsigned int>(triangles.GetPolygonCount()));
        if (mesh.subset_lookup_table.count != table_count + 2)
            return L"Memory Allocation Error: Failed to allocate mesh index array.";
        vertex_pass.read_mesh(*mesh_nodes[i], triangles, mesh.index_array, next_word);
    }
    return nullptr;
}

const wchar_t *fbx_import::store_vertices()
{
    const std::vector<vesk_3d_vertex_s> &working_vertices = vertex_pass.vertices();
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
