#include "support/byte_file.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "vesk/cancel_scope.h"

#include <functional>
#include <gtest/gtest.h>
#include <thread>

// What comes out of many threads is what comes out of one; the thread sanitizer sees whether they
// had anything in common but what they read. FBX import is left out: one at a time is what it
// promises.

namespace
{
constexpr unsigned int thread_count = 4;

void on_all_threads(const std::function<void(unsigned int number)> &run)
{
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < thread_count; ++number)
        threads.emplace_back(run, number);
    for (std::thread &thread : threads)
        thread.join();
}

/// Questions of all kinds, drawn by the seed: what the answers come to.
std::vector<double> answers_of(const vesk_mesh &mesh, unsigned int seed)
{
    test_random random(seed);
    std::vector<double> answers;
    for (int i = 0; i < 200; ++i)
    {
        const vesk_vector3 origin = random.point(-2.0f, 2.0f),
                           direction = random.point(-1.0f, 1.0f);
        const float column = random.between(0.0f, 64.0f), row = random.between(0.0f, 64.0f);
        float distance;
        vesk_octree_triangle_s triangle = {};
        vesk_uv_lookup_triangle_s texel = {};
        vesk_vector2 weights;
        vesk_list<float> distances;
        vesk_list<vesk_octree_triangle_s *> triangles;
        vesk_list<vesk_vector2> barycentrics;
        mesh.is_ray_intersect_closest(origin, direction, distance, triangle, weights, nullptr);
        mesh.is_line_intersect(origin, direction, 1.0e30f, distances, triangles, barycentrics,
                               nullptr);
        answers.insert(answers.end(), {distance, double(triangle.record_offset), weights.x,
                                       double(distances.count)});
        mesh.is_point_intersect_uv_lookup(vesk_vector2(column, row), texel, weights);
        answers.insert(answers.end(), {double(texel.record_offset), weights.x});
    }
    return answers;
}

struct outcome
{
    owned_mesh mesh;
    std::vector<double> answers;
    unsigned int polls = 0;
    bool is_saved_alike = false;
};

/// Everything that can be done with one mesh, files and polls included.
void do_everything(unsigned int seed, outcome &result)
{
    mesh_source source = random_web(seed, 300, 80);
    split_subsets(source, 3);
    vesk_mesh &mesh = result.mesh;
    source.fill(mesh);
    mesh.set_uv_channel(7); // all threads now read the one UV that meshes have in common
    mesh.set_uv_channel(0);
    mesh.generate_normals();
    mesh.rotate(vesk_vector3(0.5f, 0.25f, 0.125f));
    mesh.generate_render_index_array();
    vesk_list<unsigned long> colors;
    for (unsigned int i = 0; i < 300; ++i)
        colors.push_back(i % 5);
    mesh.sort_render_index_by_subset_color(colors);

    auto count_poll = [&result]
    {
        ++result.polls;
        return false;
    };
    vesk_cancel_scope scope(count_poll);
    mesh.generate_octree(4, nullptr, scope.callback());
    mesh.generate_uv_lookup_quadtree(64, 64, 4, 0, 0, nullptr, scope.callback());
    result.answers = answers_of(mesh, seed);

    const temp_file file;
    owned_mesh loaded;
    mesh.save_binary(file.wide(), static_cast<int>(seed % 2));
    result.is_saved_alike = loaded.load_binary(file.wide()) == 1 && same_mesh(mesh, loaded);
}
} // namespace

TEST(Threads, WithMeshesOfTheirOwnHaveNothingInCommon)
{
    outcome together[thread_count], alone[thread_count];
    on_all_threads([&](unsigned int n) { do_everything(n, together[n]); });
    for (unsigned int n = 0; n < thread_count; ++n)
    {
        SCOPED_TRACE(n);
        do_everything(n, alone[n]);
        EXPECT_TRUE(same_mesh(together[n].mesh, alone[n].mesh));
        EXPECT_EQ(together[n].answers, alone[n].answers);
        EXPECT_EQ(together[n].polls, alone[n].polls);
        EXPECT_TRUE(together[n].is_saved_alike && alone[n].is_saved_alike);
    }
}

TEST(Threads, MayAskOneMeshAtOnce)
{
    outcome built;
    do_everything(9, built);
    std::vector<double> answers[thread_count];
    on_all_threads([&](unsigned int n) { answers[n] = answers_of(built.mesh, n); });
    for (unsigned int n = 0; n < thread_count; ++n)
        EXPECT_EQ(answers[n], answers_of(built.mesh, n));
}
