#include "support/boxes.h"

#include <cmath>

namespace
{
/// Whether nothing stands between the eye and a point. The last part of the way is left out, so
/// that a surface through the point itself doesn't hide it.
bool is_visible(const vesk_mesh &mesh, const vesk_vector3 &eye, const vesk_vector3 &point)
{
    float ahead = 0.0f;
    return !mesh.is_line_intersect(eye, point - eye, 0.999f, &ahead);
}

/// The pixel of a point before the camera; false behind it or beyond the picture.
bool pixel_of(const camera &from, const picture &target, const vesk_vector3 &point,
              unsigned int &column, unsigned int &row)
{
    const vesk_vector3 way = point - from.eye;
    const float ahead = vesk_vec_dot_product(way, from.forward);
    if (!(ahead > 0.0f))
        return false;
    const float step = 2.0f * from.half_width / static_cast<float>(target.width);
    const float x = vesk_vec_dot_product(way, from.right) / ahead / step;
    const float y = vesk_vec_dot_product(way, from.up) / ahead / step;
    const float from_left = x + static_cast<float>(target.width) * 0.5f;
    const float from_top = static_cast<float>(target.height) * 0.5f - y;
    if (!(from_left >= 0.0f && from_left < static_cast<float>(target.width) && from_top >= 0.0f &&
          from_top < static_cast<float>(target.height)))
        return false;
    column = static_cast<unsigned int>(from_left);
    row = static_cast<unsigned int>(from_top);
    return true;
}

void draw_edge(const vesk_mesh &mesh, const camera &from, const vesk_vector3 &a,
               const vesk_vector3 &b, const vesk_vector3 &color, picture &target)
{
    const float nearest = std::fmin(vesk_vec_distance(from.eye, a), vesk_vec_distance(from.eye, b));
    const float pixel = nearest * 2.0f * from.half_width / static_cast<float>(target.width);
    const float length = vesk_vec_distance(a, b);
    const unsigned int steps = 1 + static_cast<unsigned int>(std::fmin(length / pixel, 4096.0f));
    for (unsigned int i = 0; i <= steps; ++i)
    {
        const vesk_vector3 point =
            vesk_vec_lerp(a, b, static_cast<float>(i) / static_cast<float>(steps));
        unsigned int column;
        unsigned int row;
        if (pixel_of(from, target, point, column, row) && is_visible(mesh, from.eye, point))
            target.set(column, row, color.x, color.y, color.z);
    }
}

/// Corner `number`: bit 0 selects the upper end in x, bit 1 in y, bit 2 in z.
vesk_vector3 corner_of(const vesk_octree_aa_bounding_box_s &box, unsigned int number)
{
    return vesk_vector3(number & 1 ? box.max.x : box.min.x, number & 2 ? box.max.y : box.min.y,
                        number & 4 ? box.max.z : box.min.z);
}

void draw_node(const vesk_mesh &mesh, const vesk_octree_node_s *node, unsigned int depth,
               unsigned int deepest, const camera &from, picture &target)
{
    if (!node)
        return;
    // Deeper boxes first: those above them stay on top.
    if (depth < deepest)
        for (const vesk_octree_node_s *child : node->children)
            draw_node(mesh, child, depth + 1, deepest, from, target);
    static const vesk_vector3 colors[] = {
        vesk_vector3(0.15f, 0.15f, 0.2f), vesk_vector3(0.5f, 0.2f, 0.65f),
        vesk_vector3(0.2f, 0.35f, 0.8f), vesk_vector3(0.1f, 0.6f, 0.75f),
        vesk_vector3(0.15f, 0.65f, 0.35f)};
    const vesk_vector3 &color = colors[depth % (sizeof(colors) / sizeof(colors[0]))];
    for (unsigned int corner = 0; corner < 8; ++corner)
        for (unsigned int axis = 1; axis < 8; axis *= 2)
            if (!(corner & axis))
                draw_edge(mesh, from, corner_of(node->box, corner),
                          corner_of(node->box, corner | axis), color, target);
}
} // namespace

void draw_boxes(const vesk_mesh &mesh, const camera &from, unsigned int deepest, picture &target)
{
    draw_node(mesh, mesh.get_octree(), 0, deepest, from, target);
}
