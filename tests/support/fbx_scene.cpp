#include "support/fbx_scene.h"

#include "support/byte_file.h"

#include <gtest/gtest.h>

namespace
{
constexpr std::int64_t first_mesh_id = 500000;
constexpr std::int64_t first_attribute_id = 900000;

std::vector<fbx_node> property_records(const std::vector<fbx_property> &properties, bool version_6)
{
    std::vector<fbx_node> records;
    for (const fbx_property &p : properties)
    {
        fbx_node record = {
            version_6 ? "Property" : "P", {p.name, std::string(), std::string()}, {}};
        if (!version_6)
            record.values.emplace_back(std::string("A"));
        for (const double value : p.values)
            if (p.values.size() == 1)
                record.values.emplace_back(static_cast<int>(value));
            else
                record.values.emplace_back(value);
        records.push_back(record);
    }
    return records;
}

std::vector<fbx_node> mesh_records(const fbx_mesh_source &mesh)
{
    std::vector<fbx_node> records = {{"Vertices", {mesh.points}, {}},
                                     {"PolygonVertexIndex", {mesh.corners}, {}}};
    records.insert(records.end(), mesh.elements.begin(), mesh.elements.end());
    return records;
}

fbx_object_name model_name(int model)
{
    return {"Model", model == fbx_scene::root ? "Scene" : "node " + std::to_string(model)};
}

fbx_node layer_element(const std::string &kind, const std::string &array, int number,
                       const std::string &mapping, const std::vector<double> &values,
                       const std::vector<int> &indices)
{
    const std::string reference = indices.empty() ? "Direct" : "IndexToDirect";
    fbx_node element = {"LayerElement" + kind,
                        {number},
                        {{"MappingInformationType", {mapping}, {}},
                         {"ReferenceInformationType", {reference}, {}},
                         {array, {values}, {}}}};
    if (!indices.empty())
        element.children.push_back({array + "Index", {indices}, {}});
    return element;
}
} // namespace

fbx_node fbx_normals(const std::string &mapping, const std::vector<double> &values,
                     const std::vector<int> &indices)
{
    return layer_element("Normal", "Normals", 0, mapping, values, indices);
}

fbx_node fbx_uvs(int number, const std::vector<double> &values, const std::vector<int> &indices,
                 const std::string &mapping)
{
    return layer_element("UV", "UV", number, mapping, values, indices);
}

fbx_node fbx_layer(int number, const std::vector<std::string> &kinds)
{
    fbx_node layer = {"Layer", {number}, {}};
    for (const std::string &kind : kinds)
        layer.children.push_back(
            {"LayerElement", {}, {{"Type", {kind}, {}}, {"TypedIndex", {number}, {}}}});
    return layer;
}

int fbx_scene::add_model(int parent, const model &added)
{
    models.push_back(added);
    const int number = static_cast<int>(models.size());
    connections.push_back({number, parent, false});
    if (!added.attribute.empty())
        connections.push_back({number, number, true});
    return number;
}

int fbx_scene::add_mesh(int parent, const fbx_mesh_source &mesh,
                        const std::vector<fbx_property> &properties)
{
    meshes.push_back(mesh);
    return add_model(parent, {"Mesh", static_cast<int>(meshes.size()) - 1, properties});
}

int fbx_scene::add_group(int parent, const std::string &attribute,
                         const std::vector<fbx_property> &properties)
{
    return add_model(parent, {attribute, -1, properties});
}

int fbx_scene::add_instance(int parent, int shown, const std::vector<fbx_property> &properties)
{
    return add_model(parent,
                     {"Mesh", models[static_cast<std::size_t>(shown) - 1].mesh, properties});
}

void fbx_scene::connect(int child, int parent)
{
    connections.push_back({child, parent, false});
}

void fbx_scene::set_template(const std::vector<fbx_property> &properties)
{
    model_template = properties;
}

