#include "support/bits.h"
#include "support/mesh_builder.h"
#include "vesk/matrix.h"

// What vectors and matrices do element by element, in every spelling: members of objects that may
// change, free functions for those that may not, compound assignment. All other results of the kit
// are held to the bit by the golden run, as inline code and as calls into the library.

namespace
{
template <typename T> constexpr unsigned int count_of = sizeof(T) / sizeof(float);

template <typename T> float element(const T &object, unsigned int i)
{
    float value;
    std::memcpy(&value, reinterpret_cast<const char *>(&object) + i * sizeof(float), sizeof(value));
    return value;
}

template <typename T> void set_element(T &object, unsigned int i, float value)
{
    if constexpr (count_of<T> <= 4)
        object[i] = value;
    else
        object[i / (count_of<T> == 9 ? 3 : 4)][i % (count_of<T> == 9 ? 3 : 4)] = value;
}

template <typename T> T random_object(test_random &random)
{
    T object;
    for (unsigned int i = 0; i < count_of<T>; ++i)
        set_element(object, i,
                    random.below(8) ? random.between(-4.0f, 4.0f) : float_of(random.next()));
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
        const T a = random_object<T>(random), b = random_object<T>(random);
        const float s = random.between(-4.0f, 4.0f);
        const auto expect = [&a](const T &result, const char *what, auto operation)
        {
            for (unsigned int i = 0; i < count_of<T>; ++i)
                ASSERT_TRUE(same_bits(element(result, i), operation(element(a, i), i))) << what;
        };
        const auto sum = [&b](float p, unsigned int i) { return p + element(b, i); };
        const auto difference = [&b](float p, unsigned int i) { return p - element(b, i); };
        const auto product = [s](float p, unsigned int) { return p * s; };
        const auto quotient = [s](float p, unsigned int) { return p / s; };
        T m = a;
        expect(m + b, "m + b", sum);
        expect(a + b, "a + b", sum);
        expect(m += b, "+=", sum);
        expect((m = a) - b, "m - b", difference);
        expect(a - b, "a - b", difference);
        expect(m -= b, "-=", difference);
        expect((m = a) * s, "m * s", product);
        expect(a * s, "a * s", product);
        expect(s * a, "s * a", product);
        expect(m *= s, "*=", product);
        expect((m = a) /= s, "/=", quotient);
        if constexpr (count_of<T> <= 4)
        {
            const auto negative = [](float p, unsigned int) { return -p; };
            expect((m = a) / s, "m / s", quotient);
            expect(a / s, "a / s", quotient);
            expect(-m, "-m", negative);
            expect(-a, "-a", negative);
        }
        else
        {
            const T squared = a * a;
            expect((m = a) *= m, "its own factor",
                   [&](float, unsigned int i) { return element(squared, i); });
        }
    }
}

TYPED_TEST(Elementwise, EqualityIsExactAndReadsEveryElement)
{
    using T = TypeParam;
    T zero;
    for (unsigned int i = 0; i < count_of<T>; ++i)
        set_element(zero, i, 0.0f);
    for (unsigned int i = 0; i < count_of<T>; ++i)
        for (const std::uint32_t bits : {0x80000000u, 1u, 0x7FC00000u})
        {
            T a = zero;
            set_element(a, i, float_of(bits));
            const T b = a;
            const int is_zero = bits == 0x80000000u, is_number = bits != 0x7FC00000u;
            EXPECT_TRUE((a == zero) == is_zero && (b == zero) == is_zero) << i;
            EXPECT_TRUE((a != zero) == !is_zero && (b != zero) == !is_zero) << i;
            EXPECT_TRUE((zero == a) == is_zero && (zero != a) == !is_zero) << i;
            EXPECT_TRUE((a == b) == is_number && (b != b) == !is_number) << i;
            if constexpr (count_of<T> <= 4)
            {
                EXPECT_EQ(a.is_zero(), is_zero) << i;
            }
        }
}
