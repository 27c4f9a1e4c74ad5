#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace JY::Test {

/// What the clients have had of the module: samples that were compared with the film's, and calls of sources that
/// succeeded.
inline std::atomic<std::uint64_t> comparedSamples{0};
inline std::atomic<std::uint64_t> successfulCalls{0};

/// What was too little for a run of so many seconds to mean anything; empty when it was enough. The slowest build on a
/// busy machine does many times as much.
inline std::string lackOfWork(std::uint64_t samples, std::uint64_t calls, unsigned seconds) {
    constexpr unsigned fewestSamplesInASecond = 20;
    constexpr unsigned fewestCallsInASecond = 200;
    if (samples < std::uint64_t{seconds} * fewestSamplesInASecond) {
        return "hardly a sample has been compared";
    }
    if (calls < std::uint64_t{seconds} * fewestCallsInASecond) {
        return "hardly a call has succeeded";
    }
    return {};
}

} // namespace JY::Test
