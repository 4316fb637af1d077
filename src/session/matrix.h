#ifndef HOLVANE_SESSION_MATRIX_H
#define HOLVANE_SESSION_MATRIX_H

#include <holvane/types.h>

namespace Holvane {
namespace Internal {

// A point as a row vector through a matrix: x*row0 + y*row1 + z*row2 + row3, first three columns only,
// in single precision and in that order. There is no perspective divide.
TavPoint transformPoint(Matrix4 const& m, TavPoint const& p);

}  // namespace Internal
}  // namespace Holvane

#endif
