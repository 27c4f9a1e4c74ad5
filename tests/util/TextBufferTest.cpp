#include "util/TextBuffer.h"

#include <bit>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace {

using JY::HexDump;
using JY::TextBuffer;

template <class... Values>
std::string textOf(const Values&... values) {
    TextBuffer buffer;
    (buffer << ... << values);
    return buffer.str();
}

TEST(TextBuffer, JoinsNarrowWideAndNumbers) {
    EXPECT_EQ(textOf("a=", std::string("b"), L" c=", std::wstring(L"d"), ' ', -5, ' ', 7U), "a=b c=d -5 7");
}

TEST(TextBuffer, WritesTheWidestNumbers) {
    EXPECT_EQ(textOf(std::numeric_limits<std::int64_t>::min(), ' ', std::numeric_limits<std::uint64_t>::max()),
              "-9223372036854775808 18446744073709551615");
}

TEST(TextBuffer, WritesBytesAsNumbersAndCharactersAsCharacters) {
    EXPECT_EQ(textOf(std::uint8_t{65}, 'A', true, false), "65A10");
}

TEST(TextBuffer, WritesNullTextAsAWord) {
    EXPECT_EQ(textOf(static_cast<const char*>(nullptr), '|', static_cast<const wchar_t*>(nullptr)), "(null)|(null)");
}

TEST(TextBuffer, EndsWideTextAtItsFirstNul) {
    EXPECT_EQ(textOf(std::wstring_view(L"ab\0cd", 5), "|"), "ab|");
}

TEST(TextBuffer, WritesGuidsInLowerCaseWithoutBraces) {
    const GUID guid{0x0D96AD9A, 0x8E7B, 0x4898, {0x95, 0x02, 0xE5, 0xBE, 0x5A, 0x5D, 0x48, 0x90}};
    EXPECT_EQ(textOf(guid), "0d96ad9a-8e7b-4898-9502-e5be5a5d4890");
}

TEST(TextBuffer, WritesHexadecimalAndScientificNumbers) {
    EXPECT_EQ(textOf(JY::Hex{0x80070057}, ' ', JY::Hex{0}, ' ', JY::Scientific{29.97}), "80070057 0 2.997000e+01");
}

TEST(TextBuffer, WritesScientificNumbersAsPrintfDoes) {
    std::mt19937_64 random(1);
    std::vector<double> numbers = {0.0,
                                   -0.0,
                                   0.5,
                                   1.0000005,
                                   9.9999995,
                                   1e100,
                                   -1e-100,
                                   5e-324,
                                   std::numeric_limits<double>::max(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::quiet_NaN()};
    for (int count = 0; count < 50'000; ++count) {
        numbers.push_back(std::bit_cast<double>(random()));
    }
    for (const double number : numbers) {
        char printed[64];
        std::snprintf(printed, sizeof printed, "%e", number);
        ASSERT_EQ(textOf(JY::Scientific{number}), printed);
    }
}

TEST(TextBuffer, KeepsTextLongerThanItsInlineRoom) {
    const std::string part(300, 'x');
    EXPECT_EQ(textOf(part, part, part), part + part + part);
}

TEST(TextBuffer, GoesOnWithNumbersAndDumpsWhereItsInlineRoomEnds) {
    for (std::size_t length = 480; length < 530; ++length) {
        const std::string text(length, 'x');
        EXPECT_EQ(textOf(text, -12345, '.'), text + "-12345.");
        EXPECT_EQ(textOf(text, HexDump{"AB", 2}, '.'), text + "\n    41 42 " + std::string(42, ' ') + "AB.");
    }
}

TEST(TextBuffer, IsWrittenOverInPlace) {
    TextBuffer buffer;
    buffer << "ENTER: f";
    buffer.replace(1, "EXIT: ");
    EXPECT_EQ(buffer.str(), "EEXIT: f");
    buffer.replace(7, "g");
    EXPECT_EQ(buffer.str(), "EEXIT: g");
}

TEST(HexDump, OfTwentyBytesGivesTwoLinesWithTheCharactersInColumn48) {
    const std::string bytes = "ABCDEFGHIJKLMNOPwx\x01\xff";
    EXPECT_EQ(textOf(HexDump{bytes.data(), bytes.size()}),
              "\n    41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50 ABCDEFGHIJKLMNOP"
              "\n    77 78 01 ff " +
                  std::string(36, ' ') + "wx..");
}

TEST(HexDump, BeginsALineForEverySixteenBytes) {
    const std::string bytes(17, 'x');
    const std::string line = "\n    78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 78 xxxxxxxxxxxxxxxx";
    EXPECT_EQ(textOf(HexDump{bytes.data(), 16}), line);
    EXPECT_EQ(textOf(HexDump{bytes.data(), 17}), line + "\n    78 " + std::string(45, ' ') + "x");
}

TEST(HexDump, ShowsGraphicCharactersAndNoOthers) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto character = static_cast<unsigned char>(byte);
        const char shown = byte > 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
        EXPECT_EQ(textOf(HexDump{&character, 1}).back(), shown) << byte;
    }
}

TEST(HexDump, ShowsABlankAsADot) {
    EXPECT_EQ(textOf(HexDump{" ", 1}), "\n    20 " + std::string(45, ' ') + ".");
}

TEST(HexDump, OfANullPointerWritesNothing) {
    EXPECT_EQ(textOf("a", HexDump{nullptr, 20}, "b"), "ab");
}

TEST(HexDump, OfNoBytesWritesNothing) {
    EXPECT_EQ(textOf("a", HexDump{"x", 0}, "b"), "ab");
}

} // namespace
