#include "com/ModuleUsageCounter.h"
#include "module/AppLog.h"
#include "module/ModuleInitializer.h"
#include "tests/support/DebugOutputCapture.h"
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

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved);

namespace {

using namespace JY;
using namespace JY::Pictaro;
using Log2::Severity;
using Test::DebugOutputCapture;
using Test::LogCapture;
using Test::ModuleSetting;
using testing::ElementsAre;

BOOL callDllMain(DWORD reason) {
    return DllMain(GetModuleHandleW(nullptr), reason, nullptr);
}

/// Detaches on every path, so that the next test finds no log.
class AttachedModule {
public:
    AttachedModule() { EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH)); }
    AttachedModule(const AttachedModule&) = delete;
    AttachedModule& operator=(const AttachedModule&) = delete;
    ~AttachedModule() {
        EXPECT_TRUE(callDllMain(DLL_PROCESS_DETACH));
        ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    }
};

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
    nextAllocationFails = true; // the log core's
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
    const DebugOutputCapture output;
    { const AttachedModule module; }
    EXPECT_EQ(output.count("notice AppLog"), 2U);
    EXPECT_EQ(output.count(") NormalLogSeverityThreshold=warn\n"), 1U);
    EXPECT_EQ(output.count(") AppLog finalizing\n"), 1U);
    EXPECT_EQ(output.count("onProcessAttach."), 0U);
}

TEST(DllMain, RecordsAttachAndDetachWhenTheLevelAllowsIt) {
    const DebugOutputCapture output;
    {
        const ModuleSetting level(L"LogLevel", 0);
        const AttachedModule module;
    }
    EXPECT_EQ(output.count(") NormalLogSeverityThreshold=trace\n"), 1U);
    EXPECT_EQ(output.count(" info   dllmain "), 2U);
    EXPECT_EQ(output.count(") onProcessAttach.\n"), 1U);
    EXPECT_EQ(output.count(") onProcessDetach.\n"), 1U);
}

TEST(DllMain, LoadsWithALevelThatCannotBeRead) {
    const DebugOutputCapture output;
    {
        const ModuleSetting level(L"LogLevel", L"x");
        const AttachedModule module;
    }
    EXPECT_EQ(output.count("Type missmatch."), 1U);
    EXPECT_EQ(output.count(") NormalLogSeverityThreshold=warn\n"), 1U);
}

TEST(DllMain, InstallsTheFirstObtainAndLastReleaseActions) {
    const DebugOutputCapture output;
    const ModuleSetting level(L"LogLevel", 0);
    const AttachedModule module;
    ModuleUsageCounter::instance().obtain();
    EXPECT_EQ(output.count(") ENTER: JY::Pictaro::ModuleInitializer::initializeOnFirstObtain\n"), 1U);
    EXPECT_EQ(output.count(") EXIT: JY::Pictaro::ModuleInitializer::initializeOnFirstObtain\n"), 1U);
    EXPECT_EQ(output.count("finalizeOnLastRelease"), 0U);
    ModuleUsageCounter::instance().release();
    EXPECT_EQ(output.count(") ENTER: JY::Pictaro::ModuleInitializer::finalizeOnLastRelease\n"), 1U);
    AppLog::setNormalLevel(Severity::trace);
    EXPECT_EQ(output.count(") NormalLogSeverityThreshold=trace\n"), 2U); // logging goes on
}

TEST(AppLog, NamesALevelOutsideTheTableUnknown) {
    const LogCapture log;
    AppLog::setNormalLevel(static_cast<Severity>(9));
    EXPECT_EQ(log.count(Severity::notice, "NormalLogSeverityThreshold=Unknown"), 1U);
}

TEST(AppLog, ReportsLoggersThatOutliveIt) {
    const DebugOutputCapture output;
    callDllMain(DLL_PROCESS_ATTACH);
    {
        const auto alive = Log2::untraced();
        callDllMain(DLL_PROCESS_DETACH);
    }
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    EXPECT_EQ(output.count("warn   Core                (   34) There are some Logger instances exists. =1\n"), 1U);
}

TEST(AppLog, IsFinalizedOnceOnly) {
    const DebugOutputCapture output;
    callDllMain(DLL_PROCESS_ATTACH);
    callDllMain(DLL_PROCESS_DETACH);
    callDllMain(DLL_PROCESS_DETACH);
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    EXPECT_EQ(output.count("AppLog finalizing"), 1U);
}

} // namespace
