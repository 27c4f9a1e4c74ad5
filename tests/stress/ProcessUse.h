#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace JY::Test {

/// What a process has of the system.
struct ProcessUse {
    std::size_t handles = 0;
    std::size_t privateBytes = 0;
    std::size_t heapBytes = 0; ///< in blocks of all heaps that are in use

    std::string text() const;
};

/// Measured when idle threads of thread pools have ended and nothing changes any more.
ProcessUse measureAtRest();

/// What is in use in blocks of all heaps, at once. Other threads should be at rest.
std::size_t usedHeapBytes();

/// What is wrong with a process that had `before` and has `after`, when the system itself has lost so many bytes in
/// between; empty when everything else has been given back.
std::string lossBetween(const ProcessUse& before, const ProcessUse& after, std::size_t bytesLostBySystem);

} // namespace JY::Test
