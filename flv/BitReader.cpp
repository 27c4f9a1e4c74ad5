#include "flv/BitReader.h"

namespace JY::Pictaro::Fs {

std::uint32_t BitReader::read(unsigned count) {
    std::uint32_t value = 0;
    for (unsigned left = count; left != 0; --left) {
        value = (value << 1) | nextBit();
    }
    return value;
}

unsigned BitReader::nextBit() {
    const std::size_t index = position_ / 8;
    const auto shift = static_cast<unsigned>(7 - position_ % 8);
    ++position_;
    return index < bytes_.size() ? (bytes_[index] >> shift) & 1U : 0U;
}

} // namespace JY::Pictaro::Fs
