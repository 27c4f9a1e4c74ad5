#include "tests/support/Allocations.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"
#include "util/Path.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using JY::expandPath;
using JY::Test::ImportPatch;
using JY::Test::liveBlocks;
using JY::Test::thrownIn;

DWORD WINAPI expandNothing(LPCWSTR, LPWSTR, DWORD) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
}

DWORD WINAPI tellTheSizeAlone(LPCWSTR, LPWSTR buffer, DWORD) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return buffer == nullptr ? 1000 : 0;
}

TEST(PathCalls, EnvironmentThatCannotBeHadThrowsExpandEnvironmentStrings) {
    const std::wstring path = L"%TEMP%";
    const std::uint64_t blocks = liveBlocks();
    {
        const ImportPatch<decltype(&ExpandEnvironmentStringsW)> patch("ExpandEnvironmentStringsW", &expandNothing);
        EXPECT_EQ(thrownIn<JY::ApiErrorException>([&] { expandPath(path); }), "ExpandEnvironmentStrings: (0x57) @Path");
    }
    {
        const ImportPatch<decltype(&ExpandEnvironmentStringsW)> patch("ExpandEnvironmentStringsW", &tellTheSizeAlone);
        EXPECT_EQ(thrownIn<JY::ApiErrorException>([&] { expandPath(path); }), "ExpandEnvironmentStrings: (0x8) @Path");
    }
    EXPECT_EQ(liveBlocks(), blocks);
}

} // namespace
