#include "golden/families.h"
#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <filesystem>

namespace
{
/// One mesh of each kind that the builders make; every family goes through all of them.
std::vector<mesh_source> golden_meshes()
{
    std::vector<mesh_source> meshes = {
        displaced_sphere(3000, 2), random_web(21, 900, 200), random_soup(22, 500, 3), grid(24, 20),
        clustered(23, 800),        degenerate(24, 400),      nan_bearing(25, 300)};
    for (mesh_source &mesh : meshes)
        split_subsets(mesh, 5);
    return meshes;
}

template <void (*fold)(digest &, vesk_mesh &)> void fold_each_mesh(digest &out)
{
    for (const mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        fold(out, mesh);
    }
}

void fold_vertices(digest &out, const vesk_mesh &mesh)
{
    out.add_array(mesh.vertex_array, mesh.vertex_count);
    out.add(mesh.bounding_box_min, mesh.bounding_box_max);
}

/// Lists and children of a whole tree; triangles as the offsets of their records.
template <typename Node> void fold_nodes(digest &out, const Node *node, const unsigned int *records)
{
    out.add(node ? 1 : 0);
    if (!node)
        return;
    out.add(node->triangles.size, node->triangles.count);
    for (unsigned int i = 0; i < node->triangles.count; ++i)
    {
        const void *record = node->triangles[i];
        out.add(static_cast<unsigned int>(static_cast<const unsigned int *>(record) - records));
    }
    for (const Node *child : node->children)
        fold_nodes(out, child, records);
}

void fold_boxes(digest &out, const vesk_octree_node_s *node)
{
    out.add(node->box.min, node->box.max);
    for (const vesk_octree_node_s *child : node->children)
        if (child)
            fold_boxes(out, child);
}

void fold_normals(digest &out, vesk_mesh &mesh)
{
    mesh.generate_normals();
    fold_vertices(out, mesh);
}

void fold_tangents(digest &out, vesk_mesh &mesh)
{
    for (unsigned int channel = 0; channel <= mesh.get_uv_channel_count(); ++channel)
    {
        mesh.set_uv_channel(channel);
        out.add(mesh.generate_tangents());
        out.add_array(mesh.tangent_array, mesh.tangent_count);
    }
}

void fold_transforms(digest &out, vesk_mesh &mesh)
{
    vesk_vector3 offset;
    float factor = 0.0f;
    mesh.position(vesk_vector3(0.3f, -1.7f, 2.2f));
    mesh.scale(1.3f);
    mesh.scale(vesk_vector3(0.9f, -1.1f, 1.7f));
    fold_vertices(out, mesh);
    mesh.calculate_bounding_box();
    mesh.position_and_scale(vesk_vector3(-0.1f, 0.2f, 0.3f), 0.7f);
    mesh.position_and_scale(vesk_vector3(0.1f, 0.5f, -0.3f), vesk_vector3(1.2f, 0.8f, 1.1f));
    mesh.center_and_enforce_size(2.0f, &offset, &factor);
    out.add(offset, factor);
    fold_vertices(out, mesh);
    mesh.rotate(vesk_vector3(0.3f, -0.7f, 2.1f));
    fold_vertices(out, mesh);
    out.add_array(mesh.tangent_array, mesh.tangent_count);
}

void fold_mesh_file(digest &out, vesk_mesh &mesh)
{
    const temp_file file; // several golden runs may go on at a time
    owned_mesh loaded;
    mesh.set_uv_channel(1);
    mesh.generate_tangents();
    out.add(mesh.save_binary(file.wide(), 0), 1);
    for (const unsigned char byte : file.bytes())
        out.add(std::uint32_t{byte});
    out.add(loaded.load_binary(file.wide()));
    fold_vertices(out, loaded);
    out.add_array(loaded.index_array, loaded.index_count);
    // LZ4's choice of blocks belongs to its version, so only what comes back goes in.
    out.add(mesh.save_binary(file.wide(), 1));
    out.add(loaded.load_binary(file.wide()));
    fold_vertices(out, loaded);
    out.add_array(loaded.tangent_array, loaded.tangent_count);
}

void fold_fbx_import(digest &out)
{
    const std::filesystem::path path = VESK_SOURCE_DIR "/examples/data/workshop.fbx";
    owned_mesh mesh;
    out.add(mesh.load_from_file(path.wstring().c_str()));
    fold_vertices(out, mesh);
    out.add_array(mesh.index_array, mesh.index_count);
    for (const auto *list : {&mesh.subset_lookup_table, &mesh.uv_channel_counts})
    {
        out.add(list->count);
        out.add_array(list->data, list->count);
    }
    for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
        out.add_array(mesh.uv_channel_arrays[c], mesh.uv_channel_counts[c]);
}

void fold_octree(digest &out, vesk_mesh &mesh)
{
    for (const unsigned int depth : {0u, 2u, 5u})
    {
        out.add(mesh.generate_octree(depth, nullptr, nullptr));
        fold_nodes(out, mesh.get_octree(), mesh.index_array);
        fold_boxes(out, mesh.get_octree());
        out.add(mesh.get_octree_size_bytes());
    }
    vesk_list<unsigned int> subsets;
    assign_list(subsets, std::vector<unsigned int>{3, 1, 3});
    out.add(mesh.generate_octree(5, &subsets, nullptr));
    fold_nodes(out, mesh.get_octree(), mesh.index_array);
}

void fold_all_hits(digest &out, const vesk_mesh &mesh, const vesk_vector3 &origin,
                   const vesk_vector3 &direction, float length, float *minimum)
{
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;
    mesh.is_ray_intersect(origin, direction, distances, triangles, barycentrics, minimum);
    mesh.is_line_intersect(origin, direction, length, distances, triangles, barycentrics, minimum);
    out.add(distances.count);
    for (unsigned int i = 0; i < distances.count; ++i)
        out.add(distances[i], barycentrics[i],
                static_cast<unsigned int>(triangles[i]->vertex_indices - mesh.index_array));
}

void fold_octree_queries(digest &out)
{
    test_random random(41);
    for (const mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        mesh.generate_octree(6, nullptr, nullptr);
        for (unsigned int i = 0; i < 600; ++i)
        {
            const vesk_vector3 origin = random.point(-1.5f, 1.5f);
            vesk_vector3 direction = random.point(-1.0f, 1.0f);
            if (i % 5 == 0)
                direction[i % 3] = 0.0f;
            float limit = random.between(-0.5f, 0.5f);
            float *const minimum = i % 2 ? &limit : nullptr;
            const float length = random.between(0.0f, 3.0f);
            out.add(mesh.is_ray_intersect(origin, direction, minimum),
                    mesh.is_line_intersect(origin, direction, length, minimum));
            fold_all_hits(out, mesh, origin, direction, length, minimum);
            float distance;
            vesk_octree_triangle_s triangle = {};
            vesk_vector2 barycentric;
            out.add(mesh.is_ray_intersect_closest(origin, direction, distance, triangle,
                                                  barycentric, minimum));
            out.add(distance);
            out.add_array(triangle.vertex_indices, 3);
            out.add(barycentric);
            out.add(mesh.is_line_intersect_closest(origin, direction, length, distance, triangle,
                                                   barycentric, minimum));
            out.add(distance, barycentric);
        }
    }
}

void fold_uv_lookup(digest &out, vesk_mesh &mesh)
{
    for (const unsigned int depth : {0u, 3u, 6u})
    {
        out.add(mesh.generate_uv_lookup_quadtree(64, 48, depth, 0, 0, nullptr, nullptr));
        fold_nodes(out, mesh.uv_lookup_root, mesh.uv_lookup_index_array);
        out.add_array(mesh.uv_lookup_vertex_array, mesh.uv_lookup_vertex_count);
        out.add_array(mesh.uv_lookup_index_array, mesh.uv_lookup_index_count);
    }
    out.add(mesh.generate_uv_lookup_quadtree(64, 48, 6, -1, 1, nullptr, nullptr));
    fold_nodes(out, mesh.uv_lookup_root, mesh.uv_lookup_index_array);
}

void fold_uv_lookup_queries(digest &out)
{
    test_random random(42);
    for (const mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        mesh.generate_uv_lookup_quadtree(64, 48, 6, 0, 0, nullptr, nullptr);
        for (unsigned int i = 0; i < 4000; ++i)
        {
            vesk_vector2 point(static_cast<float>(i % 64), static_cast<float>(i / 64));
            if (i % 3 == 0)
            {
                point.x = random.between(-1.0f, 65.0f);
                point.y = random.between(-1.0f, 49.0f);
            }
            vesk_uv_lookup_triangle_s triangle = {};
            vesk_vector2 weights;
            const int found = mesh.is_point_intersect_uv_lookup(point, triangle, weights);
            out.add(found, triangle.record_offset);
            if (found)
                out.add(weights);
        }
    }
}
} // namespace

std::vector<family> mesh_families()
{
    return {
        {"normals", fold_each_mesh<fold_normals>},
        {"tangents", fold_each_mesh<fold_tangents>},
        {"transforms", fold_each_mesh<fold_transforms>},
        {"mesh_file", fold_each_mesh<fold_mesh_file>},
        {"fbx_import", fold_fbx_import},
        {"octree", fold_each_mesh<fold_octree>},
        {"octree_queries", fold_octree_queries},
        {"uv_lookup", fold_each_mesh<fold_uv_lookup>},
        {"uv_lookup_queries", fold_uv_lookup_queries},
    };
}
