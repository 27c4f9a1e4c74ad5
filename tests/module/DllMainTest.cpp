#include "com/ModuleUsageCounter.h"
#include "module/ModuleInitializer.h"
#include "tests/module/AttachedModule.h"
#include "tests/module/ModuleLog.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ModuleSetting.h"

#include <windows.h>

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <utility>

namespace {
bool nextAllocationFails = false;
}

void* operator new(std::size_t size) {
    void* const memory = std::exchange(nextAllocationFails, false) ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

namespace {

using namespace JY;
using namespace JY::Pictaro;
using Log2::Severity;
using Test::AttachedModule;
using Test::callDllMain;
using Test::Detach;
using Test::LogCapture;
using Test::logFileName;
using Test::ModuleLog;
using Test::ModuleSetting;

TEST(DllMain, AnswersThreadReasonsWithoutARecord) {
    const LogCapture log;
    EXPECT_TRUE(callDllMain(DLL_THREAD_ATTACH));
    EXPECT_TRUE(callDllMain(DLL_THREAD_DETACH));
    EXPECT_TRUE(log.records().empty());
}

TEST(DllMain, RecordsAnUnknownReasonAsAnUnknownException) {
    const LogCapture log;
    EXPECT_TRUE(callDllMain(4));
    const auto record = log.find("Exception caught. class JY::UnknownException, Unknown exception. @dllmain:30");
    EXPECT_EQ(record.severity, Severity::error);
    EXPECT_EQ(record.file, "dllmain");
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST(DllMain, RecordsAnythingElseAsFatalWithASnapshot) {
    const LogCapture log;
    nextAllocationFails = true; // the log directory's name
    EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH));
    EXPECT_FALSE(nextAllocationFails);
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    const auto record = log.find("Unknown exception.");
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_EQ(record.message, "Unknown exception.");
    EXPECT_EQ(record.file, "dllmain");
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST(DllMain, RecordsWarningsAndMoreByDefault) {
    const ModuleLog log;
    { const AttachedModule module; }
    EXPECT_EQ(log.count(") NormalLogSeverityThreshold=warn\r\n"), 1U);
    EXPECT_EQ(log.count(") AppLog finalizing\r\n"), 1U);
    EXPECT_EQ(log.count("onProcessAttach."), 0U);
}

TEST(DllMain, RecordsAttachAndDetachWhenTheLevelAllowsIt) {
    const ModuleLog log;
    {
        const ModuleSetting level(L"LogLevel", 0);
        const AttachedModule module;
    }
    EXPECT_EQ(log.count(") NormalLogSeverityThreshold=trace\r\n"), 1U);
    EXPECT_EQ(log.count(" info   dllmain "), 2U);
    EXPECT_EQ(log.count(") onProcessAttach.\r\n"), 1U);
    EXPECT_EQ(log.count(") onProcessDetach.\r\n"), 1U);
}

TEST(DllMain, LoadsWithALevelThatCannotBeRead) {
    const ModuleLog log;
    {
        const ModuleSetting level(L"LogLevel", L"x");
        const AttachedModule module;
    }
    EXPECT_EQ(log.count("Type missmatch."), 1U);
    EXPECT_EQ(log.count(") NormalLogSeverityThreshold=warn\r\n"), 1U);
}

TEST(DllMain, InstallsTheFirstObtainAndLastReleaseActions) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 0);
    const AttachedModule module;
    ModuleUsageCounter::instance().obtain();
    EXPECT_EQ(log.count(") ENTER: JY::Pictaro::ModuleInitializer::initializeOnFirstObtain\r\n"), 1U);
    EXPECT_EQ(log.count(") EXIT: JY::Pictaro::ModuleInitializer::initializeOnFirstObtain\r\n"), 1U);
    EXPECT_EQ(log.count("finalizeOnLastRelease"), 0U);
    ModuleUsageCounter::instance().release();
    EXPECT_EQ(log.count(") ENTER: JY::Pictaro::ModuleInitializer::finalizeOnLastRelease\r\n"), 1U);
}

TEST(DllMain, LoggingGoesOnAfterTheLastRelease) {
    const ModuleLog log;
    const AttachedModule module;
    ModuleUsageCounter::instance().obtain();
    ModuleUsageCounter::instance().release();
    Log2::untraced().warn({"DllMainTest", 1}) << "still logged";
    EXPECT_EQ(log.count(") still logged\r\n"), 1U);
}

TEST(DllMain, ClosesTheLogWhenTheProcessEnds) {
    const ModuleLog log;
    callDllMain(DLL_PROCESS_ATTACH);
    EXPECT_TRUE(log.isHeld(logFileName(0)));
    callDllMain(DLL_PROCESS_DETACH, Detach::processEnds);
    EXPECT_EQ(log.count(") AppLog finalizing\r\n"), 1U);
    EXPECT_FALSE(log.isHeld(logFileName(0)));
    callDllMain(DLL_PROCESS_DETACH); // gives back what the end of a process leaves to the system
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
}

} // namespace
