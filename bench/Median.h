#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace JY::Bench {

/// The middle of at least one value; of an even number of them, the greater of the two in the middle.
inline double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

} // namespace JY::Bench
