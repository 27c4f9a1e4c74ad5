#include "tests/stress/TestWatchdog.h"

#include "tests/module/ModuleLog.h"
#include "tests/stress/Findings.h"
#include "tests/support/Watchdog.h"

#include <mfapi.h>

#include <chrono>
#include <gtest/gtest.h>
#include <optional>

namespace JY::Test {

namespace {

/// Media Foundation, a log folder, and a watchdog over the thread of the tests, for as long as the tests run.
class StressEnvironment final : public testing::Environment {
public:
    void SetUp() override {
        ASSERT_EQ(MFStartup(MF_VERSION, MFSTARTUP_FULL), S_OK);
        log_.emplace();
        watchdog_.emplace(std::chrono::minutes(1));
        watch_.emplace(*watchdog_, "tests");
    }
    void TearDown() override {
        watch_.reset();
        watchdog_.reset();
        log_.reset();
        MFShutdown();
    }
    void beat() {
        if (watch_) {
            watch_->beat();
        }
    }

private:
    std::optional<ModuleLog> log_;
    std::optional<Watchdog> watchdog_;
    std::optional<Watchdog::Watch> watch_;
};

/// The listener and the environment each belong to GoogleTest, which deletes them.
class BeatAtEachTest final : public testing::EmptyTestEventListener {
public:
    explicit BeatAtEachTest(StressEnvironment& environment) : environment_(environment) {}
    void OnTestStart(const testing::TestInfo&) override {
        environment_.beat();
        findings_ = Findings::count();
    }
    void OnTestEnd(const testing::TestInfo&) override { EXPECT_EQ(Findings::count(), findings_); }

private:
    StressEnvironment& environment_;
    unsigned findings_ = 0;
};

StressEnvironment& environment = []() -> StressEnvironment& {
    auto* const made = new StressEnvironment;
    testing::AddGlobalTestEnvironment(made);
    testing::UnitTest::GetInstance()->listeners().Append(new BeatAtEachTest(*made));
    return *made;
}();

} // namespace

void beatTestWatchdog() {
    environment.beat();
}

} // namespace JY::Test
