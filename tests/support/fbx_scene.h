#pragma once

#include "support/fbx_writer.h"
#include "vesk/mesh.h"

#include <string>
#include <utility>
#include <vector>

/// FBX scenes for tests, to be written in any encoding: version 6 carries meshes in their models
/// and connects by name, later ones connect objects by number.

struct fbx_property
{
    std::string name;
    std::vector<fbx_value> values;
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
fbx_node fbx_uvs(int number, const std::vector<double> &values, const std::vector<int> &indices);
/// Layer `number` with one element of each of these kinds, all with the layer's number.
fbx_node fbx_layer(int number, const std::vector<std::string> &kinds);

class fbx_scene
{
public:
    static constexpr int root = 0;

    /// Each gives the number of the model.
    int add_mesh(int parent, const fbx_mesh_source &mesh,
                 const std::vector<fbx_property> &properties = {});
    int add_group(int parent, const std::string &attribute = "Null",
                  const std::vector<fbx_property> &properties = {});
    /// A further connection between models.
    void connect(int child, int parent);

    std::string write(const fbx_encoding &encoding) const;

    /// Of models that do not set their own.
    std::vector<fbx_property> defaults;

private:
    struct model
    {
        std::string attribute; ///< "Mesh" and so on; empty for none
        fbx_mesh_source mesh;
        std::vector<fbx_property> properties;
    };

    int add_model(int parent, const model &added);

    std::vector<model> models;
    std::vector<std::pair<int, int>> connections; ///< child and parent
};

/// Writes the bytes to a file and loads that into the mesh.
int load_fbx(vesk_mesh &mesh, const std::string &bytes);
/// The same for a text file of version 7.4 with the scene.
int load_fbx(vesk_mesh &mesh, const fbx_scene &scene);
/// The messages on the mesh's stack, one a line.
std::string messages_of(const vesk_mesh &mesh);
/// Test failures unless each index is in range, the subsets tile the records in order, and each
/// record knows its place; for a failed load, unless it left one message and an empty mesh.
void expect_sound(const vesk_mesh &mesh, int result);
