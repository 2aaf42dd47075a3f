#include "mesh_checks.h"

#include "input_file.h"
#include "vesk/validate.h"

#include <cfloat>
#include <cmath>
#include <cstring>

namespace
{
unsigned int polls_left = 0;

/// Above this, trees stay flat and slow inputs are not looked for.
constexpr unsigned int many_triangles = 500;

struct question
{
    vesk_vector3 origin, direction;
    float length;
    float limit;
    bool is_line, is_limited;
};

struct hit_lists
{
    vesk_list<float> distances;
    vesk_list<vesk_octree_triangle_s *> triangles;
    vesk_list<vesk_vector2> barycentrics;
};

vesk_vector3 take_point(byte_source &source)
{
    const float x = source.number(), y = source.number(), z = source.number();
    return vesk_vector3(x, y, z);
}

question take_question(byte_source &source)
{
    question q;
    const unsigned int kind = source.below(4);
    q.is_line = kind & 1;
    q.is_limited = kind & 2;
    q.origin = take_point(source);
    q.direction = take_point(source);
    q.length = source.number();
    q.limit = source.number();
    return q;
}

bool same_bits(float a, float b)
{
    return std::memcmp(&a, &b, sizeof(a)) == 0;
}

/// The first of the least distances in walk order.
float least(const vesk_list<float> &distances)
{
    float best = FLT_MAX;
    for (unsigned int i = 0; i < distances.count; ++i)
        if (best > distances[i])
            best = distances[i];
    return best;
}

void ask(const vesk_mesh &mesh, question &q)
{
    float *const limit = q.is_limited ? &q.limit : nullptr;
    hit_lists all;
    float distance = 0.0f;
    vesk_octree_triangle_s triangle;
    vesk_vector2 barycentric;
    int any, every, closest;
    if (q.is_line)
    {
        any = mesh.is_line_intersect(q.origin, q.direction, q.length, limit);
        every = mesh.is_line_intersect(q.origin, q.direction, q.length, all.distances,
                                       all.triangles, all.barycentrics, limit);
        closest = mesh.is_line_intersect_closest(q.origin, q.direction, q.length, distance,
                                                 triangle, barycentric, limit);
    }
    else
    {
        any = mesh.is_ray_intersect(q.origin, q.direction, limit);
        every = mesh.is_ray_intersect(q.origin, q.direction, all.distances, all.triangles,
                                      all.barycentrics, limit);
        closest = mesh.is_ray_intersect_closest(q.origin, q.direction, distance, triangle,
                                                barycentric, limit);
    }
    FUZZ_CHECK(any == every && any == closest && any == (all.distances.count > 0));
    FUZZ_CHECK(all.triangles.count == all.distances.count &&
               all.barycentrics.count == all.distances.count);
    FUZZ_CHECK(same_bits(distance, least(all.distances)));
}

/// Both trees, to a depth and in a number of polls that keep an input quick.
void build_trees(vesk_mesh &mesh, byte_source &source)
{
    const unsigned int depth =
        mesh.index_count / 7 > many_triangles ? source.below(2) : source.below(6);
    vesk_list<unsigned int> subsets;
    for (unsigned int i = source.below(4); i > 0; --i)
        subsets.push_back(source.below(4));
    const vesk_list<unsigned int> *const some = source.below(2) ? &subsets : nullptr;
    const int offset_u = static_cast<int>(source.below(5)) - 2;
    allow_polls(200);
    const int has_octree = mesh.generate_octree(depth, some, stop_after_polls);
    FUZZ_CHECK(has_octree == (mesh.octree != nullptr) || mesh.instance_octree);
    allow_polls(200);
    const int has_quadtree = mesh.generate_uv_lookup_quadtree(
        source.below(200), source.below(200), depth, offset_u, 0, some, stop_after_polls);
    FUZZ_CHECK(has_quadtree == (mesh.uv_lookup_root != nullptr));
    volatile unsigned int bytes =
        mesh.get_octree_size_bytes() + mesh.get_uv_lookup_quadtree_size_bytes();
    static_cast<void>(bytes);
}

void sort_colors(vesk_mesh &mesh, byte_source &source)
{
    vesk_list<unsigned long> colors;
    unsigned long long count = 0;
    for (unsigned int s = 0; s < mesh.get_subset_count(); ++s)
        count += mesh.subset_lookup_table[s * 2 + 1];
    if (count > 100000) // subsets may overlap, so that there can be far more than triangles
        return;
    for (; count > 0; --count)
        colors.push_back(source.below(7));
    const bool has_room = colors.count <= mesh.index_count / 7;
    FUZZ_CHECK(mesh.sort_render_index_by_subset_color(colors) == (has_room ? 1 : 0));
    FUZZ_CHECK(mesh.render_color_lookup_table.count == (has_room ? mesh.get_subset_count() : 0));
}

void derive(vesk_mesh &mesh, byte_source &source)
{
    FUZZ_CHECK(mesh.generate_tangents() == 1);
    FUZZ_CHECK(mesh.tangent_count == mesh.index_count / 7 * 3);
    FUZZ_CHECK(mesh.generate_render_index_array() == 1);
    sort_colors(mesh, source);
    build_trees(mesh, source);
    for (int i = 0; i < 4; ++i)
        run_queries(mesh, source);
}

void transform(vesk_mesh &mesh, byte_source &source)
{
    vesk_vector3 offset;
    float factor;
    mesh.generate_normals();
    mesh.position(take_point(source));
    mesh.scale(source.number());
    mesh.scale(take_point(source));
    mesh.position_and_scale(take_point(source), source.number());
    mesh.position_and_scale(take_point(source), take_point(source));
    mesh.calculate_bounding_box();
    mesh.center_and_enforce_size(source.number(), &offset, &factor);
    mesh.rotate(take_point(source));
}

bool has_empty_section(const vesk_mesh &mesh)
{
    for (unsigned int c = 0; c < mesh.uv_channel_counts.count; ++c)
        if (mesh.uv_channel_counts[c] == 0)
            return true;
    return mesh.vertex_count == 0 || mesh.index_count == 0;
}

/// What is saved can be loaded again, but for empty sections in compressed files.
void save_and_load(vesk_mesh &mesh)
{
    static const input_file file(".mesh");
    vesk_mesh loaded;
    for (const int compress : {0, 1})
    {
        FUZZ_CHECK(mesh.save_binary(file.wide(), compress) == 1);
        const int result = loaded.load_binary(file.wide());
        file.remove();
        FUZZ_CHECK(result == (compress && has_empty_section(mesh) ? 0 : 1));
        FUZZ_CHECK(result == 0 || (loaded.vertex_count == mesh.vertex_count &&
                                   loaded.index_count == mesh.index_count &&
                                   std::memcmp(static_cast<const void *>(loaded.vertex_array),
                                               mesh.vertex_array, mesh.vertex_count * 24u) == 0));
    }
    loaded.free();
}

void lend(const vesk_mesh &mesh, byte_source &source)
{
    vesk_mesh borrower;
    borrower.set_instance_geometry(mesh.vertex_array, mesh.uv_array, mesh.index_array,
                                   mesh.vertex_count, mesh.uv_count, mesh.index_count,
                                   mesh.subset_lookup_table);
    // The shared zero UV comes with a count of what was current before.
    FUZZ_CHECK(is_sound(borrower) || mesh.cur_uv_channel >= mesh.uv_channel_arrays.count);
    borrower.set_instance_octree(mesh.octree);
    run_queries(borrower, source);
    transform(borrower, source);
    borrower.free_octree();
    derive(borrower, source);
    borrower.free();
}
} // namespace

