#include "tools/LogFolders.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

constexpr const wchar_t* substituteKey = L"Software\\JyMorvane tests\\LogFolders";

/// Another key stands for the machine's as long as the test runs, so that no other program sees its settings.
struct LogFolders : testing::Test {
    LogFolders() {
        RegDeleteTreeW(HKEY_CURRENT_USER, substituteKey);
        RegCreateKeyExW(HKEY_CURRENT_USER, substituteKey, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &machine, nullptr);
        overridden = RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine);
    }
    ~LogFolders() override {
        RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
        RegCloseKey(machine);
        RegDeleteTreeW(HKEY_CURRENT_USER, substituteKey);
    }

    void set(DWORD type, const std::wstring& folder) const {
        const auto bytes = static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t));
        ASSERT_EQ(RegSetKeyValueW(machine, L"Software\\JyMorvane\\JyFlvSource", L"LogDir", type, folder.c_str(), bytes),
                  ERROR_SUCCESS);
    }

    HKEY machine = nullptr;
    LSTATUS overridden = ERROR_GEN_FAILURE;
};

std::wstring temporaryFolder() {
    wchar_t folder[MAX_PATH + 1];
    GetEnvironmentVariableW(L"TEMP", folder, MAX_PATH + 1);
    return folder;
}

TEST_F(LogFolders, AreThoseOfOrdinaryAndOfLowIntegrity) {
    ASSERT_EQ(overridden, ERROR_SUCCESS);
    const auto folders = logFolders();
    ASSERT_EQ(folders.size(), 2U);
    EXPECT_EQ(folders[0], temporaryFolder() + L"\\JyMorvane\\Pictaro");
    EXPECT_THAT(folders[1], EndsWith(L"\\LocalLow\\JyMorvane\\Pictaro"));
}

TEST_F(LogFolders, AreTheOneThatIsSet) {
    ASSERT_EQ(overridden, ERROR_SUCCESS);
    set(REG_SZ, L"D:\\logs of mine");
    EXPECT_THAT(logFolders(), ElementsAre(L"D:\\logs of mine"));
}

TEST_F(LogFolders, AreSetWithNamesOfOtherFolders) {
    ASSERT_EQ(overridden, ERROR_SUCCESS);
    for (const DWORD type : {REG_SZ, REG_EXPAND_SZ}) {
        set(type, L"%TEMP%\\mine");
        EXPECT_THAT(logFolders(), ElementsAre(temporaryFolder() + L"\\mine"));
        set(type, L"%LocalAppDataLow%\\mine");
        EXPECT_THAT(logFolders(), ElementsAre(EndsWith(L"\\LocalLow\\mine")));
    }
}

} // namespace
} // namespace JY::Tools
