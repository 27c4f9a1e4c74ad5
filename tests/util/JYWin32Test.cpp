#include "util/JYWin32.h"

#include "tests/support/ImportPatch.h"
#include "tests/support/OpenHandles.h"
#include "tests/support/TempFile.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/ErrorException.h"
#include "util/Handle.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <gtest/gtest.h>
#include <span>
#include <vector>

namespace {

using JY::Test::countOpenHandles;
using JY::Test::ImportPatch;
using JY::Test::thrownIn;

/// A SID of the mandatory-label authority or another one, with one sub-authority.
class TestSid {
public:
    TestSid(BYTE authority, DWORD subAuthority) {
        SID_IDENTIFIER_AUTHORITY identifier{{0, 0, 0, 0, 0, authority}};
        InitializeSid(bytes_.data(), &identifier, 1);
        *GetSidSubAuthority(bytes_.data(), 0) = subAuthority;
    }
    PSID get() { return bytes_.data(); }

private:
    alignas(8) std::array<BYTE, SECURITY_MAX_SID_SIZE> bytes_{};
};

constexpr BYTE labelAuthority = 16;

struct Level {
    WELL_KNOWN_SID_TYPE type;
    int number;
    DWORD subAuthority;
    const char* name;
};

constexpr Level levels[] = {
    {WinUntrustedLabelSid, 65, 0x0000, "Untrusted"}, {WinLowLabelSid, 66, 0x1000, "Low"},
    {WinMediumLabelSid, 67, 0x2000, "Medium"},       {WinHighLabelSid, 68, 0x3000, "High"},
    {WinSystemLabelSid, 69, 0x4000, "System"},       {WinMediumPlusLabelSid, 79, 0x2100, "MediumPlus"}};

std::vector<int> askedTypes;

/// Knows all six labels, whatever this system's IsWellKnownSid knows, and notes what it is asked.
BOOL WINAPI knowsEveryLabel(PSID sid, WELL_KNOWN_SID_TYPE type) {
    askedTypes.push_back(type);
    const auto* const level = std::ranges::find(levels, type, &Level::type);
    return level != std::end(levels) && GetSidIdentifierAuthority(sid)->Value[5] == labelAuthority &&
           *GetSidSubAuthority(sid, 0) == level->subAuthority;
}

class IntegrityLabel : public testing::TestWithParam<Level> {};

} // namespace

TEST_P(IntegrityLabel, IsReportedAsTheTypeOfItsSid) {
    TestSid sid(labelAuthority, GetParam().subAuthority);
    EXPECT_EQ(static_cast<int>(JY::integrityLevelOf(sid.get(), knowsEveryLabel)), GetParam().number);
}

TEST_P(IntegrityLabel, HasAName) {
    EXPECT_STREQ(JY::integrityLevelName(GetParam().type), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(JYWin32, IntegrityLabel, testing::ValuesIn(levels));

TEST(JYWin32, WhatIsNoIntegrityLevelHasNoNameOfOne) {
    EXPECT_STREQ(JY::integrityLevelName(WinWorldSid), "Unknown");
}

TEST(JYWin32, LowMediumHighAndSystemLabelsAreKnownToTheSystem) {
    for (const Level& level : std::span(levels).subspan(1, 4)) {
        TestSid sid(labelAuthority, level.subAuthority);
        EXPECT_EQ(JY::integrityLevelOf(sid.get()), level.type);
    }
}

TEST(JYWin32, LabelThatIsNoneOfTheKnownLevelsThrowsAfterAllWereTriedInOrder) {
    TestSid everyone(1, 0);
    askedTypes.clear();
    EXPECT_EQ(thrownIn<JY::ErrorException>([&] { JY::integrityLevelOf(everyone.get(), knowsEveryLabel); }),
              "Unknown SID type. @JYWin32");
    EXPECT_EQ(askedTypes, (std::vector{65, 66, 67, 68, 69, 79}));
}

TEST(JYWin32, IntegrityLevelOfTheProcessIsThatOfItsToken) {
    JY::Handle token;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()));
    alignas(8) std::array<BYTE, 256> label{};
    DWORD size = 0;
    ASSERT_TRUE(GetTokenInformation(token.get(), TokenIntegrityLevel, label.data(), label.size(), &size));
    const PSID sid = reinterpret_cast<TOKEN_MANDATORY_LABEL*>(label.data())->Label.Sid;
    EXPECT_TRUE(IsWellKnownSid(sid, JY::getIntegrityLevel()));
}

TEST(JYWin32, ReadingTheIntegrityLevelLeavesNoHandleOpen) {
    JY::getIntegrityLevel();
    const std::size_t before = countOpenHandles();
    JY::getIntegrityLevel();
    EXPECT_EQ(countOpenHandles(), before);
}

