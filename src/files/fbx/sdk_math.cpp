#include "files/fbx/sdk_math.h"

#include "files/fbx/transform.h"

namespace vesk_fbx
{
namespace
{
/// Entry (row, column) of the adjugate of the linear part.
double adjugate_entry(const double (&m)[4][4], int row, int column)
{
    const int r0 = (column + 1) % 3, r1 = (column + 2) % 3;
    const int c0 = (row + 1) % 3, c1 = (row + 2) % 3;
    return m[r0][c0] * m[r1][c1] - m[r0][c1] * m[r1][c0];
}
} // namespace

FbxAMatrix::FbxAMatrix()
    : m_rows{{1.0, 0.0, 0.0, 0.0}, {0.0, 1.0, 0.0, 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 1.0}}
{
}

FbxAMatrix::FbxAMatrix(const FbxVector4 &translation, const FbxVector4 &rotation,
                       const FbxVector4 &scaling)
    : FbxAMatrix()
{
    const matrix3 turn =
        rotation_matrix({rotation[0], rotation[1], rotation[2]}, rotation_order::xyz);
    for (int i = 0; i < 3; ++i)
    {
        for (int j = 0; j < 3; ++j)
            m_rows[i][j] = turn.m[j][i] * scaling[i];
        m_rows[3][i] = translation[i];
    }
}

FbxAMatrix FbxAMatrix::operator*(const FbxAMatrix &first) const
{
    FbxAMatrix product;
    for (int i = 0; i < 4; ++i)
    {
        for (int j = 0; j < 4; ++j)
        {
            double sum = 0.0;
            for (int k = 0; k < 4; ++k)
                sum += first.m_rows[i][k] * m_rows[k][j];
            product.m_rows[i][j] = sum;
        }
    }
    return product;
}

FbxAMatrix FbxAMatrix::Inverse() const
{
    FbxAMatrix inverse;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            inverse.m_rows[i][j] = adjugate_entry(m_rows, i, j);

    double determinant = 0.0;
    for (int k = 0; k < 3; ++k)
        determinant += m_rows[0][k] * inverse.m_rows[k][0];
    if (determinant != 0.0 && std::isfinite(determinant))
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                inverse.m_rows[i][j] /= determinant;

    for (int j = 0; j < 3; ++j)
    {
        double sum = 0.0;
        for (int k = 0; k < 3; ++k)
            sum += m_rows[3][k] * inverse.m_rows[k][j];
        inverse.m_rows[3][j] = -sum;
    }
    return inverse;
}

FbxAMatrix FbxAMatrix::Transpose() const
{
    FbxAMatrix transpose;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            transpose.m_rows[i][j] = m_rows[j][i];
    return transpose;
}
} // namespace vesk_fbx
