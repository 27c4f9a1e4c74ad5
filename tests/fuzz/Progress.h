#pragma once

#include <windows.h>

#include <array>
#include <atomic>
#include <cstdint>

namespace JY::Fuzz {

/// The calls whose results are counted.
enum class Call : std::uint32_t { create, describe, start, pause, stop, requestSample, shutdown };
constexpr std::array<const char*, 7> callNames = {"create", "describe",      "Start",   "Pause",
                                                  "Stop",   "RequestSample", "Shutdown"};

/// What a worker has done so far. Lies in memory shared with the controller, so that it outlives a worker that ends
/// badly; one thread of one worker writes at a time. All zero at first.
struct Progress {
    struct Result {
        Call call;
        HRESULT result;
        std::uint64_t count;
    };

    std::atomic<std::uint64_t> current; ///< the number of the case at hand
    std::atomic<bool> hasFinished;      ///< the worker has ended by itself, in good order
    std::uint64_t cases;
    std::uint64_t searchedForEver; ///< files that are not opened, for nobody would come back
    std::uint64_t waitedForEver;   ///< files on which a stream waited at the end, as is defined
    std::uint64_t opened;
    std::uint64_t withSamples;
    std::uint64_t samples;
    std::uint64_t sampleBytes;
    std::uint64_t workItems;
    std::uint64_t consumptionChecks; ///< how often memory and handles were compared with what is usual
    std::uint64_t slowestCase;
    std::uint64_t slowestMilliseconds;
    std::atomic<std::uint64_t> findings;
    std::array<Result, 96> results;

    void count(Call call, HRESULT result);
};

} // namespace JY::Fuzz
