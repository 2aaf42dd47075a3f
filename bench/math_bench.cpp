// Loops of a host over the kit beside the same loops on Eigen, a header-only library that hosts
// know: vectors, matrices and quaternions in arrays that stay in the first cache. A pair is to
// differ by less than a tenth; repeat and take medians:
//   math_bench --benchmark_repetitions=9 --benchmark_enable_random_interleaving

#include "vesk/vesk.h"

#include <benchmark/benchmark.h>
#include <cstddef>
#include <Eigen/Geometry>
#include <random>
#include <type_traits>
#include <vector>

namespace
{
constexpr std::size_t element_count = 256;

// Both sides read the same floats.
template <typename T> std::vector<T> filled(unsigned int seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> range(-1.0f, 1.0f);
    std::vector<T> objects(element_count);
    for (T &object : objects)
    {
        float *components = reinterpret_cast<float *>(&object);
        for (std::size_t i = 0; i < sizeof(T) / sizeof(float); ++i)
            components[i] = range(random);
    }
    return objects;
}

// result[i] = operation(a[i], b[i]).
template <typename A, typename B, typename Operation>
void run(benchmark::State &state, Operation operation)
{
    const std::vector<A> a = filled<A>(1);
    const std::vector<B> b = filled<B>(2);
    std::vector<std::decay_t<decltype(operation(a[0], b[0]))>> result(element_count);
    for (auto _ : state)
    {
        for (std::size_t i = 0; i < element_count; ++i)
            result[i] = operation(a[i], b[i]);
        benchmark::DoNotOptimize(result.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(element_count));
}

vesk_matrix33 matrix_of(const vesk_quaternion &q)
{
    vesk_matrix33 m;
    q.to_matrix(m);
    return m;
}

using row_matrix3 = Eigen::Matrix<float, 3, 3, Eigen::RowMajor>;
using row_matrix4 = Eigen::Matrix<float, 4, 4, Eigen::RowMajor>;
using vector3 = Eigen::Vector3f;
using vector4 = Eigen::Vector4f;
using quaternion = Eigen::Quaternionf;

// With the limit that the kit's inverse has: a singular matrix comes back.
row_matrix3 checked_inverse(const row_matrix3 &m)
{
    row_matrix3 inverse;
    bool is_invertible;
    m.computeInverseWithCheck(inverse, is_invertible, 1e-06f);
    return is_invertible ? inverse : m;
}
} // namespace

// One pair of programs: the kit's expression and the other library's.
#define PAIR(name, a_type, b_type, expression, other_a_type, other_b_type, other_expression)       \
    static void name##_vesk(benchmark::State &state)                                               \
    {                                                                                              \
        run<a_type, b_type>(state, [](const a_type &a, const b_type &b) { return expression; });   \
    }                                                                                              \
    static void name##_eigen(benchmark::State &state)                                              \
    {                                                                                              \
        run<other_a_type, other_b_type>(state, [](const other_a_type &a, const other_b_type &b)    \
                                        { return other_expression; });                             \
    }                                                                                              \
    BENCHMARK(name##_vesk);                                                                        \
    BENCHMARK(name##_eigen)

PAIR(vector3_add, vesk_vector3, vesk_vector3, a + b, vector3, vector3, vector3(a + b));
PAIR(vector3_cross, vesk_vector3, vesk_vector3, vesk_vec_cross_product(a, b), vector3, vector3,
     vector3(a.cross(b)));
PAIR(vector3_lerp, vesk_vector3, vesk_vector3, vesk_vec_lerp(a, b, 0.25f), vector3, vector3,
     vector3((1.0f - 0.25f) * a + 0.25f * b));
PAIR(vector3_length, vesk_vector3, vesk_vector3, (a - b).get_length(), vector3, vector3,
     (a - b).norm());
PAIR(vector3_normalize, vesk_vector3, vesk_vector3, vesk_vec_normalize(a + b), vector3, vector3,
     vector3((a + b).normalized()));
PAIR(vector4_dot, vesk_vector4, vesk_vector4, vesk_vec_dot_product(a, b), vector4, vector4,
     a.dot(b));
PAIR(matrix33_product, vesk_matrix33, vesk_matrix33, a *b, row_matrix3, row_matrix3,
     row_matrix3(a *b));
PAIR(matrix33_row_vector, vesk_vector3, vesk_matrix33, a *b, vector3, row_matrix3,
     vector3(a.transpose() * b));
PAIR(matrix33_inverse, vesk_matrix33, vesk_matrix33, (void(b), vesk_matrix33_inverse(a)),
     row_matrix3, row_matrix3, (void(b), checked_inverse(a)));
PAIR(matrix44_product, vesk_matrix44, vesk_matrix44, a *b, row_matrix4, row_matrix4,
     row_matrix4(a *b));
PAIR(matrix44_vector, vesk_matrix44, vesk_vector4, a *b, row_matrix4, vector4, vector4(a *b));
PAIR(quaternion_product, vesk_quaternion, vesk_quaternion, a *b, quaternion, quaternion,
     quaternion(a *b));
PAIR(quaternion_matrix, vesk_quaternion, vesk_quaternion, matrix_of(a *b), quaternion, quaternion,
     row_matrix3((a * b).toRotationMatrix()));

BENCHMARK_MAIN();
