#pragma once

#include "files/fbx/sdk_math.h"

#include <cstddef>
#include <memory>
#include <vector>

// What the import calls of the FBX SDK, with the SDK's names and meanings, on top of vesk's own
// reader. Only what the import needs is here. Everything stands in a namespace of its own and is
// not exported, so a host that links the real SDK is not disturbed.
//
// No operation throws: exhausted memory is a null object or a failed `Initialize`, `Import` or
// `Triangulate`.

namespace vesk_fbx
{
class document;
class FbxIOSettings;
class FbxManager;
class FbxMesh;
class FbxScene;
struct mesh_geometry;
struct triangle_geometry;

using FbxLongLong = long long;

/// A point in time; the import knows only "no time at all".
struct FbxTime
{
    FbxLongLong ticks = 0;
};
constexpr FbxTime FBXSDK_TIME_INFINITE = {0x7FFFFFFFFFFFFFFF};

/// The type of the element that `FbxLayerElementArray::GetAt` writes.
enum EFbxType
{
    eFbxInt,
    eFbxDouble2
};

/// An object of a manager, which owns it.
class FbxObject
{
public:
    FbxObject(const FbxObject &) = delete;
    FbxObject &operator=(const FbxObject &) = delete;

    /// Destroys this object, and no other: nothing here owns objects but the manager.
    void Destroy(bool recursive = false);

protected:
    explicit FbxObject(FbxManager &manager);
    virtual ~FbxObject();

private:
    friend class FbxManager;

    FbxManager &m_manager;
    FbxObject *m_previous = nullptr, *m_next = nullptr; // the manager's list
};

/// Owner of every object.
class FbxManager
{
public:
    static FbxManager *Create();
    /// Destroys the manager and every object that it still owns.
    void Destroy();

    void SetIOSettings(FbxIOSettings *settings)
    {
        m_settings = settings;
    }
    FbxIOSettings *GetIOSettings() const
    {
        return m_settings;
    }

private:
    friend class FbxObject;

    FbxManager() = default;
    ~FbxManager();

    FbxObject *m_first = nullptr;
    FbxIOSettings *m_settings = nullptr;
};

class FbxIOSettings : public FbxObject
{
public:
    static FbxIOSettings *Create(FbxManager *manager, const char *name);

    /// Nothing: geometry is all that is ever read, as if every other option were off.
    void SetBoolProp(const char *name, bool value);

private:
    using FbxObject::FbxObject;
};

class FbxLayerElement
{
public:
    enum EType
    {
        eUnknown ///< any kind
    };
};

/// The values or the indices of a layer element. Refers to numbers of the mesh.
class FbxLayerElementArray
{
public:
    FbxLayerElementArray() = default;
    /// Element i is `indices[positions[i]]`, or `indices[i]` without positions.
    FbxLayerElementArray(const number_view<int> &indices, std::size_t count, const int *positions)
        : m_indices(indices)
        , m_positions(positions)
        , m_count(count)
    {
    }
    /// Pairs.
    explicit FbxLayerElementArray(const number_view<double> &numbers)
        : m_pairs(numbers)
        , m_count(numbers.count / 2)
    {
    }

    int GetCount() const
    {
        return static_cast<int>(m_count);
    }
    /// Copies element `i`; false, and nothing copied, when there is none of that type.
    bool GetAt(int i, int *out, EFbxType type) const
    {
        const std::size_t at = static_cast<std::size_t>(i);
        if (type != eFbxInt || !m_indices.bytes || at >= m_count)
            return false;
        *out = m_indices[m_positions ? static_cast<std::size_t>(m_positions[at]) : at];
        return true;
    }
    bool GetAt(int i, FbxVector2 *out, EFbxType type) const
    {
        const std::size_t at = static_cast<std::size_t>(i);
        if (type != eFbxDouble2 || !m_pairs.bytes || at >= m_count)
            return false;
        *out = {{m_pairs[2 * at], m_pairs[2 * at + 1]}};
        return true;
    }

private:
    number_view<int> m_indices;
    const int *m_positions = nullptr;
    number_view<double> m_pairs;
    std::size_t m_count = 0; ///< no int, which a caller that writes ints would have to read again
};

class FbxGeometryElementUV : public FbxLayerElement
{
public:
    FbxGeometryElementUV(const FbxLayerElementArray &indices, const FbxLayerElementArray &values)
        : m_indices(indices)
        , m_values(values)
    {
    }
    const FbxLayerElementArray &GetIndexArray() const
    {
        return m_indices;
    }
    const FbxLayerElementArray &GetDirectArray() const
    {
        return m_values;
    }

private:
    FbxLayerElementArray m_indices, m_values;
};

/// What hangs on a node. Anything but a mesh is just that.
class FbxNodeAttribute : public FbxObject
{
public:
    enum EType
    {
        eUnknown,
        eMesh
    };

    virtual EType GetAttributeType() const
    {
        return eUnknown;
    }

protected:
    friend class FbxScene;
    using FbxObject::FbxObject;
};

class FbxGeometryBase : public FbxNodeAttribute
{
public:
    FbxVector4 *GetControlPoints() const
    {
        return m_points;
    }
    int GetElementUVCount(FbxLayerElement::EType type) const;
    /// Null when there is no such element.
    const FbxGeometryElementUV *GetElementUV(int i, FbxLayerElement::EType type) const;

protected:
    using FbxNodeAttribute::FbxNodeAttribute;

