#include "util/JYFileStream.h"

#include "util/ApiErrorException.h"

namespace JY {

namespace {

constexpr SourceFile here{"JYFileStream"};

/// Stops at the ends of the range: an offset from a damaged file must not wrap round to a position inside it.
constexpr std::int64_t addSaturated(std::int64_t left, std::int64_t right) {
    using Range = std::numeric_limits<std::int64_t>;
    if (right > 0 && left > Range::max() - right) {
        return Range::max();
    }
    if (right < 0 && left < Range::min() - right) {
        return Range::min();
    }
    return left + right;
}

std::int64_t sizeOf(HANDLE file) {
    LARGE_INTEGER size{};
    throwIfFalse(GetFileSizeEx(file, &size), here.at(14), "GetFileSizeEx");
    return size.QuadPart;
}

} // namespace

FileStream::FileStream(HANDLE handle) : handle_(handle), size_(sizeOf(handle)), limit_(size_) {}

std::uint32_t FileStream::read(void* buffer, std::uint32_t count) {
    const std::int64_t start = position();
    if (start > limit_ || count > limit_ - start) {
        return 0;
    }
    DWORD done = 0;
    if (!ReadFile(handle_, buffer, count, &done, nullptr)) {
        position_.reset();
        return 0;
    }
    position_ = start + done;
    return done;
}

bool FileStream::skip(std::int64_t offset) {
    const std::int64_t target = addSaturated(position(), offset);
    return target >= 0 && target <= limit_ && seek(target);
}

std::int64_t FileStream::tell() {
    LARGE_INTEGER position{};
    if (!SetFilePointerEx(handle_, LARGE_INTEGER{}, &position, FILE_CURRENT)) {
        position_.reset();
        return 0;
    }
    position_ = position.QuadPart;
    return position.QuadPart;
}

bool FileStream::seek(std::int64_t position) {
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    if (!SetFilePointerEx(handle_, distance, nullptr, FILE_BEGIN)) {
        return false;
    }
    position_ = position;
    return true;
}

std::int64_t FileStream::setLimit(std::int64_t offset) {
    return limit_ = addSaturated(position(), offset);
}

std::int64_t FileStream::remaining() {
    return size_ - position();
}

std::int64_t FileStream::clearLimit() {
    return limit_ = noLimit;
}

std::int64_t FileStream::position() {
    return position_ ? *position_ : tell();
}

} // namespace JY
