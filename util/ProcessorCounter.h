#pragma once

#include <cstdint>
#include <intrin.h>

namespace JY {

/// The processor's time-stamp counter: the cheapest measure of time that there is, at a rate that nobody tells.
class ProcessorCounter {
public:
    /// Whether the counter runs on at the same rate whatever the processor does. False before this has been asked of
    /// the processor, while static objects are made.
    static bool isSteady() { return isSteady_; }
    /// The counter now.
    static std::uint64_t now() { return __rdtsc(); }

private:
    static const bool isSteady_;
};

} // namespace JY
