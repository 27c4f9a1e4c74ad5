#pragma once

#include "tests/support/PrivateMemory.h"

#include <windows.h>

#include <cstdint>
#include <optional>

namespace JY::Fuzz {

/// How long one thing may take. Time is the process's own on the processor, so that a busy machine makes nothing late;
/// what waits without working is given up after a longer time on the clock.
class Patience {
public:
    static constexpr std::uint64_t usualWork = 1500;   ///< milliseconds of processor time
    static constexpr std::uint64_t usualWait = 30'000; ///< milliseconds on the clock

    explicit Patience(std::uint64_t workMilliseconds = usualWork, std::uint64_t waitMilliseconds = usualWait);
    bool isOver() const;
    std::uint64_t processorMilliseconds() const;

private:
    std::uint64_t mostWork_;
    std::uint64_t longestWait_;
    ULONGLONG started_;
    std::uint64_t startedProcessor_;
};

/// Waits until `condition` holds. Returns whether it did before `patience` was over or the memory had grown too far.
template <class Condition>
bool waitUntil(const Condition& condition, const Patience& patience = Patience()) {
    constexpr unsigned busyRounds = 200;
    constexpr std::size_t mostMemory = std::size_t{1} << 29;
    for (unsigned round = 0; !condition(); ++round) {
        if (round < busyRounds) {
            SwitchToThread();
            continue;
        }
        Sleep(1);
        if (round % 8 == 0 && (patience.isOver() || Test::privateBytes() > mostMemory)) {
            return condition();
        }
    }
    return true;
}

} // namespace JY::Fuzz
