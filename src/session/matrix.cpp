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

}  // namespace Internal
}  // namespace Holvane
