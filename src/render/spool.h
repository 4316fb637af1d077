#ifndef HOLVANE_RENDER_SPOOL_H
#define HOLVANE_RENDER_SPOOL_H

// The phase's spool: a nameless temporary file that collects, in order of arrival and without a header, the
// 28-byte plaques of the detection phase or the finished samples of the render phase (each 56-byte head
// followed by its tight AOV record). Its handle and sample count are guarded by the spool lock alone.

#include <holvane/records.h>

#include "render/bucket.h"

#include <cstddef>
#include <mutex>

namespace Holvane {
namespace Internal {

// Process-wide, outside the session: it survives every reset.
std::mutex& spoolLock();

// Each appends under the lock and adds to spoolSampleCount. When the spool has already been taken the data is
// dropped; the first time per phase kind, with a WARNING. The plaques are `count` records of 28 bytes in their
// memory form, at any alignment (a host's memory buffer holds them unaligned).
void spoolPlaques(void const* plaques, std::size_t count);
void spoolFinishedSamples(std::vector<FinishedSample> const& samples);

}  // namespace Internal
}  // namespace Holvane

#endif
