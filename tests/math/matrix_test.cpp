#include "support/stepped.h"
#include "vesk/matrix.h"

namespace
{
constexpr int round_count = 20000;

// The upper-left 3x3 of `block` in a 4x4 identity.
floats<16> padded(const floats<9> &block)
{
    floats<16> result{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j)
            result[i * 4 + j] = block[i * 3 + j];
    result[15] = 1.0f;
    return result;
}

template <std::size_t side>
floats<side * side> plain_product(const floats<side * side> &a, const floats<side * side> &b)
{
    floats<side * side> result;
    for (std::size_t i = 0; i < side; ++i)
        for (std::size_t j = 0; j < side; ++j)
        {
            stepped sum = a[i * side] * b[j];
            for (std::size_t k = 1; k < side; ++k)
                sum = sum + a[i * side + k] * b[k * side + j];
            result[i * side + j] = sum;
        }
    return result;
}

template <std::size_t n> floats<n> plain_transpose(const floats<n> &a)
{
    const std::size_t side = n == 9 ? 3 : 4;
    floats<n> result;
    for (std::size_t i = 0; i < n; ++i)
        result[i % side * side + i / side] = a[i];
    return result;
}

floats<9> plain_inverse(const floats<9> &m)
{
    const floats<9> c = {
        m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
        m[6] * m[5] - m[3] * m[8], m[0] * m[8] - m[6] * m[2], m[3] * m[2] - m[0] * m[5],
        m[3] * m[7] - m[6] * m[4], m[6] * m[1] - m[0] * m[7], m[0] * m[4] - m[3] * m[1]};
    const stepped determinant = m[0] * c[0] + m[1] * c[3] + m[2] * c[6];
    if (!(std::fabs(determinant.wide()) > 1e-06))
        return m;
    const stepped inverse = stepped(1.0f) / determinant;
    floats<9> result;
    for (std::size_t i = 0; i < 9; ++i)
        result[i] = c[i] * inverse;
    return result;
}

floats<3> plain_cross(const floats<3> &a, const floats<3> &b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

floats<3> plain_unit(const floats<3> &v)
{
    const stepped length = stepped_root(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (length.value > 0.0f)
        return {v[0] / length, v[1] / length, v[2] / length};
    return {};
}

floats<9> plain_aim(const floats<3> &forward, const floats<3> &up, bool negate_right)
{
    const floats<3> f = plain_unit(forward);
    const floats<3> r = plain_unit(plain_cross(f, plain_unit(up)));
    const floats<3> t = plain_unit(plain_cross(r, f));
    floats<9> result = {r[0], r[1], r[2], t[0], t[1], t[2], f[0], f[1], f[2]};
    for (std::size_t i = 0; negate_right && i < 3; ++i)
        result[i] = -result[i];
    return result;
}

template <typename M> class MatrixArithmetic : public testing::Test
{
};
using both_classes = testing::Types<vesk_matrix33, vesk_matrix44>;
TYPED_TEST_SUITE(MatrixArithmetic, both_classes);

// Both matrices element by element through one operation.
template <std::size_t n, typename Operation>
floats<n> each(const floats<n> &a, const floats<n> &b, Operation operation)
{
    floats<n> result;
    for (std::size_t i = 0; i < n; ++i)
        result[i] = operation(a[i], b[i]);
    return result;
}
} // namespace

TYPED_TEST(MatrixArithmetic, MatchesSteppedArithmeticToTheBit)
{
    using M = TypeParam;
    constexpr std::size_t n = sizeof(M) / sizeof(float);
    constexpr std::size_t side = n == 9 ? 3 : 4;
    hostile_floats source(22);
    for (int round = 0; round < round_count && !this->HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const M a = source.object<M>(), b = source.object<M>();
        const float s = source.next();
        const floats<n> fa = floats_of(a), fb = floats_of(b);
        floats<n> fs;
        fs.fill(s);

        const auto add = [](stepped p, stepped q) { return p + q; };
        const auto subtract = [](stepped p, stepped q) { return p - q; };
        const auto multiply = [](stepped p, stepped q) { return p * q; };
        const auto divide = [](stepped p, stepped q) { return p / q; };
        M m = a;
        EXPECT_TRUE(same_floats(m += b, each(fa, fb, add)));
        EXPECT_TRUE(same_floats(a + b, each(fa, fb, add)));
        EXPECT_TRUE(same_floats((m = a) -= b, each(fa, fb, subtract)));
        EXPECT_TRUE(same_floats(a - b, each(fa, fb, subtract)));
        EXPECT_TRUE(same_floats((m = a) *= s, each(fa, fs, multiply)));
        EXPECT_TRUE(same_floats(a * s, each(fa, fs, multiply)));
        EXPECT_TRUE(same_floats(s * a, each(fa, fs, multiply)));
        EXPECT_TRUE(same_floats((m = a) /= s, each(fa, fs, divide)));
        EXPECT_TRUE(same_floats((m = a) *= b, plain_product<side>(fa, fb)));
        EXPECT_TRUE(same_floats(a * b, plain_product<side>(fa, fb)));
        EXPECT_TRUE(same_floats((m = a) *= m, plain_product<side>(fa, fa)));
        EXPECT_TRUE(same_floats((m = a).transpose(), plain_transpose(fa)));
        EXPECT_TRUE(same_floats(m.identity(), floats_of(M())));

        bool equal = true;
        for (std::size_t i = 0; i < n; ++i)
            equal = equal && fa[i].value == fb[i].value;
        EXPECT_EQ(a == b, equal);
        EXPECT_EQ(a != b, !equal);
    }
}

TYPED_TEST(MatrixArithmetic, EqualityIsExactAndReadsEveryElement)
{
    using M = TypeParam;
    for (unsigned int i = 0; i < sizeof(M) / sizeof(float); ++i)
    {
        const unsigned int side = sizeof(M) == 36 ? 3 : 4;
        M a(0.0f), b(-0.0f);
        EXPECT_EQ(a == b, 1);
        b[i / side][i % side] = float_of(1);
        EXPECT_EQ(a == b, 0) << i;
        EXPECT_EQ(a != b, 1) << i;
        b[i / side][i % side] = float_of(0x7fc00000u);
        EXPECT_EQ(b == b, 0) << i;
        EXPECT_EQ(b != b, 1) << i;
    }
}

TEST(Matrix, ProductsWithVectorsMatchSteppedArithmetic)
{
    hostile_floats source(23);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_matrix33 a = source.object<vesk_matrix33>();
        const vesk_matrix44 b = source.object<vesk_matrix44>();
        const vesk_vector3 v = source.object<vesk_vector3>();
        const vesk_vector4 p = source.object<vesk_vector4>();
        const floats<9> m = floats_of(a);
        const floats<16> h = floats_of(b);
        const floats<3> x = floats_of(v);
        const floats<4> y = floats_of(p);

        floats<3> rows, columns, point;
        floats<4> homogeneous;
        for (std::size_t i = 0; i < 3; ++i)
        {
            rows[i] = m[i * 3] * x[0] + m[i * 3 + 1] * x[1] + m[i * 3 + 2] * x[2];
            columns[i] = x[0] * m[i] + x[1] * m[3 + i] + x[2] * m[6 + i];
            point[i] = h[i * 4] * x[0] + h[i * 4 + 1] * x[1] + h[i * 4 + 2] * x[2] + h[i * 4 + 3];
        }
        for (std::size_t i = 0; i < 4; ++i)
            homogeneous[i] =
                h[i * 4] * y[0] + h[i * 4 + 1] * y[1] + h[i * 4 + 2] * y[2] + h[i * 4 + 3] * y[3];
        EXPECT_TRUE(same_floats(a * v, rows));
        EXPECT_TRUE(same_floats(v * a, columns));
        EXPECT_TRUE(same_floats(b * v, point));
        EXPECT_TRUE(same_floats(v * b, point));
        EXPECT_TRUE(same_floats(b * p, homogeneous));
    }
}

TEST(Matrix, InverseMatchesSteppedArithmetic)
{
    hostile_floats source(24);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_matrix33 a = source.object<vesk_matrix33>();
        EXPECT_TRUE(same_floats(vesk_matrix33_inverse(a), plain_inverse(floats_of(a))));
    }
}

