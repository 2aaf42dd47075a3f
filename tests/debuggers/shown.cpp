// What the debuggers' views are tried on: the check stops in `look` and prints what `main` holds.

#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

/// Where the check stops; not in the anonymous namespace, so that it is not dropped.
void look(const vesk_mesh &mesh);

void look(const vesk_mesh &mesh)
{
    static_cast<void>(mesh.get_vertex_count());
}

namespace
{
int fill(vesk_mesh &mesh)
{
    vesk_3d_vertex_s vertices[4];
    for (unsigned int i = 0; i < 4; ++i)
    {
        vertices[i].position =
            vesk_vector3(static_cast<float>(i & 1), static_cast<float>(i / 2), 0.0f);
        vertices[i].normal = vesk_vector3(0.0f, 0.0f, 1.0f);
    }
    const unsigned int records[14] = {0, 1, 2, 0, 0, 0, 0, 1, 3, 2, 0, 0, 0, 7};
    vesk_vector2 uvs[2] = {vesk_vector2(0.25f, 0.5f), vesk_vector2(1.0f, 0.0f)};
    unsigned int uv_indices[6] = {0, 1, 0, 1, 0, 1};
    unsigned int uv_count = 2;
    vesk_vector2 *uv_array = uvs;
    unsigned int *uv_index_array = uv_indices;
    vesk_mesh_uv_data_s uv_data;
    uv_data.channel_count = 1;
    uv_data.uv_arrays = &uv_array;
    uv_data.uv_counts = &uv_count;
    uv_data.uv_index_arrays = &uv_index_array;
    vesk_list<unsigned int> subsets;
    subsets.push_back(0);
    subsets.push_back(2);
    return mesh.create(vertices, records, 4, 14, uv_data, subsets);
}
} // namespace

int main()
{
    vesk_vector2 vector2(1.0f, -2.5f);
    vesk_vector3 vector3(0.1f, 0.0f, 3.0f);
    vesk_vector4 vector4(1.0f, 2.0f, 3.0f, 4.0f);
    vesk_quaternion quaternion(0.0f, 0.0f, 0.0f, 1.0f);
    vesk_matrix33 matrix33(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f, 8.0f, 9.0f);
    vesk_matrix44 matrix44;

    vesk_list<unsigned int> numbers;
    numbers.push_back(7);
    numbers.push_back(8);
    numbers.push_back(9);
    numbers.reversed = 1;
    vesk_list<vesk_vector2> vectors;
    vectors.push_back(vector2);
    vesk_list<float> none;

    vesk_mesh empty;
    vesk_owned_mesh filled;
    if (!fill(*filled) || !filled->generate_octree(2, nullptr, nullptr) ||
        !filled->generate_uv_lookup_quadtree(16, 8, 2, 0, 0, nullptr, nullptr))
        return 1;
    vesk_mesh &mesh = *filled;
    vesk_octree_node_s leaf;
    vesk_octree_node_s parent;
    parent.box.max = vector3;
    parent.children[2] = &leaf;
    parent.children[7] = &leaf;
    vesk_owned_mesh failed;
    failed->load_binary(L"no such file");

    look(mesh);
    return 0;
}
