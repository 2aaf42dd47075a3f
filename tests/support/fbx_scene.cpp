#include "support/fbx_scene.h"

#include "support/byte_file.h"
#include "support/mesh_compare.h"

namespace
{
constexpr std::int64_t first_attribute_id = -7123456789012345678;

fbx_node property_block(const std::vector<fbx_property> &properties, bool version_6)
{
    fbx_node block = {version_6 ? "Properties60" : "Properties70", {}, {}};
    for (const fbx_property &p : properties)
    {
        fbx_node record = {version_6 ? "Property" : "P", {p.name, "", ""}, {}};
        if (!version_6)
            record.values.emplace_back("A");
        record.values.insert(record.values.end(), p.values.begin(), p.values.end());
        block.children.push_back(record);
    }
    return block;
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
    return {"Model", model == fbx_scene::root ? "Scene" : "node {; &quot;" + std::to_string(model)};
}

fbx_node connection(std::int64_t child, std::int64_t parent)
{
    return {"C", {"OO", child, parent}, {}};
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

fbx_node fbx_uvs(int number, const std::vector<double> &values, const std::vector<int> &indices)
{
    return layer_element("UV", "UV", number, "ByPolygonVertex", values, indices);
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
    connect(number, parent);
    return number;
}

int fbx_scene::add_mesh(int parent, const fbx_mesh_source &mesh,
                        const std::vector<fbx_property> &properties)
{
    return add_model(parent, {"Mesh", mesh, properties});
}

int fbx_scene::add_group(int parent, const std::string &attribute,
                         const std::vector<fbx_property> &properties)
{
    return add_model(parent, {attribute, {}, properties});
}

void fbx_scene::connect(int child, int parent)
{
    connections.emplace_back(child, parent);
}

std::string fbx_scene::write(const fbx_encoding &encoding) const
{
    const bool version_6 = encoding.version < 7000;
    const fbx_node model_template = {
        "PropertyTemplate", {"FbxNode"}, {property_block(defaults, version_6)}};
    fbx_node objects = {"Objects", {}, {}}, links = {"Connections", {}, {}};
    for (const auto &[child, parent] : connections)
        links.children.push_back(
            version_6 ? fbx_node{"Connect", {"OO", model_name(child), model_name(parent)}, {}}
                      : connection(child, parent));
    for (const model &m : models)
    {
        const int number = static_cast<int>(&m - models.data()) + 1;
        const bool is_mesh = m.attribute == "Mesh";
        const auto content = is_mesh ? mesh_records(m.mesh) : std::vector<fbx_node>();
        fbx_node record = {
            "Model", {model_name(number), m.attribute}, {property_block(m.properties, version_6)}};
        if (version_6)
            record.children.insert(record.children.end(), content.begin(), content.end());
        else
            record.values.insert(record.values.begin(), std::int64_t{number});
        objects.children.push_back(record);
        if (version_6 || m.attribute.empty())
            continue;
        const std::int64_t id = first_attribute_id + number;
        const std::string kind = is_mesh ? "Geometry" : "NodeAttribute";
        objects.children.push_back({kind, {id, fbx_object_name{kind, ""}, m.attribute}, content});
        links.children.push_back(connection(id, number));
    }
    return write_fbx(
        {{"Definitions", {}, {{"ObjectType", {"Model"}, {model_template}}}}, objects, links},
        encoding);
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
    return load_fbx(mesh, scene.write({true, 7400, false, false}));
}

std::string messages_of(const vesk_mesh &mesh)
{
    std::wstring text;
    for (unsigned int i = 0; i < mesh.error_stack.count; ++i)
        text += (i > 0 ? L"\n" : L"") + std::wstring(mesh.error_stack.data[i]);
    return std::string(text.begin(), text.end());
}

void expect_sound(const vesk_mesh &mesh, int result)
{
    EXPECT_EQ(mesh.error_stack.count, result == 1 ? 0u : 1u);
    if (result != 1)
    {
        EXPECT_TRUE(is_empty_mesh(mesh));
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
