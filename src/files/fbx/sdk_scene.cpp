#include "files/fbx/geometry.h"
#include "files/fbx/scene.h"
#include "files/fbx/sdk.h"

#include <map>
#include <new>

namespace vesk_fbx
{
namespace
{
FbxAMatrix matrix_of(const node_frame &frame)
{
    FbxAMatrix matrix;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            matrix[i][j] = frame.linear.m[j][i];
    matrix[3][0] = frame.translation.x;
    matrix[3][1] = frame.translation.y;
    matrix[3][2] = frame.translation.z;
    return matrix;
}

FbxVector4 vector_of(const vector3 &v)
{
    return {v.x, v.y, v.z};
}
} // namespace

FbxScene::FbxScene(FbxManager &manager) : FbxObject(manager) {}

FbxScene::~FbxScene() = default;

FbxScene *FbxScene::Create(FbxManager *manager, const char *)
{
    return new (std::nothrow) FbxScene(*manager);
}

bool FbxScene::read(const document &file, FbxManager &manager)
{
    const scene_tree tree = read_scene(file);
    const node_properties defaults = read_template(file);
    m_nodes.resize(tree.nodes.size());
    m_root = m_nodes.data();

    std::vector<node_frame> frames(tree.nodes.size());
    std::map<const record *, FbxMesh *> meshes;
    FbxNodeAttribute *other = new FbxNodeAttribute(manager);
    for (std::size_t i = 0; i < tree.nodes.size(); ++i)
    {
        const scene_node &source = tree.nodes[i];
        FbxNode &node = m_nodes[i];
        node.m_children = m_nodes.data() + source.first_child;
        node.m_child_count = static_cast<int>(source.child_count);
        for (std::size_t c = 0; c < source.child_count; ++c)
        {
            const std::size_t child = source.first_child + c;
            const node_properties p = read_properties(file, *tree.nodes[child].model, defaults);
            frames[child] = child_frame(frames[i], p);
            m_nodes[child].m_global = matrix_of(frames[child]);
            m_nodes[child].m_geometric_translation = vector_of(p.geometric_translation);
            m_nodes[child].m_geometric_rotation = vector_of(p.geometric_rotation);
            m_nodes[child].m_geometric_scaling = vector_of(p.geometric_scaling);
        }
        if (source.attribute == attribute_kind::other)
            node.m_attribute = other;
        if (source.attribute != attribute_kind::mesh)
            continue;

        FbxMesh *&mesh = meshes[source.mesh];
        if (!mesh)
        {
            auto geometry = std::make_shared<mesh_geometry>();
            if (!read_geometry(file, *source.mesh, *geometry))
                return false;
            mesh = new FbxMesh(manager, std::move(geometry));
        }
        node.m_attribute = node.m_mesh = mesh;
    }
    return true;
}
} // namespace vesk_fbx
