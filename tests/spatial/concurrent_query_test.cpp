#include "golden/digest.h"
#include "support/soup.h"

#include <gtest/gtest.h>
#include <thread>

// Reading is all that a query does to a mesh: many threads may ask at once. The thread sanitizer
// holds the library to it.

namespace
{
/// Questions of all kinds, drawn by the seed, and all their answers.
std::uint64_t answers_of(const vesk_mesh &mesh, unsigned int seed)
{
    dice random(seed);
    digest answers;
    for (int i = 0; i < 300; ++i)
    {
        const vesk_vector3 origin = random.point(2.0f), direction = random.point(1.0f);
        const vesk_vector2 point(random.between(0.0f, 64.0f), random.between(0.0f, 64.0f));
        float distance;
        vesk_octree_triangle_s triangle = {};
        vesk_uv_lookup_triangle_s texel = {};
        vesk_vector2 weights, texel_weights;
        vesk_list<float> distances;
        vesk_list<vesk_octree_triangle_s *> triangles;
        vesk_list<vesk_vector2> barycentrics;
        const int closest =
            mesh.is_ray_intersect_closest(origin, direction, distance, triangle, weights, nullptr);
        const int line = mesh.is_line_intersect(origin, direction, 1.0e30f, distances, triangles,
                                                barycentrics, nullptr);
        const int found = mesh.is_point_intersect_uv_lookup(point, texel, texel_weights);
        answers.add(closest, distance, triangle.record_offset, weights, line, distances.count,
                    found, texel.record_offset);
    }
    return answers.value();
}
} // namespace

TEST(ConcurrentQuery, ManyThreadsMayAskOneMesh)
{
    owned_mesh mesh(random_soup(9, 500));
    ASSERT_EQ(mesh.generate_octree(4, nullptr, nullptr), 1);
    ASSERT_EQ(mesh.generate_uv_lookup_quadtree(64, 64, 5, 0, 0, nullptr, nullptr), 1);
    std::uint64_t answers[4] = {};
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] { answers[number] = answers_of(mesh, number); });
    for (std::thread &thread : threads)
        thread.join();
    for (unsigned int number = 0; number < 4; ++number)
        EXPECT_EQ(answers[number], answers_of(mesh, number));
}
