#include "support/bake.h"

#include "support/console.h"
#include "support/surface.h"

#include <cmath>

namespace
{
/// Directions over the sphere, evenly by the golden angle; a vertex's half of them is used.
vesk_vector3 sphere_direction(unsigned int i, unsigned int count)
{
    const float y = 1.0f - 2.0f * (static_cast<float>(i) + 0.5f) / static_cast<float>(count);
    const float r = std::sqrt(1.0f - y * y);
    const double turn = 2.399963229728653 * i;
    return vesk_vector3(r * static_cast<float>(std::cos(turn)), y,
                        r * static_cast<float>(std::sin(turn)));
}

float open_sky(const vesk_mesh &mesh, const surface_point &point)
{
    constexpr unsigned int direction_count = 64;
    const float radius = box_radius(mesh);
    const vesk_vector3 start = point.position + (radius * 1e-4f) * point.normal;
    float ahead = 0.0f;
    float open = 0.0f;
    float all = 0.0f;
    for (unsigned int i = 0; i < direction_count; ++i)
    {
        const vesk_vector3 direction = sphere_direction(i, direction_count);
        const float weight = vesk_vec_dot_product(direction, point.normal);
        if (!(weight > 0.0f))
            continue;
        all += weight;
        if (!mesh.is_line_intersect(start, direction, radius * 2.0f, &ahead))
            open += weight;
    }
    return all > 0.0f ? open / all : 1.0f;
}

void paint(const vesk_mesh &mesh, bake_kind kind, const surface_point &point, picture &target,
           unsigned int column, unsigned int row)
{
    if (kind == bake_kind::normal)
    {
        const vesk_vector3 &n = point.normal;
        target.set(column, row, n.x * 0.5f + 0.5f, n.y * 0.5f + 0.5f, n.z * 0.5f + 0.5f);
    }
    else if (kind == bake_kind::position)
    {
        const vesk_vector3 &low = mesh.bounding_box_min;
        const vesk_vector3 &high = mesh.bounding_box_max;
        target.set(column, row, vesk_percentage(point.position.x, low.x, high.x),
                   vesk_percentage(point.position.y, low.y, high.y),
                   vesk_percentage(point.position.z, low.z, high.z));
    }
    else
    {
        const float sky = open_sky(mesh, point);
        target.set(column, row, sky, sky, sky);
    }
}

/// One round of filling: every empty texel with painted neighbours takes their mean.
void pad_once(picture &target, std::vector<char> &painted)
{
    const picture before = target;
    const std::vector<char> painted_before = painted;
    for (unsigned int row = 0; row < target.height; ++row)
        for (unsigned int column = 0; column < target.width; ++column)
        {
            const std::size_t texel = static_cast<std::size_t>(row) * target.width + column;
            if (painted_before[texel])
                continue;
            unsigned int sum[3] = {};
            unsigned int count = 0;
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                {
                    const unsigned int x = column + static_cast<unsigned int>(dx);
                    const unsigned int y = row + static_cast<unsigned int>(dy);
                    if (x >= target.width || y >= target.height ||
                        !painted_before[static_cast<std::size_t>(y) * target.width + x])
                        continue;
                    for (unsigned int part = 0; part < 3; ++part)
                        sum[part] += before.at(x, y)[part];
                    ++count;
                }
            if (count == 0)
                continue;
            for (unsigned int part = 0; part < 3; ++part)
                target.at(column, row)[part] = static_cast<unsigned char>(sum[part] / count);
            painted[texel] = 1;
        }
}
} // namespace

const char *name_of(bake_kind kind)
{
    switch (kind)
    {
    case bake_kind::normal:
        return "normal";
    case bake_kind::position:
        return "position";
    default:
        return "occlusion";
    }
}

picture bake_texture(const vesk_mesh &mesh, bake_kind kind, unsigned int padding)
{
    progress_bar bar(name_of(kind));
    picture target(mesh.get_uv_lookup_width(), mesh.get_uv_lookup_height());
    std::vector<char> painted(static_cast<std::size_t>(target.width) * target.height);
    const unsigned int *records = mesh.get_index_array();
    for (unsigned int row = 0; row < target.height; ++row)
    {
        for (unsigned int column = 0; column < target.width; ++column)
        {
            vesk_uv_lookup_triangle_s triangle;
            vesk_vector2 weights;
            const vesk_vector2 texel(static_cast<float>(column), static_cast<float>(row));
            if (!mesh.is_point_intersect_uv_lookup(texel, triangle, weights))
                continue;
            // The lookup record's own corners lie in the raster; the mesh's record has the same
            // offset in `index_array`.
            const surface_point point =
                point_on_triangle(mesh, records + triangle.record_offset, weights);
            paint(mesh, kind, point, target, column, row);
            painted[static_cast<std::size_t>(row) * target.width + column] = 1;
        }
        bar.show(static_cast<double>(row) / target.height);
    }
    for (unsigned int round = 0; round < padding; ++round)
        pad_once(target, painted);
    return target;
}
