#include "util/ProcessorCounter.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace {

using JY::ProcessorCounter;

TEST(ProcessorCounter, CountsFasterThanTheClockTicks) {
    if (!ProcessorCounter::isSteady()) {
        GTEST_SKIP() << "this processor's counter stands still at times";
    }
    constexpr std::uint64_t ticksOfASleep = 100'000; // of 100 ns
    const std::uint64_t start = ProcessorCounter::now();
    Sleep(10);
    EXPECT_GT(ProcessorCounter::now() - start, ticksOfASleep);
}

TEST(ProcessorCounter, NeverCountsBack) {
    if (!ProcessorCounter::isSteady()) {
        GTEST_SKIP() << "this processor's counter stands still at times";
    }
    std::uint64_t before = ProcessorCounter::now();
    for (unsigned round = 0; round < 1'000'000; ++round) {
        const std::uint64_t now = ProcessorCounter::now();
        ASSERT_LE(before, now);
        before = now;
    }
}

} // namespace
