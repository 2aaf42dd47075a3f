#include "support/stepped.h"
#include "vesk/vector.h"

#include <type_traits>

namespace
{
constexpr int round_count = 20000;
const stepped two_pi = float_of(0x40c90fdbu);

// Binary operations of two vectors, or of a vector and a scalar, component by component.
template <std::size_t n, typename Operation>
floats<n> each(const floats<n> &a, const floats<n> &b, Operation operation)
{
    floats<n> result;
    for (std::size_t i = 0; i < n; ++i)
        result[i] = operation(a[i], b[i]);
    return result;
}

template <std::size_t n> floats<n> filled(stepped value)
{
    floats<n> result;
    result.fill(value);
    return result;
}

template <std::size_t n> floats<n> sum(const floats<n> &a, const floats<n> &b)
{
    return each(a, b, [](stepped p, stepped q) { return p + q; });
}

template <std::size_t n> floats<n> difference(const floats<n> &a, const floats<n> &b)
{
    return each(a, b, [](stepped p, stepped q) { return p - q; });
}

template <std::size_t n> floats<n> scaled(const floats<n> &a, stepped s)
{
    return each(a, filled<n>(s), [](stepped p, stepped q) { return p * q; });
}

template <std::size_t n> floats<n> divided(const floats<n> &a, stepped s)
{
    return each(a, filled<n>(s), [](stepped p, stepped q) { return p / q; });
}

template <std::size_t n> stepped float_dot(const floats<n> &a, const floats<n> &b)
{
    stepped result = a[0] * b[0];
    for (std::size_t i = 1; i < n; ++i)
        result = result + a[i] * b[i];
    return result;
}

// Vectors of two and three dot in double, those of four in float.
template <std::size_t n> stepped plain_dot(const floats<n> &a, const floats<n> &b)
{
    if (n == 4)
        return float_dot(a, b);
    volatile double result = a[0].wide() * b[0].wide();
    for (std::size_t i = 1; i < n; ++i)
    {
        const volatile double product = a[i].wide() * b[i].wide();
        result = result + product;
    }
    return stepped(static_cast<double>(result));
}

template <std::size_t n> stepped plain_length(const floats<n> &a)
{
    return stepped_root(float_dot(a, a));
}

template <std::size_t n> floats<n> plain_unit(const floats<n> &a)
{
    const stepped length = plain_length(a);
    if (n == 4)
        return scaled(a, length.value > 0.0f ? stepped(1.0f) / length : stepped(0.0f));
    return length.value > 0.0f ? divided(a, length) : filled<n>(0.0f);
}

template <std::size_t n> floats<n> plain_reflect(const floats<n> &v, const floats<n> &normal)
{
    return difference(v, scaled(scaled(normal, 2.0f), float_dot(v, normal)));
}

template <std::size_t n> floats<n> plain_blend(const floats<n> &a, const floats<n> &b, stepped t)
{
    return sum(scaled(a, stepped(1.0f) - t), scaled(b, t));
}

floats<3> plain_cross(const floats<3> &a, const floats<3> &b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

stepped sine_of(stepped a)
{
    return stepped(std::sin(a.wide()));
}

stepped cosine_of(stepped a)
{
    return stepped(std::cos(a.wide()));
}

floats<3> plain_slerp(const floats<3> &a, const floats<3> &b, stepped t)
{
    stepped d = float_dot(a, b);
    d = -1.0f > d.value ? -1.0f : d.value > 1.0f ? 1.0f : d.value;
    const stepped theta(std::acos(d.wide()));
    const stepped s = sine_of(theta);
    if (1e-06 > s.wide())
        return plain_unit(plain_blend(a, b, t));
    return divided(
        sum(scaled(a, sine_of((stepped(1.0f) - t) * theta)), scaled(b, sine_of(t * theta))), s);
}

floats<3> plain_turn(const floats<3> &p, const floats<3> &axis, stepped angle, floats<3> out)
{
    const floats<3> n = plain_unit(axis);
    const stepped c = cosine_of(angle), s = sine_of(angle), u = stepped(1.0f) - c;
    const stepped matrix[3][3] = {
        {u * n[0] * n[0] + c, u * n[0] * n[1] - n[2] * s, u * n[0] * n[2] + n[1] * s},
        {u * n[0] * n[1] + n[2] * s, u * n[1] * n[1] + c, u * n[1] * n[2] - n[0] * s},
        {u * n[0] * n[2] - n[1] * s, u * n[1] * n[2] + n[0] * s, u * n[2] * n[2] + c}};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            out[i] = out[i] + matrix[i][j] * p[j];
    return out;
}

template <typename V> class VectorArithmetic : public testing::Test
{
};
using all_classes = testing::Types<vesk_vector2, vesk_vector3, vesk_vector4>;
TYPED_TEST_SUITE(VectorArithmetic, all_classes);
} // namespace

TYPED_TEST(VectorArithmetic, MatchesSteppedArithmetic)
{
    using V = TypeParam;
    constexpr std::size_t n = sizeof(V) / sizeof(float);
    hostile_floats source(21);
    for (int round = 0; round < round_count && !this->HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const V a = source.object<V>();
        const V b = round % 16 ? source.object<V>() : a;
        const float s = source.next();
        const floats<n> fa = floats_of(a), fb = floats_of(b);

        // Members of an object that may change, and free functions of ones that may not.
        V m = a, k = a;
        EXPECT_TRUE(same_floats(k + b, sum(fa, fb)));
        EXPECT_TRUE(same_floats(a + b, sum(fa, fb)));
        EXPECT_TRUE(same_floats(m += b, sum(fa, fb)));
        EXPECT_TRUE(same_floats(k - b, difference(fa, fb)));
        EXPECT_TRUE(same_floats(a - b, difference(fa, fb)));
        EXPECT_TRUE(same_floats((m = a) -= b, difference(fa, fb)));
        EXPECT_TRUE(same_floats(k * s, scaled(fa, s)));
        EXPECT_TRUE(same_floats(a * s, scaled(fa, s)));
        EXPECT_TRUE(same_floats(s * a, scaled(fa, s)));
        EXPECT_TRUE(same_floats((m = a) *= s, scaled(fa, s)));
        EXPECT_TRUE(same_floats(k / s, divided(fa, s)));
        EXPECT_TRUE(same_floats(a / s, divided(fa, s)));
        EXPECT_TRUE(same_floats((m = a) /= s, divided(fa, s)));
        const floats<n> flipped = each(fa, fa, [](stepped p, stepped) { return -p; });
        EXPECT_TRUE(same_floats(-k, flipped));
        EXPECT_TRUE(same_floats(-a, flipped));

        bool equal = true, zero = true;
        for (std::size_t i = 0; i < n; ++i)
        {
            equal = equal && fa[i].value == fb[i].value;
            zero = zero && fa[i].value == 0.0f;
        }
        EXPECT_EQ(k == b, equal);
        EXPECT_EQ(a == b, equal);
        EXPECT_EQ(k != b, !equal);
        EXPECT_EQ(a != b, !equal);
        EXPECT_EQ(a.is_zero(), zero);

        EXPECT_TRUE(same_bits(a.get_length_squared(), float_dot(fa, fa).value));
        EXPECT_TRUE(same_bits(a.get_length(), plain_length(fa).value));
        EXPECT_TRUE(same_floats((m = a).normalize(), plain_unit(fa)));
        EXPECT_TRUE(same_floats(vesk_vec_normalize(a), plain_unit(fa)));
        EXPECT_TRUE(same_bits(vesk_vec_dot_product(a, b), plain_dot(fa, fb).value));
        EXPECT_TRUE(same_floats(vesk_vec_reflect(a, b), plain_reflect(fa, fb)));
        const floats<n> d = difference(fa, fb);
        EXPECT_EQ(vesk_vec_nearly_equal(a, b, s), (stepped(s) * s).value > float_dot(d, d).value);
        if constexpr (n < 4)
        {
            const stepped distance = plain_length(d);
            EXPECT_TRUE(same_bits(vesk_vec_distance(a, b), distance.value));
            EXPECT_TRUE(same_bits(vesk_vec_distance_squared(a, b), (distance * distance).value));
            EXPECT_TRUE(same_floats(vesk_vec_lerp(a, b, s), plain_blend(fa, fb, s)));
        }
    }
}

TYPED_TEST(VectorArithmetic, ComponentsAreFloatsInOrder)
{
    using V = TypeParam;
    constexpr unsigned int n = sizeof(V) / sizeof(float);
    V v;
    EXPECT_TRUE(same_floats(v, floats<n>()));
    for (unsigned int i = 0; i < n; ++i)
    {
        v[i] = static_cast<float>(i + 1);
        EXPECT_EQ(static_cast<const V &>(v)[i], static_cast<float>(i + 1));
    }
    EXPECT_EQ(v.x, 1.0f);
    EXPECT_EQ(v.y, 2.0f);
    EXPECT_EQ(v[n - 1], static_cast<float>(n));
    EXPECT_TRUE((std::is_same<decltype(v == v), int>::value));
}

TYPED_TEST(VectorArithmetic, ToleranceIsADistanceOfItsOwn)
{
    using V = TypeParam;
    V v;
    v.x = 3.0f;
    v.y = 4.0f;
    EXPECT_EQ(vesk_vec_nearly_equal(v, v, 0.0f), 0);
    EXPECT_EQ(vesk_vec_nearly_equal(v, v, 1e-06f), 1);
    EXPECT_EQ(vesk_vec_nearly_equal(v, V(), 5.0f), 0);
    EXPECT_EQ(vesk_vec_nearly_equal(v, V(), -5.1f), 1);
    V tiny;
    tiny.x = 1e-30f; // its square underflows
    EXPECT_EQ(vesk_vec_normalize(tiny).is_zero(), 1);
}

TEST(Vector2, AnglesMatchSteppedArithmetic)
{
    hostile_floats source(28);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_vector2 v = source.object<vesk_vector2>();
        const float radians = source.next();
        stepped angle(std::atan2(static_cast<double>(v.y), static_cast<double>(v.x)));
        if (angle.value < 0.0f)
            angle = angle + two_pi;
        EXPECT_TRUE(same_bits(v.get_angle(), angle.value));

        stepped reduced = radians;
        if (reduced.value > two_pi.value)
            reduced = stepped(std::fmod(reduced.wide(), 6.2831854820251465));
        floats<2> expected = {cosine_of(reduced), sine_of(reduced)};
        if (reduced.value == two_pi.value)
            expected = floats_of(v);
        vesk_vector2 set = v;
        set.set_angle(radians);
        EXPECT_TRUE(same_floats(set, expected));

        const stepped c = cosine_of(radians), s = sine_of(radians);
        vesk_vector2 turned = v;
        turned.rotate_angle(radians);
        EXPECT_TRUE(same_floats(turned, floats<2>{stepped(v.x) * c - stepped(v.y) * s,
                                                  stepped(v.x) * s + stepped(v.y) * c}));
    }
}

