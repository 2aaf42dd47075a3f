#include "files/fbx/sdk.h"

#include "files/fbx/document.h"
#include "files/fbx/geometry.h"

#include <new>
#include <utility>

namespace vesk_fbx
{
FbxObject::FbxObject(FbxManager &manager) : m_manager(manager), m_next(manager.m_first)
{
    if (m_next)
        m_next->m_previous = this;
    manager.m_first = this;
}

FbxObject::~FbxObject()
{
    if (m_previous)
        m_previous->m_next = m_next;
    else
        m_manager.m_first = m_next;
    if (m_next)
        m_next->m_previous = m_previous;
}

void FbxObject::Destroy(bool)
{
    delete this;
}

FbxManager *FbxManager::Create()
{
    return new (std::nothrow) FbxManager;
}

FbxManager::~FbxManager()
{
    while (m_first)
        m_first->Destroy(); // NOLINT(clang-analyzer-cplusplus.NewDelete): the first leaves the list
}

void FbxManager::Destroy()
{
    delete this;
}

FbxIOSettings *FbxIOSettings::Create(FbxManager *manager, const char *)
{
    return new (std::nothrow) FbxIOSettings(*manager);
}

void FbxIOSettings::SetBoolProp(const char *, bool) {}

int FbxGeometryBase::GetElementUVCount(FbxLayerElement::EType) const
{
    return static_cast<int>(m_uvs.size());
}

const FbxGeometryElementUV *FbxGeometryBase::GetElementUV(int i, FbxLayerElement::EType) const
{
    const bool exists = i >= 0 && static_cast<std::size_t>(i) < m_uvs.size();
    return exists ? &m_uvs[static_cast<std::size_t>(i)] : nullptr;
}

FbxMesh::FbxMesh(FbxManager &manager, std::shared_ptr<const mesh_geometry> geometry)
    : FbxGeometryBase(manager)
    , m_geometry(std::move(geometry))
{
    m_points = m_geometry->points.get();
}

FbxMesh::~FbxMesh() = default;

void FbxMesh::show_triangles(std::shared_ptr<const triangle_geometry> triangles)
{
    m_triangles = std::move(triangles);
    m_polygon_count = m_triangles->triangle_count;
    m_corners = m_triangles->corners.get();
    m_corner_points = m_geometry->corner_points.get();
    list_uvs();
    list_normals();
}

void FbxMesh::list_uvs()
{
    const std::size_t corner_count = 3 * static_cast<std::size_t>(m_polygon_count);
    m_uvs.reserve(m_geometry->uvs.size());
    for (const uv_element &element : m_geometry->uvs)
    {
        FbxLayerElementArray indices(element.indices, element.indices.count, nullptr);
        // Indices by corner follow their corners; where there is not one for each, none is left.
        if (m_corners && element.mapping == mapping_mode::by_corner)
            indices = element.indices.count == m_geometry->corner_count
                          ? FbxLayerElementArray(element.indices, corner_count, m_corners)
                          : FbxLayerElementArray();
        m_uvs.emplace_back(indices, FbxLayerElementArray(element.values));
    }
}

void FbxMesh::list_normals()
{
    const normal_element &normals = m_geometry->normals;
    if (normals.mapping == mapping_mode::by_corner && normals.indexed)
    {
        if (normals.indices.count < m_geometry->corner_count)
            return;
        m_normal_entries = normals.indices;
    }
    else if (normals.mapping == mapping_mode::by_point && !normals.indexed)
        m_normal_entries = {reinterpret_cast<const char *>(m_corner_points),
                            m_geometry->corner_count};
    else if (normals.mapping != mapping_mode::by_corner)
        return;
    m_normals = vector_list(normals.directions);
}

bool FbxMesh::get_any_normal(int polygon, int corner, FbxVector4 &normal) const
{
    const int source_corner = static_cast<int>(get_source_corner(polygon, corner));
    m_source_polygon = m_geometry->find_polygon(source_corner, m_source_polygon);
    const int number = m_geometry->get_polygon(m_source_polygon).number;
    if (m_geometry->find_normal(source_corner, number, normal))
        return true;

    // The corners of a polygon come one after the other, so it is looked at once.
    if (m_facing_polygon != m_source_polygon)
    {
        m_facing = m_geometry->face_normal(m_source_polygon);
        m_facing_polygon = m_source_polygon;
    }
    normal = m_facing;
    return true;
}

FbxNodeAttribute *FbxGeometryConverter::Triangulate(FbxNodeAttribute *attribute, bool, bool)
try
{
    FbxMesh &source = static_cast<FbxMesh &>(*attribute);
    if (!source.m_triangles)
    {
        auto triangles = std::make_shared<triangle_geometry>();
        triangulate(*source.m_geometry, *triangles);
        source.m_triangles = std::move(triangles);
    }
    std::unique_ptr<FbxMesh, void (*)(FbxMesh *)> mesh(new FbxMesh(*m_manager, source.m_geometry),
                                                       [](FbxMesh *m) { m->Destroy(); });
    mesh->show_triangles(source.m_triangles);
    return mesh.release();
}
catch (const std::bad_alloc &)
{
    return nullptr;
}

const FbxAMatrix &FbxNode::EvaluateGlobalTransform(FbxTime, EPivotSet, bool, bool) const
{
    return m_global;
}

FbxVector4 FbxNode::GetGeometricTranslation(EPivotSet) const
{
    return m_geometric_translation;
}

FbxVector4 FbxNode::GetGeometricRotation(EPivotSet) const
{
    return m_geometric_rotation;
}

FbxVector4 FbxNode::GetGeometricScaling(EPivotSet) const
{
    return m_geometric_scaling;
}

FbxImporter::FbxImporter(FbxManager &manager) : FbxObject(manager), m_owner(manager) {}

FbxImporter::~FbxImporter() = default;

FbxImporter *FbxImporter::Create(FbxManager *manager, const char *)
{
    return new (std::nothrow) FbxImporter(*manager);
}

bool FbxImporter::Initialize(const char *utf8_path, int, FbxIOSettings *)
try
{
    m_file = std::make_unique<document>();
    const load_result what = m_file->open(utf8_path);
    m_is_fbx = what == load_result::ok || what == load_result::damaged;
    return what != load_result::not_readable;
}
catch (const std::bad_alloc &)
{
    return false;
}

bool FbxImporter::Import(FbxScene *scene, bool)
try
{
    return m_file->parse() == load_result::ok && scene->read(*m_file, m_owner);
}
catch (const std::bad_alloc &)
{
    return false;
}
} // namespace vesk_fbx
