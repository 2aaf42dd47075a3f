#include "files/fbx/scene.h"

#include <algorithm>

namespace vesk_fbx
{
namespace
{
constexpr std::size_t nothing = static_cast<std::size_t>(-1);
constexpr std::size_t root = 0;

/// What objects are called in connections: a number from version 7 on, a name before.
struct object_key
{
    bool is_name = false;
    std::int64_t number = 0;
    std::string_view name;
};

bool operator<(const object_key &a, const object_key &b)
{
    if (a.is_name != b.is_name)
        return b.is_name;
    return a.is_name ? a.name < b.name : a.number < b.number;
}

bool operator==(const object_key &a, const object_key &b)
{
    return a.is_name == b.is_name && a.number == b.number && a.name == b.name;
}

bool read_key(const document &file, const record &r, std::uint32_t value, object_key &key)
{
    if (file.get_integer(r, value, key.number))
        return true;
    key.is_name = true;
    return file.get_text(r, value, key.name);
}

bool is_root(const object_key &key)
{
    using namespace std::string_view_literals;
    if (key.is_name)
        return key.name == "Model::Scene"sv || key.name == "Scene\0\1Model"sv;
    return key.number == 0;
}

enum class object_class
{
    model,
    geometry,
    attribute
};

struct object
{
    object_key key;
    object_class kind;
    const record *source;
};

struct attribute
{
    attribute_kind kind = attribute_kind::none;
    const record *mesh = nullptr;
};

std::string_view subtype(const document &file, const object &o)
{
    std::string_view text;
    file.get_text(*o.source, o.key.is_name ? 1 : 2, text);
    return text;
}

bool has_polygons(const record &r)
{
    return document::find_child(r, "Vertices") && document::find_child(r, "PolygonVertexIndex");
}

attribute mesh_attribute(const record &source)
{
    return {attribute_kind::mesh, &source};
}

/// What a Geometry or NodeAttribute object is to the model that it is connected to.
attribute connected_attribute(const document &file, const object &o)
{
    if (o.kind == object_class::geometry)
    {
        const std::string_view text = subtype(file, o);
        if (text == "Mesh" || (text.empty() && has_polygons(*o.source)))
            return mesh_attribute(*o.source);
        if (text == "Shape") // belongs to a deformer
            return {};
    }
    return {attribute_kind::other, nullptr};
}

/// What a model of version 6 carries in its own record.
attribute own_attribute(const document &file, const object &model)
{
    std::string_view text = subtype(file, model);
    if (text.substr(0, 3) == "Fbx")
        text.remove_prefix(3);
    if (text == "Mesh" || (text.empty() && has_polygons(*model.source)))
        return mesh_attribute(*model.source);
    return {text.empty() ? attribute_kind::none : attribute_kind::other, nullptr};
}

/// A model with its place among its siblings. Model 0 is the root.
struct model
{
    const object *source = nullptr;
    attribute content;
    bool has_parent = false;
    std::size_t first_child = nothing, last_child = nothing, next_sibling = nothing;
};

class scene_reader
{
public:
    explicit scene_reader(const document &file) : m_file(file) {}

    scene_tree read()
    {
        read_objects();
        read_connections();
        return arrange();
    }

private:
    void read_objects()
    {
        const record *objects = m_file.find_top("Objects");
        for (; objects; objects = document::find_next(*objects, "Objects"))
            for (const record *r = objects->first_child; r; r = r->next)
                read_object(*r);
        std::stable_sort(m_objects.begin(), m_objects.end(),
                         [](const object &a, const object &b) { return a.key < b.key; });

        m_models.resize(1);
        m_model_of.assign(m_objects.size(), nothing);
        m_next_free.assign(m_objects.size(), 0);
        for (std::size_t i = 0; i < m_objects.size(); ++i)
        {
            const object &o = m_objects[i];
            if (o.kind != object_class::model)
                continue;
            m_model_of[i] = m_models.size();
            m_models.emplace_back();
            m_models.back().source = &o;
            if (o.key.is_name)
                m_models.back().content = own_attribute(m_file, o);
        }
    }

