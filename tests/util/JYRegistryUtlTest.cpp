#include "util/JYRegistryUtl.h"

#include "tests/support/Thrown.h"
#include "util/ApiErrorException.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using JY::readRegistryString;
using JY::Test::thrownIn;

constexpr const wchar_t* testKey = L"Software\\JyFlvSourceTests\\JYRegistryUtl";

class JYRegistryUtlTest : public testing::Test {
protected:
    ~JYRegistryUtlTest() override { RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\JyFlvSourceTests"); }

    static void set(DWORD type, const void* data, DWORD size) {
        ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, testKey, L"value", type, data, size), 0);
    }
    static std::wstring read() { return readRegistryString(HKEY_CURRENT_USER, testKey, L"value"); }
};

TEST_F(JYRegistryUtlTest, ReadsAText) {
    set(REG_SZ, L"20H2", 5 * sizeof(wchar_t));
    EXPECT_EQ(read(), L"20H2");
}

TEST_F(JYRegistryUtlTest, ReadsATextThatHasNoTerminator) {
    set(REG_SZ, L"20H2", 4 * sizeof(wchar_t));
    EXPECT_EQ(read(), L"20H2");
}

TEST_F(JYRegistryUtlTest, ReadsATextOfOddSize) {
    set(REG_SZ, L"20H2", 4 * sizeof(wchar_t) + 1);
    EXPECT_EQ(read(), L"20H2");
}

TEST_F(JYRegistryUtlTest, ReadsAnEmptyText) {
    set(REG_SZ, L"", 0);
    EXPECT_EQ(read(), L"");
}

TEST_F(JYRegistryUtlTest, KeyThatDoesNotExistThrows) {
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { read(); }), "RegOpenKey: (0x2) @JYRegistryUtl");
}

TEST_F(JYRegistryUtlTest, ValueThatDoesNotExistThrows) {
    set(REG_SZ, L"", 2);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { readRegistryString(HKEY_CURRENT_USER, testKey, L"other"); }),
              "RegQueryValue: (0x2) @JYRegistryUtl");
}

TEST_F(JYRegistryUtlTest, ValueThatIsNoTextThrows) {
    constexpr DWORD number = 2009;
    set(REG_DWORD, &number, sizeof number);
    EXPECT_EQ(thrownIn<JY::ApiErrorException>([] { read(); }), "RegQueryValue: (0x65e) @JYRegistryUtl");
}

} // namespace
