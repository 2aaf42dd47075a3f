#include "support/bits.h"
#include "support/plain_query.h"
#include "support/soup.h"

#include <thread>

// Reading is all that a query does to a mesh: many threads may ask at once. The thread sanitizer
// holds the library to it.

TEST(ConcurrentQuery, ManyThreadsMayAskOneMesh)
{
    soup s(soup_kind::scattered, 500, 9);
    ASSERT_EQ(s.mesh.generate_octree(4, nullptr, nullptr), 1);
    std::vector<vesk_vector2> uvs = {vesk_vector2(0.0f, 0.0f), vesk_vector2(1.0f, 0.0f),
                                     vesk_vector2(0.0f, 1.0f), vesk_vector2(1.0f, 1.0f)};
    for (unsigned int t = 0; t < s.triangle_count(); ++t)
        for (unsigned int c = 0; c < 3; ++c)
            s.words[t * 7 + 3 + c] = (t + c) % 4;
    s.mesh.uv_array = uvs.data();
    ASSERT_EQ(s.mesh.generate_uv_lookup_quadtree(64, 64, 5, 0, 0, nullptr, nullptr), 1);

    int wrong[4] = {};
    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < 4; ++number)
        threads.emplace_back(
            [&s, &wrong, number]
            {
                const vesk_mesh &mesh = s.mesh;
                dice random(number);
                for (int i = 0; i < 300; ++i)
                {
                    const plain::question q{random.point(2.0f), random.point(1.0f), 0, 0.0f,
                                            nullptr};
                    float distance, plain_distance;
                    vesk_octree_triangle_s triangle, plain_triangle;
                    vesk_vector2 weights;
                    vesk_list<float> distances;
                    vesk_list<vesk_octree_triangle_s *> triangles;
                    vesk_list<vesk_vector2> barycentrics;
                    const int found = mesh.is_ray_intersect_closest(q.origin, q.direction, distance,
                                                                    triangle, weights, nullptr);
                    wrong[number] +=
                        found != plain::closest(mesh, q, plain_distance, plain_triangle, weights);
                    wrong[number] += !same_bits(distance, plain_distance);
                    wrong[number] +=
                        found != mesh.is_line_intersect(q.origin, q.direction, 1.0e30f, distances,
                                                        triangles, barycentrics, nullptr);
                    vesk_uv_lookup_triangle_s texel, plain_texel;
                    const vesk_vector2 point(random.between(0.0f, 64.0f),
                                             random.between(0.0f, 64.0f));
                    wrong[number] += mesh.is_point_intersect_uv_lookup(point, texel, weights) !=
                                     plain::texel(*mesh.uv_lookup_root, mesh.uv_lookup_vertex_array,
                                                  point, plain_texel, weights);
                }
            });
    for (std::thread &thread : threads)
        thread.join();
    for (int count : wrong)
        EXPECT_EQ(count, 0);
    s.mesh.free_uv_lookup_quadtree();
}
