#ifndef HOLVANE_FILLHOLE_H
#define HOLVANE_FILLHOLE_H

// The clean-up of the detection's plaques before they go to the detect file (redundancies, folding of small
// neighbouring plaques into coarser ones), and a debugging path that writes a plaque list as a render file
// coloured by a family of small shaders, so that a detection can be looked at in the viewer.

#include <holvane/export.h>
#include <holvane/fileheader.h>
#include <holvane/plaque.h>
#include <holvane/records.h>
#include <holvane/types.h>

#include <string>
#include <vector>

namespace Holvane {
namespace BinIO {
inline namespace v2_0 {

// Images of the image shaders: an array by x of arrays of values; the value of a sample lies at
// [x][y * 256 + cameraIndex], one plane per camera within each column.
using FillHoleByteImage = std::vector<std::vector<unsigned char>>;
using FillHoleFloatImage = std::vector<std::vector<float>>;

// Colours a debug sample. `index` is the record's place in the list, `color` the sample's present colour and
// `isExtrapolated` 1 when the plaque was extrapolated.
class HV_API FillHoleShader {
public:
    virtual TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                             unsigned int isExtrapolated) = 0;

protected:
    FillHoleShader() = default;
    // Not virtual on purpose: hosts know GetColor as the first and only entry of the table, so a virtual
    // destructor can't be added. Protected, so that no shader is ever deleted through this base.
    ~FillHoleShader() = default;
};

// White where the image byte at the sample is non-zero; otherwise the colour given. A sample outside the
// image counts as zero.
class HV_API FillHoleShaderCheckInBoolImage final : public FillHoleShader {
public:
    explicit FillHoleShaderCheckInBoolImage(FillHoleByteImage const& image);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    FillHoleByteImage const& image;
};

// The image value v at the sample as (v, 0, 0, 1), (0, v, 0, 1) or (0, 0, v, 1); 0 outside the image.
class HV_API FillHoleShaderCheckInDevImageRed final : public FillHoleShader {
public:
    explicit FillHoleShaderCheckInDevImageRed(FillHoleFloatImage const& image);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    FillHoleFloatImage const& image;
};

class HV_API FillHoleShaderCheckInDevImageGreen final : public FillHoleShader {
public:
    explicit FillHoleShaderCheckInDevImageGreen(FillHoleFloatImage const& image);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    FillHoleFloatImage const& image;
};

class HV_API FillHoleShaderCheckInDevImageBlue final : public FillHoleShader {
public:
    explicit FillHoleShaderCheckInDevImageBlue(FillHoleFloatImage const& image);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    FillHoleFloatImage const& image;
};

// (a, b, 0, 1): a from the first image, b from the second.
class HV_API FillHoleShaderCheckInDevImageGreenRed final : public FillHoleShader {
public:
    FillHoleShaderCheckInDevImageGreenRed(FillHoleFloatImage const& first, FillHoleFloatImage const& second);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    FillHoleFloatImage const& first;
    FillHoleFloatImage const& second;
};

// White when bit `index` is set; otherwise the colour given. Beyond the array no bit is set.
class HV_API FillHoleShaderCheckInList final : public FillHoleShader {
public:
    explicit FillHoleShaderCheckInList(std::vector<bool> const& bits);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    std::vector<bool> const& bits;
};

// Extrapolated plaques white, the others darkened to a fifth.
class HV_API FillHoleShaderEstimated final : public FillHoleShader {
public:
    FillHoleShaderEstimated();
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;
};

// Depth from green (0) to red (2000 and beyond).
class HV_API FillHoleShaderZDepth final : public FillHoleShader {
public:
    FillHoleShaderZDepth();
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;
};

// Red shades for plaques whose normal leans further from the view than `threshold`; grey otherwise.
class HV_API FillHoleShaderTangency final : public FillHoleShader {
public:
    FillHoleShaderTangency(float threshold, unsigned long long width, unsigned long long height);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    float threshold;
    unsigned long long width;
    unsigned long long height;
};

// Red, green and blue bands below the thresholds t1 < t2 < t3 of the cosine to the view; dim grey above.
class HV_API FillHoleShaderHyperTangency final : public FillHoleShader {
public:
    FillHoleShaderHyperTangency(float t1, float t2, float t3, unsigned long long width, unsigned long long height);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    float t1;
    float t2;
    float t3;
    unsigned long long width;
    unsigned long long height;
};

// From red (seen edge-on) to green (seen face on), scaled by the sample's brightness.
class HV_API FillHoleShaderQuality final : public FillHoleShader {
public:
    FillHoleShaderQuality(unsigned long long width, unsigned long long height);
    TavRGBA GetColor(hlvRenderSample5_t const& sample, unsigned long long index, TavRGBA color,
                     unsigned int isExtrapolated) override;

private:
    unsigned long long width;
    unsigned long long height;
};

// Writes `records` as a render file of the header's display size, each plaque coloured by its camera (or
// strong red when seen nearly edge-on), then by `shader` when one is given. The writer's answer is ignored.
HV_API void HlvWriteDetectAsRender(std::string const& path, header_v09 const& header,
                                   std::vector<DetectPlaqueInfo> const& records, FillHoleShader* shader);

// The debug colour of a camera: fixed colours at the rig's corners, a hue from a short cycle elsewhere.
HV_API TavRGB GetColorCodeForCamera(unsigned int camera);

// The point count at the start of a plain fill-hole file (not a render container): its first 4 bytes, or 0.
// Always true; a file that can't be opened is reported on standard output.
HV_API bool getNumPointsInfillHoles(char const* path, unsigned int& count);

// Drops each plaque that lies on the same layer as the last kept plaque of its camera and pixel (same flags),
// after sorting by transparency, camera, x, y and distance.
HV_API void RemoveRedundancies(std::vector<DetectPlaqueInfo>& records, RenderingContext const& context,
                               float tolerance);

// One folding pass in a width x height image: groups of 2 x 2 neighbouring plaques of one camera, face and
// layer become one plaque at half the resolution, appended to `isolated`; the others stay in `records`.
// With `smallOnly`, only plaques smaller on the surface than `threshold` take part.
HV_API void filterPlaques(std::vector<DetectPlaqueInfo>& records, unsigned long long width,
                          unsigned long long height, float threshold, bool smallOnly,
                          std::vector<DetectPlaqueInfo>& isolated);

// Coordinates of a coarse pass back to full resolution: x and y times `factor` (16 bits), level log2(factor).
HV_API void resizePlaques(std::vector<DetectPlaqueInfo>& records, unsigned long long factor);

// Up to three folding passes at the context's resolution, a half and a quarter of it; the folded plaques
// are appended to `records`, level 1, then 2, then 3.
HV_API void filterPlaqueLevels(RenderingContext const& context, float threshold,
                               std::vector<DetectPlaqueInfo>& records);

}  // namespace v2_0
}  // namespace BinIO
}  // namespace Holvane

#endif
