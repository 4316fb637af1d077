#ifndef HOLVANE_UTILS_H
#define HOLVANE_UTILS_H

// Geometry helpers for the library's callers: plane fitting, line and plane intersection, faces of a box in
// front of a point, and measures of sampling quality. They keep no state.

#include <holvane/export.h>
#include <holvane/types.h>

#include <vector>

namespace Holvane {
namespace Utils {
inline namespace v2_0 {

// One face of a box. Only the plane at the end is read: a*x + b*y + c*z + d >= 0 is in front.
struct faceinformations_t {
    unsigned char callerData[104];  // the caller's own
    float a, b, c, d;
};

static_assert(sizeof(faceinformations_t) == 120, "a face record is 120 bytes");

HV_API bool plane_from_points(std::vector<TavPoint> const& points, TavPoint& normal, TavPoint& centroid);
HV_API bool intersectPlaneLine(TavPoint& point, TavPoint linePoint, TavPoint lineDirection, TavPoint planePoint,
                               TavPoint planeNormal);
HV_API TavPoint vectorIntersectPlane(TavPoint const& planePoint, TavPoint const& planeNormal,
                                     TavPoint const& linePoint, TavPoint const& lineDirection);
HV_API void getFacesForTesting(float x, float y, float z, faceinformations_t const faces[6],
                               std::vector<int>& selected);
HV_API void getFacesForTesting(float x, float y, float z, std::vector<faceinformations_t> faces,
                               std::vector<unsigned char>& selected);
HV_API void getSphericalUvalVvalTEST(int column, int row, int width, int height, bool spherical, float& u, float& v,
                                     float& scale);
HV_API bool isZTooHuge(double firstDepth, double secondDepth, double scale);
HV_API TavPoint qualityDerivativeVectorOneCam(double const point[3], double const normal[3], double const camera[3]);
HV_API TavPoint qualityDerivativeVectorDifference(double const point[3], double const normal[3],
                                                  double const firstCamera[3], double const secondCamera[3]);

}  // namespace v2_0
}  // namespace Utils
}  // namespace Holvane

#endif
