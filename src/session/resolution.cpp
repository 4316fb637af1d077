#include <holvane/block.h>
#include <holvane/container.h>
#include <holvane/fileheader.h>
#include <holvane/logger.h>
#include <holvane/phase.h>

#include "session/context.h"
#include "session/parameters.h"
#include "session/phase_internal.h"

#include <cmath>
#include <limits>

namespace Holvane {
namespace Internal {
namespace {

using Logger::HvOutputLogString;

// The number of plaques of the detect file at `path`, from its header alone. A failed read is reported and
// gives false with a count of 0.
bool readPlaqueCount(std::string const& path, unsigned long long& count)
{
    count = 0;
    BinIO::header_v09 header;
    BinIO::HlvReaderError const error = BinIO::hlvReader_v9(path.c_str(), header);
    if (error != BinIO::READER_OK) {
        // No line end: this is how the message has always been printed.
        HvOutputLogString(Logger::ERROR, "error(%d) reading file (%s)", int(error), path.c_str());
        return false;
    }
    // A detect file carries its plaques in the fill-hole block.
    count = header.fillHoleCount;
    return true;
}

Phase::HvResolutionParam const invalidResolution = {0, 0, 0, false};

// Whole numbers computed in double; a value that is no count (infinite, not a number, negative) gives 0.
unsigned long long wholeCount(double value)
{
    if (!(value >= 0.0) || value >= 18446744073709551616.0)
        return 0;
    return static_cast<unsigned long long>(value);
}

Phase::HvResolutionParam resolution(double width, double height, double blockCount)
{
    return Phase::HvResolutionParam{wholeCount(width), wholeCount(height), wholeCount(blockCount), true};
}

Phase::HvResolutionParam outputResolution()
{
    HolvaneContext const& s = session();
    return resolution(s.outputWidth.get(), s.outputHeight.get(), 1.0);
}

// Everything a resolution needs before it can be computed. Each missing piece is reported.
bool contextComplete()
{
    HolvaneContext const& s = session();
    bool complete = true;
    if (!s.draftMode.isSet) {
        HvOutputLogString(Logger::WARNING, "[Holvane] draftMode is not set.\n");
        complete = false;
    }
    if (!s.currentFrame.isSet) {
        HvOutputLogString(Logger::WARNING, "[Holvane] the frame number is not set.\n");
        complete = false;
    }
    // The back offset is not needed here.
    if (!s.zovOffsetRight.isSet || !s.zovOffsetTop.isSet) {
        HvOutputLogString(Logger::WARNING, "[Holvane] the ZOV offset for multibox is not set.\n");
        complete = false;
    }
    if (!s.outputWidth.isSet || !s.outputHeight.isSet) {
        HvOutputLogString(Logger::WARNING, "[Holvane] the output resolution is not set.\n");
        complete = false;
    }
    // Reported, but the default transparency mode serves.
    if (!s.transparencyMode.isSet)
        HvOutputLogString(Logger::WARNING, "[Holvane] the transparency pass type is not set.\n");
    if (!complete)
        HvOutputLogString(Logger::ERROR,
                          "[Holvane] Unable to create IO paths for Holvane. Context is partialy set.\n");
    return complete;
}

bool isDetection()
{
    return session().phase == Phase::PHASE_DETECT;
}

bool isRender()
{
    return session().phase == Phase::PHASE_RENDER;
}

// The plaques of the render phase's detect file; false in any other phase or when the file can't be read.
bool readRenderPlaqueCount(unsigned long long& count)
{
    return isRender() && readPlaqueCount(detectPathInUse(), count);
}

// The render phase may be given no block at all only when its detect file holds no plaque.
bool renderFileHasNoPlaque()
{
    if (!isRender() || !contextComplete())
        return false;
    unsigned long long count = 0;
    return readRenderPlaqueCount(count) && count == 0;
}

}  // namespace
}  // namespace Internal

namespace Phase {
inline namespace v2_0 {

using Internal::HolvaneContext;
using Internal::session;
using Logger::HvOutputLogString;

HvResolutionParam HvComputeRenderingResolutionParameters(unsigned long long const& width,
                                                         unsigned long long const& height)
{
    if (!Internal::contextComplete())
        return Internal::invalidResolution;
    HolvaneContext const& s = session();
    if (Internal::isDetection()) {
        if (double(width) != s.outputWidth.get() || double(height) != s.outputHeight.get())
            HvOutputLogString(Logger::WARNING,
                              "[Holvane] Rendering resolution is different than the final Hlv file resolution, "
                              "this is not supported in the detection phase.\n");
        return Internal::outputResolution();
    }
    if (!Internal::isRender())
        return Internal::invalidResolution;
    std::string const path = Internal::detectPathInUse();
    unsigned long long count = 0;
    if (!Internal::readPlaqueCount(path, count)) {
        HvOutputLogString(Logger::ERROR, "[Holvane] Cannot read the detection file %s .\n", path.c_str());
        return Internal::invalidResolution;
    }
    // An image of no pixel divides by zero in double: the infinity or NaN that results reads as no block.
    double const blocks = std::ceil(double(count) / (double(width) * double(height)));
    return Internal::resolution(double(width), double(height), blocks);
}

HvResolutionParam HvComputeRenderingResolutionParameters(unsigned long long const& blockCount)
{
    if (!Internal::contextComplete())
        return Internal::invalidResolution;
    if (Internal::isDetection()) {
        HvOutputLogString(Logger::WARNING, "[Holvane] multiple blocks for the detection phase is not supported.\n");
        return Internal::outputResolution();
    }
    unsigned long long count = 0;
    if (!Internal::readRenderPlaqueCount(count))
        return Internal::invalidResolution;
    if (blockCount == 0) {
        HvOutputLogString(Logger::ERROR, "[Holvane] You must have at least one block to render\n");
        return Internal::invalidResolution;
    }
    double const perBlock = std::ceil(double(count) / double(blockCount));
    double const side = std::ceil(std::sqrt(perBlock));
    // This query also sets the session's rendering size and block count; the ratio is left as it was.
    HolvaneContext& s = session();
    s.blockCount = blockCount;
    s.renderingWidth = side;
    s.renderingHeight = side;
    return Internal::resolution(side, side, double(blockCount));
}

HvResolutionParam HvGetRenderingResolutionParameters()
{
    if (!Internal::contextComplete())
        return Internal::invalidResolution;
    if (Internal::isDetection())
        return Internal::outputResolution();
    unsigned long long count = 0;
    if (!Internal::readRenderPlaqueCount(count))
        return Internal::invalidResolution;
    double const side = std::ceil(std::sqrt(double(count)));
    return Internal::resolution(side, side, 1.0);
}

bool HvSetRenderingResolutionParameters(HvResolutionParam const& param)
{
    if (!param.valid) {
        HvOutputLogString(Logger::ERROR, "[Holvane] invalid resolution params.\n");
        return false;
    }
    if (!Internal::setterMayStore())
        return false;
    if (Internal::isDetection() && param.blockCount >= 2) {
        HvOutputLogString(Logger::ERROR,
                          "[Holvane] Unable to render multiple blocks during the detection phase.\n");
        return false;
    }
    if (param.blockCount == 0 && !Internal::renderFileHasNoPlaque()) {
        HvOutputLogString(Logger::ERROR, "[Holvane] You must have at least one block to render\n");
        return false;
    }
    HolvaneContext& s = session();
    s.renderingWidth = double(param.width);
    s.renderingHeight = double(param.height);
    s.renderingRatio = double(param.width) / double(param.height);
    s.blockCount = param.blockCount;
    // With several blocks the host names the first one itself.
    if (param.blockCount <= 1)
        s.currentBlock = 0ULL;
    return true;
}

bool HvSetCurrentBlockIndex(unsigned long long const& index)
{
    HolvaneContext& s = session();
    if (!s.blockCount.isSet || !s.renderingWidth.isSet || !s.renderingHeight.isSet) {
        HvOutputLogString(Logger::ERROR, "[Holvane] Unable to set block, the renderingParameters is not set.\n");
        return false;
    }
    // Unsigned arithmetic: a block count of 0 accepts any index.
    if (index > s.blockCount.value - 1) {
        HvOutputLogString(Logger::ERROR, "[Holvane] Unable to set the block %d greater than the number of block %d .\n",
                          int(index), int(s.blockCount.value));
        return false;
    }
    HvOutputLogString(Logger::DEBUG, "[Holvane] number of samples %d ", int(s.spoolSampleCount));
    s.currentBlock = index;
    // The spool keeps its samples: the blocks of a phase add up in one spool file.
    Internal::allocatePixelCounters();
    return true;
}

}  // namespace v2_0
}  // namespace Phase

namespace Block {
inline namespace v2_0 {

using Logger::HvOutputLogString;

unsigned long long HvGetBlockCountFromRenderingResolution(char const* path, unsigned long long const& width,
                                                          unsigned long long const& height)
{
    unsigned long long count = 0;
    if (!Internal::readPlaqueCount(path, count))
        return 0;
    if (width == 0 || height == 0) {
        HvOutputLogString(Logger::ERROR, "[Holvane] A rendering resolution of %llux%llu holds no plaque.\n", width,
                          height);
        return 0;
    }
    // Not the ceiling: a count that fills the last block exactly gets one more, empty block.
    return count / (width * height) + 1;
}

unsigned long long HvGetBlockCountFromRenderingResolution()
{
    Internal::HolvaneContext const& s = Internal::session();
    unsigned long long const height = Internal::wholeCount(s.outputHeight.get());
    unsigned long long const width = Internal::wholeCount(s.outputWidth.get());
    return HvGetBlockCountFromRenderingResolution(Internal::detectPathInUse().c_str(), width, height);
}

bool HvGetRenderingResolutionFromBlockCount(char const* path, unsigned long long const& /*blockCount*/,
                                            unsigned long long& width, unsigned long long& height)
{
    unsigned long long count = 0;
    if (!Internal::readPlaqueCount(path, count))
        return false;
    // The block count plays no part: the answer is the side of a single block holding every plaque.
    width = height = Internal::wholeCount(std::ceil(std::sqrt(double(count))));
    return true;
}

std::string HvGetDetectPhaseFileFromHolvaneContext()
{
    return Internal::session().detectFilePath;
}

void HvSetDetectPhaseOverride(std::string const& path)
{
    Internal::session().detectPhaseOverride = path;
}

}  // namespace v2_0
}  // namespace Block
}  // namespace Holvane
