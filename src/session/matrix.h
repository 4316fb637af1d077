#ifndef HOLVANE_SESSION_MATRIX_H
#define HOLVANE_SESSION_MATRIX_H

#include <holvane/types.h>

namespace Holvane {
namespace Internal {

// A point as a row vector through a matrix: x*row0 + y*row1 + z*row2 + row3, first three columns only,
// in single precision and in that order. There is no perspective divide.
TavPoint transformPoint(Matrix4 const& m, TavPoint const& p);

// The same through the rotation part alone (the first three rows): directions and normals, no translation.
TavPoint transformDirection(Matrix4 const& m, TavPoint const& d);

// The full 4x4 inverse by cofactors, in double precision, each element narrowed to float at the end. A
// singular matrix is not detected: the reciprocal of its zero determinant fills the result with infinities
// and NaNs.
Matrix4 invertMatrix(Matrix4 const& m);

}  // namespace Internal
}  // namespace Holvane

#endif
