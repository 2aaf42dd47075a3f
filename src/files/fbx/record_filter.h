#pragma once

#include "files/fbx/document.h"

#include <string_view>

namespace vesk_fbx
{
/// Whether a child of `parent` (null at the top level) is looked into. The import needs models,
/// geometries and node attributes, the templates and the connections; animation curves, poses and
/// embedded media, which make up most of many files, are skipped as a whole.
inline bool has_wanted_children(const record *parent, std::string_view name)
{
    if (parent == nullptr)
        return name == "Objects" || name == "Connections" || name == "Definitions" ||
               name == "FBXHeaderExtension";
    if (parent->name == "FBXHeaderExtension")
        return false;
    if (parent->name == "Objects")
        return name == "Model" || name == "Geometry" || name == "NodeAttribute";
    return true;
}
} // namespace vesk_fbx
