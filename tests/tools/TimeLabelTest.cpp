#include "tools/TimeLabel.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace JY::Tools {
namespace {

constexpr Bgra ground{10, 20, 30};
constexpr Bgra white{255, 255, 255};
constexpr Bgra black{0, 0, 0};

std::string rowOfDots(const Picture& picture, unsigned row) {
    std::string dots;
    for (unsigned x = 4; x < 14; x += 2) {
        dots += picture.at(x, row) == white ? '#' : '.';
    }
    return dots;
}

TEST(TimeLabel, StandsInTheLowerLeftCornerOfItsPart) {
    Picture picture(60, 60, ground);
    drawLabel(picture, "1", 0, 60);
    EXPECT_EQ(labelHeight(), 22U);
    EXPECT_EQ(labelWidth(1), 18U);
    EXPECT_EQ(picture.at(0, 59), black);
    EXPECT_EQ(picture.at(0, 38), black);
    EXPECT_EQ(picture.at(17, 59), black);
    EXPECT_EQ(picture.at(0, 37), ground);
    EXPECT_EQ(picture.at(18, 59), ground);
}

TEST(TimeLabel, DrawsDigitsTheRightWayUp) {
    Picture picture(18, 22, ground);
    drawLabel(picture, "7", 0, 22);
    EXPECT_EQ(rowOfDots(picture, 4), "#####");
    EXPECT_EQ(rowOfDots(picture, 6), "....#");
    EXPECT_EQ(rowOfDots(picture, 8), "...#.");
    EXPECT_EQ(rowOfDots(picture, 16), ".#...");
}

TEST(TimeLabel, IsCutAtTheEdgesOfThePicture) {
    Picture picture(20, 10, ground);
    drawLabel(picture, "0:00:00.000", 5, 10);
    EXPECT_EQ(picture.at(4, 0), ground);
    EXPECT_EQ(picture.at(5, 0), black);
    EXPECT_TRUE(std::ranges::count(picture.pixels(), white) > 0);
}

} // namespace
} // namespace JY::Tools
