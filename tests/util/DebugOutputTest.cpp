#include "util/DebugOutput.h"

#include "tests/support/DebugOutputCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using JY::debugOutput;
using JY::Test::DebugOutputCapture;
using testing::ElementsAre;

TEST(DebugOutput, NarrowTextIsFormatted) {
    const DebugOutputCapture output;
    debugOutput("%s failed. %lx", "Call", 126UL);
    EXPECT_THAT(output.lines(), ElementsAre("Call failed. 7e"));
}

TEST(DebugOutput, WideTextIsFormatted) {
    const DebugOutputCapture output;
    debugOutput(L"%s failed. %x", L"Call", 126U);
    EXPECT_THAT(output.lines(), ElementsAre("Call failed. 7e"));
}

TEST(DebugOutput, NarrowTextIsCutAt255Characters) {
    const DebugOutputCapture output;
    const std::string most(254, 'x');
    debugOutput("%s", (most + "y").c_str());
    debugOutput("%s", (most + "yz").c_str());
    EXPECT_THAT(output.lines(), ElementsAre(most + "y", most + "y"));
}

TEST(DebugOutput, WideTextIsCutAt255Characters) {
    const DebugOutputCapture output;
    const std::string most(254, 'x');
    const std::wstring wideMost(254, L'x');
    debugOutput(L"%s", (wideMost + L"y").c_str());
    debugOutput(L"%s", (wideMost + L"yz").c_str());
    EXPECT_THAT(output.lines(), ElementsAre(most + "y", most + "y"));
}

} // namespace
