#include "tools/LogHead.h"

#include "tests/tools/LogText.h"

#include <array>
#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

const std::string line = "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (   65) Too short FlvTag.\r\n";

TEST(LogHead, IsReadFromALine) {
    const auto head = readLogHead(line);
    ASSERT_TRUE(head);
    EXPECT_EQ(head->time, readLogTime("2026/11/21 10:00:00.123"));
    EXPECT_EQ(head->thread, 0x1a4U);
    EXPECT_EQ(head->severity, LogSeverity::warn);
    EXPECT_EQ(head->source, "FlvTag");
    EXPECT_EQ(line.substr(head->length), "Too short FlvTag.\r\n");
}

TEST(LogHead, IsReadWithEverySeverity) {
    constexpr std::array names{"trace", "debug", "info", "warn", "notice", "error", "fatal", "Unknown"};
    for (std::size_t number = 0; number < names.size(); ++number) {
        TestHead written;
        written.severity = names[number];
        const std::string text = recordText("message", written);
        const auto head = readLogHead(text);
        ASSERT_TRUE(head) << text;
        EXPECT_EQ(head->severity, static_cast<LogSeverity>(number));
        EXPECT_EQ(text.substr(head->length), "message\r\n");
    }
    EXPECT_LT(LogSeverity::warn, LogSeverity::notice);
}

TEST(LogHead, IsReadWithEveryLineNumber) {
    for (const int number : {0, 1, 65, 99999, 100000, 2147483647, -1, -9999, -99999, -2147483647 - 1}) {
        TestHead written;
        written.line = number;
        const std::string text = recordText("message", written);
        const auto head = readLogHead(text);
        ASSERT_TRUE(head) << text;
        EXPECT_EQ(text.substr(head->length), "message\r\n");
    }
}

TEST(LogHead, IsReadWithTheFarthestThread) {
    TestHead written;
    written.thread = 0xFFFFFFFF;
    EXPECT_EQ(readLogHead(recordText("", written))->thread, 0xFFFFFFFFU);
}

TEST(LogHead, ShowsASourceAsFarAsTheLogDoes) {
    TestHead written;
    written.source = "ASourceFileOf25Characters";
    EXPECT_EQ(readLogHead(recordText("", written))->source, "ASourceFileOf25Chara");
    written.source = "In Two (2) Words";
    EXPECT_EQ(readLogHead(recordText("", written))->source, "In Two (2) Words");
    written.source = "";
    EXPECT_EQ(readLogHead(recordText("", written))->source, "");
}

TEST(LogHead, IsNotReadBeforeItIsComplete) {
    const std::string whole = headText({});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_FALSE(readLogHead(whole.substr(0, size))) << size;
    }
    EXPECT_TRUE(readLogHead(whole));
}

TEST(LogHead, IsNotReadWhereTheLogWouldWriteItOtherwise) {
    for (const char* text : {"2026/11/21 10:00:00.123 000001A4 warn   FlvTag              (   65) ", // capital digits
                             "2026/11/21 10:00:00.123 000001g4 warn   FlvTag              (   65) ",
                             "2026/11/21 10:00:00.123 000001a4 Warn   FlvTag              (   65) ",
                             "2026/11/21 10:00:00.123 000001a4 warning FlvTag              (   65) ",
                             "2026/11/21 10:00:00.123 000001a4  warn  FlvTag              (   65) ",
                             "2026/11/21 10:00:00.123 000001a4 warn x FlvTag              (   65) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag             (   65) ",   // 19 columns
                             "2026/11/21 10:00:00.123 000001a4 warn   Flv\nTag             (   65) ", // no name
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (65   ) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (00065) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (   6x) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (     ) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (   -0) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (65) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (    65) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (2147483648) ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              [   65] ",
                             "2026/11/21 10:00:00.123 000001a4 warn   FlvTag              (   65)x",
                             "2026/11/31 10:00:00.123 000001a4 warn   FlvTag              (   65) "}) {
        EXPECT_FALSE(readLogHead(text)) << text;
    }
}

} // namespace
} // namespace JY::Tools
