#include "module/AppLog.h"

#include "log/Core.h"
#include "log/Snapshot.h"
#include "tests/module/AttachedModule.h"
#include "tests/module/ModuleLog.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ModuleSetting.h"
#include "tests/support/RecordingRegistry.h"
#include "tests/support/RegistryScope.h"
#include "util/Handle.h"
#include "util/JYWin32.h"
#include "util/Path.h"
#include "util/TextBuffer.h"

#include <windows.h>
// wincrypt.h needs the types of windows.h.
#include <wincrypt.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using namespace JY;
using namespace JY::Pictaro;
using Log2::Severity;
using Test::AttachedModule;
using Test::callDllMain;
using Test::countIn;
using Test::DebugOutputCapture;
using Test::ImportPatch;
using Test::LogCapture;
using Test::logFileName;
using Test::ModuleLog;
using Test::ModuleSetting;
using Test::RecordingRegistry;
using Test::RegistryScope;
using Test::snapshotFileName;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr SourceFile here{"AppLogTest"};

std::string narrow(const std::wstring& text) {
    return (TextBuffer() << text).str();
}

/// The messages of a log's records.
std::vector<std::string> messagesOf(const std::string& text) {
    constexpr std::size_t headLength = 68;
    std::vector<std::string> messages;
    std::size_t begin = 0;
    for (auto end = text.find("\r\n"); end != std::string::npos; end = text.find("\r\n", begin)) {
        messages.push_back(text.substr(begin, end - begin).substr(headLength));
        begin = end + 2;
    }
    return messages;
}

std::string messageThatBegins(const std::string& text, const std::string& beginning) {
    const auto messages = messagesOf(text);
    const auto found =
        std::ranges::find_if(messages, [&](const std::string& message) { return message.starts_with(beginning); });
    return found != messages.end() ? *found : std::string();
}

