#include "log/LocalClock.h"

#include "tests/support/ImportPatch.h"

#include <gtest/gtest.h>

namespace {

using JY::Log2::localTime;
using JY::Test::ImportPatch;

constexpr std::uint64_t ticksPerMillisecond = 10'000;
/// What GetLocalTime's clock may lie behind.
constexpr std::uint64_t clockTick = 16 * ticksPerMillisecond;
constexpr std::uint64_t ticksPerHour = 3'600'000 * ticksPerMillisecond;

std::uint64_t ticksOf(const SYSTEMTIME& time) {
    FILETIME file{};
    SystemTimeToFileTime(&time, &file);
    return std::uint64_t{file.dwHighDateTime} << 32 | file.dwLowDateTime;
}

FILETIME fileTimeOf(std::uint64_t ticks) {
    return {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
}

std::string textOf(const SYSTEMTIME& time) {
    char text[64];
    std::snprintf(text, sizeof text, "%04d/%02d/%02d (%d) %02d:%02d:%02d.%03d", time.wYear, time.wMonth, time.wDay,
                  time.wDayOfWeek, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds);
    return text;
}

/// A clock that the test sets, three hours ahead of universal time.
class SetClock {
public:
    SetClock() { conversions = 0; }

    static void set(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second, WORD milliseconds) {
        now = ticksOf({year, month, 0, day, hour, minute, second, milliseconds});
    }

    inline static std::uint64_t now = 0;
    inline static unsigned conversions = 0;

private:
    static void WINAPI preciseTime(FILETIME* time) { *time = fileTimeOf(now); }
    static BOOL WINAPI toLocal(const FILETIME* universal, FILETIME* local) {
        ++conversions;
        *local =
            fileTimeOf((std::uint64_t{universal->dwHighDateTime} << 32 | universal->dwLowDateTime) + 3 * ticksPerHour);
        return TRUE;
    }

    ImportPatch<decltype(&GetSystemTimePreciseAsFileTime)> precise_{"GetSystemTimePreciseAsFileTime", preciseTime};
    ImportPatch<decltype(&FileTimeToLocalFileTime)> local_{"FileTimeToLocalFileTime", toLocal};
};

} // namespace

TEST(LocalClock, TellsWhatTheSystemTells) {
    for (unsigned round = 0; round < 1'000; ++round) {
        SYSTEMTIME before;
        SYSTEMTIME after;
        GetLocalTime(&before);
        const SYSTEMTIME told = localTime();
        GetLocalTime(&after);
        ASSERT_LE(ticksOf(before), ticksOf(told));
        ASSERT_LE(ticksOf(told), ticksOf(after) + clockTick);
        ASSERT_TRUE(told.wDayOfWeek == before.wDayOfWeek || told.wDayOfWeek == after.wDayOfWeek);
    }
}

TEST(LocalClock, CountsOnThroughAMinute) {
    const SetClock clock;
    SetClock::set(2026, 2, 28, 10, 59, 0, 0);
    EXPECT_EQ(textOf(localTime()), "2026/02/28 (6) 13:59:00.000");
    SetClock::set(2026, 2, 28, 10, 59, 7, 8);
    EXPECT_EQ(textOf(localTime()), "2026/02/28 (6) 13:59:07.008");
    SetClock::set(2026, 2, 28, 10, 59, 59, 999);
    EXPECT_EQ(textOf(localTime()), "2026/02/28 (6) 13:59:59.999");
    EXPECT_EQ(SetClock::conversions, 1U);
}

TEST(LocalClock, TurnsOverIntoTheNextYear) {
    const SetClock clock;
    SetClock::set(2026, 12, 31, 20, 59, 59, 999);
    EXPECT_EQ(textOf(localTime()), "2026/12/31 (4) 23:59:59.999");
    SetClock::now += ticksPerMillisecond;
    EXPECT_EQ(textOf(localTime()), "2027/01/01 (5) 00:00:00.000");
}

TEST(LocalClock, FollowsAClockThatIsSetBack) {
    const SetClock clock;
    SetClock::set(2026, 6, 1, 12, 0, 0, 0);
    localTime();
    SetClock::set(2026, 6, 1, 11, 30, 15, 0);
    EXPECT_EQ(textOf(localTime()), "2026/06/01 (1) 14:30:15.000");
}

BOOL WINAPI noConversion(const FILETIME*, FILETIME*) {
    return FALSE;
}

TEST(LocalClock, AsksForTheLocalTimeWhereNothingCanBeConverted) {
    const SetClock clock;
    SetClock::set(2020, 1, 1, 0, 0, 0, 0);
    const ImportPatch<decltype(&FileTimeToLocalFileTime)> patch("FileTimeToLocalFileTime", noConversion);
    SYSTEMTIME before;
    GetLocalTime(&before);
    EXPECT_LE(ticksOf(before), ticksOf(localTime()));
}
