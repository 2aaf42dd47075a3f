#pragma once

#include "files/fbx/number_array.h"

#include <cmath>

// The value types of the FBX layer's face: vectors and affine matrices of doubles.

namespace vesk_fbx
{
/// A pair of doubles: one UV.
struct FbxVector2
{
    double mData[2] = {0.0, 0.0};

    double &operator[](int i)
    {
        return mData[i];
    }
    double operator[](int i) const
    {
        return mData[i];
    }
};

/// A point or a direction. `w` is carried and never computed with.
struct FbxVector4
{
    double mData[4] = {0.0, 0.0, 0.0, 1.0};

    FbxVector4() = default;
    FbxVector4(double x, double y, double z, double w = 1.0) : mData{x, y, z, w} {}
    double &operator[](int i)
    {
        return mData[i];
    }
    double operator[](int i) const
    {
        return mData[i];
    }

    /// Scales x, y, z to unit length. A zero vector stays as it is.
    void Normalize();
};

inline bool is_finite(double x, double y, double z)
{
    return std::isfinite(x) && std::isfinite(y) && std::isfinite(z);
}

/// Vectors in a list of numbers, three each.
struct vector_list
{
    number_view<double> numbers;
    std::size_t count = 0;

    vector_list() = default;
    explicit vector_list(const number_view<double> &three_each)
        : numbers(three_each)
        , count(three_each.count / 3)
    {
    }
    /// False, and `out` as it was, where there is none or one that is not finite.
    bool get(std::size_t i, FbxVector4 &out) const
    {
        if (i >= count)
            return false;
        const double x = numbers[3 * i], y = numbers[3 * i + 1], z = numbers[3 * i + 2];
        if (!is_finite(x, y, z))
            return false;
        // One by one: a copy of the whole makes processors wait for its parts.
        out[0] = x;
        out[1] = y;
        out[2] = z;
        out[3] = 1.0;
        return true;
    }
};

/// An affine matrix. The rows hold the images of the axes and row 3 the translation, so a point
/// is multiplied from the left; `A * B` applies B first.
class FbxAMatrix
{
public:
    FbxAMatrix(); ///< identity
    /// Scales, then turns about X, Y and Z in this order, then translates. Rotation in degrees.
    FbxAMatrix(const FbxVector4 &translation, const FbxVector4 &rotation,
               const FbxVector4 &scaling);

    double *operator[](int row)
    {
        return m_rows[row];
    }
    const double *operator[](int row) const
    {
        return m_rows[row];
    }

    FbxAMatrix operator*(const FbxAMatrix &first) const;
    /// The inverse. A matrix without one (a scale of zero) gives its adjugate, without the division
    /// by the determinant: its transpose still carries normals the right way.
    FbxAMatrix Inverse() const;
    FbxAMatrix Transpose() const;

    /// The point moved by the matrix, translation included; `w` of the result is 1.
    FbxVector4 MultT(const FbxVector4 &v) const
    {
        const auto &m = m_rows;
        return {v[0] * m[0][0] + v[1] * m[1][0] + v[2] * m[2][0] + m[3][0],
                v[0] * m[0][1] + v[1] * m[1][1] + v[2] * m[2][1] + m[3][1],
                v[0] * m[0][2] + v[1] * m[1][2] + v[2] * m[2][2] + m[3][2]};
    }

private:
    double m_rows[4][4];
};

inline void FbxVector4::Normalize()
{
    double length_squared = mData[0] * mData[0] + mData[1] * mData[1] + mData[2] * mData[2];
    // Squares of very long and very short vectors leave the range of doubles. Bringing the
    // largest component near 1 first is exact, being a power of two.
    if (!(length_squared > 1e-280 && length_squared < 1e280))
    {
        const double largest =
            std::fmax(std::fabs(mData[0]), std::fmax(std::fabs(mData[1]), std::fabs(mData[2])));
        if (!(largest > 0.0) || !std::isfinite(largest))
            return;
        const int exponent = std::ilogb(largest);
        for (int i = 0; i < 3; ++i)
            mData[i] = std::scalbn(mData[i], -exponent);
        length_squared = mData[0] * mData[0] + mData[1] * mData[1] + mData[2] * mData[2];
    }
    const double length = std::sqrt(length_squared);
    for (int i = 0; i < 3; ++i)
        mData[i] /= length;
}
} // namespace vesk_fbx
