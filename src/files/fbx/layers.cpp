#include "files/fbx/geometry.h"

#include <algorithm>
#include <iterator>

namespace vesk_fbx
{
namespace
{
constexpr std::string_view normal_kind = "LayerElementNormal";

/// The kinds of UV elements in the order in which one layer counts them.
constexpr std::string_view uv_kinds[] = {
    "LayerElementUV",
    "LayerElementDiffuseFactorUV",
    "LayerElementEmissiveUV",
    "LayerElementEmissiveFactorUV",
    "LayerElementAmbientUV",
    "LayerElementAmbientFactorUV",
    "LayerElementSpecularUV",
    "LayerElementSpecularFactorUV",
    "LayerElementShininessUV",
    "LayerElementNormalMapUV",
    "LayerElementBumpUV",
    "LayerElementTransparentUV",
    "LayerElementTransparencyFactorUV",
    "LayerElementReflectionUV",
    "LayerElementReflectionFactorUV",
    "LayerElementDisplacementUV",
};
constexpr int normal_kind_number = -1;
constexpr int no_kind = -2;

int kind_number(std::string_view name)
{
    if (name == normal_kind)
        return normal_kind_number;
    if (name.size() < 2 || name.substr(name.size() - 2) != "UV")
        return no_kind;
    const auto *found = std::find(std::begin(uv_kinds), std::end(uv_kinds), name);
    return found == std::end(uv_kinds) ? no_kind : static_cast<int>(found - uv_kinds);
}

/// A layer element's name: its kind, and its number among those of the kind.
struct element_key
{
    int kind;
    std::int64_t number;
};

bool operator<(const element_key &a, const element_key &b)
{
    return a.kind != b.kind ? a.kind < b.kind : a.number < b.number;
}

struct element
{
    element_key key;
    const record *source;
    bool used;
};

struct layer
{
    std::int64_t number;
    const record *source;
};

std::string_view child_text(const document &file, const record &parent, std::string_view name)
{
    std::string_view text;
    const record *child = document::find_child(parent, name);
    if (child)
        file.get_text(*child, 0, text);
    return text;
}

mapping_mode read_mapping(const document &file, const record &source)
{
    const std::string_view text = child_text(file, source, "MappingInformationType");
    if (text == "ByPolygonVertex")
        return mapping_mode::by_corner;
    if (text == "ByVertice" || text == "ByVertex")
        return mapping_mode::by_point;
    if (text == "ByPolygon")
        return mapping_mode::by_polygon;
    if (text == "AllSame")
        return mapping_mode::all_same;
    return mapping_mode::unknown;
}

/// Reads the two arrays of an element. A direct element's indices are not there, whatever stands
/// in the file; one that says nothing of its kind is indexed when there are indices.
bool read_arrays(const document &file, const record &source, std::string_view direct_name,
                 std::string_view index_name, number_array<double> &direct,
                 number_array<int> &indices, bool &indexed)
{
    const record *values = document::find_child(source, direct_name);
    if (values && !file.read_numbers(*values, direct))
        return false;

    const std::string_view reference = child_text(file, source, "ReferenceInformationType");
    const record *index_values = document::find_child(source, index_name);
    indexed = reference == "IndexToDirect" || reference == "Index" ||
              (reference != "Direct" && index_values != nullptr);
    return !indexed || !index_values || file.read_numbers(*index_values, indices);
}

class layer_reader
{
public:
    layer_reader(const document &file, const record &source, mesh_geometry &out)
        : m_file(file)
        , m_out(out)
    {
        for (const record *r = source.first_child; r; r = r->next)
        {
            const bool is_layer = r->name == "Layer";
            const int kind = is_layer ? no_kind : kind_number(r->name);
            if (!is_layer && kind == no_kind)
                continue;
            std::int64_t number = 0;
            file.get_integer(*r, 0, number);
            if (is_layer)
                m_layers.push_back({number, r});
            else
                m_elements.push_back({{kind, number}, r, false});
        }
        std::stable_sort(m_layers.begin(), m_layers.end(),
                         [](const layer &a, const layer &b) { return a.number < b.number; });
        std::stable_sort(m_elements.begin(), m_elements.end(),
                         [](const element &a, const element &b) { return a.key < b.key; });
    }

    bool read()
    {
        for (const layer &l : m_layers)
        {
            list_keys(*l.source);
            for (const element_key &key : m_keys)
                if (!read_element(key))
                    return false;
        }
        return true;
    }

private:
    void list_keys(const record &source)
    {
        m_keys.clear();
        const record *r = document::find_child(source, "LayerElement");
        for (; r; r = document::find_next(*r, "LayerElement"))
        {
            element_key key = {kind_number(child_text(m_file, *r, "Type")), 0};
            const record *number = document::find_child(*r, "TypedIndex");
            if (number)
                m_file.get_integer(*number, 0, key.number);
            if (key.kind != no_kind)
                m_keys.push_back(key);
        }
        std::stable_sort(m_keys.begin(), m_keys.end());
    }

    bool read_element(const element_key &key)
    {
        const auto found =
            std::lower_bound(m_elements.begin(), m_elements.end(), key,
                             [](const element &a, const element_key &k) { return a.key < k; });
        if (found == m_elements.end() || key < found->key || found->used)
            return true;
        found->used = true;
        return key.kind == normal_kind_number ? read_normals(*found->source)
                                              : read_uvs(*found->source);
    }

    bool read_normals(const record &source)
    {
        normal_element &normals = m_out.normals;
        if (normals.directions.count > 0)
            return true;
        normals.mapping = read_mapping(m_file, source);
        return read_arrays(m_file, source, "Normals", "NormalsIndex", normals.directions,
                           normals.indices, normals.indexed);
    }

    bool read_uvs(const record &source)
    {
        m_out.uvs.emplace_back();
        uv_element &uvs = m_out.uvs.back();
        uvs.mapping = read_mapping(m_file, source);
        bool indexed = false;
        return read_arrays(m_file, source, "UV", "UVIndex", uvs.values, uvs.indices, indexed);
    }

    const document &m_file;
    mesh_geometry &m_out;
    std::vector<layer> m_layers;
    std::vector<element> m_elements;
    std::vector<element_key> m_keys; ///< of one layer
};
} // namespace

bool read_layers(const document &file, const record &source, mesh_geometry &out)
{
    return layer_reader(file, source, out).read();
}
} // namespace vesk_fbx
