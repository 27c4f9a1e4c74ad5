#pragma once

#include "tests/support/Bytes.h"
#include "util/Stream.h"

#include <cstdint>
#include <limits>
#include <optional>

namespace JY::Test {

/// A stream over bytes in memory that keeps the contract of a stream over a file, and can be made to fail.
class MemoryStream final : public Stream {
public:
    explicit MemoryStream(Bytes bytes);

    std::uint32_t read(void* buffer, std::uint32_t count) override;
    bool skip(std::int64_t offset) override;
    std::int64_t tell() override { return position_; }
    bool seek(std::int64_t position) override;
    std::int64_t setLimit(std::int64_t offset) override { return limit_ = position_ + offset; }
    std::int64_t remaining() override { return size() - position_; }
    std::int64_t clearLimit() override { return limit_ = noLimit; }

    /// The next `count` moves (seek or skip) succeed, later ones fail.
    void failMovesAfter(unsigned count) { movesLeft_ = count; }
    /// The data reads as if it ended here, while its size stays.
    void cutReadsAt(std::int64_t position) { readEnd_ = position; }

    std::int64_t size() const { return static_cast<std::int64_t>(bytes_.size()); }
    std::int64_t limit() const { return limit_; }
    /// How many calls of `read` there have been.
    unsigned readCount() const { return readCount_; }

private:
    static constexpr std::int64_t noLimit = std::numeric_limits<std::int64_t>::max();

    bool moveTo(std::int64_t position);

    Bytes bytes_;
    std::int64_t position_ = 0;
    std::int64_t limit_;
    std::int64_t readEnd_;
    std::optional<unsigned> movesLeft_;
    unsigned readCount_ = 0;
};

} // namespace JY::Test
