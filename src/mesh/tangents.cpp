#include "vesk/mesh.h"

#include "foundation/scratch.h"
#include "mesh/vertex_lanes.h"

#include <algorithm>

// The method is Lengyel's: tangent and bitangent of a triangle from its position and UV edges,
// turned to fit the normal at each corner. Four triangles go through at once, one in each lane,
// in the operations and in the order of the plain loop.

namespace
{
constexpr std::size_t lanes = 4;

// One corner of four triangles.
struct corner_lanes
{
    vesk_vector_lanes position, normal;
    vesk_float4 u, v;
};

corner_lanes load_corners(const vesk_mesh &mesh, const unsigned int *records, unsigned int corner)
{
    const float *vertices[lanes];
    const float *uvs[lanes];
    for (std::size_t i = 0; i < lanes; ++i)
    {
        vertices[i] = vesk_floats_of(mesh.vertex_array[records[i * 7 + corner]]);
        uvs[i] = &mesh.uv_array[records[i * 7 + 3 + corner]].x;
    }

    corner_lanes at;
    vesk_load_vertices4(vertices, at.position, at.normal);
    vesk_load_pairs4(uvs[0], uvs[1], uvs[2], uvs[3], at.u, at.v);
    return at;
}

// The records of one corner of four triangles; `out` is that corner of the first.
void store_corners(vesk_mesh_tangent_s *out, vesk_vector_lanes tangent, vesk_float4 handedness)
{
    vesk_transpose4(tangent.x, tangent.y, tangent.z, handedness);
    vesk_store4(&out[0].tangent.x, tangent.x);
    vesk_store4(&out[3].tangent.x, tangent.y);
    vesk_store4(&out[6].tangent.x, tangent.z);
    vesk_store4(&out[9].tangent.x, handedness);
}

// The tangent and the bitangent of a triangle, fitted to the normal of one of its corners.
void fit_corner(const vesk_vector_lanes &normal, const vesk_vector_lanes &tangent,
                const vesk_vector_lanes &bitangent, vesk_mesh_tangent_s *out)
{
    // Triangles without UV area come out with a length that is NaN, and so with zeros.
    const vesk_vector_lanes unit = vesk_normalize(tangent - normal * vesk_dot(tangent, normal));
    const vesk_mask4 mirrored = vesk_dot(bitangent, vesk_cross(normal, unit)) < vesk_float4{};
    store_corners(out, unit, vesk_select4(mirrored, vesk_splat4(-1.0f), vesk_splat4(1.0f)));
}

// Twelve tangents from four triangle records.
void derive_four(const vesk_mesh &mesh, const unsigned int *records, vesk_mesh_tangent_s *out)
{
    const corner_lanes c0 = load_corners(mesh, records, 0);
    const corner_lanes c1 = load_corners(mesh, records, 1);
    const corner_lanes c2 = load_corners(mesh, records, 2);

    const vesk_vector_lanes e1 = c1.position - c0.position;
    const vesk_vector_lanes e2 = c2.position - c0.position;
    const vesk_float4 s1 = c1.u - c0.u, t1 = c1.v - c0.v;
    const vesk_float4 s2 = c2.u - c0.u, t2 = c2.v - c0.v;
    // Infinite or NaN without UV area, and so all that follows from it.
    const vesk_float4 r = vesk_splat4(1.0f) / (s1 * t2 - s2 * t1);

    vesk_vector_lanes tangent = (e1 * t2 - e2 * t1) * r;
    const vesk_vector_lanes bitangent = (e2 * s1 - e1 * s2) * r;
    // A tangent is a sum that starts at 0.0f, which a minus zero does not survive. The bitangent
    // is only asked for a sign, which zeros do not change.
    tangent.x = vesk_float4{} + tangent.x;
    tangent.y = vesk_float4{} + tangent.y;
    tangent.z = vesk_float4{} + tangent.z;

    fit_corner(c0.normal, tangent, bitangent, out);
    fit_corner(c1.normal, tangent, bitangent, out + 1);
    fit_corner(c2.normal, tangent, bitangent, out + 2);
}

void write_tangents(const vesk_mesh &mesh, vesk_mesh_tangent_s *tangents)
{
    const std::size_t triangle_count = mesh.index_count / 7;
    const std::size_t whole = triangle_count / lanes * lanes;
    for (std::size_t t = 0; t < whole; t += lanes)
        derive_four(mesh, mesh.index_array + t * 7, tangents + t * 3);
    if (whole == triangle_count)
        return;

    // What is left fills up with copies of the last triangle.
    unsigned int records[lanes * 7];
    vesk_mesh_tangent_s results[lanes * 3];
    for (std::size_t i = 0; i < lanes; ++i)
    {
        const std::size_t t = std::min(whole + i, triangle_count - 1);
        std::copy_n(mesh.index_array + t * 7, 7, records + i * 7);
    }
    derive_four(mesh, records, results);
    std::copy_n(results, (triangle_count - whole) * 3, tangents + whole * 3);
}
} // namespace

int vesk_mesh::generate_tangents()
{
    free_tangents();

    const unsigned int corner_count = index_count / 7 * 3;
    vesk_scratch<vesk_mesh_tangent_s> tangents(corner_count);
    if (!tangents.data)
    {
        ___push_error(L"Memory Allocation Error: Failed to allocate tangent array.");
        return 0;
    }
    // The bitangents live in registers and this array is never touched, which costs a call of
    // the allocator and no memory. It is asked for all the same: where memory ends, and with
    // which message, is a promise to the host, and stays what it is with a two-pass way.
    vesk_scratch<vesk_vector3> bi_normals(corner_count);
    if (!bi_normals.data)
    {
        ___push_error(L"Memory Allocation Error: Failed to allocate bi_normal array.");
        return 0;
    }
    write_tangents(*this, tangents.data);
    tangent_array = tangents.take();
    tangent_count = corner_count;
    return 1;
}
