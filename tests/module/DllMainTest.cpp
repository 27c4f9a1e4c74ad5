#include "com/ModuleUsageCounter.h"
#include "module/ClassId.h"
#include "module/ModuleInitializer.h"
#include "tests/module/AttachedModule.h"
#include "tests/module/ModuleLog.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ModuleSetting.h"
#include "util/ErrorException.h"

#include <objbase.h>
#include <windows.h>

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <new>
#include <utility>

namespace {
unsigned allocationsUntilFailure = 0; // counted from 1; 0 for none
}

void* operator new(std::size_t size) {
    const bool fails = allocationsUntilFailure != 0 && --allocationsUntilFailure == 0;
    void* const memory = fails ? nullptr : std::malloc(size);
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
using Test::ImportPatch;
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
    allocationsUntilFailure = 1; // the log directory's name
    EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH));
    EXPECT_EQ(allocationsUntilFailure, 0U);
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    const auto record = log.find("Unknown exception.");
    EXPECT_EQ(record.severity, Severity::fatal);
    EXPECT_EQ(record.message, "Unknown exception.");
    EXPECT_EQ(record.file, "dllmain");
    EXPECT_EQ(LogCapture::snapshots(), 1U);
}

TEST(DllMain, LoadsWhicheverAllocationFails) {
    const ModuleLog log;
    bool failed = true;
    for (unsigned number = 1; failed; ++number) {
        allocationsUntilFailure = number;
        EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH));
        failed = std::exchange(allocationsUntilFailure, 0) == 0;
        EXPECT_TRUE(callDllMain(DLL_PROCESS_DETACH));
        ModuleUsageCounter::instance().setActions(nullptr, nullptr);
        ASSERT_LT(number, 2000U);
    }
    EXPECT_FALSE(log.isHeld(logFileName(0)));
}

TEST(DllMain, UnloadsWhicheverAllocationFails) {
    const ModuleLog log;
    bool failed = true;
    unsigned number = 0;
    while (failed) {
        EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH));
        allocationsUntilFailure = ++number;
        EXPECT_TRUE(callDllMain(DLL_PROCESS_DETACH));
        failed = std::exchange(allocationsUntilFailure, 0) == 0;
        callDllMain(DLL_PROCESS_DETACH); // gives back what the failure left
        ModuleUsageCounter::instance().setActions(nullptr, nullptr);
        ASSERT_LT(number, 2000U);
    }
    EXPECT_GT(number, 1U); // there was something to fail
    EXPECT_FALSE(log.isHeld(logFileName(0)));
}

HMODULE withoutThreadNotices = nullptr;

BOOL WINAPI noteModule(HMODULE module) {
    withoutThreadNotices = module;
    return TRUE;
}

TEST(DllMain, AsksForNoNoticesOfThreads) {
    const ModuleLog log;
    const ImportPatch<decltype(&DisableThreadLibraryCalls)> patch("DisableThreadLibraryCalls", &noteModule);
    const AttachedModule module;
    EXPECT_EQ(withoutThreadNotices, GetModuleHandleW(nullptr));
}

TEST(DllMain, InstallsItsActionsBeforeTheLogIsStarted) {
    const LogCapture log;
    allocationsUntilFailure = 1; // the log directory's name
    EXPECT_TRUE(callDllMain(DLL_PROCESS_ATTACH));
    EXPECT_EQ(allocationsUntilFailure, 0U);
    ModuleUsageCounter::instance().obtain();
    ModuleUsageCounter::instance().release();
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    EXPECT_TRUE(log.contains("ENTER: JY::Pictaro::ModuleInitializer::initializeOnFirstObtain"));
    EXPECT_TRUE(log.contains("ENTER: JY::Pictaro::ModuleInitializer::finalizeOnLastRelease"));
}

TEST(DllMain, FailureOfTheFirstObtainIsRecordedAndFailsTheFirstObject) {
    const ModuleLog log;
    const AttachedModule module;
    const auto previous = ModuleInitializer::exchangePreparation([] {
        throw ErrorException({"DllMainTest", 1}, "The preparation fails.");
    });
    for (int attempt = 1; attempt <= 2; ++attempt) {
        void* factory = nullptr;
        EXPECT_EQ(DllGetClassObject(Fs::CLSID_FlvByteStreamHandler, IID_IUnknown, &factory), E_FAIL);
        EXPECT_EQ(factory, nullptr);
        EXPECT_EQ(ModuleUsageCounter::instance().count(), 0U);
    }
    ModuleInitializer::exchangePreparation(previous);
    EXPECT_EQ(log.count(" warn   ModuleInitializer "), 2U);
    EXPECT_EQ(log.count("Exception caught. class JY::ErrorException, The preparation fails."), 2U);
    EXPECT_EQ(log.count("Exception caught. class JY::ApiErrorException, initializeOnFirstObtain: (0x80004005;"), 2U);
    void* factory = nullptr;
    EXPECT_EQ(DllGetClassObject(Fs::CLSID_FlvByteStreamHandler, IID_IUnknown, &factory), S_OK);
    static_cast<IUnknown*>(factory)->Release();
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
    EXPECT_EQ(log.count(" error  dllmain "), 1U);
    EXPECT_EQ(log.count("Type missmatch."), 1U);
    EXPECT_EQ(log.count(") NormalLogSeverityThreshold=warn\r\n"), 1U);
}

TEST(DllMain, InstallsTheFirstObtainAndLastReleaseActions) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 0);
    const AttachedModule module;
    EXPECT_EQ(log.count("initializeOnFirstObtain"), 0U);
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
