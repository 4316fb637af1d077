#include <holvane/records.h>

#include "common/log_capture.h"

#include <gtest/gtest.h>

using Holvane::BinIO::AovFormat;
using namespace Holvane::Phase;

TEST(AovFormat, ReservedNamesAreAlsoFoundUnderTheirFixedAlias)
{
    AovFormat format;
    format.registerAov(7, "Cd_Right", AOV_VEC3);
    format.registerAov(int(0xF0000003u), "hlvVelocity", AOV_VELOCITY);
    format.registerAov(9, "hlvTransp", AOV_INT);
    format.registerAov(11, "cd_right", AOV_VEC3);  // names compare exactly: no reserved alias
    EXPECT_EQ(format.getIndex(7), 0u);
    EXPECT_EQ(format.getIndex(int(0xF0000001u)), 0u);
    EXPECT_EQ(format.getIndex(int(0xF0000003u)), 1u);
    EXPECT_EQ(format.getIndex(int(0xF0000002u)), 2u);
    EXPECT_EQ(format.aliases.size(), 6u);
    EXPECT_TRUE(format.HasAOV(std::string("cd_right")));
    EXPECT_FALSE(format.HasAOV(std::string("CD_RIGHT")));
}

TEST(AovFormat, SizesAndMisusesLogWithoutBreakingTheRegistry)
{
    HolvaneTest::LogCapture log;
    AovFormat format;
    for (int type = 0; type <= 7; ++type)
        format.registerAov(type, "c" + std::to_string(type), AOVType(type));
    format.registerAov(4, "again", AOV_DOUBLE);
    EXPECT_EQ(format.getIndex(-5), 0u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{
                             "0|Unknown AOV type\n",
                             "1|Adding twice the same AOV alias (while trying to register again as 4\n",
                             "0|Trying to access AOV with alias -5 while it hasn't been registered\n",
                         }));
    EXPECT_EQ(format.count, 8u);  // the unknown type is registered, the second alias 4 is not
    EXPECT_EQ(format.sampleSize, 1u + 4 + 8 + 12 + 16 + 12 + 8);
    EXPECT_EQ(format.getIndex(7), 7u);

    format.clear();
    EXPECT_TRUE(format.isEmpty() && format.names.empty() && format.types.empty() && !format.HasAOV(4));
    EXPECT_EQ(format.sampleSize, 0u);
    format.registerAov(4, "again", AOV_DOUBLE);
    EXPECT_EQ(format.getIndex(4), 0u);
}