TEST(Matrix, InverseGivesTheSingularMatrixBack)
{
    const vesk_matrix33 at_limit = vesk_matrix33_scale(vesk_vector3(1e-06f, 1.0f, 1.0f));
    const vesk_matrix33 too_small = 0.01f * vesk_matrix33();
    const vesk_matrix33 no_number(float_of(0x7fc00000u));
    for (const vesk_matrix33 &m : {at_limit, too_small, no_number, vesk_matrix33(0.0f)})
        EXPECT_TRUE(same_floats(vesk_matrix33_inverse(m), floats_of(m)));
    EXPECT_EQ(vesk_matrix33_inverse(0.0101f * vesk_matrix33())[1].y > 99.0f, true);
}

TEST(Matrix, RotationsMatchSteppedArithmetic)
{
    hostile_floats source(25);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const float angle = source.next();
        const stepped c(std::cos(static_cast<double>(angle)));
        const stepped s(std::sin(static_cast<double>(angle)));
        const stepped u = stepped(1.0f) - c;
        const floats<9> about[] = {{1.0f, 0.0f, 0.0f, 0.0f, c, s, 0.0f, -s, c},
                                   {c, 0.0f, -s, 0.0f, 1.0f, 0.0f, s, 0.0f, c},
                                   {c, s, 0.0f, -s, c, 0.0f, 0.0f, 0.0f, 1.0f},
                                   floats_of(vesk_matrix33())};
        for (unsigned int axis = 0; axis < 4; ++axis)
        {
            EXPECT_TRUE(same_floats(vesk_matrix33_rotate(axis, angle), about[axis]));
            EXPECT_TRUE(same_floats(vesk_matrix44_rotate(axis, angle), padded(about[axis])));
        }

        const vesk_vector3 axis = source.object<vesk_vector3>();
        const stepped x = axis.x, y = axis.y, z = axis.z;
        vesk_matrix33 out(axis, axis, axis);
        vesk_matrix33_rotate_on_arbitrary_axis(out[1], angle, out); // the axis may be a row
        EXPECT_TRUE(
            same_floats(out, floats<9>{x * u * x + c, x * u * y - z * s, x * u * z + y * s,
                                       x * u * y + z * s, y * u * y + c, y * u * z - x * s,
                                       x * u * z - y * s, y * u * z + x * s, z * u * z + c}));
        vesk_matrix33_rotate_on_arbitrary_XZ_axis(axis, angle, out);
        EXPECT_TRUE(same_floats(out, floats<9>{x * u * x + c, -(z * s), x * u * z, z * s, c,
                                               -(x * s), x * u * z, x * s, z * u * z + c}));
    }
}

