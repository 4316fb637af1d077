#ifndef HOLVANE_BINIO_H
#define HOLVANE_BINIO_H

// Binary storage: the answer of every file reader and writer, the running digest of a file's content, the
// compaction of AOV channels into half-precision arrays, and the tight per-sample AOV records of the spool.

#include <holvane/export.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <half.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

// What every reader and writer answers. -1 and -6 are not used.
enum HlvReaderError : std::int32_t {
    READER_OK = 0,
    READER_OPEN_FAILED = -2,        // the file can't be opened
    READER_BAD_MAGIC = -3,          // the first 14 bytes are not the magic
    READER_VERSION_TOO_NEW = -4,    // version above 9
    READER_BAD_JSON = -5,           // the header text doesn't parse
    READER_DECOMPRESS_FAILED = -7,  // a block expanded to another size than count x element size
};

// The running digest of a file's content: the 32 bytes of the result, then the SHA-256 state.
struct HashSum {
    unsigned char digest[32] = {};
    std::uint32_t totalLength = 0;    // bytes already hashed in whole 64-byte blocks (wraps at 2^32)
    std::uint32_t pendingLength = 0;  // bytes waiting in `block`
    unsigned char block[128] = {};    // room for the two blocks of the final padding
    std::uint32_t chaining[8] = {};
};

// Compaction of one AOV channel: element i comes from the slot at first + i * stride. The element type
// chooses the slot member: char the byte (type 0), int the 32 bits (type 1), half the double (type 2),
// halfvec3 three floats (types 3 and 5), halfvec4 four floats (type 4), halfvec2 two floats (type 6).
// Floats become halves by truncation.
HV_API void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<char>& out);
HV_API void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<int>& out);
HV_API void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride,
                        std::vector<half_float::half>& out);
HV_API void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<halfvec2>& out);
HV_API void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<halfvec3>& out);
HV_API void CompactAOVS(AOVData const* first, std::size_t count, std::size_t stride, std::vector<halfvec4>& out);

// The opposite: element i goes back to the slot at first + i * stride; the rest of each slot is left alone.
HV_API void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<char> const& in);
HV_API void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<int> const& in);
HV_API void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<half_float::half> const& in);
HV_API void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<halfvec2> const& in);
HV_API void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<halfvec3> const& in);
HV_API void DecompactAOVs(AOVData* first, std::size_t stride, std::vector<halfvec4> const& in);

// One sample's slots to and from a tight uncompressed record: 1, 4, 8, 12, 16, 12 and 8 bytes for types 0 to 6.
// A type above 6 moves nothing and its slot is skipped.
HV_API void WriteAovsToFile(std::FILE* file, std::vector<Phase::AOVType> const& types, AOVData const* aovs);
HV_API void ReadAovsFromFile(std::FILE* file, std::vector<Phase::AOVType> const& types, AOVData* aovs);
// Writes a type 6 channel as one byte while ReadAovsFromMem takes 8: kept as the memory format has it, so a
// buffer must be sized by AovFormat::sampleSize and reads back wrong from such a channel on.
HV_API void WriteAovsToMem(void* buffer, std::vector<Phase::AOVType> const& types, AOVData const* aovs);
HV_API void ReadAovsFromMem(void const* buffer, std::vector<Phase::AOVType> const& types, AOVData* aovs);

// ---- Buckets and the spool -------------------------------------------------------------------------------
// Each declared thread has a bucket that collects its work without a lock; a flush moves the bucket's
// content to the phase's spool file, or into a memory buffer that HvFlushMemoryBufferToFile later spools.
// Regions are (xMin, yMin, xMax, yMax), the maxima exclusive.

// Prepares the thread's bucket for a region. Throws on an unknown thread or a bucket still holding samples.
HV_API void HvInitBucket(unsigned long long const& threadId, int const& xMin, int const& yMin, int const& xMax,
                         int const& yMax);
// Finishes the bucket (render phase) and answers the size of its memory buffer, or -1.
HV_API int HvProcessBucketGetBufferSize(unsigned long long const& threadId);
HV_API int HvProcessBucketGetBufferSize(int const& xMin, int const& yMin, int const& xMax, int const& yMax);
// Fills the last bytes of `buffer` with the bucket of the region and a 20-byte footer, and resets the bucket.
HV_API bool HvBucketFlushToMemory(void* buffer, unsigned long long const& size, int const& xMin, int const& yMin,
                                  int const& xMax, int const& yMax);
// Spools a buffer that HvBucketFlushToMemory filled, in this process or another.
HV_API bool HvFlushMemoryBufferToFile(void const* buffer, unsigned long long const& size);
// Finishes, spools and resets one bucket.
HV_API bool HvProcessBucketFlushToFile(unsigned long long const& threadId);
HV_API bool HvProcessBucketFlushToFile(int const& xMin, int const& yMin, int const& xMax, int const& yMax);
// The same for every bucket that holds samples.
HV_API void HvProcessAllBucketsToFile();

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane

#endif
