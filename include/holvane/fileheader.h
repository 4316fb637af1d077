#ifndef HOLVANE_FILEHEADER_H
#define HOLVANE_FILEHEADER_H

// The header of a render container (hlvDetect and hlvRender files) as the library holds it in memory.

#include <holvane/export.h>
#include <holvane/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

// Faces of the box that a rig camera looks out of, as bits of its direction mask.
enum HeaderCameraFace : std::uint32_t {
    CAMERA_MINUS_Z = 1u << 0,
    CAMERA_PLUS_X = 1u << 1,
    CAMERA_PLUS_Z = 1u << 2,
    CAMERA_MINUS_X = 1u << 3,
    CAMERA_PLUS_Y = 1u << 4,
    CAMERA_MINUS_Y = 1u << 5,
};

// The rig that a file was made with: three parallel arrays, one entry per camera.
struct HeaderCameras {
    std::vector<TavPoint> locations;
    std::vector<float> priorities;
    std::vector<std::uint32_t> directions;  // HeaderCameraFace bits
};

// The keys of a version 7 file.
struct header_v07 {
    float boxScaleX = 0.0f;
    float boxScaleY = 0.0f;
    float boxScaleZ = 0.0f;
    float globalScale = 0.0f;  // scene units divisor
    std::int32_t camOffsetX = 0;  // offset of this box among several, in whole boxes
    std::int32_t camOffsetY = 0;
    std::int32_t camOffsetZ = 0;
    bool stereoRender = false;
    bool rtype = false;  // true for a detect file
    std::int32_t camId = 0;
    std::vector<std::string> AOVNames;
    float zov_distance_to_ground = 0.0f;
    std::uint16_t widthDisplay = 0;
    std::uint16_t heightDisplay = 0;
    std::int32_t draft = 0;
    std::int32_t projection = 0;
    std::uint64_t aovNums = 0;
    std::uint64_t sampleNums = 0;
    std::uint64_t coordinates = 0;
    std::int32_t passMode = 0;
    std::int32_t frame = 0;
    std::vector<Phase::AOVType> AOVTypes;
    std::int32_t fileCode = -1;

    // Index of `name` in AOVNames, compared case-insensitively, or -1. `type` is not looked at: two AOVs of
    // one name and different types can't be told apart.
    HV_API int getVectorAovIndexByType(Phase::AOVType const& type, std::string const& name) const;
};

// The keys of versions 8 and 9 on top of those of version 7.
struct header_v09 : header_v07 {
    std::uint64_t fillHoleCount = 0;
    float tolerance = 0.25f;
    float CamToWorld[16] = {1.0f, 0.0f, 0.0f, 0.0f,  //
                            0.0f, 1.0f, 0.0f, 0.0f,  //
                            0.0f, 0.0f, 1.0f, 0.0f,  //
                            0.0f, 0.0f, 0.0f, 1.0f};  // row after row
    std::int32_t eye = 1;
    float ipd = 63.65f;  // interpupillary distance
    HeaderCameras cameras;
};

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane

#endif
