#include "tests/fuzz/RunVerdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

namespace {

using JY::Fuzz::Progress;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StrEq;

std::vector<const char*> shortcomingsOf(std::uint64_t cases, std::uint64_t withSamples, std::uint64_t checks) {
    Progress progress{};
    progress.cases = cases;
    progress.withSamples = withSamples;
    progress.consumptionChecks = checks;
    return JY::Fuzz::shortcomingsOf(progress);
}

TEST(RunVerdict, IsContentWithARunThatPlayedAndChecked) {
    EXPECT_THAT(shortcomingsOf(300, 1, 1), IsEmpty());
}

TEST(RunVerdict, AsksNothingOfAFewCases) {
    EXPECT_THAT(shortcomingsOf(99, 0, 0), IsEmpty());
}

TEST(RunVerdict, WantsSamplesFromAHundredCases) {
    EXPECT_THAT(shortcomingsOf(100, 0, 0), ElementsAre(StrEq("no case gave samples")));
}

TEST(RunVerdict, WantsMemoryAndHandlesLookedAtInThreeHundredCases) {
    EXPECT_THAT(shortcomingsOf(299, 1, 0), IsEmpty());
    EXPECT_THAT(shortcomingsOf(300, 1, 0), ElementsAre(StrEq("memory and handles were never looked at")));
}

} // namespace
