#include "tools/StopSignal.h"

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

TEST(StopSignal, WaitsForItsTime) {
    const StopSignal stop;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(stop.waitFor(std::chrono::milliseconds(100)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(80));
}

} // namespace
} // namespace JY::Tools
