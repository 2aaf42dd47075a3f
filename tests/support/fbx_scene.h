#pragma once

#include "support/fbx_writer.h"
#include "vesk/mesh.h"

#include <string>
#include <vector>

/// FBX scenes for tests, to be written in any encoding: version 6 carries meshes in their models
/// and connects by name, later ones connect objects by number.

struct fbx_property
{
    std::string name;
    std::vector<double> values;
};

struct fbx_mesh_source
{
    std::vector<double> points; ///< three each
    std::vector<int> corners;   ///< the last of each polygon complemented
    std::vector<fbx_node> elements;
};

/// `Normals` of some mapping; indexed when there are indices.
fbx_node fbx_normals(const std::string &mapping, const std::vector<double> &values,
                     const std::vector<int> &indices = {});
/// Element number `number` of `UV`; direct when there are no indices.
fbx_node fbx_uvs(int number, const std::vector<double> &values, const std::vector<int> &indices,
                 const std::string &mapping = "ByPolygonVertex");
/// Layer `number` with one element of each of these kinds, all with the layer's number.
fbx_node fbx_layer(int number, const std::vector<std::string> &kinds);

class fbx_scene
{
public:
    static constexpr int root = 0;

    /// Each gives the number of the model. The attribute is connected after the model.
    int add_mesh(int parent, const fbx_mesh_source &mesh,
                 const std::vector<fbx_property> &properties = {});
    int add_group(int parent, const std::string &attribute = "Null",
                  const std::vector<fbx_property> &properties = {});
    /// A model that shows the mesh of another; not in version 6.
    int add_instance(int parent, int shown, const std::vector<fbx_property> &properties = {});
    /// A further connection between models.
    void connect(int child, int parent);
    /// Properties of models that do not set their own.
    void set_template(const std::vector<fbx_property> &properties);

    std::string write(const fbx_encoding &encoding) const;

private:
    struct model
    {
        std::string attribute; ///< "Mesh" and so on; empty for none
        int mesh;              ///< into `meshes`, or -1
        std::vector<fbx_property> properties;
    };
    struct connection
    {
        int child, parent;
        bool of_mesh; ///< the child is a mesh or an attribute, not a model
    };

    int add_model(int parent, const model &added);

    std::vector<model> models;
    std::vector<fbx_mesh_source> meshes;
    std::vector<connection> connections;
    std::vector<fbx_property> model_template;
};

/// The encoding most tests use.
fbx_encoding fbx_text_74();
/// Writes the bytes to a file and loads that into the mesh.
int load_fbx(vesk_mesh &mesh, const std::string &bytes);
int load_fbx(vesk_mesh &mesh, const fbx_scene &scene);
/// The messages on the mesh's stack, one a line.
std::string messages_of(const vesk_mesh &mesh);
/// Test failures unless each index is in range, the subsets tile the records in order, and each
/// record knows its place; for a failed load, unless it left one message and an empty mesh.
void expect_sound(const vesk_mesh &mesh, int result);
