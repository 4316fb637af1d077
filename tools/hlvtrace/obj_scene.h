#ifndef HLVTRACE_OBJ_SCENE_H
#define HLVTRACE_OBJ_SCENE_H

#include "scene.h"

#include <string>
#include <vector>

namespace hlvtrace {

// Reads a Wavefront OBJ file with the diffuse colours of its MTL materials; polygons are triangulated and a
// face without a material is grey. Throws InputError naming the file when it can't be read, is malformed or
// holds no triangle. What the reader only warns about (a missing MTL file, for one) lands in `warnings`.
Scene loadObjScene(std::string const& path, std::vector<std::string>& warnings);

}  // namespace hlvtrace

#endif
