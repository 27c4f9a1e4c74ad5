// The known folder in a path, as the system gives it or refuses it.

#include "tests/support/ImportPatch.h"
#include "util/Path.h"

#include <shlobj.h>
#include <windows.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using JY::expandPath;
using JY::Test::ImportPatch;

/// Stands in for the system's known folders.
class KnownFolder {
public:
    explicit KnownFolder(HRESULT result, std::wstring path = {}) {
        result_ = result;
        path_ = std::move(path);
        timesFreed = 0;
    }

    static inline GUID askedFolder;
    static inline DWORD askedFlags;
    static inline HANDLE askedToken;
    static inline unsigned timesFreed;

private:
    static HRESULT WINAPI find(const GUID& folder, DWORD flags, HANDLE token, wchar_t** path) {
        askedFolder = folder;
        askedFlags = flags;
        askedToken = token;
        *path = SUCCEEDED(result_) ? path_.data() : nullptr;
        return result_;
    }
    static void WINAPI free(void* memory) { timesFreed += memory == path_.data() ? 1 : 0; }

    static inline HRESULT result_;
    static inline std::wstring path_;
    ImportPatch<decltype(&SHGetKnownFolderPath)> find_{"SHGetKnownFolderPath", &find};
    ImportPatch<decltype(&CoTaskMemFree)> free_{"CoTaskMemFree", &free};
};

std::wstring temporaryFolder() {
    wchar_t value[MAX_PATH + 1];
    return {value, GetEnvironmentVariableW(L"TEMP", value, MAX_PATH + 1)};
}

constexpr const wchar_t* logFolder = L"%LocalAppDataLow%\\JyMorvane\\Pictaro";

} // namespace

TEST(KnownFolder, OfLowIntegrityIsAskedForOfTheProcesssUser) {
    constexpr GUID localAppDataLow = {0xA520A1A4, 0x1780, 0x4FF6, {0xBD, 0x18, 0x16, 0x73, 0x43, 0xC5, 0xAF, 0x16}};
    const KnownFolder folder(S_OK, L"D:\\low");
    EXPECT_EQ(expandPath(logFolder), L"D:\\low\\JyMorvane\\Pictaro");
    EXPECT_EQ(KnownFolder::askedFolder, localAppDataLow);
    EXPECT_EQ(KnownFolder::askedFlags, 0U);
    EXPECT_EQ(KnownFolder::askedToken, nullptr);
}

TEST(KnownFolder, IsFreedAfterUse) {
    const KnownFolder folder(S_OK, L"D:\\low");
    expandPath(logFolder);
    EXPECT_EQ(KnownFolder::timesFreed, 1U);
}

TEST(KnownFolder, OfLowIntegrityThatIsRefusedBecomesTheTemporaryFolder) {
    const KnownFolder folder(E_FAIL);
    ASSERT_FALSE(temporaryFolder().empty());
    EXPECT_EQ(expandPath(logFolder), temporaryFolder() + L"\\JyMorvane\\Pictaro");
}

TEST(KnownFolder, IsPutInBeforeEnvironmentVariablesAreExpanded) {
    const KnownFolder folder(S_OK, L"D:\\%JY_TEST_INNER%");
    SetEnvironmentVariableW(L"JY_TEST_INNER", L"inner");
    EXPECT_EQ(expandPath(L"%LocalAppDataLow%\\a"), L"D:\\inner\\a");
    SetEnvironmentVariableW(L"JY_TEST_INNER", nullptr);
}
