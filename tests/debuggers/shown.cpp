// What the debuggers' views are tried on: the check stops in `look` and prints what `main` holds.

#include "support/mesh_builder.h"
#include "vesk/owned_mesh.h"
#include "vesk/vesk.h"

/// Where the check stops; not in the anonymous namespace, so that it is not dropped.
void look(const vesk_mesh &mesh);

void look(const vesk_mesh &mesh)
{
    static_cast<void>(mesh.get_vertex_count());
}

int main()
{
    vesk_vector2 vector2(1.0f, -2.5f);
    vesk_vector3 vector3(0.1f, 0.0f, 3.0f);
    vesk_vector4 vector4(1.0f, 2.0f, 3.0f, 4.0f);
    vesk_quaternion quaternion(0.0f, 0.0f, 0.0f, 1.0f);
    vesk_matrix33 matrix33(1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f, 7.0f, 8.0f, 9.0f);
    vesk_matrix44 matrix44;

    vesk_list<unsigned int> numbers;
    for (const unsigned int number : {7u, 8u, 9u})
        numbers.push_back(number);
    numbers.reversed = 1;
    vesk_list<vesk_vector2> vectors;
    vectors.push_back(vector2);
    vesk_list<float> none;

    vesk_mesh empty;
    vesk_owned_mesh filled;
    if (!grid(1, 1, 2).fill(*filled))
        return 1;
    filled->set_uv_channel(1); // its UV indexes are not the vertex indexes
    if (!filled->generate_octree(2, nullptr, nullptr) ||
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
