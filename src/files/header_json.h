#ifndef HOLVANE_FILES_HEADER_JSON_H
#define HOLVANE_FILES_HEADER_JSON_H

// The container's JSON header text and its in-memory headers, in both directions.

#include <holvane/binio.h>
#include <holvane/fileheader.h>

#include <json/value.h>

namespace Holvane {
namespace Internal {

using BinIO::header_v07;
using BinIO::header_v09;
using BinIO::HeaderCameras;

// Every key of every version, the cameras included.
Json::Value headerToJson(header_v09 const& header);

// The keys that a version 7 file has, AOV lists and "fileCode" included. Names and types are appended.
// READER_BAD_JSON when "aovNums" lies far beyond both lists.
BinIO::HlvReaderError readVersion7Keys(Json::Value const& json, header_v07& header);
// "fillHoleCount", "tolerance", the matrix, "eye" and "ipd".
void readVersion8Keys(Json::Value const& json, header_v09& header);
// The "cameras" array into the three arrays, in array order.
void readCameras(Json::Value const& json, HeaderCameras& cameras);

// The default rig of the -50..+50 box, moved to where the header's box stands: each location becomes
// location * s + t, per axis, with s = (1 / globalScale) * boxScale and t = camOffset * 100 * s. Weights
// and masks stay.
HeaderCameras defaultRigInBox(header_v07 const& header);

}  // namespace Internal
}  // namespace Holvane

#endif
