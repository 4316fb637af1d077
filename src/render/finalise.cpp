// The end of a phase: the spool becomes the phase's one output file.

#include <holvane/block.h>
#include <holvane/container.h>
#include <holvane/logger.h>

#include "files/closing_file.h"
#include "render/finalise.h"
#include "render/spool.h"
#include "session/context.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <iterator>
#include <mutex>

namespace Holvane {
namespace Internal {

namespace {

using BinIO::header_v09;
using BinIO::hlvRenderSample5Aovs_t;
using Logger::HvOutputLogCStr;
using Logger::HvOutputLogString;

// Never reset: a phase that hears more hits than it shot rays says so once per process.
std::atomic<bool> g_moreHitsThanRaysWarned{false};

// A display size of the header is 16 bits wide; the whole number held as a double keeps its low bits.
std::uint16_t lowSixteenBits(double wholeNumber)
{
    return static_cast<std::uint16_t>(static_cast<unsigned long long>(wholeNumber));
}

// The box's frame to world, with the render scale applied to the first three columns.
void scaledCamToWorld(Matrix4 const& camToWorld, float renderScale, float out[16])
{
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            out[row * 4 + column] = column < 3 ? camToWorld.m[row][column] * renderScale : camToWorld.m[row][column];
}

// The header of the output file from the session, field by field; an unset value throws.
header_v09 headerFromSession()
{
    HolvaneContext const& s = session();
    header_v09 h;
    h.frame = s.currentFrame.get();
    h.boxScaleX = s.zovScaling.x, h.boxScaleY = s.zovScaling.y, h.boxScaleZ = s.zovScaling.z;
    h.camOffsetX = s.zovOffsetRight.get(), h.camOffsetY = s.zovOffsetTop.get(), h.camOffsetZ = s.zovOffsetBack.get();
    h.stereoRender = s.eye.get() == Phase::RC_LeftAndRight;
    h.eye = s.eye.get();
    h.ipd = s.ipd.get();
    h.rtype = s.phase == Phase::PHASE_DETECT;
    h.zov_distance_to_ground = s.distanceToGround;
    h.widthDisplay = lowSixteenBits(s.outputWidth.get());
    h.heightDisplay = lowSixteenBits(s.outputHeight.get());
    h.draft = s.draftMode.get();
    h.projection = 1;
    h.globalScale = s.renderScale.get();
    h.passMode = s.transparencyMode.get() == Phase::ALL ? 2 : 0;
    h.AOVNames = s.aovFormat.names;
    h.AOVTypes = s.aovFormat.types;
    h.aovNums = s.aovFormat.count;
    h.tolerance = static_cast<float>(s.renderingContext.tolerance);
    scaledCamToWorld(s.camToWorld, s.renderScale.get(), h.CamToWorld);
    Camera::CameraRig const& rig = s.renderingContext.rig;
    h.cameras.locations = rig.cameras;
    h.cameras.priorities = rig.cameraWeights;
    h.cameras.directions = rig.cameraMasks;
    return h;
}

void closeSpool(ClosingFile& spool)
{
    std::fclose(spool.file);
    spool.file = nullptr;
}

// Render phase: each spooled head becomes a file record, and its AOV record fills that sample's slots.
void readRenderSpool(ClosingFile& spool, header_v09& header, hlvRenderSample5Aovs_t& data)
{
    HolvaneContext& s = session();
    unsigned long long const count = s.spoolSampleCount;
    std::size_t const aovCount = s.aovFormat.count;
    std::rewind(spool.file);
    data.samples.resize(count);
    data.aovs.resize(count * aovCount);
    unsigned char image[sizeof(FinishedSampleHead)];
    for (unsigned long long i = 0; i < count; ++i) {
        if (std::fread(image, sizeof image, 1, spool.file) != 1)
            std::fill(std::begin(image), std::end(image), 0);  // a short read isn't reported
        data.samples[i] = fileSampleOf(readHeadImage(image));
        BinIO::ReadAovsFromFile(spool.file, s.aovFormat.types, data.aovs.data() + i * aovCount);
    }
    closeSpool(spool);
    header.sampleNums = count;
    header.coordinates = 0;
    data.completion = std::move(s.detectExtra);  // the detect file's flags, carried over
    s.detectExtra.clear();
    HvOutputLogString(Logger::INFO, "[Holvane] writing render file. resolution %dx%d . samples %d.\n",
                      int(s.outputWidth.get()), int(s.outputHeight.get()), int(s.spoolSampleCount));
}

// One flag per pixel: 1 when every ray shot there reported back.
std::vector<unsigned char> completionFlags()
{
    HolvaneContext const& s = session();
    std::vector<unsigned char> flags(s.hitCounters.size(), 0);
    for (std::size_t i = 0; i < flags.size(); ++i) {
        std::uint16_t const hits = s.hitCounters[i];
        std::uint16_t const rays = i < s.rayCounters.size() ? s.rayCounters[i] : 0;
        if (hits > rays && !g_moreHitsThanRaysWarned.exchange(true))
            HvOutputLogCStr(Logger::WARNING, "Received more samples than shot rays");
        if (hits == rays)
            flags[i] = 1;
    }
    return flags;
}

// The geometry of the detection's plaques: the session's rig at the file's display size.
RenderingContext detectionContext(header_v09 const& header)
{
    HolvaneContext const& s = session();
    RenderingContext context;
    context.rig = &s.renderingContext.rig;
    context.width = header.widthDisplay;
    context.height = header.heightDisplay;
    context.renderScale = s.renderScale.get();
    context.tolerance = header.tolerance;
    return context;
}

// Detection phase: the plaques, cleaned, go to the fill-hole block, the pixel flags to the completion block.
void readDetectSpool(ClosingFile& spool, header_v09& header, hlvRenderSample5Aovs_t& data)
{
    HolvaneContext const& s = session();
    // two blanks before "resolution", as the line has always read
    HvOutputLogString(Logger::INFO, "[Holvane] retrieving detect phase data.  resolution %dx%d . samples %d.\n",
                      int(s.outputWidth.get()), int(s.outputHeight.get()), int(s.spoolSampleCount));
    std::rewind(spool.file);
    data.fillHoles.resize(s.spoolSampleCount);
    if (!data.fillHoles.empty())
        std::fread(data.fillHoles.data(), sizeof(BinIO::DetectPlaqueInfo), data.fillHoles.size(), spool.file);
    closeSpool(spool);
    HvOutputLogCStr(Logger::INFO, "[Holvane] processing data.\n");
    data.completion = completionFlags();
    Block::processFillHoleIndices(detectionContext(header), data.fillHoles, s.renderScale.get());
    header.fillHoleCount = data.fillHoles.size();
    HvOutputLogString(Logger::INFO, "[Holvane] flushing %d samples to file.\n", int(header.fillHoleCount));
}

}  // namespace

BinIO::hlvRenderSample5_t fileSampleOf(FinishedSampleHead const& head)
{
    using half_float::half;
    BinIO::hlvRenderSample5_t sample;
    sample.depth = static_cast<float>(head.z);
    sample.color = {half(head.color.r), half(head.color.g), half(head.color.b), half(head.color.a)};
    sample.normal = {half(head.normal.x), half(head.normal.y), half(head.normal.z)};
    sample.x = static_cast<std::uint16_t>(head.x);
    sample.y = static_cast<std::uint16_t>(head.y);
    sample.cameraIndex = static_cast<std::uint8_t>(head.cameraIndex);
    sample.level = static_cast<std::uint8_t>(head.level);
    return sample;
}

bool Finalise()
{
    std::lock_guard<std::mutex> lock(spoolLock());
    HolvaneContext& s = session();
    if (!s.spoolFile) {
        HvOutputLogCStr(Logger::WARNING,
                        "Processing temporary file samples while samples have already been processed.");
        return false;
    }
    ClosingFile spool(s.spoolFile);
    s.spoolFile = nullptr;

    header_v09 header = headerFromSession();
    hlvRenderSample5Aovs_t data;
    if (s.phase == Phase::PHASE_DETECT)
        readDetectSpool(spool, header, data);
    else
        readRenderSpool(spool, header, data);

    BinIO::HlvReaderError const result = BinIO::hlvWriter_v9(s.outFilePath.c_str(), header, data, s.engineId);
    if (result != BinIO::READER_OK) {
        HvOutputLogString(Logger::ERROR, "[Holvane] error(%d) writing file %s .", int(result), s.outFilePath.c_str());
        return false;
    }
    // "render file" for a detect file too: hosts match this line
    HvOutputLogString(Logger::INFO, "[Holvane] wrote render file %s .\n", s.outFilePath.c_str());
    return true;
}

}  // namespace Internal
}  // namespace Holvane