TEST(Matrix, AimingMatchesSteppedArithmetic)
{
    hostile_floats source(26);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_vector3 forward = source.object<vesk_vector3>();
        const vesk_vector3 up = source.object<vesk_vector3>();
        const floats<9> kept = plain_aim(floats_of(forward), floats_of(up), false);
        const floats<9> negated = plain_aim(floats_of(forward), floats_of(up), true);
        EXPECT_TRUE(same_floats(vesk_matrix33_rotation_from_vector(forward, up, 0), kept));
        EXPECT_TRUE(same_floats(vesk_matrix33_rotation_from_vector(forward, up, -7), negated));
        EXPECT_TRUE(same_floats(vesk_matrix44_rotation_from_vector(forward, up), padded(kept)));
    }
}

TEST(Matrix, ConversionsDropAndPad)
{
    hostile_floats source(27);
    const vesk_matrix33 small = source.object<vesk_matrix33>();
    const vesk_matrix44 large = source.object<vesk_matrix44>();
    vesk_matrix44 widened = large;
    widened = small;
    EXPECT_TRUE(same_floats(widened, padded(floats_of(small))));
    EXPECT_TRUE(same_floats(vesk_matrix44(small), padded(floats_of(small))));
    vesk_matrix33 narrowed;
    narrowed = large;
    for (unsigned int i = 0; i < 9; ++i)
        EXPECT_TRUE(same_bits(narrowed[i / 3][i % 3], large[i / 3][i % 3])) << i;
}

TEST(Matrix, MakersPlaceTheirArguments)
{
    const vesk_vector3 v(2.0f, 3.0f, 5.0f);
    EXPECT_TRUE(same_floats(vesk_matrix33_scale(v),
                            floats<9>{2.0f, 0.0f, 0.0f, 0.0f, 3.0f, 0.0f, 0.0f, 0.0f, 5.0f}));
    EXPECT_TRUE(same_floats(vesk_matrix44_scale(v), padded(floats_of(vesk_matrix33_scale(v)))));
    const vesk_matrix44 translation(1.0f, 0.0f, 0.0f, 2.0f, 0.0f, 1.0f, 0.0f, 3.0f, 0.0f, 0.0f,
                                    1.0f, 5.0f, 0.0f, 0.0f, 0.0f, 1.0f);
    EXPECT_EQ(vesk_matrix44_translate(v) == translation, 1);
    EXPECT_EQ(vesk_matrix44_frustum(1, 2, 3, 4, 5, 6) == vesk_matrix44_identity(), 1);
    EXPECT_EQ(vesk_matrix44_perspective(1, 2, 3, 4) == vesk_matrix44_identity(), 1);

    // A quarter turn about Z takes X to Y for a row vector, and to -Y for a column.
    const vesk_matrix33 quarter = vesk_matrix33_rotate(2, 1.5707964f);
    const vesk_vector3 x(1.0f, 0.0f, 0.0f), y(0.0f, 1.0f, 0.0f);
    EXPECT_EQ(vesk_vec_nearly_equal(x * quarter, y, 1e-6f), 1);
    EXPECT_EQ(vesk_vec_nearly_equal(quarter * x, -y, 1e-6f), 1);
}
