#include "util/String.h"

#include "tests/support/Thrown.h"
#include "util/FatalException.h"
#include "util/TextBuffer.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using JY::FatalException;
using JY::guidToString;
using JY::replaceAll;
using JY::toNarrow;
using JY::Test::thrown;
using namespace std::string_literals;

constexpr GUID sample = {0x0D96AD9A, 0x8E7B, 0x4898, {0x95, 0x02, 0xE5, 0xBE, 0x5A, 0x5D, 0x48, 0x90}};

} // namespace

TEST(String, ToNarrowKeepsTheAnsiCharacters) {
    EXPECT_EQ(toNarrow(L"C:\\x y.flv"), "C:\\x y.flv");
    EXPECT_EQ(toNarrow(L"C:\\x y.flv"s), "C:\\x y.flv");
}

TEST(String, ToNarrowOfTheEmptyTextIsEmpty) {
    EXPECT_EQ(toNarrow(L""), "");
    EXPECT_EQ(toNarrow(std::wstring()), "");
}

TEST(String, ToNarrowConvertsToTheAnsiCodePage) {
    const std::wstring wide = L"\u00E9\u3042";
    char expected[16];
    const int size = WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, expected, sizeof expected, nullptr, nullptr);
    ASSERT_GT(size, 1);
    EXPECT_EQ(toNarrow(wide), expected);
}

TEST(String, ToNarrowCutsTheResultAtItsFirstNul) {
    EXPECT_EQ(toNarrow(L"ab\0cd"s), "ab");
}

TEST(String, ToNarrowOfNullThrows) {
    EXPECT_EQ(thrown<FatalException>([] { toNarrow(nullptr); }), "arg is null. @String:354");
}

TEST(String, ReplaceAllReplacesEveryOccurrence) {
    EXPECT_EQ(replaceAll(L"a%X%b%X%", L"%X%", L"Y"), L"aYbY");
}

TEST(String, ReplaceAllOfAnEmptyTokenGivesTheSource) {
    EXPECT_EQ(replaceAll(L"a%X%b", L"", L"Y"), L"a%X%b");
}

TEST(String, ReplaceAllWithNothingRemoves) {
    EXPECT_EQ(replaceAll(L"a%X%b%X%", L"%X%", L""), L"ab");
}

TEST(String, ReplaceAllDoesNotLookAtTheReplacementAgain) {
    EXPECT_EQ(replaceAll(L"aa", L"a", L"aa"), L"aaaa");
    EXPECT_EQ(replaceAll(L"aab", L"ab", L"b"), L"ab");
}

TEST(String, ReplaceAllGoesFromLeftToRight) {
    EXPECT_EQ(replaceAll(L"aaa", L"aa", L"b"), L"ba");
}

TEST(String, ReplaceAllWithoutAnOccurrenceGivesTheSource) {
    EXPECT_EQ(replaceAll(L"abc", L"x", L"y"), L"abc");
    EXPECT_EQ(replaceAll(L"", L"x", L"y"), L"");
}

TEST(String, ReplaceAllOfNullThrows) {
    EXPECT_EQ(thrown<FatalException>([] { replaceAll(L"a", nullptr, nullptr); }), "szFrom is NULL. @String:20");
}

TEST(String, ReplaceAllByNullThrows) {
    EXPECT_EQ(thrown<FatalException>([] { replaceAll(L"a", L"", nullptr); }), "szTo is NULL. @String:21");
}

TEST(String, GuidIsWrittenInLowerCaseWithoutBraces) {
    EXPECT_EQ(guidToString(sample), "0d96ad9a-8e7b-4898-9502-e5be5a5d4890");
    EXPECT_EQ(guidToString(GUID{}), "00000000-0000-0000-0000-000000000000");
}

TEST(String, GuidIsWrittenAsRecordsShowIt) {
    JY::TextBuffer text;
    text << sample;
    EXPECT_EQ(guidToString(sample), text.view());
}
