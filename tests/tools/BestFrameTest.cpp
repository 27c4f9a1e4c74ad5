#include "tools/BestFrame.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

std::vector<DecodedFrame> frames(std::initializer_list<LONGLONG> times) {
    std::vector<DecodedFrame> result;
    for (const LONGLONG time : times) {
        result.push_back({nullptr, {}, time});
    }
    return result;
}

TEST(BestFrame, IsTheLastThatBeginsAtTheTimeOrBefore) {
    BestFrame best(250);
    EXPECT_TRUE(best.consider(frames({0, 100, 200, 300, 400})));
    EXPECT_EQ(best.time(), 200);
    EXPECT_TRUE(best.fits());
}

TEST(BestFrame, MayBeginJustAtTheTime) {
    BestFrame best(200);
    EXPECT_FALSE(best.consider(frames({100, 200})));
    EXPECT_EQ(best.time(), 200);
    EXPECT_TRUE(best.fits());
}

TEST(BestFrame, IsTheEarliestWhenAllBeginLater) {
    BestFrame best(50);
    EXPECT_TRUE(best.consider(frames({80, 120})));
    EXPECT_EQ(best.time(), 80);
    EXPECT_FALSE(best.fits());
}

TEST(BestFrame, ComesFromAnOrderThatBeginsAnewEarlier) {
    BestFrame best(200);
    EXPECT_TRUE(best.consider(frames({208})));
    EXPECT_FALSE(best.consider({}));
    EXPECT_FALSE(best.consider(frames({108})));
    EXPECT_TRUE(best.consider(frames({148, 188, 228})));
    EXPECT_EQ(best.time(), 188);
    EXPECT_TRUE(best.fits());
}

TEST(BestFrame, CountsTimesThatBeginAgainAtZeroOn) {
    constexpr LONGLONG period = 42949672960;
    BestFrame best(period + 1000);
    EXPECT_TRUE(best.consider(frames({period - 100, 500, 900, 1100})));
    EXPECT_EQ(best.time(), period + 900);
}

TEST(BestFrame, IsNothingWithoutPictures) {
    BestFrame best(0);
    EXPECT_FALSE(best.consider({}));
    EXPECT_FALSE(best.frame());
    EXPECT_FALSE(best.fits());
}

} // namespace
} // namespace JY::Tools
