#include "util/Path.h"

#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"

#include <shlobj.h>
#include <shlwapi.h>
#include <windows.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using JY::createDirectories;
using JY::expandPath;
using JY::Test::Bytes;
using JY::Test::TempFile;
using JY::Test::TempFolder;
using JY::Test::thrown;

bool isDirectory(const std::wstring& path) {
    return PathIsDirectoryW(path.c_str()) != FALSE;
}

std::wstring environment(const wchar_t* name) {
    wchar_t value[MAX_PATH + 1];
    return {value, GetEnvironmentVariableW(name, value, MAX_PATH + 1)};
}

std::wstring localAppDataLow() {
    wchar_t* path = nullptr;
    EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_LocalAppDataLow, 0, nullptr, &path), S_OK);
    const std::wstring result = path;
    CoTaskMemFree(path);
    return result;
}

/// An environment variable that exists while this does.
class Variable {
public:
    Variable(const wchar_t* name, const std::wstring& value) : name_(name) {
        SetEnvironmentVariableW(name, value.c_str());
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() { SetEnvironmentVariableW(name_, nullptr); }

private:
    const wchar_t* name_;
};

/// The current directory is the root of drive C while this exists.
class AtTheRootOfDriveC {
public:
    AtTheRootOfDriveC() {
        GetCurrentDirectoryW(MAX_PATH, previous_);
        SetCurrentDirectoryW(L"C:\\");
    }
    AtTheRootOfDriveC(const AtTheRootOfDriveC&) = delete;
    AtTheRootOfDriveC& operator=(const AtTheRootOfDriveC&) = delete;
    ~AtTheRootOfDriveC() { SetCurrentDirectoryW(previous_); }

private:
    wchar_t previous_[MAX_PATH]{};
};

} // namespace

TEST(Path, ExpandsTheLowIntegrityFolder) {
    EXPECT_EQ(expandPath(L"%LocalAppDataLow%\\JyMorvane\\Pictaro"), localAppDataLow() + L"\\JyMorvane\\Pictaro");
}

TEST(Path, ExpandsEnvironmentVariables) {
    const Variable variable(L"JY_TEST_FOLDER", L"C:\\somewhere");
    EXPECT_EQ(expandPath(L"%JY_TEST_FOLDER%\\a"), L"C:\\somewhere\\a");
}

TEST(Path, LeavesAPathWithoutTokensAlone) {
    EXPECT_EQ(expandPath(L"C:\\a b\\c"), L"C:\\a b\\c");
    EXPECT_EQ(expandPath(L""), L"");
    EXPECT_EQ(expandPath(L"%JY_TEST_UNKNOWN%\\a"), L"%JY_TEST_UNKNOWN%\\a");
}

TEST(Path, KnownFolderThatCannotBeHadBecomesItsFallbackExpanded) {
    const GUID unknown = {0x12345678, 0, 0, {}};
    const JY::KnownFolderToken tokens[] = {{unknown, L"%Nowhere%", L"%TEMP%"}};
    EXPECT_EQ(expandPath(L"%Nowhere%\\a", tokens), environment(L"TEMP") + L"\\a");
}

TEST(Path, EveryOccurrenceOfAKnownFolderIsExpanded) {
    const std::wstring folder = localAppDataLow();
    EXPECT_EQ(expandPath(L"%LocalAppDataLow%;%LocalAppDataLow%"), folder + L";" + folder);
}

TEST(Path, MakesEveryMissingFolderOfAChain) {
    const TempFolder base;
    createDirectories(base.path() + L"\\a\\b");
    EXPECT_TRUE(isDirectory(base.path() + L"\\a"));
    EXPECT_TRUE(isDirectory(base.path() + L"\\a\\b"));
}

TEST(Path, MakesTheSameChainWithABackslashAtItsEnd) {
    const TempFolder base;
    createDirectories(base.path() + L"\\a\\b\\");
    EXPECT_TRUE(isDirectory(base.path() + L"\\a\\b"));
}

TEST(Path, ChainThatExistsIsLeftAlone) {
    const TempFolder base;
    createDirectories(base.path() + L"\\a");
    EXPECT_NO_THROW(createDirectories(base.path() + L"\\a"));
    EXPECT_NO_THROW(createDirectories(base.path()));
    EXPECT_NO_THROW(createDirectories(L"C:\\"));
}

TEST(Path, EnvironmentVariablesOfTheChainAreExpanded) {
    const TempFolder base;
    const Variable variable(L"JY_TEST_FOLDER", base.path());
    createDirectories(L"%JY_TEST_FOLDER%\\c");
    EXPECT_TRUE(isDirectory(base.path() + L"\\c"));
}

TEST(Path, EmptyChainThrows) {
    EXPECT_EQ(thrown<JY::ErrorException>([] { createDirectories(L""); }), "path is empty. @Path:186");
}

TEST(Path, FolderThatCannotBeMadeThrowsCreateDirectory) {
    const TempFile file(Bytes{1});
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { createDirectories(file.path()); }),
              "CreateDirectory: (0xb7) @Path:196");
    EXPECT_EQ(thrown<JY::ApiErrorException>([&] { createDirectories(file.path() + L"\\a"); }),
              "CreateDirectory: (0xb7) @Path:196");
}

TEST(Path, MakesAChainThatBeginsWithABackslash) {
    const AtTheRootOfDriveC atTheRoot;
    const std::wstring folder = L"\\jy-test-" + std::to_wstring(GetCurrentProcessId());
    createDirectories(folder + L"\\a");
    EXPECT_TRUE(isDirectory(L"C:" + folder + L"\\a"));
    RemoveDirectoryW((folder + L"\\a").c_str());
    RemoveDirectoryW(folder.c_str());
}
