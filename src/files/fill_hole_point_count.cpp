// The point count at the head of a plain fill-hole file.

#include <holvane/fillhole.h>

#include "files/closing_file.h"

#include <cstdio>
#include <cstring>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

bool getNumPointsInfillHoles(char const* path, unsigned int& count)
{
    count = 0;
    Internal::ClosingFile file(path ? std::fopen(path, "rb") : nullptr);
    if (!file.file) {
        std::printf("\t[HOLVANE] ERROR: cannot open file: %s\n", path ? path : "");
        return true;  // the caller learns of the missing file from the count 0 only
    }
    unsigned char bytes[sizeof count];
    if (std::fread(bytes, 1, sizeof bytes, file.file) == sizeof bytes)  // a shorter file counts 0 points
        std::memcpy(&count, bytes, sizeof count);
    return true;
}

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane
