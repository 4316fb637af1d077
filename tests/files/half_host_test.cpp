#include <holvane/holvane.h>

#include <half.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

// A host that includes the library's headers must get the same truncating half as the library itself.
TEST(HalfConversion, TruncatesTowardZero)
{
    float justBelowNextHalf = std::nextafter(1.0009765625f, 0.0f);  // the half after 1.0 is 1 + 2^-10
    EXPECT_EQ(static_cast<float>(half_float::half(justBelowNextHalf)), 1.0f);
    EXPECT_EQ(static_cast<float>(half_float::half(-justBelowNextHalf)), -1.0f);
    EXPECT_EQ(static_cast<float>(half_float::half(1.0009765625f)), 1.0009765625f);
}

TEST(HalfConversion, BeyondTheRangeIsInfinity)
{
    EXPECT_EQ(static_cast<float>(half_float::half(1.0e6f)), std::numeric_limits<float>::infinity());
    EXPECT_EQ(static_cast<float>(half_float::half(-1.0e6f)), -std::numeric_limits<float>::infinity());
}
