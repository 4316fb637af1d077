#include <holvane/records.h>

#include "common/log_capture.h"

#include <gtest/gtest.h>

using Holvane::BinIO::AovFormat;
using namespace Holvane::Phase;
using HolvaneTest::LogCapture;

namespace {

int const reservedRight = int(0xF0000001u);
int const reservedTransp = int(0xF0000002u);
int const reservedVelocity = int(0xF0000003u);

}  // namespace

TEST(AovFormat, ReservedNamesAreAlsoFoundUnderTheirFixedAlias)
{
    AovFormat format;
    format.registerAov(7, "Cd_Right", AOV_VEC3);
    format.registerAov(reservedVelocity, "hlvVelocity", AOV_VELOCITY);
    format.registerAov(9, "hlvTransp", AOV_INT);
    format.registerAov(11, "cd_right", AOV_VEC3);  // names compare exactly: no reserved alias

    EXPECT_TRUE(format.HasAOV(7));
    EXPECT_TRUE(format.HasAOV(reservedRight));
    EXPECT_EQ(format.getIndex(reservedRight), 0u);
    EXPECT_EQ(format.getIndex(7), 0u);
    EXPECT_EQ(format.getIndex(reservedVelocity), 1u);
    EXPECT_EQ(format.getIndex(reservedTransp), 2u);
    EXPECT_EQ(format.getIndex(11), 3u);
    EXPECT_EQ(format.aliases.size(), 6u);  // 7, 9, 11 and the three reserved ones
    EXPECT_TRUE(format.HasAOV(std::string("cd_right")));
    EXPECT_FALSE(format.HasAOV(std::string("CD_RIGHT")));
    EXPECT_EQ(format.count, 4u);
}

TEST(AovFormat, SampleSizeFollowsTheTypesAndUnknownTypesAddNothing)
{
    LogCapture log;
    AovFormat format;
    for (int type = 0; type <= 6; ++type)
        format.registerAov(type, "c" + std::to_string(type), AOVType(type));
    EXPECT_EQ(format.sampleSize, 1u + 4 + 8 + 12 + 16 + 12 + 8);
    EXPECT_TRUE(log.lines.empty());

    format.registerAov(20, "odd", AOVType(7));
    EXPECT_EQ(log.only(), "0|Unknown AOV type\n");
    EXPECT_EQ(format.count, 8u);
    EXPECT_EQ(format.sampleSize, 61u);
    EXPECT_EQ(format.getIndex(20), 7u);
}

TEST(AovFormat, MisusesLogAndLeaveTheRegistryAsItWas)
{
    LogCapture log;
    AovFormat format;
    format.registerAov(4, "albedo", AOV_VEC3);
    format.registerAov(4, "depth", AOV_DOUBLE);
    EXPECT_EQ(log.only(), "1|Adding twice the same AOV alias (while trying to register depth as 4\n");
    EXPECT_EQ(format.count, 1u);
    EXPECT_EQ(format.sampleSize, 12u);
    EXPECT_FALSE(format.HasAOV(std::string("depth")));

    log.clear();
    EXPECT_EQ(format.getIndex(-5), 0u);
    EXPECT_EQ(log.only(), "0|Trying to access AOV with alias -5 while it hasn't been registered\n");

    format.clear();
    EXPECT_TRUE(format.isEmpty());
    EXPECT_EQ(format.sampleSize, 0u);
    EXPECT_FALSE(format.HasAOV(4));
    EXPECT_TRUE(format.names.empty() && format.types.empty());
    format.registerAov(4, "depth", AOV_DOUBLE);
    EXPECT_EQ(format.getIndex(4), 0u);
}
