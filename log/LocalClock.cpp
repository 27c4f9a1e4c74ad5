#include "log/LocalClock.h"

#include "util/LatestValue.h"
#include "util/ProcessorCounter.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace JY::Log2 {

namespace {

// Asking the system's clock takes 31 ns under Wine, as long as all the rest of a record, and a record's time is one of
// whole milliseconds. So an answer serves all threads for as long as its millisecond lasts by the processor's own
// counter, at the slowest rate that the counter is trusted with: a faster one only has the clock asked more often than
// needed. (Where the counters of two cores were not in step, a time could be late by their difference.) The date is
// converted once a minute.

constexpr std::uint64_t ticksPerMillisecond = 10'000;
constexpr std::uint64_t ticksPerMinute = 60'000 * ticksPerMillisecond;
constexpr unsigned millisecondsPerSecond = 1'000;
/// Of the processor's counter in a tick of the clock, 100 ns, at the slowest.
constexpr std::uint64_t countsPerTick = 50;

/// A SYSTEMTIME in two pieces: the compiler takes its eight fields apart wherever it is copied, at twice the cost.
using PackedTime = std::array<std::uint64_t, sizeof(SYSTEMTIME) / sizeof(std::uint64_t)>;

PackedTime packed(const SYSTEMTIME& time) {
    PackedTime result;
    std::memcpy(result.data(), &time, sizeof time);
    return result;
}

SYSTEMTIME unpacked(const PackedTime& time) {
    SYSTEMTIME result;
    std::memcpy(&result, time.data(), sizeof result);
    return result;
}

/// An answer of the clock.
struct Moment {
    std::uint64_t counter; ///< the processor's, before the clock was asked
    std::uint64_t counts;  ///< for how many of it the local time stays what it is; 0 where that is not known
    std::uint64_t ticks;   ///< universal time; units of 100 ns since 1601
    PackedTime local;
};

constinit LatestValue<Moment> latestMoment;

/// By the clock that is read fastest under Wine. GetLocalTime's own may lie behind it by one of its ticks, so the two
/// are never mixed.
std::uint64_t ticksNow() {
    FILETIME time;
    GetSystemTimePreciseAsFileTime(&time);
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

/// As the system converts it.
bool toLocalTime(std::uint64_t ticks, SYSTEMTIME& time) {
    const FILETIME universal{static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
    FILETIME local{};
    return FileTimeToLocalFileTime(&universal, &local) && FileTimeToSystemTime(&local, &time);
}

/// A time in the minute of `time`.
SYSTEMTIME withinMinute(SYSTEMTIME time, std::uint64_t ticks) {
    const auto milliseconds = static_cast<unsigned>(ticks % ticksPerMinute / ticksPerMillisecond);
    time.wSecond = static_cast<WORD>(milliseconds / millisecondsPerSecond);
    time.wMilliseconds = static_cast<WORD>(milliseconds % millisecondsPerSecond);
    return time;
}

/// For how many counts the millisecond lasts at least. None while the counter is not known to run fast enough, which
/// it must have done since the moment before.
std::uint64_t countsLeft(const Moment& before, std::uint64_t counter, std::uint64_t ticks) {
    const bool isFastEnough = ticks >= before.ticks && counter >= before.counter &&
                              (counter - before.counter) / countsPerTick > ticks - before.ticks;
    return isFastEnough ? (ticksPerMillisecond - ticks % ticksPerMillisecond) * countsPerTick : 0;
}

[[gnu::noinline]] SYSTEMTIME askClock(const Moment& before, std::uint64_t counter) {
    const std::uint64_t ticks = ticksNow();
    SYSTEMTIME time;
    if (ticks / ticksPerMinute == before.ticks / ticksPerMinute) {
        time = withinMinute(unpacked(before.local), ticks);
    } else if (!toLocalTime(ticks, time)) {
        GetLocalTime(&time);
        return time;
    }
    const std::uint64_t counts = ProcessorCounter::isSteady() ? countsLeft(before, counter, ticks) : 0;
    latestMoment.set({counter, counts, ticks, packed(time)});
    return time;
}

} // namespace

SYSTEMTIME localTime() {
    const std::uint64_t counter = ProcessorCounter::isSteady() ? ProcessorCounter::now() : 0;
    const Moment latest = latestMoment.get().value_or(Moment{});
    return counter - latest.counter < latest.counts ? unpacked(latest.local) : askClock(latest, counter);
}

} // namespace JY::Log2
