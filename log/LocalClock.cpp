#include "log/LocalClock.h"

#include <atomic>
#include <cstdint>

namespace JY::Log2 {

namespace {

constexpr std::uint64_t ticksPerMillisecond = 10'000;
constexpr std::uint64_t ticksPerMinute = 60'000 * ticksPerMillisecond;
constexpr unsigned millisecondsPerSecond = 1'000;

/// A minute and its local date and hour in one word, so that threads can share it without a lock.
class KnownMinute {
public:
    KnownMinute(std::uint64_t minute, const SYSTEMTIME& time)
        : word_(minute << minuteShift | std::uint64_t{time.wYear} << 23 | std::uint64_t{time.wMonth} << 19 |
                std::uint64_t{time.wDayOfWeek} << 16 | std::uint64_t{time.wDay} << 11 | std::uint64_t{time.wHour} << 6 |
                time.wMinute) {}
    explicit KnownMinute(std::uint64_t word) : word_(word) {}

    std::uint64_t word() const { return word_; }
    bool is(std::uint64_t minute) const { return word_ >> minuteShift == minute; }
    SYSTEMTIME start() const {
        SYSTEMTIME time{};
        time.wYear = field(23, 12);
        time.wMonth = field(19, 4);
        time.wDayOfWeek = field(16, 3);
        time.wDay = field(11, 5);
        time.wHour = field(6, 5);
        time.wMinute = field(0, 6);
        return time;
    }

private:
    static constexpr unsigned minuteShift = 35;

    WORD field(unsigned shift, unsigned width) const {
        return static_cast<WORD>(word_ >> shift & ((std::uint64_t{1} << width) - 1));
    }

    std::uint64_t word_;
};

std::atomic<std::uint64_t> knownMinute{0};

/// Units of 100 ns since 1601, by the clock that is read fastest under Wine. GetLocalTime's own may lie behind it by
/// one of its ticks, so the two are never mixed.
std::uint64_t ticksNow() {
    FILETIME time;
    GetSystemTimePreciseAsFileTime(&time);
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// As the system converts it, and keeps the date and hour of its minute.
SYSTEMTIME convertedTime(std::uint64_t ticks) {
    const FILETIME universal{static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
    FILETIME local{};
    SYSTEMTIME time{};
    if (FileTimeToLocalFileTime(&universal, &local) && FileTimeToSystemTime(&local, &time)) {
        knownMinute.store(KnownMinute(ticks / ticksPerMinute, time).word(), std::memory_order_relaxed);
    } else {
        GetLocalTime(&time);
    }
    return time;
}

} // namespace

SYSTEMTIME localTime() {
    const std::uint64_t ticks = ticksNow();
    const KnownMinute known(knownMinute.load(std::memory_order_relaxed));
    if (!known.is(ticks / ticksPerMinute)) {
        return convertedTime(ticks);
    }
    SYSTEMTIME time = known.start();
    const auto milliseconds = static_cast<unsigned>(ticks % ticksPerMinute / ticksPerMillisecond);
    time.wSecond = static_cast<WORD>(milliseconds / millisecondsPerSecond);
    time.wMilliseconds = static_cast<WORD>(milliseconds % millisecondsPerSecond);
    return time;
}

} // namespace JY::Log2
