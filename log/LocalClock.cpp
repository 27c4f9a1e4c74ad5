#include "log/LocalClock.h"

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <cstring>
#include <intrin.h>
#include <optional>

namespace JY::Log2 {

namespace {

// Asking the system costs more than all the rest of a record (31 ns instead of 10 under Wine), and a record's time is
// one of whole milliseconds. So the answer is shared until the millisecond may be over, by the processor's own counter,
// whose rate need not be known for that: the slowest counter decides, a faster one only has the system asked more often
// than needed. What is told is always what the system would have told.

constexpr std::uint64_t ticksPerMillisecond = 10'000;
/// Of the processor's counter in a tick of the clock, 100 ns, at the slowest.
constexpr std::uint64_t countsPerTick = 50;

/// Whether the counter runs on at the same rate whatever the processor does.
bool isCounterSteady() {
    constexpr int highestExtended = static_cast<int>(0x80000000);
    constexpr int powerManagement = static_cast<int>(0x80000007);
    constexpr int steady = 1 << 8;
    std::array<int, 4> registers{};
    __cpuid(registers.data(), highestExtended);
    if (static_cast<unsigned>(registers[0]) < static_cast<unsigned>(powerManagement)) {
        return false;
    }
    __cpuid(registers.data(), powerManagement);
    return (registers[3] & steady) != 0;
}

const bool hasSteadyCounter = isCounterSteady();

/// A local time and the values of the counter for which it holds, shared by all threads without a lock: who finds it
/// being changed does without it.
class SharedTime {
public:
    /// False, with nothing of use in `time`, when none is known for this value of the counter.
    bool get(std::uint64_t counter, SYSTEMTIME& time) const {
        const unsigned version = version_.load(std::memory_order_acquire);
        const std::uint64_t age = counter - from_.load(std::memory_order_relaxed);
        const bool holds = age < count_.load(std::memory_order_relaxed);
        const Words words{time_[0].load(std::memory_order_relaxed), time_[1].load(std::memory_order_relaxed)};
        std::memcpy(&time, &words, sizeof time); // a bit_cast is taken to pieces by the compiler, at twice the cost
        std::atomic_thread_fence(std::memory_order_acquire);
        return holds && !isBeingChanged(version) && version_.load(std::memory_order_relaxed) == version;
    }

    /// `time` holds from `counter` on for so many counts.
    void set(std::uint64_t counter, std::uint64_t counts, const SYSTEMTIME& time) {
        unsigned version = version_.load(std::memory_order_relaxed);
        if (isBeingChanged(version) || !version_.compare_exchange_strong(version, version + 1)) {
            return; // another thread's is as good
        }
        std::atomic_thread_fence(std::memory_order_release);
        const auto words = std::bit_cast<Words>(time);
        from_.store(counter, std::memory_order_relaxed);
        count_.store(counts, std::memory_order_relaxed);
        time_[0].store(words[0], std::memory_order_relaxed);
        time_[1].store(words[1], std::memory_order_relaxed);
        version_.store(version + 2, std::memory_order_release);
    }

private:
    using Words = std::array<std::uint64_t, 2>;

    static bool isBeingChanged(unsigned version) { return version % 2 != 0; }

    std::atomic<unsigned> version_{0};
    std::atomic<std::uint64_t> from_{0};
    std::atomic<std::uint64_t> count_{0};
    std::array<std::atomic<std::uint64_t>, 2> time_{};
};

constinit SharedTime sharedTime;

/// As the system converts it.
std::optional<SYSTEMTIME> toLocalTime(const FILETIME& universal) {
    FILETIME local{};
    SYSTEMTIME time{};
    if (!FileTimeToLocalFileTime(&universal, &local) || !FileTimeToSystemTime(&local, &time)) {
        return std::nullopt;
    }
    return time;
}

SYSTEMTIME systemsLocalTime() {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return time;
}

/// Asks the clock. `counter` was read before.
SYSTEMTIME newTime(std::uint64_t counter) {
    FILETIME universal;
    GetSystemTimePreciseAsFileTime(&universal); // GetLocalTime's clock may lie behind it, so the two are never mixed
    const std::optional<SYSTEMTIME> time = toLocalTime(universal);
    if (!time) {
        return systemsLocalTime();
    }
    const std::uint64_t ticks = std::uint64_t{universal.dwHighDateTime} << 32 | universal.dwLowDateTime;
    sharedTime.set(counter, (ticksPerMillisecond - ticks % ticksPerMillisecond) * countsPerTick, *time);
    return *time;
}

} // namespace

SYSTEMTIME localTime() {
    const std::uint64_t counter = __rdtsc();
    SYSTEMTIME time;
    if (!hasSteadyCounter || !sharedTime.get(counter, time)) {
        time = newTime(counter);
    }
    return time;
}

} // namespace JY::Log2
