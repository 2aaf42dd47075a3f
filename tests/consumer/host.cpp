// A tiny host: what a program that links the installed library looks like.

#include <vesk/vesk.h>

#include <cstdio>

int main()
{
    if (vesk_version() / 10000 != VESK_VERSION_MAJOR || vesk_version() < VESK_VERSION)
        return 1;

    const vesk_vector3 corners[] = {vesk_vector3(0.0f, 0.0f, 0.0f), vesk_vector3(1.0f, 0.0f, 0.0f),
                                    vesk_vector3(0.0f, 1.0f, 0.0f)};
    vesk_3d_vertex_s vertices[3];
    for (int c = 0; c < 3; ++c)
        vertices[c].position = corners[c];
    const unsigned int record[7] = {0, 1, 2, 0, 0, 0, 0};
    vesk_list<unsigned int> subsets;
    subsets.push_back(0);
    subsets.push_back(1);

    vesk_mesh mesh;
    if (!mesh.create(vertices, record, 3, 7, vesk_mesh_uv_data_s(), subsets) ||
        !mesh.generate_octree(4, nullptr, nullptr))
        return 2;
    float distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 weights;
    const int hit = mesh.is_ray_intersect_closest(vesk_vector3(0.25f, 0.25f, 2.0f),
                                                  vesk_vector3(0.0f, 0.0f, -1.0f), distance,
                                                  triangle, weights, nullptr);
    mesh.free();
    std::printf("hit %d at %g\n", hit, static_cast<double>(distance));
    return hit && distance == 2.0f ? 0 : 3;
}
