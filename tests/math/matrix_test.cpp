#include "support/bits.h"
#include "vesk/matrix.h"

namespace
{
bool nearly(const vesk_matrix33 &a, const vesk_matrix33 &b)
{
    for (unsigned int row = 0; row < 3; ++row)
        if (!vesk_vec_nearly_equal(a[row], b[row], 1e-6f))
            return false;
    return true;
}
} // namespace

TEST(Matrix, InverseTimesMatrixIsTheIdentityAndSingularOnesComeBack)
{
    const vesk_matrix33 m(2, 1, 0, -1, 3, 1, 0.5f, 0, 4);
    EXPECT_TRUE(nearly(vesk_matrix33_inverse(m) * m, vesk_matrix33_identity()));
    const vesk_matrix33 at_limit = vesk_matrix33_scale({1e-06f, 1, 1});
    EXPECT_EQ(vesk_matrix33_inverse(at_limit), at_limit);
    EXPECT_GT(vesk_matrix33_inverse(0.0101f * vesk_matrix33())[1].y, 99.0f);
    const vesk_matrix33 sevens(7.0f);
    EXPECT_EQ(vesk_matrix33_inverse(sevens), vesk_matrix33(7, 7, 7, 7, 7, 7, 7, 7, 7));
    // A NaN counts as singular: its neighbours come back.
    EXPECT_EQ(vesk_matrix33_inverse({float_of(0x7fc00000u), 0, 0, 0, 2, 0, 0, 0, 2})[1].y, 2.0f);
}

TEST(Matrix, RotationsTurnRowVectorsToTheNextAxis)
{
    // A quarter turn about Z takes X to Y for a row vector, and to -Y for a column.
    const vesk_vector3 axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (unsigned int axis = 0; axis < 3; ++axis)
    {
        const vesk_matrix33 quarter = vesk_matrix33_rotate(axis, 1.5707964f);
        const vesk_vector3 &from = axes[(axis + 1) % 3], &to = axes[(axis + 2) % 3];
        EXPECT_TRUE(vesk_vec_nearly_equal(from * quarter, to, 1e-6f));
        EXPECT_TRUE(vesk_vec_nearly_equal(quarter * from, -to, 1e-6f));
        vesk_matrix33 about(axes[axis], axes[axis], axes[axis]);
        vesk_matrix33_rotate_on_arbitrary_axis(about[1], 1.5707964f, about); // the axis is a row
        EXPECT_TRUE(nearly(vesk_matrix33_transpose(about), quarter));
    }
}

TEST(Matrix, MakersPlaceTheirArgumentsAndConversionsDropOrPad)
{
    const vesk_vector3 forward(3, 0, 4), up(0, 2, 0), f(0.6f, 0, 0.8f), r(-0.8f, 0, 0.6f);
    for (const int negate_right : {0, -7})
        EXPECT_TRUE(nearly(vesk_matrix33_rotation_from_vector(forward, up, negate_right),
                           {negate_right ? -r : r, {0, 1, 0}, f}));
    EXPECT_EQ(vesk_matrix44_translate({2, 3, 5}),
              vesk_matrix44(1, 0, 0, 2, 0, 1, 0, 3, 0, 0, 1, 5, 0, 0, 0, 1));
    EXPECT_EQ(vesk_matrix44(0.5f) * vesk_vector4(1, 2, 3, 4), vesk_vector4(5, 5, 5, 5));
    EXPECT_EQ(vesk_matrix44_frustum(1, 2, 3, 4, 5, 6), vesk_matrix44_identity());
    EXPECT_EQ(vesk_matrix44_perspective(1, 2, 3, 4), vesk_matrix44_identity());

    const vesk_matrix33 small(1, 2, 3, 4, 5, 6, 7, 8, 9);
    vesk_matrix33 narrow;
    vesk_matrix44 wide(7.0f);
    wide = small;
    EXPECT_EQ(wide, vesk_matrix44(1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 0, 0, 0, 1));
    EXPECT_EQ(narrow = wide, small);
    EXPECT_EQ(vesk_matrix44(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16).transpose(),
              vesk_matrix44(1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 4, 8, 12, 16));
    EXPECT_EQ(wide.identity(), vesk_matrix44());
    EXPECT_EQ(narrow.identity(), vesk_matrix33_identity());
}
