#include "util/ProcessorCounter.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace {

using JY::ProcessorCounter;

TEST(ProcessorCounter, CountsFastEnoughForTheClockOfTheLog) {
    if (!ProcessorCounter::isSteady()) {
        GTEST_SKIP() << "this processor does not call its counter steady";
    }
    constexpr std::uint64_t ticksOfASleep = 100'000; // of 100 ns
    constexpr std::uint64_t countsPerTick = 50;
    const std::uint64_t start = ProcessorCounter::now();
    Sleep(10);
    EXPECT_GT(ProcessorCounter::now() - start, ticksOfASleep * countsPerTick);
}

} // namespace
