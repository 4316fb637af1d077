#ifndef HOLVANE_CAMERA_CUBE_IMAGE_H
#define HOLVANE_CAMERA_CUBE_IMAGE_H

// The image layout that every camera shares: six cube faces in 3 columns and 2 rows, W:H = 3:2, each face a
// square of H/2 pixels. u and v run from 0 to 1 across the whole image.

#include <holvane/types.h>

#include <cstdint>
#include <vector>

namespace Holvane {
namespace Internal {

// A unit direction with the two unnormalised derivatives of the face's direction along U = 2u-1 and V = 2v-1.
struct CubeDirection {
    TavPoint direction;
    TavPoint du;
    TavPoint dv;
};

// Face 0 to 5 of the normalised coordinates: faces 0-2 on the lower row (V < 0), 3-5 on the upper one.
int cubeFace(float u, float v);

// The direction of (u, v) and its derivatives. Every (u, v) has one.
CubeDirection cubeDirection(float u, float v);

// The inverse: the (u, v) at which the cube image looks along `direction`. (0, 0, 0) falls on face 3.
TavPoint2 cubeCoordinates(TavPoint const& direction);

// The centre of pixel (x, y) of a W x H image; the coordinates are computed in double, then narrowed.
CubeDirection pixelDirection(unsigned long long width, unsigned long long height, unsigned long long x,
                             unsigned long long y);

// The (u, v) of the centre of the pixel nearest to `direction`, rounding rather than flooring.
TavPoint2 snapToPixelCentre(TavPoint const& direction, unsigned long long width, unsigned long long height);

// Whether two pixels of an image of the given height lie in the same cell of the 3 x 2 layout.
bool sameFace(unsigned long long x1, unsigned long long y1, unsigned long long x2, unsigned long long y2,
              unsigned long long height);

// For every pixel the linear index of the pixel below it, or 0 when that one is on another face or
// the pixel is in the last row.
std::vector<std::uint64_t> nextRowMap(unsigned long long width, unsigned long long height);

}  // namespace Internal
}  // namespace Holvane

#endif
