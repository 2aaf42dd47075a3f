#pragma once

#include "files/fbx/document.h"
#include "files/fbx/transform.h"

#include <vector>

namespace vesk_fbx
{
/// What hangs on a node.
enum class attribute_kind
{
    none,
    mesh,
    other ///< a camera, a light, a joint, a group, a curve and the like
};

struct scene_node
{
    const record *model = nullptr; ///< null for the root
    attribute_kind attribute = attribute_kind::none;
    const record *mesh = nullptr; ///< where the mesh's records stand; nodes may share it
    std::size_t first_child = 0;  ///< children stand side by side, in order
    std::size_t child_count = 0;
};

/// The nodes that hang on the root, the root first, parents before children.
struct scene_tree
{
    std::vector<scene_node> nodes;
};

/// Finds the nodes of a file's scene. Children come in the order of the connection records. Each
/// node is a child of one parent at most: the first that a connection names. Cycles and what hangs
/// on them are not connected to the root, so they are not there. May throw std::bad_alloc.
scene_tree read_scene(const document &file);

/// The transform properties that hold for models that do not set their own.
node_properties read_template(const document &file);
/// The transform properties of a model.
node_properties read_properties(const document &file, const record &model,
                                const node_properties &defaults);
} // namespace vesk_fbx
