#pragma once

#include <cstdint>

namespace JY {

/// A bounded, seekable byte stream. Positions and sizes are bytes from the start.
class Stream {
public:
    virtual ~Stream() = default;
    /// Reads `count` bytes and returns how many came. A read that would pass the limit reads nothing, returns 0 and
    /// leaves the position where it was; only the end of the data itself gives a short count.
    virtual std::uint32_t read(void* buffer, std::uint32_t count) = 0;
    /// Moves by `offset`; false, without moving, when that leads before the start or past the limit.
    virtual bool skip(std::int64_t offset) = 0;
    /// The current position.
    virtual std::int64_t tell() = 0;
    /// Moves to an absolute position, which is not checked against the limit; false when that fails.
    virtual bool seek(std::int64_t position) = 0;
    /// Sets the limit to the current position plus `offset` and returns it.
    virtual std::int64_t setLimit(std::int64_t offset) = 0;
    /// Size of the data minus the current position; the limit plays no part.
    virtual std::int64_t remaining() = 0;
    /// Removes the limit; returns the value that stands for none.
    virtual std::int64_t clearLimit() = 0;
    /// Whether more than `count` bytes remain, which can be cheaper to tell than how many.
    virtual bool hasMoreThan(std::int64_t count) { return remaining() > count; }
};

} // namespace JY
