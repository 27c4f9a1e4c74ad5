#include "tools/ProgressLine.h"

#include <gtest/gtest.h>
#include <sstream>
#include <thread>

namespace JY::Tools {
namespace {

constexpr std::chrono::milliseconds longEnough{550};

TEST(ProgressLine, SaysNothingOfAShortPieceOfWork) {
    std::ostringstream terminal;
    ProgressLine progress(terminal, 100);
    progress.reached(50);
    progress.wipe();
    EXPECT_EQ(terminal.str(), "");
}

TEST(ProgressLine, SaysHowFarALongPieceOfWorkHasComeAndIsWipedOut) {
    std::ostringstream terminal;
    {
        ProgressLine progress(terminal, 200);
        std::this_thread::sleep_for(longEnough);
        progress.reached(50);
        progress.reached(60);
    }
    EXPECT_EQ(terminal.str(), "\rreading: 25 % \r                \r");
}

TEST(ProgressLine, NeverSaysMoreThanAll) {
    std::ostringstream terminal;
    ProgressLine progress(terminal, 100);
    std::this_thread::sleep_for(longEnough);
    progress.reached(500);
    EXPECT_EQ(terminal.str(), "\rreading: 100 % ");
}

TEST(ProgressLine, SaysNothingWhenTheWholeIsNotKnown) {
    std::ostringstream terminal;
    ProgressLine progress(terminal, std::nullopt);
    std::this_thread::sleep_for(longEnough);
    progress.reached(50);
    EXPECT_EQ(terminal.str(), "");
}

} // namespace
} // namespace JY::Tools
