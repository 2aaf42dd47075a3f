#pragma once

#include "support/mesh_builder.h"

#include <cmath>

/// A displaced sphere of triangles of about one size, at most so many: the faces of an icosahedron,
/// divided and blown up. Faces share no vertices.
inline mesh_source even_sphere(unsigned int most_triangles)
{
    const float g = 1.618034f; // the golden ratio
    const vesk_vector3 corners[12] = {{-1, g, 0}, {1, g, 0}, {-1, -g, 0}, {1, -g, 0},
                                      {0, -1, g}, {0, 1, g}, {0, -1, -g}, {0, 1, -g},
                                      {g, 0, -1}, {g, 0, 1}, {-g, 0, -1}, {-g, 0, 1}};
    const unsigned char faces[20][3] = {
        {0, 11, 5},  {0, 5, 1},  {0, 1, 7},  {0, 7, 10}, {0, 10, 11}, {1, 5, 9}, {5, 11, 4},
        {11, 10, 2}, {10, 7, 6}, {7, 1, 8},  {3, 9, 4},  {3, 4, 2},   {3, 2, 6}, {3, 6, 8},
        {3, 8, 9},   {4, 9, 5},  {2, 4, 11}, {6, 2, 10}, {8, 6, 7},   {9, 8, 1}};
    const auto edge = static_cast<unsigned int>(std::sqrt(most_triangles / 20.0));

    mesh_source source;
    for (const unsigned char *face : faces)
    {
        const unsigned int first = source.vertex_count();
        const auto vertex = [first](unsigned int row, unsigned int column)
        { return first + row * (row + 1) / 2 + column; };
        vesk_vector3 a = corners[face[0]], b = corners[face[1]], c = corners[face[2]];
        for (unsigned int row = 0; row <= edge; ++row)
            for (unsigned int column = 0; column <= row; ++column)
            {
                vesk_vector3 out = a * float(edge - row) + b * float(row - column);
                out = (out + c * float(column)).normalize();
                const float waves = std::sin(out.x * 9.0f) * std::sin(out.y * 7.0f + out.z * 5.0f);
                source.add_vertex(out * (1.0f + 0.1f * waves), out);
            }
        for (unsigned int row = 0; row < edge; ++row)
            for (unsigned int column = 0; column <= row; ++column)
            {
                source.add_triangle(vertex(row, column), vertex(row + 1, column),
                                    vertex(row + 1, column + 1));
                if (column < row)
                    source.add_triangle(vertex(row, column), vertex(row + 1, column + 1),
                                        vertex(row, column + 1));
            }
    }
    source.subsets = {0, source.triangle_count()};
    return source;
}
