#include "tools/Crc32.h"

#include <array>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(Crc32, OfTheDigitsOneToNineIsTheCheckValueOfTheAlgorithm) {
    constexpr std::array<unsigned char, 9> digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    EXPECT_EQ(crc32(digits), 0xCBF43926U);
}

TEST(Crc32, OfNothingIsZero) {
    EXPECT_EQ(crc32({}), 0U);
}

} // namespace
} // namespace JY::Tools
