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

/// What is wrong with a process that had `before` and has `after` so many work items of Media Foundation later; empty
/// when everything has been given back but what the system loses.
std::string lossBetween(const ProcessUse& before, const ProcessUse& after, std::uint64_t workItems);

} // namespace JY::Test
