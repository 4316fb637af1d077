#ifndef HOLVANE_FILES_REDUNDANCIES_H
#define HOLVANE_FILES_REDUNDANCIES_H

namespace Holvane {
namespace Internal {

// Whether two depths lie on one layer: whether a viewer who moves by `base` could not see them apart by more
// than one pixel's angle of an image `width` pixels round. Depths more than ten per cent apart never do. A
// NaN fails both tests for "apart", so it counts as the same layer.
bool onSameLayer(double a, double b, double base, unsigned long long width);

}  // namespace Internal
}  // namespace Holvane

#endif