void allow_polls(unsigned int count)
{
    polls_left = count;
}

int stop_after_polls()
{
    if (polls_left == 0)
        return 1;
    --polls_left;
    return 0;
}

bool is_sound(const vesk_mesh &mesh)
{
    vesk_mesh_fault_s fault;
    if (vesk_mesh_validate(mesh, &fault))
        return true;
    if (fault.kind != vesk_mesh_fault_position_not_finite &&
        fault.kind != vesk_mesh_fault_normal_not_finite)
        return false;

    // Vertices are looked at before records: without them the rest has to pass.
    vesk_3d_vertex_s *const copy = new vesk_3d_vertex_s[mesh.vertex_count];
    vesk_mesh finite(mesh); // a field copy
    finite.vertex_array = copy;
    const bool is_rest_sound = vesk_mesh_validate(finite, nullptr) == 1;
    delete[] copy;
    return is_rest_sound;
}

void run_queries(const vesk_mesh &mesh, byte_source &source)
{
    if (mesh.octree)
    {
        question q = take_question(source);
        ask(mesh, q);
    }
    vesk_uv_lookup_triangle_s triangle;
    vesk_vector2 barycentric;
    const float column = source.number() * 16.0f, row = source.number() * 16.0f;
    if (mesh.is_point_intersect_uv_lookup(vesk_vector2(column, row), triangle, barycentric))
        for (const unsigned int index : triangle.vertex_indices)
            FUZZ_CHECK(index < mesh.uv_lookup_vertex_count);
}

void run_every_operation(vesk_mesh &mesh, byte_source &source)
{
    derive(mesh, source);
    lend(mesh, source);
    save_and_load(mesh);
    for (unsigned int channel = 0; channel <= mesh.uv_channel_arrays.count && channel < 4;
         ++channel)
    {
        mesh.set_uv_channel(channel);
        FUZZ_CHECK(is_sound(mesh));
    }
    derive(mesh, source);

    vesk_mesh copy;
    FUZZ_CHECK(copy.create(mesh) == 1);
    transform(copy, source);
    FUZZ_CHECK(is_sound(copy));
    derive(copy, source);
    copy.free();
    mesh.free_octree();
    mesh.free_uv_lookup_quadtree();
    mesh.free_tangents();
    mesh.free_render_index_array();
    FUZZ_CHECK(is_sound(mesh));
}
