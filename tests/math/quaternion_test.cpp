#include "support/stepped.h"
#include "vesk/quaternion.h"

namespace
{
constexpr int round_count = 20000;

stepped sine_of(stepped a)
{
    return stepped(std::sin(a.wide()));
}

stepped cosine_of(stepped a)
{
    return stepped(std::cos(a.wide()));
}

floats<4> plain_product(const floats<4> &t, const floats<4> &q)
{
    const std::size_t x = 0, y = 1, z = 2, w = 3;
    return {q[x] * t[w] + q[w] * t[x] + t[y] * q[z] - t[z] * q[y],
            q[w] * t[y] + q[y] * t[w] + q[x] * t[z] - t[x] * q[z],
            q[w] * t[z] + q[z] * t[w] + t[x] * q[y] - q[x] * t[y],
            q[w] * t[w] - q[x] * t[x] - t[y] * q[y] - t[z] * q[z]};
}

stepped plain_dot(const floats<4> &a, const floats<4> &b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

floats<4> plain_unit(const floats<4> &q)
{
    const stepped n = plain_dot(q, q);
    if (n.value == 0.0f || n.value == 1.0f)
        return q;
    const stepped s = stepped(1.0f) / stepped_root(n);
    return {q[0] * s, q[1] * s, q[2] * s, q[3] * s};
}

floats<4> plain_blend(const floats<4> &a, stepped weight_a, const floats<4> &b, stepped weight_b)
{
    floats<4> result;
    for (std::size_t i = 0; i < 4; ++i)
        result[i] = a[i] * weight_a + b[i] * weight_b;
    return result;
}

floats<4> plain_slerp(const floats<4> &a, const floats<4> &b, stepped t)
{
    const stepped theta(std::acos(plain_dot(a, b).wide()));
    const stepped s = sine_of(theta);
    if (!(s.value > float_of(0x3a83126fu)))
        return plain_blend(a, stepped(1.0f) - t, b, t);
    return plain_blend(a, sine_of((stepped(1.0f) - t) * theta) / s, b, sine_of(theta * t) / s);
}

floats<4> plain_euler(stepped x, stepped y, stepped z)
{
    const stepped k = float_of(0xbc0efa35u);
    const stepped a = x * k, b = y * k, c = z * k;
    const floats<4> qx = {sine_of(a), 0.0f, 0.0f, cosine_of(a)};
    const floats<4> qy = {0.0f, sine_of(b), 0.0f, cosine_of(b)};
    const floats<4> qz = {0.0f, 0.0f, sine_of(c), cosine_of(c)};
    return plain_product(qx, plain_product(qy, qz));
}

floats<9> plain_matrix(const floats<4> &q)
{
    const stepped x = q[0], y = q[1], z = q[2], w = q[3], two = 2.0f, one = 1.0f;
    const stepped x2 = x * two, y2 = y * two, z2 = z * two;
    const stepped xx = x * x2, yy = y * y2, zz = z * z2, xy = x * y2, xz = x * z2, yz = y * z2;
    const stepped wx = w * x2, wy = w * y2, wz = w * z2;
    return {one - (zz + yy), xy - wz, xz + wy, xy + wz,        one - (zz + xx),
            yz - wx,         xz - wy, yz + wx, one - (yy + xx)};
}

// Where the row vector of the Z axis goes.
vesk_vector3 turned_z(const vesk_quaternion &q)
{
    vesk_matrix33 m;
    q.to_matrix(m);
    return vesk_vector3(0.0f, 0.0f, 1.0f) * m;
}
} // namespace

TEST(Quaternion, MembersMatchSteppedArithmetic)
{
    hostile_floats source(31);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_quaternion a = source.object<vesk_quaternion>();
        const vesk_quaternion b = source.object<vesk_quaternion>();
        const vesk_vector3 v = source.object<vesk_vector3>();
        const float s = source.next();
        const floats<4> fa = floats_of(a), fb = floats_of(b);

        EXPECT_TRUE(same_floats(a * b, plain_product(fa, fb)));
        EXPECT_TRUE(same_floats(a * s, floats<4>{fa[0] * s, fa[1] * s, fa[2] * s, fa[3] * s}));
        EXPECT_TRUE(same_floats(
            a + b, floats<4>{fa[0] + fb[0], fa[1] + fb[1], fa[2] + fb[2], fa[3] + fb[3]}));
        EXPECT_TRUE(same_bits(a.dot(b), plain_dot(fa, fb).value));

        const stepped h = stepped(s) * float_of(0x3c0efa35u);
        EXPECT_TRUE(same_floats(vesk_quaternion(s, v), floats<4>{sine_of(h) * v.x, sine_of(h) * v.y,
                                                                 sine_of(h) * v.z, cosine_of(h)}));
        vesk_quaternion q;
        q.from_euler(v.x, v.y, v.z);
        EXPECT_TRUE(same_floats(q, plain_euler(v.x, v.y, v.z)));

        const float n = plain_dot(fa, fa).value;
        EXPECT_EQ((q = a).normalize(), n == 0.0f ? -1 : n == 1.0f ? 0 : 1);
        EXPECT_TRUE(same_floats(q, plain_unit(fa)));
        (q = a).invert();
        EXPECT_TRUE(same_floats(q, floats<4>{-fa[0], -fa[1], -fa[2], -fa[3]}));

        vesk_matrix33 m(s);
        a.to_matrix(m);
        EXPECT_TRUE(same_floats(m, plain_matrix(fa)));
    }
}

