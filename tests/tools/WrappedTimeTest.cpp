#include "tools/WrappedTime.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

constexpr LONGLONG second = 10000000;
constexpr LONGLONG period = 42949672960;

TEST(Unwrapped, LeavesTimesNearTheExpectedOneAlone) {
    EXPECT_EQ(unwrapped(0, 0), 0);
    EXPECT_EQ(unwrapped(90 * second, 100 * second), 90 * second);
    EXPECT_EQ(unwrapped(5000 * second, 100 * second), 5000 * second);
    EXPECT_EQ(unwrapped(0, period / 2), 0);
}

TEST(Unwrapped, AddsWholePeriodsToComeNear) {
    EXPECT_EQ(unwrapped(0, period), period);
    EXPECT_EQ(unwrapped(2 * second, period - second), period + 2 * second);
    EXPECT_EQ(unwrapped(period - second, 2 * period + second), 2 * period - second);
    EXPECT_EQ(unwrapped(7, 3 * period), 3 * period + 7);
}

} // namespace
} // namespace JY::Tools
