#include "golden/families.h"
#include "support/byte_file.h"
#include "support/mesh_builder.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace
{
/// One mesh of each kind that the builders make; every family goes through all of them.
std::vector<mesh_source> golden_meshes()
{
    std::vector<mesh_source> meshes;
    meshes.push_back(displaced_sphere(3000, 2));
    meshes.push_back(random_web(21, 900, 200));
    meshes.push_back(random_soup(22, 500, 3));
    meshes.push_back(grid(24, 20));
    meshes.push_back(clustered(23, 800));
    meshes.push_back(degenerate(24, 400));
    meshes.push_back(nan_bearing(25, 300));
    for (mesh_source &mesh : meshes)
        split_subsets(mesh, 5);
    return meshes;
}

void fold_vertices(digest &out, const vesk_mesh &mesh)
{
    for (unsigned int v = 0; v < mesh.vertex_count; ++v)
    {
        out.add(mesh.vertex_array[v].position, mesh.vertex_array[v].normal);
    }
    out.add(mesh.bounding_box_min, mesh.bounding_box_max);
}

void fold_tangent_records(digest &out, const vesk_mesh &mesh)
{
    for (unsigned int i = 0; i < mesh.tangent_count; ++i)
    {
        out.add(mesh.tangent_array[i].tangent, mesh.tangent_array[i].handedness);
    }
}

void fold_list(digest &out, const vesk_list<unsigned int> &list)
{
    out.add(list.count);
    out.add_words(list.data, list.count);
}

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

struct hit_lists
{
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;

    void fold(digest &out, const unsigned int *records) const
    {
        out.add(distances.count);
        for (unsigned int i = 0; i < distances.count; ++i)
        {
            out.add(distances[i], barycentrics[i],
                    static_cast<unsigned int>(triangles[i]->vertex_indices - records));
        }
    }
};

void fold_ray(digest &out, const vesk_mesh &mesh, const vesk_vector3 &origin,
              const vesk_vector3 &direction, float length, float *minimum)
{
    out.add(mesh.is_ray_intersect(origin, direction, minimum));
    out.add(mesh.is_line_intersect(origin, direction, length, minimum));

    hit_lists hits;
    mesh.is_ray_intersect(origin, direction, hits.distances, hits.triangles, hits.barycentrics,
                          minimum);
    mesh.is_line_intersect(origin, direction, length, hits.distances, hits.triangles,
                           hits.barycentrics, minimum);
    hits.fold(out, mesh.index_array);

    float distance;
    vesk_octree_triangle_s triangle = {};
    vesk_vector2 barycentric;
    out.add(
        mesh.is_ray_intersect_closest(origin, direction, distance, triangle, barycentric, minimum));
    out.add(distance);
    out.add_words(triangle.vertex_indices, 3);
    out.add(barycentric);
    out.add(mesh.is_line_intersect_closest(origin, direction, length, distance, triangle,
                                           barycentric, minimum));
    out.add(distance, barycentric);
}

/// The bytes of a file, folded.
void fold_file(digest &out, const std::filesystem::path &path)
{
    FILE *file = std::fopen(path.string().c_str(), "rb");
    out.add(file ? 1 : 0);
    if (!file)
        return;
    for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file))
        out.add(byte);
    std::fclose(file);
}
} // namespace

void fold_normals(digest &out)
{
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        mesh.generate_normals();
        fold_vertices(out, mesh);
    }
}

void fold_tangents(digest &out)
{
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        for (unsigned int channel = 0; channel <= mesh.get_uv_channel_count(); ++channel)
        {
            mesh.set_uv_channel(channel);
            out.add(mesh.generate_tangents());
            fold_tangent_records(out, mesh);
        }
    }
}

void fold_render_index(digest &out)
{
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        out.add(mesh.generate_render_index_array());
        out.add_words(mesh.render_index_array, mesh.get_render_index_count());
        vesk_list<unsigned long> colors;
        test_random random(31);
        for (unsigned int t = 0; t < mesh.index_count / 7; ++t)
            colors.push_back(random.below(9) * 0x20000001ul & 0xFFFFFFFFul);
        out.add(mesh.sort_render_index_by_subset_color(colors));
        // The order inside a run is free, so only the runs go in.
        const vesk_list<vesk_subset_color_lookup_s> *table;
        mesh.get_render_color_lookup_table(&table);
        for (unsigned int s = 0; s < table->count; ++s)
            for (unsigned int r = 0; r < (*table)[s].runs.count; ++r)
            {
                const vesk_triangle_color_data_s &run = (*table)[s].runs[r];
                out.add(run.color, run.first_index, run.triangle_count);
            }
    }
}

