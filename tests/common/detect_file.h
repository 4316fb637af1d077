#ifndef HOLVANE_TESTS_DETECT_FILE_H
#define HOLVANE_TESTS_DETECT_FILE_H

#include <holvane/holvane.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>
#include <unistd.h>
#include <vector>

namespace HolvaneTest {

inline bool sameBits(TavPoint const& a, TavPoint const& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Every field alike, the normal to the bit.
inline bool samePlaque(Holvane::BinIO::DetectPlaqueInfo const& a, Holvane::BinIO::DetectPlaqueInfo const& b)
{
    auto fields = [](Holvane::BinIO::DetectPlaqueInfo const& p) {
        return std::make_tuple(p.cameraIndex, p.x, p.y, p.isExtrapolated, p.isHair, p.extraFlag, p.level,
                               p.isTransparent, p.distance);
    };
    return fields(a) == fields(b) && sameBits(a.normal, b.normal);
}

// A fresh, empty file under /tmp; the caller removes it.
inline std::string tempFile(char const* stem)
{
    std::string name = std::string("/tmp/") + stem + "-XXXXXX";
    close(mkstemp(&name[0]));
    return name;
}

// A detect file as the detection phase writes it: the plaques in the fill-hole block, counted in the header,
// detected at width x height with the given cameras.
inline void writeDetectFile(std::string const& path, std::vector<Holvane::BinIO::DetectPlaqueInfo> const& plaques,
                            std::uint16_t width = 624, std::uint16_t height = 416,
                            Holvane::BinIO::HeaderCameras const& cameras = {})
{
    Holvane::BinIO::header_v09 header;
    header.rtype = 1;
    header.widthDisplay = width;
    header.heightDisplay = height;
    header.fillHoleCount = plaques.size();
    header.cameras = cameras;
    Holvane::BinIO::hlvRenderSample5Aovs_t data;
    data.fillHoles = plaques;
    data.completion.assign(plaques.size(), 1);
    ASSERT_EQ(Holvane::BinIO::hlvWriter_v9(path.c_str(), header, data, Holvane::Util::RenderingEngineId(3)),
              Holvane::BinIO::READER_OK);
}

// Makes the file claim a version that no reader knows.
inline void markVersionTooNew(std::string const& path)
{
    std::FILE* file = std::fopen(path.c_str(), "r+b");
    ASSERT_NE(file, nullptr);
    std::fseek(file, 14, SEEK_SET);
    std::fputc(10, file);
    std::fclose(file);
}

}  // namespace HolvaneTest

#endif
