#ifndef HOLVANE_CAMERA_SAMPLING_H
#define HOLVANE_CAMERA_SAMPLING_H

#include <holvane/types.h>

#include <cstdint>

namespace Holvane {
namespace Internal {

// A table of unit vectors spread over the sphere in rings, filled once at load.
struct IndexedSphere {
    static constexpr int kCapacity = 256;
    TavPoint points[kCapacity];
    int count;
};

// 255 vectors on 15 rings of at most 29 points.
IndexedSphere const& indexedSphere255();
// 124 vectors on 10 rings of at most 22 points.
IndexedSphere const& indexedSphere124();

// The 32-bit truncation of a whole number computed in double; anything beyond 64 bits gives INT32_MIN, which
// every caller refuses as negative.
std::int32_t truncateToInt32(double value);

}  // namespace Internal
}  // namespace Holvane

#endif
