#include "files/fbx/scene.h"

namespace vesk_fbx
{
namespace
{
struct vector_property
{
    std::string_view name;
    vector3 node_properties::*field;
};

constexpr vector_property vector_properties[] = {
    {"Lcl Translation", &node_properties::translation},
    {"Lcl Rotation", &node_properties::rotation},
    {"Lcl Scaling", &node_properties::scaling},
    {"PreRotation", &node_properties::pre_rotation},
    {"PostRotation", &node_properties::post_rotation},
    {"RotationOffset", &node_properties::rotation_offset},
    {"RotationPivot", &node_properties::rotation_pivot},
    {"ScalingOffset", &node_properties::scaling_offset},
    {"ScalingPivot", &node_properties::scaling_pivot},
    {"GeometricTranslation", &node_properties::geometric_translation},
    {"GeometricRotation", &node_properties::geometric_rotation},
    {"GeometricScaling", &node_properties::geometric_scaling},
};

/// A property with less than three numbers does not count.
void read_vector(const document &file, const record &r, std::uint32_t first, vector3 &out)
{
    vector3 v;
    if (file.get_real(r, first, v.x) && file.get_real(r, first + 1, v.y) &&
        file.get_real(r, first + 2, v.z))
        out = v;
}

void read_number_property(const document &file, const record &r, std::string_view name,
                          std::uint32_t value, node_properties &out)
{
    std::int64_t number = 0;
    if (name == "RotationOrder")
    {
        if (file.get_integer(r, value, number) && number >= 0 && number <= 6)
            out.order = static_cast<rotation_order>(number);
    }
    else if (name == "InheritType")
    {
        if (file.get_integer(r, value, number) && number >= 0 && number <= 2)
            out.inherit = static_cast<inherit_type>(number);
    }
    else if (name == "RotationActive")
    {
        if (file.get_integer(r, value, number))
            out.rotation_active = number != 0;
    }
    else if (name == "RotationSpaceForLimitOnly")
    {
        if (file.get_integer(r, value, number))
            out.rotation_space_for_limit_only = number != 0;
    }
}

/// Values begin at the fifth of a `P` and at the fourth of a `Property`.
void read_property(const document &file, const record &r, std::uint32_t first_value,
                   node_properties &out)
{
    std::string_view name;
    if (!file.get_text(r, 0, name))
        return;
    for (const vector_property &p : vector_properties)
        if (name == p.name)
            return read_vector(file, r, first_value, out.*p.field);
    read_number_property(file, r, name, first_value, out);
}

/// Reads the property block of an object or a template.
void read_block(const document &file, const record &owner, node_properties &out)
{
    const record *block = document::find_child(owner, "Properties70");
    if (!block)
        block = document::find_child(owner, "Properties60");
    for (const record *r = block ? block->first_child : nullptr; r; r = r->next)
    {
        if (r->name == "P")
            read_property(file, *r, 4, out);
        else if (r->name == "Property")
            read_property(file, *r, 3, out);
    }
}
} // namespace

node_properties read_template(const document &file)
{
    node_properties properties;
    const record *definitions = file.find_top("Definitions");
    const record *type = definitions ? document::find_child(*definitions, "ObjectType") : nullptr;
    for (; type; type = document::find_next(*type, "ObjectType"))
    {
        std::string_view name;
        const record *source = document::find_child(*type, "PropertyTemplate");
        if (!source || !file.get_text(*type, 0, name) || name != "Model")
            continue;
        read_block(file, *source, properties);
        break;
    }
    return properties;
}

node_properties read_properties(const document &file, const record &model,
                                const node_properties &defaults)
{
    node_properties properties = defaults;
    read_block(file, model, properties);
    return properties;
}
} // namespace vesk_fbx