std::string fbx_scene::write(const fbx_encoding &encoding) const
{
    const bool version_6 = encoding.version < 7000;
    const std::string block = version_6 ? "Properties60" : "Properties70";
    fbx_node definitions = {"Definitions", {}, {}};
    if (!model_template.empty())
        definitions.children.push_back(
            {"ObjectType",
             {std::string("Model")},
             {{"PropertyTemplate",
               {std::string("FbxNode")},
               {{block, {}, property_records(model_template, version_6)}}}}});

    fbx_node objects = {"Objects", {}, {}};
    for (std::size_t i = 0; i < models.size(); ++i)
    {
        const int number = static_cast<int>(i) + 1;
        const model &m = models[i];
        fbx_node record = {"Model", {}, {{block, {}, property_records(m.properties, version_6)}}};
        if (!version_6)
            record.values.emplace_back(std::int64_t{number});
        record.values.emplace_back(model_name(number));
        record.values.emplace_back(m.attribute);
        if (version_6 && m.mesh >= 0)
            for (const fbx_node &r : mesh_records(meshes[static_cast<std::size_t>(m.mesh)]))
                record.children.push_back(r);
        objects.children.push_back(record);
        if (!version_6 && m.mesh < 0 && !m.attribute.empty())
            objects.children.push_back(
                {"NodeAttribute",
                 {first_attribute_id + number, fbx_object_name{"NodeAttribute", ""}, m.attribute},
                 {}});
    }
    for (std::size_t i = 0; i < meshes.size() && !version_6; ++i)
        objects.children.push_back({"Geometry",
                                    {first_mesh_id + static_cast<std::int64_t>(i),
                                     fbx_object_name{"Geometry", ""}, std::string("Mesh")},
                                    mesh_records(meshes[i])});

    fbx_node links = {"Connections", {}, {}};
    for (const connection &c : connections)
    {
        if (version_6 && c.of_mesh)
            continue;
        fbx_node record = {version_6 ? "Connect" : "C", {std::string("OO")}, {}};
        if (version_6)
        {
            record.values.emplace_back(model_name(c.child));
            record.values.emplace_back(model_name(c.parent));
        }
        else
        {
            const int mesh = c.of_mesh ? models[static_cast<std::size_t>(c.child) - 1].mesh : -1;
            const std::int64_t content =
                mesh >= 0 ? first_mesh_id + mesh : first_attribute_id + c.child;
            record.values.emplace_back(c.of_mesh ? content : std::int64_t{c.child});
            record.values.emplace_back(std::int64_t{c.parent});
        }
        links.children.push_back(record);
    }
    return write_fbx({definitions, objects, links}, encoding);
}

fbx_encoding fbx_text_74()
{
    fbx_encoding encoding;
    encoding.text = true;
    return encoding;
}

int load_fbx(vesk_mesh &mesh, const std::string &bytes)
{
    // Any character may be in a path.
    const temp_file file(u8"\u00e9\u4e2d\U0001F600.fbx", L"\u00e9\u4e2d\U0001F600.fbx");
    file.set_bytes(byte_vector(bytes.begin(), bytes.end()));
    return mesh.load_from_file(file.wide());
}

int load_fbx(vesk_mesh &mesh, const fbx_scene &scene)
{
    return load_fbx(mesh, scene.write(fbx_text_74()));
}

std::string messages_of(const vesk_mesh &mesh)
{
    std::string text;
    for (unsigned int i = 0; i < mesh.error_stack.count; ++i)
    {
        text += i > 0 ? "\n" : "";
        for (const wchar_t *c = mesh.error_stack.data[i]; *c; ++c)
            text += static_cast<char>(*c);
    }
    return text;
}

void expect_sound(const vesk_mesh &mesh, int result)
{
    EXPECT_EQ(mesh.error_stack.count, result == 1 ? 0u : 1u);
    if (result != 1)
    {
        EXPECT_EQ(mesh.vertex_array, nullptr);
        EXPECT_EQ(mesh.index_array, nullptr);
        EXPECT_EQ(mesh.uv_array, nullptr);
        EXPECT_EQ(mesh.vertex_count + mesh.index_count + mesh.uv_count, 0u);
        EXPECT_EQ(mesh.subset_lookup_table.count + mesh.uv_channel_arrays.count, 0u);
        return;
    }
    unsigned int word = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
    {
        ASSERT_EQ(mesh.subset_lookup_table[2 * s], word);
        word += 7 * mesh.subset_lookup_table[2 * s + 1];
    }
    ASSERT_EQ(mesh.index_count, word);
    ASSERT_GE(mesh.get_uv_channel_count(), 1u);
    for (unsigned int w = 0; w < mesh.index_count; w += 7)
    {
        ASSERT_EQ(mesh.index_array[w + 6], w);
        for (unsigned int k = 0; k < 3; ++k)
        {
            ASSERT_LT(mesh.index_array[w + k], mesh.vertex_count);
            ASSERT_EQ(mesh.index_array[w + 3 + k], mesh.uv_index_arrays[0][w / 7 * 3 + k]);
            for (unsigned int c = 0; c < mesh.get_uv_channel_count(); ++c)
                ASSERT_LT(mesh.uv_index_arrays[c][w / 7 * 3 + k], mesh.uv_channel_counts[c]);
        }
    }
}