TEST(Vector2, FullTurnLeavesTheVectorAndLargerAnglesAreReduced)
{
    vesk_vector2 v(3.0f, -4.0f);
    v.set_angle(two_pi.value);
    EXPECT_TRUE(same_floats(v, floats<2>{3.0f, -4.0f}));
    v.set_angle(7.0f);
    EXPECT_EQ(v.x, static_cast<float>(std::cos(
                       static_cast<double>(static_cast<float>(7.0 - 6.2831854820251465)))));
    EXPECT_EQ(vesk_vector2(1.0f, 0.0f).get_angle(), 0.0f);
    EXPECT_EQ(vesk_vector2().get_angle(), 0.0f);
    EXPECT_NEAR(vesk_vector2(0.0f, -1.0f).get_angle(), 4.712389f, 1e-6f); // never negative
}

TEST(Vector3, GeometryMatchesSteppedArithmetic)
{
    hostile_floats source(29);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_vector3 a = source.object<vesk_vector3>(), b = source.object<vesk_vector3>(),
                           c = source.object<vesk_vector3>();
        const float s = source.next();
        const floats<3> fa = floats_of(a), fb = floats_of(b), fc = floats_of(c);
        EXPECT_TRUE(same_floats(vesk_vec_cross_product(a, b), plain_cross(fa, fb)));
        EXPECT_TRUE(
            same_bits(vesk_vec_triple_product(a, b, c), plain_dot(fa, plain_cross(fb, fc)).value));
        EXPECT_TRUE(same_floats(vesk_triangle_normal(a, b, c),
                                plain_unit(plain_cross(difference(fb, fa), difference(fc, fa)))));

        const vesk_vector3 p = vesk_vec_normalize(a), q = vesk_vec_normalize(b);
        EXPECT_TRUE(
            same_floats(vesk_vec_slerp(p, q, s), plain_slerp(floats_of(p), floats_of(q), s)));
        EXPECT_TRUE(same_floats(vesk_vec_slerp(a, b, s), plain_slerp(fa, fb, s)));

        vesk_vector3 out = c;
        vesk_rotate_point_around_axis(a, b, s, out);
        EXPECT_TRUE(same_floats(out, plain_turn(fa, fb, s, fc)));
        out = a; // the point itself
        vesk_rotate_point_around_axis(out, b, s, out);
        EXPECT_TRUE(same_floats(out, plain_turn(fa, fb, s, fa)));
    }
}

TEST(Vector3, SlerpFallsBackNearParallelVectors)
{
    const vesk_vector3 a(0.6f, 0.8f, 0.0f);
    EXPECT_EQ(vesk_vec_nearly_equal(vesk_vec_slerp(a, a, 0.3f), a, 1e-6f), 1);
    EXPECT_EQ(vesk_vec_slerp(a, -a, 0.5f).is_zero(), 1);
    EXPECT_EQ(vesk_triangle_normal({0, 0, 0}, {1, 0, 0}, {0, 1, 0}) == vesk_vector3(0, 0, 1), 1);
}

TEST(Vector4, AssignsFromThreeAndBack)
{
    vesk_vector4 wide(1.0f, 2.0f, 3.0f, 4.0f);
    vesk_vector3 narrow;
    narrow = wide;
    EXPECT_TRUE(same_floats(narrow, floats<3>{1.0f, 2.0f, 3.0f}));
    wide = narrow;
    EXPECT_TRUE(same_floats(wide, floats<4>{1.0f, 2.0f, 3.0f, 0.0f}));
}
