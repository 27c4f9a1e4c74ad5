#pragma once

#include "util/TextBuffer.h"

#include <cstdint>

namespace JY::Pictaro {

/// A time in a file, in microseconds. One value stands for "invalid"; calculating with it or comparing it throws
/// ErrorException "Invalid value.".
class TimePosition {
public:
    constexpr TimePosition() = default;
    constexpr explicit TimePosition(std::int64_t microseconds) : microseconds_(microseconds) {}
    static constexpr TimePosition invalid() { return TimePosition(invalidValue); }

    /// The position of an FLV time stamp: milliseconds × 1000 in unsigned 32-bit arithmetic, which wraps after
    /// 4294967295 µs (about 71.6 minutes).
    static constexpr TimePosition fromMilliseconds(std::uint32_t milliseconds) {
        return TimePosition(static_cast<std::uint32_t>(milliseconds * 1000U));
    }

    constexpr bool isValid() const { return microseconds_ != invalidValue; }
    /// Throws ErrorException "Invalid value." when invalid.
    void checkIsValid() const;

    /// The raw number, also of the invalid position.
    constexpr std::int64_t microseconds() const { return microseconds_; }
    /// In Media Foundation's unit of 100 ns.
    constexpr std::int64_t hundredNanoseconds() const { return microseconds_ * 10; }

    /// Same raw value; never throws.
    friend constexpr bool operator==(TimePosition left, TimePosition right) = default;
    /// Both operands are checked, the left one first.
    friend bool operator<=(TimePosition left, TimePosition right);
    friend bool operator>(TimePosition left, TimePosition right) { return !(left <= right); }
    /// Both operands and the difference are checked.
    friend TimePosition operator-(TimePosition left, TimePosition right);

private:
    static constexpr std::int64_t invalidValue = INT64_MAX;
    std::int64_t microseconds_ = 0;
};

/// Decimal microseconds followed by "[microsec]", or "Invalid value.".
TextBuffer& operator<<(TextBuffer& text, TimePosition position);

} // namespace JY::Pictaro
