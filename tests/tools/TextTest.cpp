#include "tools/Text.h"

#include <array>
#include <gtest/gtest.h>
#include <limits>

namespace JY::Tools {
namespace {

TEST(Text, TurnsUtf16IntoUtf8) {
    EXPECT_EQ(toUtf8(L"\u00e9\u20ac\U0001F600"), "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(toUtf8(L""), "");
}

TEST(Text, ReplacesHalfACharacter) {
    EXPECT_EQ(toUtf8(std::wstring{L'a', wchar_t{0xD800}, L'b'}), "a\xEF\xBF\xBD"
                                                                 "b");
}

TEST(Text, TurnsTheSystemsOwnEncodingIntoUtf16AndBack) {
    EXPECT_EQ(fromAnsi(std::string_view("a\0b\r\n", 5)), std::wstring(L"a\0b\r\n", 5));
    EXPECT_EQ(toAnsi(L"abc"), "abc");
    EXPECT_EQ(toAnsi(fromAnsi("")), "");
    std::array<char, 2> ansi{};
    ASSERT_EQ(WideCharToMultiByte(CP_ACP, 0, L"\u00e9", 1, ansi.data(), 2, nullptr, nullptr), 1);
    EXPECT_EQ(fromAnsi({ansi.data(), 1}), L"\u00e9");
    EXPECT_EQ(toAnsi(L"\u00e9"), std::string(ansi.data(), 1));
}

TEST(Text, WritesTimesInHoursToMilliseconds) {
    EXPECT_EQ(timeText(0), "0:00:00.000");
    EXPECT_EQ(timeText(9999), "0:00:00.000");
    EXPECT_EQ(timeText(10000), "0:00:00.001");
    EXPECT_EQ(timeText(((61 * 60LL + 1) * 1000 + 5) * 10000), "1:01:01.005");
    EXPECT_EQ(timeText(-15000000), "-0:00:01.500");
}

TEST(Text, WritesTheFarthestTimes) {
    EXPECT_EQ(timeText(std::numeric_limits<LONGLONG>::max()), "256204778:48:05.477");
    EXPECT_EQ(timeText(std::numeric_limits<LONGLONG>::min()), "-256204778:48:05.477");
}

TEST(Text, WritesSecondsWithEveryDigit) {
    EXPECT_EQ(secondsText(123456789), "12.3456789");
    EXPECT_EQ(secondsText(1), "0.0000001");
    EXPECT_EQ(secondsText(-1), "-0.0000001");
}

TEST(Text, WritesIdentifiersAndBytes) {
    EXPECT_EQ(guidText({0x0d96ad9a, 0x8e7b, 0x4898, {0x95, 0x02, 0xe5, 0xbe, 0x5a, 0x5d, 0x48, 0x90}}),
              "{0d96ad9a-8e7b-4898-9502-e5be5a5d4890}");
    EXPECT_EQ(hexText(std::array<BYTE, 3>{0x12, 0x0F, 0xA0}), "12 0f a0");
    EXPECT_EQ(hexText({}), "");
}

} // namespace
} // namespace JY::Tools
