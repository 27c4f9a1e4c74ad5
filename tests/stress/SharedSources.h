#pragma once

#include "tests/stress/StressedSource.h"

#include <windows.h>

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>

namespace JY::Test {

/// Places for media sources that many threads use at once. Each source lives for a while only, so that whoever waits
/// for its events wakes. Any thread.
class SharedSources {
public:
    static constexpr std::size_t places = 4;

    /// Null when the place is empty.
    std::shared_ptr<StressedSource> find(std::size_t place) const;
    /// Unless another is there by now; it is shut down then.
    void put(std::size_t place, std::shared_ptr<StressedSource> source);
    /// Shuts down and forgets the sources that have been there for so long.
    void retire(ULONGLONG milliseconds);

private:
    struct Entry {
        std::shared_ptr<StressedSource> source;
        ULONGLONG since = 0;
    };

    mutable std::mutex mutex_;
    std::array<Entry, places> entries_;
};

} // namespace JY::Test
