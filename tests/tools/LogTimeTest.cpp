#include "tools/LogTime.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace JY::Tools {
namespace {

const LogTime now = *readLogTime("2026/11/21 09:08:07.006");

TEST(LogTime, IsReadAndWrittenAlike) {
    for (const char* text : {"2026/11/21 10:00:00.123", "2024/02/29 23:59:59.999", "1601/01/01 00:00:00.000"}) {
        const auto time = readLogTime(text);
        ASSERT_TRUE(time) << text;
        EXPECT_EQ(logTimeText(*time), text);
    }
}

TEST(LogTime, GoesOnFromMillisecondToYear) {
    EXPECT_LT(readLogTime("2026/11/21 10:00:00.123"), readLogTime("2026/11/21 10:00:00.124"));
    EXPECT_LT(readLogTime("2026/11/30 23:59:59.999"), readLogTime("2026/12/01 00:00:00.000"));
    EXPECT_LT(readLogTime("2026/12/31 23:59:59.999"), readLogTime("2027/01/01 00:00:00.000"));
}

TEST(LogTime, IsNotReadWhereThereIsNone) {
    for (const char* text :
         {"", "2026/11/21 10:00:00", "2026/11/21 10:00:00.1234", "2026/11/21 10:00:00,123", "2026-11-21 10:00:00.123",
          "2026/13/21 10:00:00.123", "2026/00/21 10:00:00.123", "2026/02/29 10:00:00.123", "2026/11/00 10:00:00.123",
          "2026/11/21 24:00:00.123", "2026/11/21 10:60:00.123", "2026/11/21 10:00:60.123", "2026/11/21 1a:00:00.123"}) {
        EXPECT_FALSE(readLogTime(text)) << text;
    }
}

TEST(LogTime, IsTakenFromAPersonInEachForm) {
    const LogTime wanted = *readLogTime("2026/11/20 10:00:00.000");
    EXPECT_EQ(parseLogTime(L"2026/11/20 10:00:00", now), wanted);
    EXPECT_EQ(parseLogTime(L"2026/11/20 10:00:00.000", now), wanted);
    EXPECT_EQ(parseLogTime(L"2026-11-20T10:00:00", now), wanted);
    EXPECT_EQ(parseLogTime(L"2026-11-20 10:00:00", now), wanted);
    EXPECT_EQ(parseLogTime(L"2026-11-20T10:00:00.123", now), readLogTime("2026/11/20 10:00:00.123"));
}

TEST(LogTime, WithoutADateIsToday) {
    EXPECT_EQ(parseLogTime(L"10:00:00", now), readLogTime("2026/11/21 10:00:00.000"));
    EXPECT_EQ(parseLogTime(L"10:00:00.5", now), std::nullopt);
    EXPECT_EQ(parseLogTime(L"10:00:00.500", now), readLogTime("2026/11/21 10:00:00.500"));
}

TEST(LogTime, IsNotTakenFromAnythingElse) {
    for (const wchar_t* text : {L"", L"10", L"10:00", L"25:00:00", L"2026/11/21", L"2026/11/21T10", L"yesterday",
                                L"2026-11/21 10:00:00", L"2026/11/21 10:00:00.123Z", L"\u0661\u0660:00:00"}) {
        EXPECT_EQ(parseLogTime(text, now), std::nullopt);
    }
}

TEST(LogTime, OfTheClockIsLocal) {
    SYSTEMTIME before{};
    GetLocalTime(&before);
    const std::string text = logTimeText(currentLogTime());
    EXPECT_EQ(std::stoi(text.substr(0, 4)), before.wYear);
    EXPECT_GT(currentLogTime(), now - std::chrono::years(100));
}

} // namespace
} // namespace JY::Tools
