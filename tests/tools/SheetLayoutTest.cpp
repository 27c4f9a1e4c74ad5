#include "tools/SheetLayout.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(SheetLayout, ShrinksLargePicturesInTheirProportions) {
    const SheetLayout layout = SheetLayout::make(4, 3, {1920, 1080});
    EXPECT_EQ(layout.cell, (FrameSize{320, 180}));
    EXPECT_EQ(layout.sheet, (FrameSize{8 + 4 * 328, 8 + 3 * 188}));
}

TEST(SheetLayout, LeavesSmallPicturesAtTheirSize) {
    EXPECT_EQ(SheetLayout::make(1, 1, {160, 120}).cell, (FrameSize{160, 120}));
}

TEST(SheetLayout, GivesAVeryFlatPictureARow) {
    EXPECT_EQ(SheetLayout::make(1, 1, {16384, 2}).cell, (FrameSize{320, 1}));
}

TEST(SheetLayout, PlacesCellsRowByRowWithGapsAllAround) {
    const SheetLayout layout = SheetLayout::make(3, 2, {320, 180});
    EXPECT_EQ(layout.cells(), 6U);
    EXPECT_EQ(layout.left(0), 8U);
    EXPECT_EQ(layout.top(0), 8U);
    EXPECT_EQ(layout.left(2), 8U + 2 * 328);
    EXPECT_EQ(layout.top(2), 8U);
    EXPECT_EQ(layout.left(4), 8U + 328);
    EXPECT_EQ(layout.top(4), 8U + 188);
    EXPECT_EQ(layout.left(5) + layout.cell.width + SheetLayout::gap, layout.sheet.width);
    EXPECT_EQ(layout.top(5) + layout.cell.height + SheetLayout::gap, layout.sheet.height);
}

TEST(EvenlySpaced, PutsEachTimeInTheMiddleOfItsShare) {
    EXPECT_EQ(evenlySpaced(4, 80), (std::vector<LONGLONG>{10, 30, 50, 70}));
    EXPECT_EQ(evenlySpaced(1, 100000000), (std::vector<LONGLONG>{50000000}));
    EXPECT_EQ(evenlySpaced(2, 0), (std::vector<LONGLONG>{0, 0}));
}

} // namespace
} // namespace JY::Tools
