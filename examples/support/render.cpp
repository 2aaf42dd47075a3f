#include "support/render.h"

#include "support/console.h"
#include "support/surface.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <thread>

namespace
{
const vesk_vector3 light_direction = vesk_vec_normalize(vesk_vector3(0.5f, 0.9f, 0.6f));

/// A tone for each subset, so that parts tell apart.
vesk_vector3 tone_of(const vesk_mesh &mesh, unsigned int record_offset)
{
    static const vesk_vector3 tones[] = {
        vesk_vector3(0.86f, 0.55f, 0.36f), vesk_vector3(0.45f, 0.63f, 0.72f),
        vesk_vector3(0.83f, 0.76f, 0.52f), vesk_vector3(0.56f, 0.68f, 0.45f),
        vesk_vector3(0.72f, 0.54f, 0.66f)};
    const vesk_list<unsigned int> &table = *mesh.get_subset_lookup_table();
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        if (record_offset >= table[s * 2] && record_offset - table[s * 2] < table[s * 2 + 1] * 7)
            return tones[s % (sizeof(tones) / sizeof(tones[0]))];
    return vesk_vector3(0.7f, 0.7f, 0.7f);
}

void shade(const vesk_mesh &mesh, const camera &from, picture &target, unsigned int column,
           unsigned int row)
{
    const vesk_vector3 direction = pixel_direction(from, target.width, target.height, column, row);
    float distance;
    vesk_octree_triangle_s triangle;
    vesk_vector2 weights;
    if (!mesh.is_ray_intersect_closest(from.eye, direction, distance, triangle, weights, nullptr))
    {
        const float height = 0.5f + 0.5f * direction.y;
        target.set(column, row, 0.93f - 0.2f * height, 0.95f - 0.14f * height, 0.98f);
        return;
    }

    surface_point point = point_on_triangle(mesh, triangle.vertex_indices, weights);
    if (vesk_vec_dot_product(point.normal, direction) > 0.0f)
        point.normal = -point.normal;

    // A line, not a ray: a ray would count what lies behind its origin too.
    const float radius = box_radius(mesh);
    const vesk_vector3 start = point.position + (radius * 1e-4f) * point.normal;
    float ahead = 0.0f;
    const bool lit = !mesh.is_line_intersect(start, light_direction, radius * 4.0f, &ahead);

    const float facing = std::max(0.0f, vesk_vec_dot_product(point.normal, light_direction));
    const float sky = 0.5f + 0.5f * point.normal.y;
    const float light = 0.22f + 0.2f * sky + (lit ? 0.68f * facing : 0.0f);
    const vesk_vector3 tone = tone_of(mesh, triangle.record_offset);
    target.set(column, row, tone.x * light, tone.y * light, tone.z * light);
}
} // namespace

camera camera_around(const vesk_mesh &mesh, const vesk_vector3 &from_direction)
{
    const vesk_vector3 middle = (mesh.bounding_box_min + mesh.bounding_box_max) * 0.5f;
    camera from;
    from.forward = -vesk_vec_normalize(from_direction);
    from.right =
        vesk_vec_normalize(vesk_vec_cross_product(from.forward, vesk_vector3(0.0f, 1.0f, 0.0f)));
    if (from.right.is_zero()) // straight from above or below
        from.right = vesk_vector3(1.0f, 0.0f, 0.0f);
    from.up = vesk_vec_cross_product(from.right, from.forward);
    from.half_width = 0.36f;
    from.eye = middle - from.forward * (box_radius(mesh) * 1.95f);
    return from;
}

vesk_vector3 pixel_direction(const camera &from, unsigned int width, unsigned int height,
                             unsigned int column, unsigned int row)
{
    const float step = 2.0f * from.half_width / static_cast<float>(width);
    const float x = (static_cast<float>(column) + 0.5f) * step - from.half_width;
    const float y = (static_cast<float>(height) * 0.5f - static_cast<float>(row) - 0.5f) * step;
    return vesk_vec_normalize(from.forward + x * from.right + y * from.up);
}

picture render_mesh(const vesk_mesh &mesh, const camera &from, unsigned int width,
                    unsigned int height, unsigned int threads)
{
    progress_bar bar("render");
    picture target(width, height);
    std::atomic<unsigned int> next_row{0};
    const auto work = [&](bool reports)
    {
        for (unsigned int row = next_row++; row < height; row = next_row++)
        {
            for (unsigned int column = 0; column < width; ++column)
                shade(mesh, from, target, column, row);
            if (reports)
                bar.show(static_cast<double>(row) / height);
        }
    };

    std::vector<std::thread> others;
    for (unsigned int i = 1; i < threads; ++i)
        others.emplace_back(work, false);
    work(true);
    for (std::thread &other : others)
        other.join();
    return target;
}