TEST(Quaternion, BlendsMatchSteppedArithmeticAndMayWriteTheirArguments)
{
    hostile_floats source(32);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        vesk_quaternion a = source.object<vesk_quaternion>();
        vesk_quaternion b = source.object<vesk_quaternion>();
        if (round % 2) // what the spherical weights are for
        {
            a.normalize();
            b.normalize();
        }
        const float t = source.next();
        const floats<4> fa = floats_of(a), fb = floats_of(b);

        vesk_quaternion out = a;
        vesk_quat_slerp(out, b, t, out);
        EXPECT_TRUE(same_floats(out, plain_slerp(fa, fb, t)));
        vesk_quat_nlerp(a, out = b, t, out);
        EXPECT_TRUE(same_floats(out, plain_unit(plain_blend(fa, stepped(1.0f) - t, fb, t))));
    }
}

TEST(Quaternion, AimingMatchesSteppedArithmetic)
{
    hostile_floats source(33);
    for (int round = 0; round < round_count && !HasFailure(); ++round)
    {
        SCOPED_TRACE(round);
        const vesk_vector3 from = source.object<vesk_vector3>();
        const vesk_vector3 to = source.object<vesk_vector3>();
        const vesk_vector3 d = vesk_vec_normalize(to - from);
        floats<4> expected = {d.y, -d.x, 0.0f, stepped(d.z) + stepped(1.0f)};
        if (d.is_zero())
            expected = floats_of(vesk_quaternion());
        else if (d.x == 0.0f && d.y == 0.0f && d.z == -1.0f)
            expected = {0.0f, 1.0f, 0.0f, 0.0f};
        vesk_quaternion q(1.0f, 2.0f, 3.0f, 4.0f);
        q.aim_z_axis(from, to);
        EXPECT_TRUE(same_floats(q, plain_unit(expected)));
    }
}

