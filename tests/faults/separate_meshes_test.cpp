#include "support/byte_file.h"
#include "support/mesh_builder.h"
#include "support/mesh_compare.h"
#include "vesk/cancel_scope.h"

#include <gtest/gtest.h>
#include <thread>

// Each thread has a mesh of its own and does everything with it, files and polls included. What
// comes out is what comes out on one thread; the thread sanitizer sees whether they had anything in
// common. FBX import is left out: one at a time is what it promises.

namespace
{
struct outcome
{
    owned_mesh mesh;
    unsigned int hits = 0, texels = 0, polls = 0;
    bool is_saved_alike = false;
};

void ask(const vesk_mesh &mesh, test_random &random, outcome &result)
{
    for (int i = 0; i < 100; ++i)
    {
        float distance;
        vesk_octree_triangle_s triangle;
        vesk_uv_lookup_triangle_s texel;
        vesk_vector2 weights;
        const vesk_vector3 origin = random.point(-2.0f, 2.0f);
        result.hits += static_cast<unsigned int>(mesh.is_ray_intersect_closest(
            origin, random.point(-1.0f, 1.0f), distance, triangle, weights, nullptr));
        const float column = random.between(0.0f, 64.0f);
        result.texels += static_cast<unsigned int>(mesh.is_point_intersect_uv_lookup(
            vesk_vector2(column, random.between(0.0f, 64.0f)), texel, weights));
    }
}

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
    test_random random(seed);
    ask(mesh, random, result);

    const temp_file file;
    owned_mesh loaded;
    mesh.save_binary(file.wide(), static_cast<int>(seed % 2));
    result.is_saved_alike = loaded.load_binary(file.wide()) == 1 && same_mesh(mesh, loaded);
}
} // namespace

TEST(SeparateMeshes, HaveNothingInCommon)
{
    constexpr unsigned int thread_count = 4;
    outcome together[thread_count], alone[thread_count];
    std::vector<std::thread> threads;
    for (unsigned int n = 0; n < thread_count; ++n)
        threads.emplace_back([n, &together] { do_everything(n, together[n]); });
    for (std::thread &thread : threads)
        thread.join();
    for (unsigned int n = 0; n < thread_count; ++n)
    {
        SCOPED_TRACE(n);
        do_everything(n, alone[n]);
        EXPECT_TRUE(same_mesh(together[n].mesh, alone[n].mesh));
        EXPECT_EQ(together[n].hits, alone[n].hits);
        EXPECT_GT(alone[n].hits, 0u);
        EXPECT_EQ(together[n].texels, alone[n].texels);
        EXPECT_EQ(together[n].polls, alone[n].polls);
        EXPECT_TRUE(together[n].is_saved_alike && alone[n].is_saved_alike);
    }
}
