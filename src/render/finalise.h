#ifndef HOLVANE_RENDER_FINALISE_H
#define HOLVANE_RENDER_FINALISE_H

#include <holvane/records.h>

#include "render/bucket.h"

namespace Holvane {
namespace Internal {

// Takes the spool out of the session under the spool lock, reads it back and writes the phase's file
// (hlvDetect or hlvRender) to outFilePath, holding the lock throughout. False, with a WARNING, when the spool
// is already gone, and false after an ERROR line when the file can't be written. An unset session value
// throws with the spool already taken: its data is lost.
bool Finalise();

// The 28-byte file record of a finished sample: depth narrowed to float, colour and normal to halves
// (truncated), x and y to 16 bits, camera and level to 8. The back-facing flag is not carried.
BinIO::hlvRenderSample5_t fileSampleOf(FinishedSampleHead const& head);

}  // namespace Internal
}  // namespace Holvane

#endif
