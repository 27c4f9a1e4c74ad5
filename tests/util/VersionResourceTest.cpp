#include "util/VersionResource.h"

#include "tests/support/ImportPatch.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/JYWin32.h"

#include <gtest/gtest.h>
#include <memory>
#include <type_traits>

namespace {

using JY::VersionResource;
using JY::Test::ImportPatch;
using JY::Test::thrownIn;

struct FreeModule {
    void operator()(HMODULE module) const { FreeLibrary(module); }
};
using LoadedLibrary = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeModule>;

LoadedLibrary load(const wchar_t* name) {
    return LoadedLibrary(LoadLibraryExW(name, nullptr, DONT_RESOLVE_DLL_REFERENCES));
}

std::wstring fileVersionOf(const wchar_t* library) {
    const LoadedLibrary module = load(library);
    EXPECT_NE(module, nullptr);
    return VersionResource(module.get()).getString(L"FileVersion");
}

TEST(VersionResource, PrefersTheUnicodeTable) {
    EXPECT_EQ(fileVersionOf(L"version_both_tables.dll"), L"first");
}

TEST(VersionResource, ReadsABlockThatHasTheSecondTableOnly) {
    EXPECT_EQ(fileVersionOf(L"version_second_table.dll"), L"second");
}

TEST(VersionResource, LooksForEachTextInBothTables) {
    EXPECT_EQ(fileVersionOf(L"version_shared_tables.dll"), L"second");
}

TEST(VersionResource, TextThatIsEmptyInTheUnicodeTableIsEmpty) {
    EXPECT_EQ(fileVersionOf(L"version_empty_text.dll"), L"");
}

TEST(VersionResource, TextThatIsInNeitherTableIsEmpty) {
    EXPECT_EQ(fileVersionOf(L"version_foreign_table.dll"), L"");
    const LoadedLibrary module = load(L"version_both_tables.dll");
    EXPECT_EQ(VersionResource(module.get()).getString(L"OriginalFilename"), L"");
}

TEST(VersionResource, ModuleWithoutAVersionBlockThrows) {
    const HMODULE testProgram = GetModuleHandleW(nullptr);
    EXPECT_TRUE(thrownIn<JY::ApiErrorException>([&] {
                    VersionResource{testProgram};
                }).starts_with("GetFileVersionInfoSize: (0x"));
}

BOOL WINAPI failsWithReadFault(const wchar_t*, DWORD, DWORD, void*) {
    SetLastError(ERROR_READ_FAULT);
    return FALSE;
}

TEST(VersionResource, BlockThatCannotBeReadThrows) {
    const LoadedLibrary module = load(L"version_both_tables.dll");
    const ImportPatch<decltype(&GetFileVersionInfoW)> patch("GetFileVersionInfoW", &failsWithReadFault);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([&] { VersionResource{module.get()}; }),
              "GetFileVersionInfo: (0x1e) @VersionResource");
}

} // namespace
