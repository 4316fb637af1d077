#ifndef HOLVANE_PHASE_H
#define HOLVANE_PHASE_H

#include <holvane/export.h>
#include <holvane/types.h>

// The phase machine and the parameters a host sets between HvInitPhase and HvPhaseBegin.
//
// Order of calls: HvInitPhase, the setters, HvRenderPhaseRegisterAov (render phase only), HvPhaseBegin, the
// work of the host's threads, HvPhaseTerminate. Calling out of order throws std::exception after a TRACE line;
// a setter called outside the configuring state only logs an ERROR and stores nothing.

namespace Holvane {
namespace Phase {
inline namespace v2_0 {

// ---- Lifecycle -------------------------------------------------------------------------------------------

// Resets the whole session and chooses the phase: 0 detection, 1 render, anything else no phase.
// Throws while a phase runs.
HV_API void HvInitPhase(Phase const& phase, Util::RenderingEngineId const& engineId);

// Render phase, before HvPhaseBegin: declares one AOV channel of the host. Throws otherwise.
HV_API void HvRenderPhaseRegisterAov(int const& alias, char const* name, AOVType const& type);

// Checks the parameters, applies the defaults of the optional ones, builds the phase's tables and prints the
// settings. False (with an ERROR line) when the rendering resolution, the output resolution or the bucket size
// is missing; the session is then unchanged, so the host may set it and call again.
HV_API bool HvPhaseBegin();

// Ends the running phase; TERMINATE_FINALIZE also writes its output file. False, with a WARNING, when no phase
// runs.
HV_API bool HvPhaseTerminate(TerminatePhaseOptions const& option);

// ---- Parameters ------------------------------------------------------------------------------------------
// Lengths are in scene units unless told otherwise.

HV_API void HvSetBucketSize(unsigned long long const& width, unsigned long long const& height);
// The one matrix setter that also works while a phase runs. Both matrices are kept, each the other's inverse.
HV_API void HvSetCameraToWorldMatrix(Matrix4 const& camToWorld);
HV_API void HvSetWorldToCamMatrix(Matrix4 const& worldToCam);
// Not guarded. The centre goes through the current world-to-box matrix at this call: set the matrix first.
HV_API void HvSetClippingSphere(bool enabled, TavPoint const& center, float radius, bool inverted);
HV_API void HvSetCurrentFrame(int const& frame, unsigned long long const& padding);
HV_API void HvSetDeepReflection(Eye const& eye, double const& ipdMillimetres);
// Render phase: the hlvDetect file to read, which must exist. Detection phase: the file to write.
HV_API void HvSetDetectFilePath(char const* path);
HV_API void HvSetDistanceToGround(double const& metres);
HV_API void HvSetDraft(bool const& draft);
HV_API void HvSetMaxDistance(double const& distance);
HV_API void HvSetMotionVector(bool const& enabled);
HV_API void HvSetOutFilePath(char const* path);
// The .hlv image: 3:2, multiples of 8, width in [312, 6000], height in [208, 4000].
HV_API void HvSetOutputResolution(unsigned long long const& width, unsigned long long const& height);
HV_API void HvSetRenderInsideBox(bool inside);
// Scene units per centimetre divisor.
HV_API void HvSetRenderScale(double const& scale);
HV_API void HvSetRenderTransparencyMode(TransparencyRenderingType const& mode);
// Stored normalised; a zero vector is stored as it is.
HV_API void HvSetSceneUpVector(TavPoint const& up);
// Metres in the box's frame, relative to the box centre.
HV_API void HvSetSpecularPointOffset(TavPoint const& offset);
HV_API void HvSetThreadNumber(unsigned long long const& threads);
HV_API void HvSetTolerance(double const& tolerance);
// In whole boxes.
HV_API void HvSetZovOffset(int const& right, int const& top, int const& back);
// Box size in metres: length, height, width.
HV_API void HvSetZovScaling(float const& x, float const& y, float const& z);

// ---- Rendering resolution and blocks ---------------------------------------------------------------------

// The rendering image for a width x height image of plaques: the detection phase always answers the output
// resolution; the render phase adds the blocks the detect file's plaques need.
HV_API HvResolutionParam HvComputeRenderingResolutionParameters(unsigned long long const& width,
                                                                unsigned long long const& height);
// A square image for `blockCount` blocks. In the render phase it also sets the session's rendering size and
// block count.
HV_API HvResolutionParam HvComputeRenderingResolutionParameters(unsigned long long const& blockCount);
// A square image holding every plaque in one block (the output resolution in the detection phase).
HV_API HvResolutionParam HvGetRenderingResolutionParameters();
HV_API bool HvSetRenderingResolutionParameters(HvResolutionParam const& param);
// Chooses the block to render; allowed at any time, also between two blocks of a running phase.
HV_API bool HvSetCurrentBlockIndex(unsigned long long const& index);

}  // namespace v2_0
}  // namespace Phase
}  // namespace Holvane

#endif