BOOL WINAPI denyUserName(wchar_t*, DWORD*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI denyToken(HANDLE, DWORD, HANDLE*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI knowsTheLowLabelOnly(PSID, WELL_KNOWN_SID_TYPE type) {
    return type == WinLowLabelSid;
}

DWORD WINAPI findNoModuleName(HMODULE, wchar_t*, DWORD) {
    SetLastError(ERROR_INVALID_HANDLE);
    return 0;
}

FARPROC WINAPI findNoFunction(HMODULE, const char*) {
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

/// What this process logs into a default log directory; removed at both ends.
class DefaultLog {
public:
    explicit DefaultLog(const wchar_t* directory) : directory_(expandPath(directory)) { remove(); }
    DefaultLog(const DefaultLog&) = delete;
    DefaultLog& operator=(const DefaultLog&) = delete;
    ~DefaultLog() { remove(); }

    std::string text() const {
        std::ifstream file(directory_ / logFileName(0), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    void remove() const {
        const std::string own = logFileName(0).substr(0, logFileName(0).size() - std::size("0.log") + 1);
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(directory_, ignored)) {
            if (entry.path().filename().string().starts_with(own)) {
                std::filesystem::remove(entry.path(), ignored);
            }
        }
    }

    std::filesystem::path directory_;
};

// The header.

TEST(AppLog, BeginsWithTheHeaderRecordsInTheirOrder) {
    const ModuleLog log;
    { const AttachedModule module; }
    const std::string own = narrow(getModulePath(nullptr));
    EXPECT_THAT(
        messagesOf(log.text()),
        ElementsAre("TextFileSink selectedFile=" + narrow(log.path()) + "\\" + logFileName(0),
                    "AppLog initialized. DirPath=" + narrow(log.path()), "Module=" + own, "Exe=" + own,
                    "UserName=" + narrow(getUserName()) + ", IntegrityLevel=" + integrityLevelName(getIntegrityLevel()),
                    // The test program has no version, which is told before it is left empty.
                    StartsWith("Exception caught. class JY::ApiErrorException, GetFileVersionInfoSize: "),
                    "OriginalFilename=, ProductVersion=, FileVersion=",
                    MatchesRegex("OsVersion=\\d+\\.\\d+, ReleaseID=\\d*, SP=\\d+\\.\\d+, BuildNumber=\\d+, "
                                 "ProductType=\\d"),
                    "NormalLogSeverityThreshold=warn", "AppLog finalizing"));
}

TEST(AppLog, HeaderRecordsAreNotices) {
    const ModuleLog log;
    { const AttachedModule module; }
    const std::string text = log.text();
    EXPECT_EQ(countIn(text, " notice TextFileSink        (   60) TextFileSink selectedFile="), 1U);
    for (const char* const beginning : {"AppLog initialized.", "Module=", "Exe=", "UserName=", "OriginalFilename=",
                                        "OsVersion=", "NormalLogSeverityThreshold=", "AppLog finalizing"}) {
        EXPECT_EQ(messageThatBegins(text, beginning).empty(), false) << beginning;
    }
    EXPECT_EQ(countIn(text, " notice LogHeader           ("), 6U);
    EXPECT_EQ(countIn(text, " notice AppLog              ("), 2U);
}

TEST(AppLog, UserThatCannotBeHadIsEmptyAndTold) {
    const ModuleLog log;
    {
        const ImportPatch<decltype(&GetUserNameW)> patch("GetUserNameW", &denyUserName);
        const AttachedModule module;
    }
    EXPECT_THAT(messageThatBegins(log.text(), "UserName="), MatchesRegex("UserName=, IntegrityLevel=.+"));
    EXPECT_EQ(log.count(" warn   LogHeader "), 2U); // the version's and this
    EXPECT_EQ(log.count("Exception caught. class JY::ApiErrorException, GetUserName: (0x5;"), 1U);
}

TEST(AppLog, IntegrityLevelThatCannotBeHadIsEmptyAndTold) {
    const ModuleLog log;
    {
        const ImportPatch<decltype(&OpenProcessToken)> patch("OpenProcessToken", &denyToken);
        const AttachedModule module;
    }
    EXPECT_THAT(messageThatBegins(log.text(), "UserName="), MatchesRegex("UserName=.+, IntegrityLevel="));
    EXPECT_EQ(log.count("class JY::ApiErrorException, OpenProcessToken: (0x5;"), 1U);
}

TEST(AppLog, ModulePathsThatCannotBeHadAreEmptyAndTold) {
    const ModuleLog log;
    {
        const ImportPatch<decltype(&GetModuleFileNameW)> patch("GetModuleFileNameW", &findNoModuleName);
        const AttachedModule module;
    }
    EXPECT_EQ(log.count(") Module=\r\n"), 1U);
    EXPECT_EQ(log.count(") Exe=\r\n"), 1U);
    EXPECT_EQ(log.count(") OriginalFilename=, ProductVersion=, FileVersion=\r\n"), 1U);
    EXPECT_EQ(log.count("class JY::ApiErrorException, GetModuleFileName: (0x6;"), 3U);
}

TEST(AppLog, SystemVersionThatCannotBeHadIsEmptyAndTold) {
    const ModuleLog log;
    {
        const ImportPatch<decltype(&GetProcAddress)> patch("GetProcAddress", &findNoFunction);
        const AttachedModule module;
    }
    EXPECT_EQ(log.count(") OsVersion=, ReleaseID=, SP=, BuildNumber=, ProductType=\r\n"), 1U);
    EXPECT_EQ(log.count("class JY::ApiErrorException, GetProcAddress: (0x7f;"), 1U);
}

// The directory.

TEST(AppLog, LogsIntoTheTemporaryFolderByDefault) {
    const DefaultLog log(L"%TEMP%\\JyMorvane\\Pictaro");
    { const AttachedModule module; }
    EXPECT_EQ(countIn(log.text(), "AppLog initialized. DirPath=%TEMP%\\JyMorvane\\Pictaro\r\n"), 1U);
}

TEST(AppLog, LogsIntoTheLowFolderInAProcessOfLowIntegrity) {
    const DefaultLog log(L"%LocalAppDataLow%\\JyMorvane\\Pictaro");
    {
        const ImportPatch<decltype(&IsWellKnownSid)> patch("IsWellKnownSid", &knowsTheLowLabelOnly);
        const AttachedModule module;
    }
    const std::string text = log.text();
    EXPECT_EQ(countIn(text, "AppLog initialized. DirPath=%LocalAppDataLow%\\JyMorvane\\Pictaro\r\n"), 1U);
    EXPECT_EQ(countIn(text, ", IntegrityLevel=Low\r\n"), 1U);
}

TEST(AppLog, DirectoryOfTheSettingGoesBeforeTheIntegrityLevel) {
    const ModuleLog log;
    const ImportPatch<decltype(&IsWellKnownSid)> patch("IsWellKnownSid", &knowsTheLowLabelOnly);
    { const AttachedModule module; }
    EXPECT_EQ(log.count(", IntegrityLevel=Low\r\n"), 1U);
}

TEST(AppLog, LogsIntoTheTemporaryFolderWhenTheSettingCannotBeRead) {
    const DefaultLog log(L"%TEMP%\\JyMorvane\\Pictaro");
    {
        const ModuleSetting mistyped(L"LogDir", 1);
        const AttachedModule module;
    }
    const std::string text = log.text();
    EXPECT_EQ(countIn(text, "AppLog initialized. DirPath=%TEMP%\\JyMorvane\\Pictaro\r\n"), 1U);
    EXPECT_EQ(countIn(text, "class JY::ErrorException, Type missmatch."), 1U);
}

TEST(AppLog, LogsIntoTheTemporaryFolderWhenTheIntegrityLevelCannotBeHad) {
    const DefaultLog log(L"%TEMP%\\JyMorvane\\Pictaro");
    {
        const ImportPatch<decltype(&OpenProcessToken)> patch("OpenProcessToken", &denyToken);
        const AttachedModule module;
    }
    EXPECT_EQ(countIn(log.text(), "class JY::ApiErrorException, OpenProcessToken: (0x5;"),
              3U); // twice before the log stood
}

TEST(AppLog, SendsItsRecordsToTheDebuggerWhenTheDirectoryHasAnUnknownName) {
    const DebugOutputCapture output;
    {
        const ModuleSetting directory(L"LogDir", L"%JyNoSuchName%\\logs");
        const AttachedModule module;
    }
    EXPECT_EQ(output.count("class JY::ErrorException, Illegal % in log path."), 2U); // both sinks are left out
    EXPECT_EQ(output.count(") AppLog initialized. DirPath=%JyNoSuchName%\\logs\n"), 1U);
    EXPECT_EQ(output.count(") NormalLogSeverityThreshold=warn\n"), 1U);
    EXPECT_EQ(output.count(") AppLog finalizing\n"), 1U);
}

TEST(AppLog, SnapshotWithoutASinkForItIsFatal) {
    const DebugOutputCapture output;
    const ModuleSetting directory(L"LogDir", L"%JyNoSuchName%\\logs");
    const AttachedModule module;
    AppLog::snapshot();
    EXPECT_EQ(output.count(" fatal  AppLog "), 1U);
    EXPECT_EQ(output.count(") Invalid snapshot instance.\n"), 1U);
}

TEST(AppLog, LogsIntoTheLowFolderAtLowIntegrityWhenTheSettingCannotBeRead) {
    const DefaultLog log(L"%LocalAppDataLow%\\JyMorvane\\Pictaro");
    {
        const ImportPatch<decltype(&IsWellKnownSid)> patch("IsWellKnownSid", &knowsTheLowLabelOnly);
        const ModuleSetting mistyped(L"LogDir", 1);
        const AttachedModule module;
    }
    EXPECT_EQ(countIn(log.text(), " error  EarlyFailures "), 1U);
    EXPECT_EQ(countIn(log.text(), "class JY::ErrorException, Type missmatch."), 1U);
}

TEST(AppLog, SendsItsRecordsToTheDebuggerWhenTheDirectoryCannotBeMade) {
    const ModuleLog log;
    std::ofstream(std::filesystem::path(log.path()) / "file") << "in the way";
    const ModuleSetting directory(L"LogDir", log.path() + L"\\file\\logs");
    const DebugOutputCapture output;
    { const AttachedModule module; }
    // Both sinks are left out, and it is told of each.
    EXPECT_EQ(output.count(" error  EarlyFailures "), 2U);
    EXPECT_EQ(output.count("class JY::ApiErrorException, CreateDirectory: (0x"), 2U);
    EXPECT_EQ(output.count(") NormalLogSeverityThreshold=warn\n"), 1U);
    EXPECT_EQ(output.count(") AppLog finalizing\n"), 1U);
}

TEST(AppLog, ReadsTheDirectoryAndTheLevelAndNoOtherSetting) {
    const DefaultLog log(L"%TEMP%\\JyMorvane\\Pictaro");
    RecordingRegistry registry;
    const RegistryScope scope(registry);
    { const AttachedModule module; }
    EXPECT_THAT(registry.calls, ElementsAre(HasSubstr("\\JyMorvane\\JyFlvSource, LogDir"),
                                            HasSubstr("\\JyMorvane\\JyFlvSource, LogLevel")));
}

class OddLogDirectory : public testing::TestWithParam<std::wstring> {};

TEST_P(OddLogDirectory, NeverKeepsTheModuleFromLoadingOrLogging) {
    const DefaultLog defaultLog(L"%TEMP%\\JyMorvane\\Pictaro");
    const DebugOutputCapture output;
    const ModuleSetting directory(L"LogDir", GetParam());
    { const AttachedModule module; }
    EXPECT_EQ(output.count(") AppLog finalizing\n") + countIn(defaultLog.text(), ") AppLog finalizing\r\n"), 1U);
}

INSTANTIATE_TEST_SUITE_P(AppLog, OddLogDirectory,
                         testing::Values(L"", L" ", L"NUL", L"\\\\.\\NUL", L"\\\\no-such-server\\share",
                                         L"Q:\\no\\such\\drive", L"C:\\a*b", std::wstring(127, L'x') + L"|",
                                         std::wstring(500, L'y')));

// The files.

TEST(AppLog, NamesItsFilesByTheProcess) {
    const ModuleLog log;
    { const AttachedModule module; }
    EXPECT_THAT(log.fileNames(), ElementsAre("JyFlvSource-" + std::to_string(GetCurrentProcessId()) + "-0.log"));
}

TEST(AppLog, SecondLoadGoesOnInTheSameFile) {
    const ModuleLog log;
    { const AttachedModule first; }
    { const AttachedModule second; }
    EXPECT_THAT(log.fileNames(), ElementsAre(logFileName(0)));
    EXPECT_EQ(log.count("AppLog initialized."), 2U);
}

TEST(AppLog, TakesTheNextFileWhenAnotherProgramHoldsTheFirst) {
    const ModuleLog log;
    const std::filesystem::path first = std::filesystem::path(log.path()) / logFileName(0);
    {
        const Handle held(CreateFileW(first.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        ASSERT_TRUE(held);
        const AttachedModule module;
    }
    EXPECT_EQ(log.read(logFileName(0)), "");
    EXPECT_EQ(countIn(log.read(logFileName(1)), ") AppLog initialized. DirPath="), 1U);
    EXPECT_EQ(countIn(log.read(logFileName(1)), ") AppLog finalizing\r\n"), 1U);
}

TEST(AppLog, KeepsTheDirectoryWithinTwiceTheRing) {
    const ModuleLog log;
    const std::filesystem::path directory = log.path();
    constexpr std::uintmax_t half = 8 * 0x100000;
    const auto makeFile = [&](const char* name, std::uintmax_t size) {
        std::ofstream(directory / name).close();
        std::filesystem::resize_file(directory / name, size);
    };
    makeFile("JyFlvSource-1-0.log", half);
    makeFile("JyFlvSource-2-s-0.log", half);
    makeFile("JyFlvSource-3-7.log", 1); // one byte too much
    makeFile("Other-1-0.log", half * 4);
    makeFile("JyFlvSource.txt", half * 4);
    { const AttachedModule module; }
    std::uintmax_t total = 0;
    for (const std::string& name : log.fileNames()) {
        total += name.starts_with("JyFlvSource-") ? std::filesystem::file_size(directory / name) : 0;
    }
    EXPECT_LE(total, 2 * half);
    EXPECT_GE(total, half); // no more than needed went
    EXPECT_TRUE(std::filesystem::exists(directory / "Other-1-0.log"));
    EXPECT_TRUE(std::filesystem::exists(directory / "JyFlvSource.txt"));
}

// Levels.

TEST(AppLog, BudgetIsCountedInThirtyTwoBits) {
    const ModuleLog log;
    const std::filesystem::path kept = std::filesystem::path(log.path()) / "Budget-1-0.log";
    std::ofstream(kept) << "one line";
    constexpr std::uint32_t largest = 0x40000000;
    AppLog::initialize(L"Budget", log.path(), largest, 4, 10); // twice this is 2 to the power of 33, which leaves 0
    AppLog::finalize();
    EXPECT_FALSE(std::filesystem::exists(kept));
}

TEST(AppLog, LevelIsSetBeforeItIsTold) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 6);
    {
        const AttachedModule module;
        AppLog::snapshot();
    }
    EXPECT_EQ(log.count("NormalLogSeverityThreshold="), 0U);
    EXPECT_EQ(countIn(log.snapshotText(), ") NormalLogSeverityThreshold=fatal\r\n"), 1U);
}

TEST(AppLog, LevelOutsideTheTableIsTakenAsItStands) {
    const ModuleLog log;
    const ModuleSetting level(L"LogLevel", 7);
    {
        const AttachedModule module;
        Log2::untraced().fatal(here()) << "below seven";
        AppLog::snapshot();
    }
    EXPECT_EQ(log.count("below seven"), 0U);
    EXPECT_EQ(countIn(log.snapshotText(), ") NormalLogSeverityThreshold=Unknown\r\n"), 1U);
}

TEST(AppLog, NormalLevelDecidesWhatReachesTheFiles) {
    const ModuleLog log;
    const AttachedModule module;
    Log2::untraced().info(here()) << "before";
    AppLog::setNormalLevel(Severity::info);
    Log2::untraced().info(here()) << "after";
    Log2::untraced().debug(here()) << "below";
    EXPECT_EQ(log.count(") NormalLogSeverityThreshold=info\r\n"), 1U);
    EXPECT_EQ(log.count(") after\r\n"), 1U);
    EXPECT_EQ(log.count("before"), 0U);
    EXPECT_EQ(log.count("below"), 0U);
}

TEST(AppLog, NamesALevelOutsideTheTableUnknown) {
    const LogCapture log;
    AppLog::setNormalLevel(static_cast<Severity>(9));
    EXPECT_EQ(log.count(Severity::notice, "NormalLogSeverityThreshold=Unknown"), 1U);
}

// Snapshots.

TEST(AppLog, WritesNoSnapshotUnasked) {
    const ModuleLog log;
    {
        const AttachedModule module;
        Log2::untraced().fatal(here()) << "not of a boundary";
    }
    EXPECT_EQ(log.snapshotText(), "");
    EXPECT_THAT(log.fileNames(), ElementsAre(logFileName(0)));
}

TEST(AppLog, SnapshotHoldsWhatTheFilesLeaveOut) {
    const ModuleLog log;
    const AttachedModule module;
    Log2::untraced().trace(here()) << "too fine for the files";
    Log2::requestSnapshot();
    EXPECT_EQ(log.count("too fine for the files"), 0U);
    const std::string snapshot = log.read(snapshotFileName(0));
    EXPECT_EQ(countIn(snapshot, ") too fine for the files\r\n"), 1U);
    EXPECT_EQ(countIn(snapshot, ") onProcessAttach.\r\n"), 1U);
    EXPECT_EQ(countIn(snapshot, ") Begin snapshot.-----\r\n"), 1U);
    EXPECT_EQ(countIn(snapshot, ") End snapshot.----- Digest="), 1U);
}

TEST(AppLog, SnapshotHoldsTheLastThousandRecords) {
    const ModuleLog log;
    const AttachedModule module;
    for (int number = 1; number <= 1001; ++number) {
        Log2::untraced().trace(here()) << "number " << number << '.';
    }
    AppLog::snapshot();
    const std::string snapshot = log.snapshotText();
    EXPECT_EQ(countIn(snapshot, ") number "), 1000U);
    EXPECT_EQ(countIn(snapshot, ") number 1.\r\n"), 0U);
    EXPECT_EQ(countIn(snapshot, ") number 1001.\r\n"), 1U);
}

TEST(AppLog, SnapshotLevelDecidesWhatIsKept) {
    const ModuleLog log;
    const AttachedModule module;
    AppLog::setSnapshotLevel(Severity::info);
    Log2::untraced().debug(here()) << "below";
    Log2::untraced().info(here()) << "kept";
    AppLog::snapshot();
    EXPECT_EQ(countIn(log.snapshotText(), "below"), 0U);
    EXPECT_EQ(countIn(log.snapshotText(), ") kept\r\n"), 1U);
}

TEST(AppLog, SecondSnapshotHoldsTheRecordsAgain) {
    const ModuleLog log;
    const AttachedModule module;
    Log2::untraced().trace(here()) << "once";
    AppLog::snapshot();
    AppLog::snapshot();
    EXPECT_EQ(countIn(log.snapshotText(), ") once\r\n"), 2U);
    EXPECT_EQ(countIn(log.snapshotText(), ") Begin snapshot.-----\r\n"), 2U);
}

BOOL WINAPI denyCryptography(HCRYPTPROV*, const wchar_t*, const wchar_t*, DWORD, DWORD) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST(AppLog, RecordsASnapshotThatFails) {
    const ModuleLog log;
    const AttachedModule module;
    {
        const ImportPatch<decltype(&CryptAcquireContextW)> patch("CryptAcquireContextW", &denyCryptography);
        Log2::requestSnapshot();
    }
    EXPECT_EQ(log.count("class JY::ApiErrorException, CryptAcquireContext: (0x5;"), 1U);
    Log2::requestSnapshot();
    EXPECT_EQ(countIn(log.snapshotText(), ") End snapshot.----- Digest="), 1U);
}

// The end.

TEST(AppLog, ReportsLoggersThatOutliveIt) {
    const ModuleLog log;
    callDllMain(DLL_PROCESS_ATTACH);
    {
        const auto alive = Log2::untraced();
        callDllMain(DLL_PROCESS_DETACH);
    }
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    EXPECT_EQ(log.count(" warn   Core                (   34) There are some Logger instances exists. =1\r\n"), 1U);
}

TEST(AppLog, IsFinalizedOnceOnly) {
    const ModuleLog log;
    callDllMain(DLL_PROCESS_ATTACH);
    callDllMain(DLL_PROCESS_DETACH);
    callDllMain(DLL_PROCESS_DETACH);
    ModuleUsageCounter::instance().setActions(nullptr, nullptr);
    EXPECT_EQ(log.count("AppLog finalizing"), 1U);
}

TEST(AppLog, KeepsNoFileOpenAfterItsEnd) {
    const ModuleLog log;
    {
        const AttachedModule module;
        AppLog::snapshot();
        EXPECT_TRUE(log.isHeld(logFileName(0)));
        EXPECT_TRUE(log.isHeld(snapshotFileName(0)));
    }
    EXPECT_FALSE(log.isHeld(logFileName(0)));
    EXPECT_FALSE(log.isHeld(snapshotFileName(0)));
}

} // namespace
