#include "module/EarlyFailures.h"

#include "tests/support/LogCapture.h"
#include "util/ErrorException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

namespace {

using namespace JY;
using Pictaro::EarlyFailures;
using Test::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

TEST(EarlyFailures, AreToldAsErrorsInTheirOrderOnceTheLogStands) {
    EarlyFailures failures;
    EXPECT_FALSE(failures.attempt([] { throw ErrorException({"EarlyFailuresTest", 1}, "first"); }));
    EXPECT_FALSE(failures.attempt([] { throw std::runtime_error("second"); }));
    EXPECT_FALSE(failures.attempt([] { throw 3; }));
    const LogCapture log;
    failures.record();
    EXPECT_THAT(log.messages(), ElementsAre(StartsWith("Exception caught. class JY::ErrorException, first @"), "second",
                                            "Unknown exception."));
    for (const auto& record : log.records()) {
        EXPECT_EQ(record.severity, Log2::Severity::error);
        EXPECT_EQ(record.file, "EarlyFailures");
    }
}

TEST(EarlyFailures, AreNoneAfterStepsThatWereDone) {
    EarlyFailures failures;
    bool done = false;
    EXPECT_TRUE(failures.attempt([&] { done = true; }));
    EXPECT_TRUE(done);
    const LogCapture log;
    failures.record();
    EXPECT_THAT(log.messages(), IsEmpty());
}

} // namespace
