#pragma once

#include "vesk/mesh.h"

#include <cmath>
#include <cstdint>
#include <vector>

/// @file
/// Large meshes for benchmarks and for tests that want a real surface.

/// A small generator whose numbers are the same everywhere.
class lcg
{
public:
    explicit lcg(std::uint32_t seed) : state(seed) {}

    /// From 0 to below 1.
    float unit()
    {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 16777216.0f;
    }

    vesk_vector3 point(float reach)
    {
        const float x = unit(), y = unit(), z = unit();
        return vesk_vector3((x * 2.0f - 1.0f) * reach, (y * 2.0f - 1.0f) * reach,
                            (z * 2.0f - 1.0f) * reach);
    }

private:
    std::uint32_t state;
};

/// Arrays that meshes borrow.
struct surface
{
    std::vector<vesk_3d_vertex_s> vertices;
    std::vector<vesk_vector2> uvs;
    std::vector<unsigned int> words;

    void add_vertex(const vesk_vector3 &position, float u, float v)
    {
        vertices.emplace_back();
        vertices.back().position = position;
        uvs.emplace_back(u, v);
    }

    void add_triangle(unsigned int a, unsigned int b, unsigned int c)
    {
        const unsigned int offset = static_cast<unsigned int>(words.size());
        words.insert(words.end(), {a, b, c, a, b, c, offset});
    }

    /// Two triangles for each cell of a grid of `columns` + 1 by `rows` + 1 vertices.
    void add_grid(unsigned int columns, unsigned int rows)
    {
        for (unsigned int row = 0; row < rows; ++row)
            for (unsigned int column = 0; column < columns; ++column)
            {
                const unsigned int a = row * (columns + 1) + column, b = a + columns + 1;
                add_triangle(a, a + 1, b);
                add_triangle(b, a + 1, b + 1);
            }
    }

    /// Lends the arrays to a mesh, as an instance does.
    void show(vesk_mesh &mesh)
    {
        mesh.instance_geometry = 1;
        mesh.vertex_array = vertices.data();
        mesh.vertex_count = static_cast<unsigned int>(vertices.size());
        mesh.uv_array = uvs.data();
        mesh.uv_count = static_cast<unsigned int>(uvs.size());
        mesh.index_array = words.data();
        mesh.index_count = static_cast<unsigned int>(words.size());
        mesh.clear_subset_lookup_table();
        mesh.add_subset_lookup_table_entry(0, mesh.index_count / 7);
        mesh.calculate_bounding_box();
    }
};

inline unsigned int grid_side(unsigned int triangle_count)
{
    return static_cast<unsigned int>(std::sqrt(static_cast<double>(triangle_count) / 2.0));
}

/// A sphere of radius about 1 with waves on it.
inline void displaced_sphere(surface &s, unsigned int triangle_count)
{
    const unsigned int side = grid_side(triangle_count);
    for (unsigned int row = 0; row <= side; ++row)
        for (unsigned int column = 0; column <= side; ++column)
        {
            const float u = static_cast<float>(column) / static_cast<float>(side);
            const float v = static_cast<float>(row) / static_cast<float>(side);
            const float phi = u * 6.2831853f, theta = v * 3.1415927f;
            const float r = 1.0f + 0.1f * std::sin(phi * 7.0f) * std::sin(theta * 9.0f);
            s.add_vertex(vesk_vector3(r * std::sin(theta) * std::cos(phi), r * std::cos(theta),
                                      r * std::sin(theta) * std::sin(phi)),
                         u, v);
        }
    s.add_grid(side, side);
}

/// A hilly square from -1 to 1, upright in the plane of x and y.
inline void terrain(surface &s, unsigned int triangle_count)
{
    const unsigned int side = grid_side(triangle_count);
    for (unsigned int row = 0; row <= side; ++row)
        for (unsigned int column = 0; column <= side; ++column)
        {
            const float u = static_cast<float>(column) / static_cast<float>(side);
            const float v = static_cast<float>(row) / static_cast<float>(side);
            s.add_vertex(vesk_vector3(u * 2.0f - 1.0f, v * 2.0f - 1.0f,
                                      0.2f * std::sin(u * 12.0f) * std::cos(v * 17.0f) +
                                          0.03f * std::sin(u * 90.0f + v * 70.0f)),
                         u, v);
        }
    s.add_grid(side, side);
}

/// Small triangles of no order in a box of two units.
inline void scattered_soup(surface &s, unsigned int triangle_count)
{
    lcg random(7);
    for (unsigned int t = 0; t < triangle_count; ++t)
    {
        const vesk_vector3 centre = random.point(1.0f);
        for (unsigned int c = 0; c < 3; ++c)
            s.add_vertex(centre + random.point(0.02f), random.unit(), random.unit());
        s.add_triangle(t * 3, t * 3 + 1, t * 3 + 2);
    }
}
