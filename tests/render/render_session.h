#ifndef HOLVANE_TESTS_RENDER_SESSION_H
#define HOLVANE_TESTS_RENDER_SESSION_H

// A running phase put into the session field by field, as HvPhaseBegin leaves it, with its log captured.

#include <holvane/binio.h>

#include "common/detect_file.h"
#include "common/log_capture.h"
#include "session/context.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace HolvaneTest {

using Holvane::BinIO::DetectPlaqueInfo;
using Holvane::Internal::Bucket;
using Holvane::Internal::FinishedSample;

inline std::string bytesOf(void const* data, std::size_t size)
{
    return std::string(static_cast<char const*>(data), size);
}

// A plaque whose every field tells it apart from plaque i + 1.
inline DetectPlaqueInfo plaque(int i)
{
    DetectPlaqueInfo p;
    p.cameraIndex = std::uint8_t(10 + i), p.x = std::uint16_t(1000 + i), p.y = std::uint16_t(2000 + i);
    p.isExtrapolated = std::uint8_t(i & 1), p.isHair = std::uint8_t((i >> 1) & 1), p.level = std::uint8_t(i % 4);
    p.isTransparent = std::uint8_t((i >> 2) & 1), p.distance = 0.5f + float(i), p.normal = {float(i), -1.0f, 0.25f};
    return p;
}

// Appends plaques first .. first + count - 1 as the sample processing does.
inline void addPlaques(Bucket& bucket, int first, int count)
{
    for (int i = first; i < first + count; ++i)
        bucket.plaques.push_back(plaque(i)), ++bucket.sampleCount;
}

class RenderSession : public ::testing::Test {
protected:
    LogCapture log;

    static Holvane::Internal::HolvaneContext& s() { return Holvane::Internal::session(); }
    void SetUp() override { Holvane::Internal::resetSession(); }
    void TearDown() override { Holvane::Internal::resetSession(); }

    // `threads` buckets of 4 x 4 pixels over a width x height image, zero counters, an open empty spool.
    static void begin(Holvane::Phase::Phase phase, unsigned threads = 2, int width = 16, int height = 8)
    {
        auto& c = s();
        c.phase = phase, c.initialized = true;
        c.renderingWidth = double(width), c.renderingHeight = double(height);
        c.rayCounters.assign(std::size_t(width * height), 0), c.hitCounters.assign(std::size_t(width * height), 0);
        c.spoolFile = std::tmpfile(), c.spoolSampleCount = 0;
        for (unsigned i = 0; i < threads; ++i)
            c.buckets.emplace_back(4, 4, c.aovFormat, 0);
    }

    // Everything spooled so far.
    static std::string spoolBytes()
    {
        std::FILE* spool = s().spoolFile;
        std::fflush(spool);
        std::rewind(spool);
        std::string bytes;
        char chunk[4096];
        for (std::size_t n; (n = std::fread(chunk, 1, sizeof chunk, spool)) > 0;)
            bytes.append(chunk, n);
        std::fseek(spool, 0, SEEK_END);
        return bytes;
    }
};

}  // namespace HolvaneTest

#endif
