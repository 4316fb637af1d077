#ifndef HOLVANE_FILES_DIGEST_H
#define HOLVANE_FILES_DIGEST_H

// The running digest of a file's content: SHA-256, except that the length field of the final padding carries
// only the low 32 bits of the message's bit count (the high word is zero), so it equals true SHA-256 only for
// messages below 2^29 bytes.

#include <holvane/binio.h>

#include <cstddef>
#include <cstdint>

namespace Holvane {
namespace Internal {

using BinIO::HashSum;

void digestStart(HashSum& hash);
void digestFeed(HashSum& hash, void const* data, std::size_t size);
void digestFinish(HashSum& hash);

// The sum of the 32 digest bytes, each taken as unsigned: 0 to 8160.
int hashSumOf(HashSum const& hash);

}  // namespace Internal
}  // namespace Holvane

#endif
