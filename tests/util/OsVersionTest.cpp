#include "util/OsVersion.h"

#include "tests/support/ImportPatch.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"

#include <windows.h>

#include <cstring>
#include <cwchar>
#include <gtest/gtest.h>

namespace {

using JY::readOsVersion;
using JY::Test::ImportPatch;
using JY::Test::thrownIn;

/// What the patched functions below give to the module.
RTL_OSVERSIONINFOEXW givenVersion{};
LONG givenStatus = 0;

LONG WINAPI tellGivenVersion(RTL_OSVERSIONINFOEXW* info) {
    EXPECT_EQ(info->dwOSVersionInfoSize, sizeof *info);
    *info = givenVersion;
    return givenStatus;
}

FARPROC WINAPI findGivenVersion(HMODULE module, const char* name) {
    EXPECT_EQ(module, GetModuleHandleW(L"ntdll.dll"));
    EXPECT_STREQ(name, "RtlGetVersion");
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&tellGivenVersion));
}

FARPROC WINAPI findNothing(HMODULE, const char*) {
    SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

using FindFunction = decltype(&GetProcAddress);

TEST(OsVersion, IsWhatTheSystemTells) {
    RTL_OSVERSIONINFOEXW expected{};
    expected.dwOSVersionInfoSize = sizeof expected;
    using RtlGetVersion = LONG(WINAPI*)(RTL_OSVERSIONINFOEXW*);
    const auto query = reinterpret_cast<RtlGetVersion>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
    ASSERT_EQ(query(&expected), 0);
    const auto version = readOsVersion();
    EXPECT_EQ(version->majorVersion(), expected.dwMajorVersion);
    EXPECT_EQ(version->buildNumber(), expected.dwBuildNumber);
    EXPECT_GE(version->majorVersion(), 6U);
}

TEST(OsVersion, KeepsEachFieldInItsPlace) {
    givenVersion = {.dwOSVersionInfoSize = 0,
                    .dwMajorVersion = 11,
                    .dwMinorVersion = 2,
                    .dwBuildNumber = 22621,
                    .dwPlatformId = 4,
                    .szCSDVersion = {},
                    .wServicePackMajor = 5,
                    .wServicePackMinor = 6,
                    .wSuiteMask = 7,
                    .wProductType = 3,
                    .wReserved = 9};
    givenStatus = 0;
    const ImportPatch<FindFunction> patch("GetProcAddress", &findGivenVersion);
    const auto version = readOsVersion();
    EXPECT_EQ(version->majorVersion(), 11U);
    EXPECT_EQ(version->minorVersion(), 2U);
    EXPECT_EQ(version->buildNumber(), 22621U);
    EXPECT_EQ(version->platformId(), 4U);
    EXPECT_EQ(version->servicePackMajor(), 5U);
    EXPECT_EQ(version->servicePackMinor(), 6U);
    EXPECT_EQ(version->productType(), 3U);
}

TEST(OsVersion, SystemWithoutTheFunctionThrows) {
    const ImportPatch<FindFunction> patch("GetProcAddress", &findNothing);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { readOsVersion(); }), "GetProcAddress: (0x7f) @OsVersionImpl");
}

TEST(OsVersion, FunctionThatFailsThrows) {
    givenStatus = static_cast<LONG>(0xC0000001);
    const ImportPatch<FindFunction> patch("GetProcAddress", &findGivenVersion);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { readOsVersion(); }), "RtlGetVersion: (0xc0000001) @OsVersionImpl");
}

constexpr wchar_t givenReleaseId[] = L"22H2";

LSTATUS WINAPI openCurrentVersion(HKEY root, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) {
    EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
    EXPECT_STREQ(path, L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion");
    EXPECT_EQ(options, 0U);
    EXPECT_EQ(access, static_cast<REGSAM>(KEY_READ));
    *key = nullptr;
    return ERROR_SUCCESS;
}

LSTATUS WINAPI tellReleaseId(HKEY, const wchar_t* name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
    EXPECT_STREQ(name, L"ReleaseId");
    if (type != nullptr) {
        *type = REG_SZ;
    }
    if (data != nullptr) {
        std::memcpy(data, givenReleaseId, sizeof givenReleaseId);
    }
    *size = sizeof givenReleaseId;
    return ERROR_SUCCESS;
}

LSTATUS WINAPI findNoValue(HKEY, const wchar_t*, DWORD*, DWORD*, BYTE*, DWORD*) {
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS WINAPI denyAccess(HKEY, const wchar_t*, DWORD, REGSAM, HKEY*) {
    return ERROR_ACCESS_DENIED;
}

TEST(OsVersion, ReleaseIdIsThatOfTheRegistry) {
    const ImportPatch<decltype(&RegOpenKeyExW)> open("RegOpenKeyExW", &openCurrentVersion);
    const ImportPatch<decltype(&RegQueryValueExW)> query("RegQueryValueExW", &tellReleaseId);
    EXPECT_EQ(readOsVersion()->releaseId(), L"22H2");
}

TEST(OsVersion, SystemWithoutAReleaseIdHasAnEmptyOne) {
    const ImportPatch<decltype(&RegQueryValueExW)> query("RegQueryValueExW", &findNoValue);
    const auto version = readOsVersion();
    EXPECT_EQ(version->releaseId(), L"");
    EXPECT_GE(version->majorVersion(), 6U);
}

LSTATUS WINAPI tellANumber(HKEY, const wchar_t*, DWORD*, DWORD* type, BYTE*, DWORD* size) {
    *type = REG_DWORD;
    *size = sizeof(DWORD);
    return ERROR_SUCCESS;
}

TEST(OsVersion, ReleaseIdThatIsNoTextIsEmpty) {
    const ImportPatch<decltype(&RegOpenKeyExW)> open("RegOpenKeyExW", &openCurrentVersion);
    const ImportPatch<decltype(&RegQueryValueExW)> query("RegQueryValueExW", &tellANumber);
    EXPECT_EQ(readOsVersion()->releaseId(), L"");
}

TEST(OsVersion, ReleaseIdThatMustNotBeReadIsEmpty) {
    const ImportPatch<decltype(&RegOpenKeyExW)> open("RegOpenKeyExW", &denyAccess);
    EXPECT_EQ(readOsVersion()->releaseId(), L"");
}

} // namespace
