#include "tools/Nv12.h"

#include "tools/Failure.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

struct Colour {
    const char* name;
    std::uint8_t luma;
    std::uint8_t blueDifference;
    std::uint8_t redDifference;
    Bgra rgb;
};

void expectColour(const YuvConversion& convert, const Colour& colour) {
    const Bgra result = convert(colour.luma, colour.blueDifference, colour.redDifference);
    // The known values are whole numbers on both sides.
    constexpr int rounding = 2;
    EXPECT_NEAR(result.red, colour.rgb.red, rounding) << colour.name;
    EXPECT_NEAR(result.green, colour.rgb.green, rounding) << colour.name;
    EXPECT_NEAR(result.blue, colour.rgb.blue, rounding) << colour.name;
    EXPECT_EQ(result.alpha, 255) << colour.name;
}

constexpr Bgra rgb(std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
    return {blue, green, red};
}

TEST(YuvConversion, GivesTheKnownColoursOfBt601) {
    const YuvConversion convert(YuvMatrix::bt601, false);
    for (const Colour& colour :
         {Colour{"black", 16, 128, 128, rgb(0, 0, 0)}, Colour{"white", 235, 128, 128, rgb(255, 255, 255)},
          Colour{"grey", 126, 128, 128, rgb(128, 128, 128)}, Colour{"red", 81, 90, 240, rgb(255, 0, 0)},
          Colour{"green", 145, 54, 34, rgb(0, 255, 0)}, Colour{"blue", 41, 240, 110, rgb(0, 0, 255)},
          Colour{"yellow", 210, 16, 146, rgb(255, 255, 0)}, Colour{"cyan", 170, 166, 16, rgb(0, 255, 255)},
          Colour{"magenta", 106, 202, 222, rgb(255, 0, 255)}}) {
        expectColour(convert, colour);
    }
}

TEST(YuvConversion, GivesTheKnownColoursOfBt709) {
    const YuvConversion convert(YuvMatrix::bt709, false);
    for (const Colour& colour :
         {Colour{"black", 16, 128, 128, rgb(0, 0, 0)}, Colour{"white", 235, 128, 128, rgb(255, 255, 255)},
          Colour{"red", 63, 102, 240, rgb(255, 0, 0)}, Colour{"green", 173, 42, 26, rgb(0, 255, 0)},
          Colour{"blue", 32, 240, 118, rgb(0, 0, 255)}, Colour{"yellow", 219, 16, 138, rgb(255, 255, 0)},
          Colour{"cyan", 188, 154, 16, rgb(0, 255, 255)}, Colour{"magenta", 78, 214, 230, rgb(255, 0, 255)}}) {
        expectColour(convert, colour);
    }
}

TEST(YuvConversion, TakesFullRangeAsItIs) {
    const YuvConversion convert(YuvMatrix::bt601, true);
    for (const Colour& colour :
         {Colour{"black", 0, 128, 128, rgb(0, 0, 0)}, Colour{"white", 255, 128, 128, rgb(255, 255, 255)},
          Colour{"red", 76, 85, 255, rgb(254, 0, 0)}, Colour{"dark grey", 16, 128, 128, rgb(16, 16, 16)}}) {
        expectColour(convert, colour);
    }
}

TEST(YuvConversion, StaysInsideTheColoursThatThereAre) {
    const YuvConversion convert(YuvMatrix::bt601, false);
    EXPECT_EQ(convert(255, 128, 128), rgb(255, 255, 255));
    EXPECT_EQ(convert(0, 128, 128), rgb(0, 0, 0));
}

/// A picture of 4 by 2 in a buffer of 4 by 4 with rows of 6 bytes: luma tells the row and the column, and the second
/// pair of columns is red.
struct Nv12 : testing::Test {
    std::vector<std::uint8_t> buffer;
    VideoFormat format;

    Nv12() {
        format.coded = {4, 4};
        format.stride = 6;
        format.visible = {4, 2};
        for (std::uint8_t row = 0; row < 4; ++row) {
            for (std::uint8_t column = 0; column < 6; ++column) {
                buffer.push_back(static_cast<std::uint8_t>(16 + 50 * row + 10 * column));
            }
        }
        for (int row = 0; row < 2; ++row) {
            buffer.insert(buffer.end(), {128, 128, 90, 240, 0, 0});
        }
    }
};

TEST_F(Nv12, ReadsRowsFromTheTopDownPastTheirPadding) {
    const Picture picture = pictureFromNv12(buffer, format);
    ASSERT_EQ(picture.width(), 4U);
    ASSERT_EQ(picture.height(), 2U);
    EXPECT_EQ(picture.at(0, 0), rgb(0, 0, 0));
    EXPECT_EQ(picture.at(1, 0), rgb(12, 12, 12));
    EXPECT_EQ(picture.at(0, 1), rgb(58, 58, 58));
    EXPECT_EQ(picture.at(1, 1), rgb(70, 70, 70));
}

TEST_F(Nv12, GivesTheFourPixelsOfABlockOneColourDifference) {
    const Picture picture = pictureFromNv12(buffer, format);
    const YuvConversion convert(YuvMatrix::bt601, false);
    EXPECT_EQ(picture.at(2, 0), convert(36, 90, 240));
    EXPECT_EQ(picture.at(3, 0), convert(46, 90, 240));
    EXPECT_EQ(picture.at(2, 1), convert(86, 90, 240));
    EXPECT_EQ(picture.at(3, 1), convert(96, 90, 240));
}

TEST_F(Nv12, LeavesOutWhatIsNotToBeSeen) {
    format.left = 1;
    format.top = 2;
    format.visible = {2, 1};
    const Picture picture = pictureFromNv12(buffer, format);
    ASSERT_EQ(picture.width(), 2U);
    ASSERT_EQ(picture.height(), 1U);
    const YuvConversion convert(YuvMatrix::bt601, false);
    EXPECT_EQ(picture.at(0, 0), convert(126, 128, 128));
    EXPECT_EQ(picture.at(1, 0), convert(136, 90, 240));
}

TEST_F(Nv12, RefusesABufferThatIsTooSmall) {
    buffer.pop_back();
    EXPECT_THROW(pictureFromNv12(buffer, format), Failure);
}

} // namespace
} // namespace JY::Tools
