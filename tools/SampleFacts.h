#pragma once

#include <mfobjects.h>
#include <windows.h>

#include <cstdint>

namespace JY::Tools {

/// What can be told of one media sample.
struct SampleFacts {
    /// 100 ns. A sample without a time or duration has 0.
    LONGLONG time = 0;
    LONGLONG duration = 0;
    DWORD bytes = 0;
    std::uint32_t crc = 0;
    /// The sample is marked as one that decoding can begin with.
    bool cleanPoint = false;

    /// Tells whether both are the same piece of the medium. The duration does not count: some sources give it as the
    /// distance from the sample delivered before.
    bool sameContent(const SampleFacts& other) const {
        return time == other.time && bytes == other.bytes && crc == other.crc;
    }
};

/// @throws Failure
SampleFacts factsOf(IMFSample& sample);

} // namespace JY::Tools
