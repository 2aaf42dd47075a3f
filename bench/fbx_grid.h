#pragma once

#include "support/byte_file.h"
#include "support/fbx_writer.h"

#include <cmath>
#include <string>
#include <vector>

/// The geometry of a wavy grid of n * n quads with normals and UVs by polygon corner, as records.
inline std::vector<fbx_node> fbx_grid_geometry(int n)
{
    std::vector<double> points, normals, uvs;
    std::vector<int> corners, uv_indices;
    for (int y = 0; y <= n; ++y)
        for (int x = 0; x <= n; ++x)
        {
            points.insert(points.end(),
                          {x * 0.01, y * 0.01, std::sin(x * 0.1) * std::cos(y * 0.07)});
            uvs.insert(uvs.end(), {double(x) / n, double(y) / n});
        }
    const auto add_normal = [&](int x, int y)
    {
        const double slope_x = -10 * std::cos(x * 0.1) * std::cos(y * 0.07);
        const double slope_y = 7 * std::sin(x * 0.1) * std::sin(y * 0.07);
        const double length = std::sqrt(slope_x * slope_x + slope_y * slope_y + 1);
        normals.insert(normals.end(), {slope_x / length, slope_y / length, 1 / length});
    };
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
        {
            const int first = y * (n + 1) + x;
            const int quad[4] = {first, first + 1, first + n + 2, first + n + 1};
            uv_indices.insert(uv_indices.end(), quad, quad + 4);
            corners.insert(corners.end(), {quad[0], quad[1], quad[2], ~quad[3]});
            add_normal(x, y);
            add_normal(x + 1, y);
            add_normal(x + 1, y + 1);
            add_normal(x, y + 1);
        }
    const fbx_node by_corner = {"MappingInformationType", {std::string("ByPolygonVertex")}, {}};
    const auto reference = [](const char *kind) -> fbx_node {
        return {"ReferenceInformationType", {std::string(kind)}, {}};
    };
    const auto layer_entry = [](const char *kind) -> fbx_node {
        return {"LayerElement", {}, {{"Type", {std::string(kind)}, {}}, {"TypedIndex", {0}, {}}}};
    };
    return {
        {"Vertices", {points}, {}},
        {"PolygonVertexIndex", {corners}, {}},
        {"LayerElementNormal", {0}, {by_corner, reference("Direct"), {"Normals", {normals}, {}}}},
        {"LayerElementUV",
         {0},
         {by_corner, reference("IndexToDirect"), {"UV", {uvs}, {}}, {"UVIndex", {uv_indices}, {}}}},
        {"Layer", {0}, {layer_entry("LayerElementNormal"), layer_entry("LayerElementUV")}}};
}

/// The bytes of a file that shows the grid. Version 6 keeps geometry in its models.
inline std::string write_fbx_grid(int n, const fbx_encoding &encoding)
{
    const fbx_object_name model = {"Model", "grid"};
    if (encoding.version < 7000)
        return write_fbx(
            {{"Objects", {}, {{"Model", {model, std::string("Mesh")}, fbx_grid_geometry(n)}}},
             {"Connections",
              {},
              {{"Connect", {std::string("OO"), model, fbx_object_name{"Model", "Scene"}}, {}}}}},
            encoding);

    const fbx_object_name geometry = {"Geometry", "grid"};
    return write_fbx(
        {{"Objects",
          {},
          {{"Geometry", {std::int64_t{1}, geometry, std::string("Mesh")}, fbx_grid_geometry(n)},
           {"Model", {std::int64_t{2}, model, std::string("Mesh")}, {{"Version", {232}, {}}}}}},
         {"Connections",
          {},
          {{"C", {std::string("OO"), std::int64_t{1}, std::int64_t{2}}, {}},
           {"C", {std::string("OO"), std::int64_t{2}, std::int64_t{0}}, {}}}}},
        encoding);
}

/// A file of these bytes that goes away with this object. TMPDIR=/dev/shm keeps it off the disk.
class fbx_file : public temp_file
{
public:
    explicit fbx_file(const std::string &bytes) : temp_file(".fbx", L".fbx")
    {
        set_bytes(byte_vector(bytes.begin(), bytes.end()));
    }
};
