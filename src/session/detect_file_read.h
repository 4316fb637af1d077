#ifndef HOLVANE_SESSION_DETECT_FILE_READ_H
#define HOLVANE_SESSION_DETECT_FILE_READ_H

namespace Holvane {
namespace Internal {

// The render phase's start: the plaques, completion flags and cameras of the detect file, filtered by the
// clipping sphere, and the output size that the file was detected at. A file that can't be read is
// reported and leaves the phase without plaques.
void readDetectFileForRender();

}  // namespace Internal
}  // namespace Holvane

#endif
