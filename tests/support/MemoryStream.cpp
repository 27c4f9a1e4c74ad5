#include "tests/support/MemoryStream.h"

#include <algorithm>

namespace JY::Test {

MemoryStream::MemoryStream(Bytes bytes) : bytes_(std::move(bytes)), limit_(size()), readEnd_(size()) {}

std::uint32_t MemoryStream::read(void* buffer, std::uint32_t count) {
    ++readCount_;
    if (position_ > limit_ - static_cast<std::int64_t>(count)) {
        return 0;
    }
    const std::int64_t available = std::max<std::int64_t>(readEnd_ - position_, 0);
    const auto taken = static_cast<std::uint32_t>(std::min<std::int64_t>(available, count));
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(std::min(position_, size())), taken,
                static_cast<std::uint8_t*>(buffer));
    position_ += taken;
    return taken;
}

bool MemoryStream::skip(std::int64_t offset) {
    const std::int64_t target = position_ + offset;
    return target >= 0 && target <= limit_ && moveTo(target);
}

bool MemoryStream::seek(std::int64_t position) {
    return position >= 0 && moveTo(position);
}

bool MemoryStream::moveTo(std::int64_t position) {
    if (movesLeft_ == 0U) {
        return false;
    }
    if (movesLeft_) {
        --*movesLeft_;
    }
    position_ = position;
    return true;
}

} // namespace JY::Test
