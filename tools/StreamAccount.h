#pragma once

#include "tools/SampleFacts.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>

namespace JY::Tools {

/// What the samples of one stream come to.
struct StreamAccount {
    DWORD identifier = 0;
    std::uint64_t samples = 0;
    std::uint64_t bytes = 0;
    /// Pieces of the medium: consecutive samples of one time count as one, since a picture can come in several samples.
    std::uint64_t frames = 0;
    std::uint64_t keyFrames = 0;
    /// The earliest and the latest time, in 100 ns. Without meaning when there are no samples.
    LONGLONG firstTime = 0;
    LONGLONG lastTime = 0;
    /// Why the stream was not read to its end, in words.
    std::optional<std::string> failure;

    void add(const SampleFacts& sample);

private:
    LONGLONG previousTime_ = 0;
};

} // namespace JY::Tools