    void read_object(const record &r)
    {
        object o = {{}, object_class::model, &r};
        if (r.name == "Geometry")
            o.kind = object_class::geometry;
        else if (r.name == "NodeAttribute")
            o.kind = object_class::attribute;
        else if (r.name != "Model")
            return;
        if (read_key(m_file, r, 0, o.key) && !is_root(o.key))
            m_objects.push_back(o);
    }

    /// The first object of that key, or `nothing`.
    std::size_t find_object(const object_key &key) const
    {
        const auto found =
            std::lower_bound(m_objects.begin(), m_objects.end(), key,
                             [](const object &a, const object_key &k) { return a.key < k; });
        if (found == m_objects.end() || !(found->key == key))
            return nothing;
        return static_cast<std::size_t>(found - m_objects.begin());
    }

    /// In version 6 several models may have one name. Each connection of such a name then means
    /// the next of them.
    std::size_t next_of_same_key(std::size_t first)
    {
        const std::size_t next = first + m_next_free[first];
        if (next >= m_objects.size() || !(m_objects[next].key == m_objects[first].key))
            return first;
        ++m_next_free[first];
        return next;
    }

    void read_connections()
    {
        const record *connections = m_file.find_top("Connections");
        for (; connections; connections = document::find_next(*connections, "Connections"))
            for (const record *r = connections->first_child; r; r = r->next)
                if (r->name == "C" || r->name == "Connect")
                    read_connection(*r);
    }

    void read_connection(const record &r)
    {
        std::string_view kind;
        object_key child_key, parent_key;
        if (!m_file.get_text(r, 0, kind) || kind != "OO")
            return;
        if (!read_key(m_file, r, 1, child_key) || !read_key(m_file, r, 2, parent_key))
            return;

        std::size_t parent = root;
        if (!is_root(parent_key))
        {
            const std::size_t found = find_object(parent_key);
            if (found == nothing || m_model_of[found] == nothing)
                return;
            parent = m_model_of[found];
        }
        const std::size_t child = find_object(child_key);
        if (child != nothing)
            connect(child, parent);
    }

    void connect(std::size_t child, std::size_t parent)
    {
        if (m_objects[child].kind != object_class::model)
        {
            attribute &content = m_models[parent].content;
            if (parent != root && content.kind == attribute_kind::none)
                content = connected_attribute(m_file, m_objects[child]);
            return;
        }
        const std::size_t node = m_model_of[next_of_same_key(child)];
        if (node == nothing || m_models[node].has_parent)
            return;
        m_models[node].has_parent = true;
        model &above = m_models[parent];
        if (above.last_child == nothing)
            above.first_child = node;
        else
            m_models[above.last_child].next_sibling = node;
        above.last_child = node;
    }

    /// Breadth first from the root, so that siblings come to stand side by side. Every model has
    /// one parent at most, so none is met twice and the walk ends.
    scene_tree arrange() const
    {
        scene_tree tree;
        std::vector<std::size_t> order = {root};
        for (std::size_t i = 0; i < order.size(); ++i)
        {
            const model &m = m_models[order[i]];
            scene_node node;
            node.model = m.source ? m.source->source : nullptr;
            node.attribute = m.content.kind;
            node.mesh = m.content.mesh;
            node.first_child = order.size();
            for (std::size_t c = m.first_child; c != nothing; c = m_models[c].next_sibling)
                order.push_back(c);
            node.child_count = order.size() - node.first_child;
            tree.nodes.push_back(node);
        }
        return tree;
    }

    const document &m_file;
    std::vector<object> m_objects;        ///< by key; objects of one key in the file's order
    std::vector<std::size_t> m_model_of;  ///< for each object its model, or `nothing`
    std::vector<std::size_t> m_next_free; ///< for the first object of a key: how many are connected
    std::vector<model> m_models;
};
} // namespace

scene_tree read_scene(const document &file)
{
    return scene_reader(file).read();
}
} // namespace vesk_fbx
