#ifndef HOLVANE_FILES_FRESH_VECTOR_H
#define HOLVANE_FILES_FRESH_VECTOR_H

#include <cstddef>
#include <vector>

namespace Holvane {
namespace Internal {

// Gives `vector` exactly `count` value-initialised elements. A new vector is built rather than the old one
// resized: resize emits std's out-of-line growth code, which for a builtin element type has default visibility
// and would be exported from the shared library beside its interface.
template <typename T>
void makeFresh(std::vector<T>& vector, std::size_t count)
{
    vector = std::vector<T>(count);
}

}  // namespace Internal
}  // namespace Holvane

#endif