namespace {

BOOL WINAPI denyUserName(wchar_t*, DWORD*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI denyToken(HANDLE, DWORD, HANDLE*) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

BOOL WINAPI tellNoTokenInformation(HANDLE, TOKEN_INFORMATION_CLASS, void*, DWORD, DWORD*) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

} // namespace

TEST(JYWin32, TokenThatCannotBeOpenedThrows) {
    const ImportPatch<decltype(&OpenProcessToken)> patch("OpenProcessToken", &denyToken);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { JY::getIntegrityLevel(); }), "OpenProcessToken: (0x5) @JYWin32");
}

TEST(JYWin32, TokenThatTellsNothingThrowsAndIsClosed) {
    JY::getIntegrityLevel();
    const std::size_t before = countOpenHandles();
    const ImportPatch<decltype(&GetTokenInformation)> patch("GetTokenInformation", &tellNoTokenInformation);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { JY::getIntegrityLevel(); }), "GetTokenInformation: (0x6) @JYWin32");
    EXPECT_EQ(countOpenHandles(), before);
}

TEST(JYWin32, UserNameIsThatOfTheProcess) {
    wchar_t expected[257];
    DWORD size = 257;
    ASSERT_TRUE(GetUserNameW(expected, &size));
    EXPECT_EQ(JY::getUserName(), expected);
    EXPECT_FALSE(JY::getUserName().empty());
}

TEST(JYWin32, UserNameThatCannotBeHadThrows) {
    const ImportPatch<decltype(&GetUserNameW)> patch("GetUserNameW", &denyUserName);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { JY::getUserName(); }), "GetUserName: (0x5) @JYWin32");
}

TEST(JYWin32, ModuleIsFoundByAnAddressInsideIt) {
    const auto* const code = reinterpret_cast<const void*>(&GetModuleFileNameW);
    EXPECT_NE(JY::getModuleHandle(code), GetModuleHandleW(nullptr));
    static const int data = 0;
    EXPECT_EQ(JY::getModuleHandle(static_cast<const void*>(&data)), GetModuleHandleW(nullptr));
}

TEST(JYWin32, AddressOutsideEveryModuleThrows) {
    const int onTheStack = 0;
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([&] { JY::getModuleHandle(static_cast<const void*>(&onTheStack)); }),
              "GetModuleHandleEx: (0x7e) @JYWin32");
}

TEST(JYWin32, ModuleIsFoundByItsName) {
    EXPECT_EQ(JY::getModuleHandle(L"ntdll.dll"), GetModuleHandleW(L"ntdll.dll"));
    EXPECT_NE(JY::getModuleHandle(L"ntdll.dll"), nullptr);
}

TEST(JYWin32, ModuleThatIsNotLoadedThrows) {
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { JY::getModuleHandle(L"no-such-module.dll"); }),
              "GetModuleHandle: (0x7e) @JYWin32");
}

TEST(JYWin32, ModulePathIsThatOfTheModulesFile) {
    wchar_t expected[MAX_PATH];
    ASSERT_NE(GetModuleFileNameW(GetModuleHandleW(L"ntdll.dll"), expected, MAX_PATH), 0U);
    EXPECT_EQ(JY::getModulePath(GetModuleHandleW(L"ntdll.dll")), expected);
}

TEST(JYWin32, PathWithoutAModuleIsThatOfTheExecutable) {
    EXPECT_TRUE(JY::getModulePath(nullptr).ends_with(L"\\util_tests.exe"));
}

TEST(JYWin32, ModulePathMayBeLongerThanTheOldLimit) {
    const JY::Test::TempFolder folder;
    const std::filesystem::path deep =
        L"\\\\?\\" + folder.path() + L"\\" + std::wstring(150, L'a') + L"\\" + std::wstring(150, L'b');
    ASSERT_TRUE(CreateDirectoryW(deep.parent_path().c_str(), nullptr));
    ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
    const std::filesystem::path copy = deep / L"copy.exe";
    ASSERT_TRUE(CopyFileW(JY::getModulePath(nullptr).c_str(), copy.c_str(), TRUE));
    const HMODULE module = LoadLibraryExW(copy.c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
    ASSERT_NE(module, nullptr);
    const std::wstring path = JY::getModulePath(module);
    FreeLibrary(module);
    DeleteFileW(copy.c_str());
    EXPECT_GT(path.size(), 300U);
    EXPECT_TRUE(path.ends_with(L"\\copy.exe"));
}

TEST(JYWin32, WhatIsNoModuleHasNoPath) {
    EXPECT_TRUE(thrownIn<JY::ApiErrorException>([] {
                    JY::getModulePath(reinterpret_cast<HMODULE>(std::uintptr_t{0x10000}));
                }).starts_with("GetModuleFileName: (0x"));
}
