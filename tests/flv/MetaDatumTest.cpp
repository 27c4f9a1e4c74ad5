#include "flv/MetaDatum.h"

#include <gtest/gtest.h>

namespace {

using namespace JY::Pictaro::Fs;

} // namespace

TEST(MetaDatum, KindsAreKnownByTheirNumbers) {
    EXPECT_EQ(MetaDatum(EndMarker::value).which(), 0);
    EXPECT_EQ(MetaDatum(true).which(), 1);
    EXPECT_EQ(MetaDatum(1.5L).which(), 2);
    EXPECT_EQ(MetaDatum(std::string("text")).which(), 3);
    EXPECT_EQ(MetaDatum(MetaObject{}).which(), 4);
    EXPECT_EQ(MetaDatum(MetaStrictArray{}).which(), 5);
    EXPECT_EQ(MetaDatum(MetaEcmaArray{}).which(), 6);
}

TEST(MetaDatum, IsAnEndMarkerWithoutAValue) {
    EXPECT_EQ(MetaDatum().which(), 0);
}
