#include "log/LocalClock.h"

#include "tests/support/ImportPatch.h"
#include "util/ProcessorCounter.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace {

using JY::ProcessorCounter;
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

/// Lets go by what a time told may be shared for.
void outwaitTheMillisecond() {
    Sleep(2);
}

/// A clock that the test sets, as is how far it is ahead of universal time: three hours at first.
class SetClock {
public:
    SetClock() {
        bias = 3 * ticksPerHour;
        conversions = 0;
    }
    SetClock(const SetClock&) = delete;
    SetClock& operator=(const SetClock&) = delete;
    ~SetClock() { outwaitTheMillisecond(); }

    static void set(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second, WORD milliseconds) {
        set(ticksOf({year, month, 0, day, hour, minute, second, milliseconds}));
    }
    static void set(std::uint64_t ticks) {
        now = ticks;
        outwaitTheMillisecond();
    }

    inline static std::uint64_t now = 0;
    inline static std::uint64_t bias = 0;
    inline static unsigned conversions = 0;

private:
    static void WINAPI preciseTime(FILETIME* time) { *time = fileTimeOf(now); }
    static BOOL WINAPI toLocal(const FILETIME* universal, FILETIME* local) {
        ++conversions;
        *local = fileTimeOf((std::uint64_t{universal->dwHighDateTime} << 32 | universal->dwLowDateTime) + bias);
        return TRUE;
    }

    ImportPatch<decltype(&GetSystemTimePreciseAsFileTime)> precise_{"GetSystemTimePreciseAsFileTime", preciseTime};
    ImportPatch<decltype(&FileTimeToLocalFileTime)> local_{"FileTimeToLocalFileTime", toLocal};
};

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

std::uint64_t preciseTicks() {
    FILETIME time;
    GetSystemTimePreciseAsFileTime(&time);
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::uint64_t wholeMilliseconds(std::uint64_t ticks) {
    return ticks - ticks % ticksPerMillisecond;
}

/// Ticks by which local time is ahead of universal time.
std::uint64_t localBias() {
    const FILETIME universal = fileTimeOf(preciseTicks());
    FILETIME local{};
    FileTimeToLocalFileTime(&universal, &local);
    return (std::uint64_t{local.dwHighDateTime} << 32 | local.dwLowDateTime) -
           (std::uint64_t{universal.dwHighDateTime} << 32 | universal.dwLowDateTime);
}

/// How many of so many times lie before the millisecond in which they were asked for, or after it.
unsigned countWrongTimes(unsigned rounds, std::uint64_t bias) {
    unsigned wrong = 0;
    for (unsigned round = 0; round < rounds; ++round) {
        const std::uint64_t before = wholeMilliseconds(preciseTicks());
        const std::uint64_t told = ticksOf(localTime()) - bias;
        const std::uint64_t after = wholeMilliseconds(preciseTicks());
        wrong += told < before || told > after ? 1 : 0;
    }
    return wrong;
}

TEST(LocalClock, TellsTheVeryMillisecondOfTheMoment) {
    EXPECT_EQ(countWrongTimes(300'000, localBias()), 0U);
}

TEST(LocalClock, TellsTheVeryMillisecondOfTheMomentToEveryThread) {
    const std::uint64_t bias = localBias();
    std::atomic<unsigned> wrong{0};
    {
        std::vector<std::jthread> threads;
        for (unsigned thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&] { wrong += countWrongTimes(100'000, bias); });
        }
    }
    EXPECT_EQ(wrong, 0U);
}

/// Counts how often the system's clock is asked.
class CountedClock {
public:
    CountedClock() {
        asked = 0;
        system = &patch_;
    }

    inline static unsigned asked = 0;

private:
    using Patch = ImportPatch<decltype(&GetSystemTimePreciseAsFileTime)>;

    static void WINAPI countedTime(FILETIME* time) {
        ++asked;
        system->callOriginal(time);
    }

    inline static const Patch* system = nullptr;
    Patch patch_{"GetSystemTimePreciseAsFileTime", countedTime};
};

TEST(LocalClock, AsksTheSystemForFewOfManyTimes) {
    if (!ProcessorCounter::isSteady()) {
        GTEST_SKIP() << "this processor's counter does not serve";
    }
    constexpr unsigned times = 1'000'000;
    constexpr std::uint64_t mostInAMillisecond = 500; // of some ten thousand times
    const CountedClock clock;
    const std::uint64_t start = preciseTicks();
    for (unsigned time = 0; time < times; ++time) {
        localTime();
    }
    const std::uint64_t milliseconds = (preciseTicks() - start) / ticksPerMillisecond + 1;
    EXPECT_GE(CountedClock::asked, milliseconds / 2);
    EXPECT_LT(CountedClock::asked, milliseconds * mostInAMillisecond);
}

TEST(LocalClock, AsksTheSystemAgainWhenTheMillisecondIsOver) {
    const CountedClock clock;
    localTime();
    outwaitTheMillisecond();
    CountedClock::asked = 0;
    localTime();
    EXPECT_EQ(CountedClock::asked, 1U);
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

TEST(LocalClock, FollowsAChangeOfTheTimeZoneWithTheNextMinute) {
    const SetClock clock;
    SetClock::set(2026, 10, 25, 0, 59, 30, 0);
    EXPECT_EQ(textOf(localTime()), "2026/10/25 (0) 03:59:30.000");
    SetClock::bias = 2 * ticksPerHour;
    SetClock::set(2026, 10, 25, 1, 0, 0, 0);
    EXPECT_EQ(textOf(localTime()), "2026/10/25 (0) 03:00:00.000");
}

TEST(LocalClock, TurnsOverIntoTheNextYear) {
    const SetClock clock;
    SetClock::set(2026, 12, 31, 20, 59, 59, 999);
    EXPECT_EQ(textOf(localTime()), "2026/12/31 (4) 23:59:59.999");
    SetClock::set(SetClock::now + ticksPerMillisecond);
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

} // namespace
