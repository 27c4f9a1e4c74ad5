#include "flv/NumberConversion.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

namespace {

using JY::Pictaro::Fs::truncateTo;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

} // namespace

TEST(NumberConversion, TruncatesTowardZero) {
    EXPECT_EQ(truncateTo<std::int64_t>(2.999), 2);
    EXPECT_EQ(truncateTo<std::int64_t>(-2.999), -2);
    EXPECT_EQ(truncateTo<std::uint32_t>(29970.0), 29970U);
    EXPECT_EQ(truncateTo<std::uint32_t>(-0.5), 0U);
}

TEST(NumberConversion, NotANumberBecomesZero) {
    EXPECT_EQ(truncateTo<std::int64_t>(notANumber), 0);
    EXPECT_EQ(truncateTo<std::uint64_t>(notANumber), 0U);
    EXPECT_EQ(truncateTo<std::uint32_t>(-notANumber), 0U);
}

TEST(NumberConversion, NumbersAboveTheRangeBecomeTheLargestThatADoubleCanStandFor) {
    EXPECT_EQ(truncateTo<std::uint32_t>(4294967296.0), 4294967295U);
    EXPECT_EQ(truncateTo<std::int64_t>(0x1p63), 0x7FFFFFFFFFFFFC00);
    EXPECT_EQ(truncateTo<std::int64_t>(infinity), 0x7FFFFFFFFFFFFC00);
    EXPECT_EQ(truncateTo<std::uint64_t>(0x1p64), 0xFFFFFFFFFFFFF800U);
    EXPECT_EQ(truncateTo<std::uint64_t>(infinity), 0xFFFFFFFFFFFFF800U);
}

TEST(NumberConversion, NumbersBelowTheRangeBecomeTheSmallest) {
    EXPECT_EQ(truncateTo<std::uint32_t>(-1.0), 0U);
    EXPECT_EQ(truncateTo<std::uint64_t>(-infinity), 0U);
    EXPECT_EQ(truncateTo<std::int64_t>(-1e300), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(truncateTo<std::int64_t>(-infinity), std::numeric_limits<std::int64_t>::min());
}

TEST(NumberConversion, NumbersAtTheEndsOfTheRangeStayThemselves) {
    EXPECT_EQ(truncateTo<std::uint32_t>(4294967295.0), 4294967295U);
    EXPECT_EQ(truncateTo<std::int64_t>(-0x1p63), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(truncateTo<std::uint64_t>(0x1p63), 0x8000000000000000U);
    EXPECT_EQ(truncateTo<std::uint64_t>(0x1.8p63), 0xC000000000000000U);
}
