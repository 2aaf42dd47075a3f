#include "debug/depth_color.h"
#include "debug/text_file.h"
#include "vesk/debug_write.h"

namespace
{
/// Calls `visit` for a node and all below it down to a depth, parents first.
template <typename Visit> void walk(const vesk_octree_node_s *node, unsigned int depth,
                                    unsigned int deepest, const Visit &visit)
{
    if (!node)
        return;
    visit(*node, depth);
    if (depth == deepest)
        return;
    for (const vesk_octree_node_s *child : node->children)
        walk(child, depth + 1, deepest, visit);
}

void write_header(vesk_text_file &file, unsigned int vertex_count, const char *vertex_property,
                  unsigned int edge_count)
{
    file << "ply\nformat ascii 1.0\nelement vertex " << vertex_count
         << "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red"
            "\nproperty uchar green\nproperty uchar blue\n"
         << vertex_property << "element edge " << edge_count
         << "\nproperty uint vertex1\nproperty uint vertex2\nend_header\n";
}

void write_vertex(vesk_text_file &file, const vesk_vector3 &position, const vesk_debug_color &color)
{
    file << position << " " << color.red << " " << color.green << " " << color.blue;
}

void write_corners(vesk_text_file &file, const vesk_octree_aa_bounding_box_s &box,
                   unsigned int depth)
{
    for (unsigned int corner = 0; corner < 8; ++corner)
    {
        const vesk_vector3 position(corner & 1 ? box.max.x : box.min.x,
                                    corner & 2 ? box.max.y : box.min.y,
                                    corner & 4 ? box.max.z : box.min.z);
        write_vertex(file, position, vesk_debug_depth_color(depth));
        file << " " << depth << "\n";
    }
}

/// The edges of a box join corners whose numbers differ in one bit.
void write_edges(vesk_text_file &file, unsigned int first_corner)
{
    for (unsigned int corner = 0; corner < 8; ++corner)
        for (unsigned int axis = 1; axis < 8; axis *= 2)
            if (!(corner & axis))
                file << first_corner + corner << " " << first_corner + corner + axis << "\n";
}

void write_octree(const vesk_octree_node_s *root, unsigned int deepest, vesk_text_file &file)
{
    unsigned int box_count = 0;
    walk(root, 0, deepest, [&box_count](const vesk_octree_node_s &, unsigned int) { ++box_count; });
    write_header(file, box_count * 8, "property uint depth\n", box_count * 12);
    walk(root, 0, deepest,
         [&file](const vesk_octree_node_s &node, unsigned int depth)
         { write_corners(file, node.box, depth); });
    for (unsigned int box = 0; box < box_count; ++box)
        write_edges(file, box * 8);
}

void write_rays(const vesk_debug_ray_s *rays, unsigned int count, vesk_text_file &file)
{
    static const vesk_debug_color hit_color = {210, 60, 50};
    static const vesk_debug_color miss_color = {50, 90, 200};
    write_header(file, count * 2, "", count);
    for (unsigned int i = 0; i < count; ++i)
    {
        const vesk_debug_ray_s &ray = rays[i];
        const vesk_vector3 ends[2] = {ray.origin, ray.origin + ray.direction * ray.distance};
        for (const vesk_vector3 &end : ends)
        {
            write_vertex(file, end, ray.hit ? hit_color : miss_color);
            file << "\n";
        }
    }
    for (unsigned int i = 0; i < count; ++i)
        file << i * 2 << " " << i * 2 + 1 << "\n";
}
} // namespace

int vesk_debug_write_octree(const vesk_octree_node_s *root, unsigned int deepest,
                            const wchar_t *path)
{
    return vesk_write_text(path, [root, deepest](vesk_text_file &file)
                           { write_octree(root, deepest, file); });
}

int vesk_debug_write_rays(const vesk_debug_ray_s *rays, unsigned int count, const wchar_t *path)
{
    return vesk_write_text(path,
                           [rays, count](vesk_text_file &file) { write_rays(rays, count, file); });
}