    FbxVector4 *m_points = nullptr;
    std::vector<FbxGeometryElementUV> m_uvs;
};

/// A mesh of the scene or the triangles of one. The import looks into triangles only, so a mesh of
/// the scene shows no polygons and no UVs. Both share the file's numbers.
class FbxMesh : public FbxGeometryBase
{
public:
    EType GetAttributeType() const override
    {
        return eMesh;
    }
    int GetPolygonCount() const
    {
        return m_polygon_count;
    }
    /// The control point at a corner; no check of the arguments. Always one that exists.
    int GetPolygonVertex(int polygon, int corner) const
    {
        return m_corner_points[get_source_corner(polygon, corner)];
    }
    /// The normal of a corner as the file has it. Where it has none that is finite, the direction
    /// that the polygon faces before triangulation, zero for one without area.
    bool GetPolygonVertexNormal(int polygon, int corner, FbxVector4 &normal) const
    {
        return get_listed_normal(get_source_corner(polygon, corner), normal) ||
               get_any_normal(polygon, corner, normal);
    }

private:
    friend class FbxGeometryConverter;
    friend class FbxScene;

    FbxMesh(FbxManager &manager, std::shared_ptr<const mesh_geometry> geometry);
    ~FbxMesh() override;
    void show_triangles(std::shared_ptr<const triangle_geometry> triangles);
    void list_uvs();
    void list_normals();
    /// The number that a corner of a triangle had before its polygon was cut.
    std::size_t get_source_corner(int polygon, int corner) const
    {
        const std::size_t number =
            3 * static_cast<std::size_t>(polygon) + static_cast<std::size_t>(corner);
        return m_corners ? static_cast<std::size_t>(m_corners[number]) : number;
    }
    /// The common case, where a normal is one step away from the number of the source's corner.
    bool get_listed_normal(std::size_t source_corner, FbxVector4 &normal) const
    {
        const bool direct = !m_normal_entries.bytes;
        return m_normals.get(direct ? source_corner
                                    : static_cast<std::size_t>(m_normal_entries[source_corner]),
                             normal);
    }
    bool get_any_normal(int polygon, int corner, FbxVector4 &normal) const;

    std::shared_ptr<const mesh_geometry> m_geometry;
    /// On a mesh of the scene: kept for the next node that shares it.
    std::shared_ptr<const triangle_geometry> m_triangles;
    int m_polygon_count = 0;
    const int *m_corners = nullptr;       ///< of the source, for each corner; null: its own number
    const int *m_corner_points = nullptr; ///< for each corner of the source
    vector_list m_normals;                ///< empty where there is no list
    number_view<int> m_normal_entries;    ///< for each corner of the source; none: its own number
    mutable int m_source_polygon = 0;     ///< the one looked for last
    mutable int m_facing_polygon = -1;    ///< whose facing was asked for last
    mutable FbxVector4 m_facing;
};

class FbxGeometryConverter
{
public:
    explicit FbxGeometryConverter(FbxManager *manager) : m_manager(manager) {}
    /// A mesh of the same polygons cut into triangles, not attached to any node; null on failure.
    FbxNodeAttribute *Triangulate(FbxNodeAttribute *attribute, bool replace, bool legacy);

private:
    FbxManager *m_manager;
};

class FbxNode
{
public:
    enum EPivotSet
    {
        eSourcePivot
    };

    int GetChildCount(bool recursive = false) const
    {
        static_cast<void>(recursive);
        return m_child_count;
    }
    FbxNode *GetChild(int i) const
    {
        return m_children + i;
    }
    FbxNodeAttribute *GetNodeAttribute() const
    {
        return m_attribute;
    }
    FbxMesh *GetMesh() const
    {
        return m_mesh;
    }
    const FbxAMatrix &EvaluateGlobalTransform(FbxTime time, EPivotSet pivots, bool apply_target,
                                              bool force) const;
    FbxVector4 GetGeometricTranslation(EPivotSet pivots) const;
    FbxVector4 GetGeometricRotation(EPivotSet pivots) const;
    FbxVector4 GetGeometricScaling(EPivotSet pivots) const;

private:
    friend class FbxScene;

    FbxNode *m_children = nullptr; // side by side
    int m_child_count = 0;
    FbxNodeAttribute *m_attribute = nullptr;
    FbxMesh *m_mesh = nullptr;
    FbxAMatrix m_global;
    FbxVector4 m_geometric_translation, m_geometric_rotation, m_geometric_scaling;
};

class FbxScene : public FbxObject
{
public:
    static FbxScene *Create(FbxManager *manager, const char *name);
    ~FbxScene() override;

    FbxNode *GetRootNode() const
    {
        return m_root;
    }

private:
    friend class FbxImporter;

    explicit FbxScene(FbxManager &manager);
    bool read(const document &file, FbxManager &manager);

    std::vector<FbxNode> m_nodes;
    FbxNode *m_root = nullptr;
};

class FbxImporter : public FbxObject
{
public:
    static FbxImporter *Create(FbxManager *manager, const char *name);
    ~FbxImporter() override;

    /// Opens a file and finds out what it is. False when it cannot be read or is nothing known.
    bool Initialize(const char *utf8_path, int format, FbxIOSettings *settings);
    bool IsFBX() const
    {
        return m_is_fbx;
    }
    /// Reads the file into the scene. False when it is damaged, or memory is short.
    bool Import(FbxScene *scene, bool non_blocking);

private:
    explicit FbxImporter(FbxManager &manager);

    FbxManager &m_owner;
    std::unique_ptr<document> m_file;
    bool m_is_fbx = false;
};
} // namespace vesk_fbx
