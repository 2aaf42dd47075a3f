#include "support/bits.h"
#include "support/mesh_builder.h"
#include "vesk/matrix.h"

// What vectors and matrices do element by element, in every spelling: members of objects that may
// change, free functions for those that may not, compound assignment. All other results of the kit
// are held to the bit by the golden run, as inline code and as calls into the library.

namespace
{
template <typename T> constexpr unsigned int count_of = sizeof(T) / sizeof(float);
template <typename T> constexpr bool is_vector = count_of<T> <= 4;

/// Every class of the kit is its floats, row by row.
template <typename T> float &element(T &object, unsigned int i)
{
    return reinterpret_cast<float *>(&object)[i];
}

template <typename T> T random_object(test_random &random)
{
    T object;
    for (unsigned int i = 0; i < count_of<T>; ++i)
        element(object, i) =
            random.below(8) ? random.between(-4.0f, 4.0f) : float_of(random.next());
    return object;
}

template <typename T> class Elementwise : public testing::Test
{
};
using all_classes =
    testing::Types<vesk_vector2, vesk_vector3, vesk_vector4, vesk_matrix33, vesk_matrix44>;
TYPED_TEST_SUITE(Elementwise, all_classes);
} // namespace

TYPED_TEST(Elementwise, EverySpellingRoundsEachElementOnce)
{
    using T = TypeParam;
    test_random random(21);
    for (int round = 0; round < 2000; ++round)
    {
        T b = random_object<T>(random), m = random_object<T>(random);
        const T a = m, &c = b;
        const float s = random.between(-4.0f, 4.0f);
        T sum, difference, product, quotient, negative;
        for (unsigned int i = 0; i < count_of<T>; ++i)
        {
            const float p = element(m, i), q = element(b, i);
            element(sum, i) = p + q;
            element(difference, i) = p - q;
            element(product, i) = p * s;
            element(quotient, i) = p / s;
            element(negative, i) = -p;
        }
        const auto expect = [](const char *what, T expected, std::initializer_list<T> spellings)
        {
            for (T result : spellings)
                for (unsigned int i = 0; i < count_of<T>; ++i)
                    ASSERT_TRUE(same_bits(element(result, i), element(expected, i))) << what;
        };
        expect("sum", sum, {m + c, a + c, m += c});
        expect("difference", difference, {(m = a) - c, a - c, m -= c});
        expect("product", product, {(m = a) * s, a * s, s * a, m *= s});
        expect("quotient", quotient, {(m = a) /= s});
        if constexpr (is_vector<T>)
        {
            expect("quotient", quotient, {(m = a) / s, a / s});
            expect("negative", negative, {-m, -a});
        }
        else
            expect("its own factor", a * a, {(m = a) *= m});
    }
}

TYPED_TEST(Elementwise, EqualityIsExactAndReadsEveryElement)
{
    using T = TypeParam;
    const T zero = 0.0f * T();
    for (unsigned int i = 0; i < count_of<T>; ++i)
        for (const std::uint32_t bits : {0x80000000u, 1u, 0x7FC00000u})
        {
            T a = zero;
            element(a, i) = float_of(bits);
            const T b = a;
            const int is_zero = bits == 0x80000000u, is_number = bits != 0x7FC00000u;
            EXPECT_TRUE((a == zero) == is_zero && (b == zero) == is_zero) << i;
            EXPECT_TRUE((a != zero) == !is_zero && (b != zero) == !is_zero) << i;
            EXPECT_TRUE((zero == a) == is_zero && (zero != a) == !is_zero) << i;
            EXPECT_TRUE((a == b) == is_number && (b != b) == !is_number) << i;
            if constexpr (is_vector<T>)
            {
                EXPECT_EQ(a.is_zero(), is_zero) << i;
            }
        }
}
