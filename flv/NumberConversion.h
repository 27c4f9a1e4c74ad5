#pragma once

#include <algorithm>
#include <cmath>
#include <concepts>
#include <limits>

namespace JY::Pictaro::Fs {

/// A number from a file as an integer, truncated toward zero. What is not a number becomes 0, and what lies beyond the
/// type's range becomes the outermost value that a double can stand for.
template <std::integral Integer>
Integer truncateTo(double value) {
    using Range = std::numeric_limits<Integer>;
    if (std::isnan(value)) {
        return 0;
    }
    const auto lowest = static_cast<double>(Range::min());
    const double highest = std::nextafter(std::ldexp(1.0, Range::digits), 0.0);
    return static_cast<Integer>(std::clamp(value, lowest, highest));
}

} // namespace JY::Pictaro::Fs
