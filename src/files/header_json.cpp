#include "files/header_json.h"

#include "camera/camera_rig.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace Holvane {
namespace Internal {
namespace {

// Reals are the float fields widened to double.
Json::Value real(float value)
{
    return Json::Value(static_cast<double>(value));
}

Json::Value unsignedValue(std::uint64_t value)
{
    return Json::Value(static_cast<Json::UInt64>(value));
}

std::string matrixKey(int row, int column)
{
    return "CamToWorld" + std::to_string(row) + std::to_string(column);
}

struct FaceKey {
    char const* name;
    std::uint32_t bit;
};

constexpr FaceKey faceKeys[] = {
    {"minusX", BinIO::CAMERA_MINUS_X}, {"minusY", BinIO::CAMERA_MINUS_Y}, {"minusZ", BinIO::CAMERA_MINUS_Z},
    {"plusX", BinIO::CAMERA_PLUS_X},   {"plusY", BinIO::CAMERA_PLUS_Y},   {"plusZ", BinIO::CAMERA_PLUS_Z},
};

template <typename T>
T entryOrZero(std::vector<T> const& values, std::size_t index)
{
    return index < values.size() ? values[index] : T();
}

Json::Value cameraToJson(HeaderCameras const& cameras, std::size_t index)
{
    TavPoint location = cameras.locations[index];
    Json::Value camera(Json::objectValue);
    camera["location"]["x"] = real(location.x);
    camera["location"]["y"] = real(location.y);
    camera["location"]["z"] = real(location.z);
    camera["priority"] = real(entryOrZero(cameras.priorities, index));
    std::uint32_t mask = entryOrZero(cameras.directions, index);
    Json::Value& direction = camera["direction"];
    for (FaceKey const& face : faceKeys)
        direction[face.name] = (mask & face.bit) != 0;
    return camera;
}

void addVersion7Keys(header_v07 const& header, Json::Value& json)
{
    json["boxScaleX"] = real(header.boxScaleX);
    json["boxScaleY"] = real(header.boxScaleY);
    json["boxScaleZ"] = real(header.boxScaleZ);
    json["globalScale"] = real(header.globalScale);
    json["camOffsetX"] = header.camOffsetX;
    json["camOffsetY"] = header.camOffsetY;
    json["camOffsetZ"] = header.camOffsetZ;
    json["stereoRender"] = header.stereoRender;
    json["rtype"] = header.rtype;
    json["camId"] = header.camId;
    json["zov_distance_to_ground"] = real(header.zov_distance_to_ground);
    json["widthDisplay"] = static_cast<int>(header.widthDisplay);
    json["heightDisplay"] = static_cast<int>(header.heightDisplay);
    json["draft"] = header.draft;
    json["projection"] = header.projection;
    json["aovNums"] = unsignedValue(header.aovNums);
    Json::Value& names = json["AOVNames"] = Json::Value(Json::arrayValue);
    for (std::string const& name : header.AOVNames)
        names.append(name);
    Json::Value& types = json["AOVTypes"] = Json::Value(Json::arrayValue);
    for (Phase::AOVType type : header.AOVTypes)
        types.append(static_cast<int>(type));
    json["sampleNums"] = unsignedValue(header.sampleNums);
    json["coordinates"] = unsignedValue(header.coordinates);
    json["passMode"] = header.passMode;
    json["fileCode"] = header.fileCode;
    json["frame"] = header.frame;
}

void addVersion8Keys(header_v09 const& header, Json::Value& json)
{
    json["fillHoleCount"] = unsignedValue(header.fillHoleCount);
    json["tolerance"] = real(header.tolerance);
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            json[matrixKey(row, column)] = real(header.CamToWorld[row * 4 + column]);
    json["eye"] = header.eye;
    json["ipd"] = real(header.ipd);
}

// Entries that a count may add beyond the lists it names. A larger count (a damaged or negative "aovNums")
// would only size an allocation from a number the file can't back.
std::uint64_t const mostUnlistedAovs = 65536;

// Takes `count` entries of "AOVNames" and "AOVTypes" after what the header holds; entries missing from the
// arrays read as "" and type 0. A count far beyond both lists is refused as a header that doesn't read.
bool appendAovList(Json::Value const& json, std::uint64_t count, header_v07& header)
{
    Json::Value const& names = json["AOVNames"];
    Json::Value const& types = json["AOVTypes"];
    std::uint64_t const listed = std::max<std::uint64_t>(names.size(), types.size());
    if (count > listed && count > mostUnlistedAovs)
        return false;
    std::size_t kept = header.AOVNames.size();
    std::vector<std::string> allNames(kept + count);
    std::vector<Phase::AOVType> allTypes(header.AOVTypes.size() + count);
    std::copy(header.AOVNames.begin(), header.AOVNames.end(), allNames.begin());
    std::copy(header.AOVTypes.begin(), header.AOVTypes.end(), allTypes.begin());
    for (std::uint64_t i = 0; i < count; ++i) {
        Json::ArrayIndex index = static_cast<Json::ArrayIndex>(i);
        allNames[kept + i] = names[index].asString();
        allTypes[header.AOVTypes.size() + i] = static_cast<Phase::AOVType>(types[index].asInt());
    }
    header.AOVNames = std::move(allNames);
    header.AOVTypes = std::move(allTypes);
    return true;
}

}  // namespace

Json::Value headerToJson(header_v09 const& header)
{
    Json::Value json(Json::objectValue);
    addVersion7Keys(header, json);
    addVersion8Keys(header, json);
    Json::Value& cameras = json["cameras"] = Json::Value(Json::arrayValue);
    for (std::size_t i = 0; i < header.cameras.locations.size(); ++i)
        cameras.append(cameraToJson(header.cameras, i));
    return json;
}

// Every integer goes through asInt, the unsigned counts included: a count that doesn't fit an int raises the
// JSON library's conversion error, and nothing here catches it.
BinIO::HlvReaderError readVersion7Keys(Json::Value const& json, header_v07& header)
{
    header.boxScaleX = json["boxScaleX"].asFloat();
    header.boxScaleY = json["boxScaleY"].asFloat();
    header.boxScaleZ = json["boxScaleZ"].asFloat();
    header.globalScale = json["globalScale"].asFloat();
    header.camOffsetX = json["camOffsetX"].asInt();
    header.camOffsetY = json["camOffsetY"].asInt();
    header.camOffsetZ = json["camOffsetZ"].asInt();
    header.stereoRender = json["stereoRender"].asBool();
    header.rtype = json["rtype"].asBool();
    header.camId = json["camId"].asInt();
    header.zov_distance_to_ground = json["zov_distance_to_ground"].asFloat();
    header.widthDisplay = static_cast<std::uint16_t>(json["widthDisplay"].asInt());
    header.heightDisplay = static_cast<std::uint16_t>(json["heightDisplay"].asInt());
    header.draft = json["draft"].asInt();
    header.projection = json["projection"].asInt();
    header.aovNums = static_cast<std::uint64_t>(static_cast<std::int64_t>(json["aovNums"].asInt()));
    header.sampleNums = static_cast<std::uint64_t>(static_cast<std::int64_t>(json["sampleNums"].asInt()));
    header.coordinates = static_cast<std::uint64_t>(static_cast<std::int64_t>(json["coordinates"].asInt()));
    header.passMode = json["passMode"].asInt();
    header.frame = json["frame"].asInt();
    if (!appendAovList(json, header.aovNums, header))
        return BinIO::READER_BAD_JSON;
    header.fileCode = json["fileCode"].asInt();
    return BinIO::READER_OK;
}

void readVersion8Keys(Json::Value const& json, header_v09& header)
{
    header.fillHoleCount = static_cast<std::uint64_t>(static_cast<std::int64_t>(json["fillHoleCount"].asInt()));
    header.tolerance = json["tolerance"].asFloat();
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            header.CamToWorld[row * 4 + column] = json[matrixKey(row, column)].asFloat();
    header.eye = json["eye"].asInt();
    header.ipd = json["ipd"].asFloat();
}

void readCameras(Json::Value const& json, HeaderCameras& cameras)
{
    Json::Value const& list = json["cameras"];
    Json::ArrayIndex count = list.size();
    // Only the low byte of a mask comes from the file: what an entry already held above it is kept.
    std::vector<std::uint32_t> directions(count);
    std::copy_n(cameras.directions.begin(), std::min<std::size_t>(count, cameras.directions.size()),
                directions.begin());
    cameras.directions = std::move(directions);
    cameras.locations = std::vector<TavPoint>(count);
    cameras.priorities = std::vector<float>(count);
    for (Json::ArrayIndex i = 0; i < count; ++i) {
        Json::Value const& camera = list[i];
        Json::Value const& location = camera["location"];
        cameras.locations[i] = {location["x"].asFloat(), location["y"].asFloat(), location["z"].asFloat()};
        cameras.priorities[i] = camera["priority"].asFloat();
        std::uint32_t mask = cameras.directions[i] & ~0xFFu;
        Json::Value const& direction = camera["direction"];
        for (FaceKey const& face : faceKeys)
            if (direction[face.name].asBool())
                mask |= face.bit;
        cameras.directions[i] = mask;
    }
}

HeaderCameras defaultRigInBox(header_v07 const& header)
{
    CameraRig rig = buildBoxRig(false);
    HeaderCameras cameras;
    cameras.locations = std::move(rig.cameras);
    cameras.priorities = std::move(rig.cameraWeights);
    cameras.directions = std::move(rig.cameraMasks);
    float a = 1.0f / header.globalScale;
    float sx = a * header.boxScaleX;
    float sy = a * header.boxScaleY;
    float sz = a * header.boxScaleZ;
    float tx = static_cast<float>(header.camOffsetX) * 100.0f * sx;
    float ty = static_cast<float>(header.camOffsetY) * 100.0f * sy;
    float tz = static_cast<float>(header.camOffsetZ) * 100.0f * sz;
    for (TavPoint& location : cameras.locations) {
        location.x = location.x * sx + tx;
        location.y = location.y * sy + ty;
        location.z = location.z * sz + tz;
    }
    return cameras;
}

}  // namespace Internal
}  // namespace Holvane
