#pragma once

#include "tests/fuzz/Progress.h"

#include <cstddef>
#include <cstdint>

namespace JY::Fuzz {

/// What the process has taken at one time, to compare with.
class Consumption {
public:
    /// `progress` outlives the object.
    explicit Consumption(const Progress& progress);

    /// @throws Finding when the process has grown by more than the work since then explains.
    void check() const;

private:
    const Progress& progress_;
    std::uint64_t cases_;
    std::uint64_t workItems_;
    std::size_t memory_;
    std::size_t handles_;
};

} // namespace JY::Fuzz
