#include "tools/Picture.h"

#include "tools/PictureScale.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

constexpr Bgra black{0, 0, 0};
constexpr Bgra white{255, 255, 255};

TEST(PictureScale, KeepsAPictureOfTheSameSize) {
    Picture picture(3, 2, black);
    picture.at(2, 1) = white;
    EXPECT_EQ(scaled(picture, 3, 2).pixels(), picture.pixels());
}

TEST(PictureScale, AveragesThePixelsThatANewOneStandsFor) {
    Picture picture(4, 2, black);
    picture.at(0, 0) = white;
    picture.at(2, 0) = {40, 80, 120};
    picture.at(3, 1) = {40, 80, 120};
    const Picture half = scaled(picture, 2, 1);
    EXPECT_EQ(half.at(0, 0), (Bgra{64, 64, 64}));
    EXPECT_EQ(half.at(1, 0), (Bgra{20, 40, 60}));
}

TEST(PictureScale, RepeatsPixelsInALargerPicture) {
    Picture picture(1, 2, black);
    picture.at(0, 1) = white;
    const Picture larger = scaled(picture, 2, 4);
    EXPECT_EQ(larger.at(1, 1), black);
    EXPECT_EQ(larger.at(0, 2), white);
}

TEST(PictureScale, UsesEveryPixelWhenTheSizesDoNotDivide) {
    Picture picture(3, 1, black);
    picture.at(2, 0) = white;
    const Picture smaller = scaled(picture, 2, 1);
    EXPECT_EQ(smaller.at(0, 0), black);
    EXPECT_EQ(smaller.at(1, 0), (Bgra{128, 128, 128}));
}

} // namespace
} // namespace JY::Tools