TEST(Quaternion, AimedZAxisPointsAlongTheDirection)
{
    const float pi = 3.1415927f;
    float worst = 0.0f, worst_near_opposite = 0.0f;
    for (int row = 0; row <= 200; ++row)
        for (int column = 0; column < 100; ++column)
        {
            // The last rows crowd towards the opposite direction, down to 1e-9 radians.
            const float step = static_cast<float>(row);
            const float polar = row <= 100 ? pi * step / 100.0f
                                           : pi - std::pow(10.0f, 0.09f * (100.0f - step) - 0.5f);
            const float around = 2.0f * pi * static_cast<float>(column) / 100.0f;
            const vesk_vector3 d(std::sin(polar) * std::cos(around),
                                 std::sin(polar) * std::sin(around), std::cos(polar));
            vesk_quaternion q;
            q.aim_z_axis(d * 7.0f);
            const float error = vesk_vec_distance(turned_z(q), vesk_vec_normalize(d));
            float &side = row < 100 ? worst : worst_near_opposite;
            side = error > side ? error : side;
        }
    EXPECT_LT(worst, 5e-6f);
    EXPECT_LT(worst_near_opposite, 5e-4f);

    vesk_quaternion q;
    q.aim_z_axis(vesk_vector3(0.0f, 0.0f, -3.0f));
    EXPECT_TRUE(same_floats(q, floats<4>{0.0f, 1.0f, 0.0f, 0.0f}));
    q.aim_z_axis(vesk_vector3(1.0f, 2.0f, 3.0f), vesk_vector3(1.0f, 2.0f, 3.0f));
    EXPECT_EQ(q.is_identity(), 1);
}

TEST(Quaternion, EulerAnglesTurnRowVectorsAboutXThenYThenZ)
{
    const float degree = 0.017453292f;
    vesk_quaternion q;
    q.from_euler(20.0f, -35.0f, 130.0f);
    vesk_matrix33 turned;
    q.to_matrix(turned);
    const vesk_matrix33 expected = vesk_matrix33_rotate(0, 20.0f * degree) *
                                   vesk_matrix33_rotate(1, -35.0f * degree) *
                                   vesk_matrix33_rotate(2, 130.0f * degree);
    for (unsigned int i = 0; i < 3; ++i)
        EXPECT_EQ(vesk_vec_nearly_equal(turned[i], expected[i], 1e-6f), 1) << i;
}

TEST(Quaternion, IdentityAndNormalizeTakeNoTolerance)
{
    const struct
    {
        vesk_quaternion q;
        int is_identity;
        int normalize;
    } rows[] = {
        {vesk_quaternion(), 1, 0},
        {vesk_quaternion(-0.0f, 0.0f, -0.0f, 1.0f), 1, 0},
        {vesk_quaternion(0.0f, 0.0f, 0.0f, -1.0f), 0, 0},
        {vesk_quaternion(0.0f, 0.0f, 0.0f, 2.0f), 0, 1},
        {vesk_quaternion(0.0f, 0.0f, 0.0f, 0.0f), 0, -1},
        {vesk_quaternion(float_of(1), 0.0f, 0.0f, 1.0f), 0, 0},
        {vesk_quaternion(0.0f, 0.0f, float_of(0x7fc00000u), 1.0f), 0, 1},
    };
    for (const auto &row : rows)
    {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(row.q.is_identity(), row.is_identity);
        EXPECT_EQ(row.q == row.q, row.q.z == row.q.z);
        vesk_quaternion q = row.q;
        EXPECT_EQ(q.normalize(), row.normalize);
    }
    vesk_quaternion q(0.0f, 0.0f, 0.0f, 2.0f);
    q.normalize();
    EXPECT_EQ(q == vesk_quaternion(), 1);
    q.invert();
    EXPECT_EQ(q.is_identity(), 0);
    q.reset();
    EXPECT_EQ(q.is_identity(), 1);
}

TEST(Quaternion, NoBlendTakesTheShortestPath)
{
    const vesk_quaternion q, opposite(0.0f, 0.0f, 0.0f, -1.0f), zero(0.0f, 0.0f, 0.0f, 0.0f);
    vesk_quaternion out;
    vesk_quat_slerp(q, opposite, 0.5f, out);
    EXPECT_EQ(out == zero, 1);
    vesk_quat_nlerp(q, opposite, 0.5f, out = q);
    EXPECT_EQ(out == zero, 1);
}
