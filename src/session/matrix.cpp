#include "session/matrix.h"

namespace Holvane {
namespace Internal {

TavPoint transformPoint(Matrix4 const& m, TavPoint const& p)
{
    TavPoint out;
    out.x = p.x * m.m[0][0] + p.y * m.m[1][0] + p.z * m.m[2][0] + m.m[3][0];
    out.y = p.x * m.m[0][1] + p.y * m.m[1][1] + p.z * m.m[2][1] + m.m[3][1];
    out.z = p.x * m.m[0][2] + p.y * m.m[1][2] + p.z * m.m[2][2] + m.m[3][2];
    return out;
}

TavPoint transformDirection(Matrix4 const& m, TavPoint const& d)
{
    TavPoint out;
    out.x = d.x * m.m[0][0] + d.y * m.m[1][0] + d.z * m.m[2][0];
    out.y = d.x * m.m[0][1] + d.y * m.m[1][1] + d.z * m.m[2][1];
    out.z = d.x * m.m[0][2] + d.y * m.m[1][2] + d.z * m.m[2][2];
    return out;
}

namespace {

typedef double Matrix4d[4][4];

// The determinant of the 3x3 minor left when `row` and `column` are struck out of `a`.
double minorDeterminant(Matrix4d const& a, int row, int column)
{
    int r[3], c[3];
    for (int i = 0, n = 0; i < 4; ++i)
        if (i != row)
            r[n++] = i;
    for (int j = 0, n = 0; j < 4; ++j)
        if (j != column)
            c[n++] = j;
    return a[r[0]][c[0]] * (a[r[1]][c[1]] * a[r[2]][c[2]] - a[r[1]][c[2]] * a[r[2]][c[1]])
         - a[r[0]][c[1]] * (a[r[1]][c[0]] * a[r[2]][c[2]] - a[r[1]][c[2]] * a[r[2]][c[0]])
         + a[r[0]][c[2]] * (a[r[1]][c[0]] * a[r[2]][c[1]] - a[r[1]][c[1]] * a[r[2]][c[0]]);
}

// A zero cofactor is +0 whatever its sign position, so that the zeros of a plain rotation or translation
// come back as +0 rather than -0.
double signedCofactor(Matrix4d const& a, int row, int column)
{
    double const minor = minorDeterminant(a, row, column);
    return ((row + column) % 2 == 0 ? minor : -minor) + 0.0;
}

}  // namespace

Matrix4 invertMatrix(Matrix4 const& m)
{
    Matrix4d a;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            a[i][j] = m.m[i][j];

    Matrix4d cofactor;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            cofactor[i][j] = signedCofactor(a, i, j);

    double determinant = 0.0;
    for (int j = 0; j < 4; ++j)
        determinant += a[0][j] * cofactor[0][j];
    double const reciprocal = 1.0 / determinant;  // no singularity test, by contract

    Matrix4 inverse;
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            inverse.m[j][i] = static_cast<float>(cofactor[i][j] * reciprocal);
    return inverse;
}

}  // namespace Internal
}  // namespace Holvane
