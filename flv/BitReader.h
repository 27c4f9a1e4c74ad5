#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace JY::Pictaro::Fs {

/// Reads fields of bits from bytes in memory, most significant bit first. Bits behind the end read as 0.
class BitReader {
public:
    /// The bytes are not copied.
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// The next `count` bits as a number; at most 32.
    std::uint32_t read(unsigned count);
    void skip(std::size_t count) { position_ += count; }
    /// Whether bits behind the end have been read or skipped.
    bool isOverrun() const { return position_ > 8 * bytes_.size(); }

private:
    unsigned nextBit();

    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0; // in bits
};

} // namespace JY::Pictaro::Fs