void fold_transforms(digest &out)
{
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
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
        fold_tangent_records(out, mesh);
    }
}

void fold_mesh_file(digest &out)
{
    const temp_file file; // several golden runs may go on at a time
    const std::filesystem::path &path = file.path;
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        mesh.set_uv_channel(1);
        mesh.generate_tangents();
        out.add(mesh.save_binary(path.wstring().c_str(), 0));
        fold_file(out, path);
        owned_mesh loaded;
        out.add(loaded.load_binary(path.wstring().c_str()));
        fold_vertices(out, loaded);
        out.add_words(loaded.index_array, loaded.index_count);
        // LZ4's choice of blocks belongs to its version, so only what comes back goes in.
        out.add(mesh.save_binary(path.wstring().c_str(), 1));
        out.add(loaded.load_binary(path.wstring().c_str()));
        fold_vertices(out, loaded);
        fold_tangent_records(out, loaded);
    }
}

void fold_fbx_import(digest &out)
{
    std::vector<std::filesystem::path> files;
    const std::filesystem::path root = VESK_SOURCE_DIR;
    for (const char *folder : {"examples/data", "tests/data"})
        if (std::filesystem::is_directory(root / folder))
            for (const auto &entry : std::filesystem::directory_iterator(root / folder))
                if (entry.path().extension() == ".fbx")
                    files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path &path : files)
    {
        owned_mesh mesh;
        out.add(mesh.load_from_file(path.wstring().c_str()));
        fold_vertices(out, mesh);
        out.add_words(mesh.index_array, mesh.index_count);
        fold_list(out, mesh.subset_lookup_table);
        fold_list(out, mesh.uv_channel_counts);
        for (unsigned int c = 0; c < mesh.uv_channel_arrays.count; ++c)
            for (unsigned int i = 0; i < mesh.uv_channel_counts[c]; ++i)
                out.add(mesh.uv_channel_arrays[c][i]);
    }
}

void fold_octree(digest &out)
{
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        for (const unsigned int depth : {0u, 2u, 5u})
        {
            out.add(mesh.generate_octree(depth, nullptr, nullptr));
            fold_nodes(out, mesh.get_octree(), mesh.index_array);
            fold_boxes(out, mesh.get_octree());
            out.add(mesh.get_octree_size_bytes());
        }
        vesk_list<unsigned int> subsets;
        subsets.push_back(3);
        subsets.push_back(1);
        subsets.push_back(3);
        out.add(mesh.generate_octree(5, &subsets, nullptr));
        fold_nodes(out, mesh.get_octree(), mesh.index_array);
    }
}

void fold_octree_queries(digest &out)
{
    test_random random(41);
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        mesh.generate_octree(6, nullptr, nullptr);
        for (unsigned int i = 0; i < 600; ++i)
        {
            const vesk_vector3 origin = random.point(-1.5f, 1.5f);
            vesk_vector3 direction = random.point(-1.0f, 1.0f);
            if (i % 5 == 0)
                direction[i % 3] = 0.0f;
            float minimum = random.between(-0.5f, 0.5f);
            fold_ray(out, mesh, origin, direction, random.between(0.0f, 3.0f),
                     i % 2 ? &minimum : nullptr);
        }
    }
}

void fold_uv_lookup(digest &out)
{
    for (mesh_source &source : golden_meshes())
    {
        owned_mesh mesh(source);
        for (const unsigned int depth : {0u, 3u, 6u})
        {
            out.add(mesh.generate_uv_lookup_quadtree(64, 48, depth, 0, 0, nullptr, nullptr));
            fold_nodes(out, mesh.uv_lookup_root, mesh.uv_lookup_index_array);
            for (unsigned int i = 0; i < mesh.uv_lookup_vertex_count; ++i)
                out.add(mesh.uv_lookup_vertex_array[i]);
            out.add_words(mesh.uv_lookup_index_array, mesh.uv_lookup_index_count);
        }
        out.add(mesh.generate_uv_lookup_quadtree(64, 48, 6, -1, 1, nullptr, nullptr));
        fold_nodes(out, mesh.uv_lookup_root, mesh.uv_lookup_index_array);
    }
}

void fold_uv_lookup_queries(digest &out)
{
    test_random random(42);
    for (mesh_source &source : golden_meshes())
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
