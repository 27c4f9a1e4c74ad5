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
    drawLabel(picture, "1", 0, 60, 2);
    EXPECT_EQ(labelHeight(2), 22U);
    EXPECT_EQ(labelWidth(1, 2), 18U);
    EXPECT_EQ(picture.at(0, 59), black);
    EXPECT_EQ(picture.at(0, 38), black);
    EXPECT_EQ(picture.at(17, 59), black);
    EXPECT_EQ(picture.at(0, 37), ground);
    EXPECT_EQ(picture.at(18, 59), ground);
}

TEST(TimeLabel, DrawsDigitsTheRightWayUp) {
    Picture picture(18, 22, ground);
    drawLabel(picture, "7", 0, 22, 2);
    EXPECT_EQ(rowOfDots(picture, 4), "#####");
    EXPECT_EQ(rowOfDots(picture, 6), "....#");
    EXPECT_EQ(rowOfDots(picture, 8), "...#.");
    EXPECT_EQ(rowOfDots(picture, 16), ".#...");
}

TEST(TimeLabel, IsDrawnInDotsOfTheGivenSize) {
    Picture picture(20, 20, ground);
    drawLabel(picture, "1", 0, 20, 1);
    EXPECT_EQ(labelHeight(1), 11U);
    EXPECT_EQ(labelWidth(1, 1), 9U);
    EXPECT_EQ(picture.at(0, 9), black);
    EXPECT_EQ(picture.at(0, 8), ground);
    EXPECT_EQ(picture.at(4, 11), white);
    EXPECT_EQ(picture.at(3, 11), black);
}

TEST(TimeLabel, IsCutAtTheEdgesOfThePicture) {
    Picture picture(20, 10, ground);
    drawLabel(picture, "0:00:00.000", 5, 10, 2);
    EXPECT_EQ(picture.at(4, 0), ground);
    EXPECT_EQ(picture.at(5, 0), black);
    EXPECT_TRUE(std::ranges::count(picture.pixels(), white) > 0);
}

} // namespace
} // namespace JY::Tools
