#include "util/JYFileStream.h"

#include "util/ApiErrorException.h"

#include <algorithm>
#include <cstring>

namespace JY {

namespace {

constexpr SourceFile here{"JYFileStream"};

/// Bytes of a window. The usual one holds most tags whole and takes the system little longer than a single byte would
/// (0.4 to 0.3 microseconds); the largest is as fast, byte for byte, as larger ones.
constexpr std::uint32_t usualBlock = 4 * 1024;
constexpr std::uint32_t largestBlock = 32 * 1024;
/// Bytes from the window at which a position still counts as reading on.
constexpr std::int64_t nearBy = std::int64_t{2} * usualBlock;

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

FileStream::FileStream(HANDLE handle) : handle_(handle), size_(sizeOf(handle)), blockSize_(usualBlock) {}

void FileStream::refresh(std::uint32_t expected) {
    size_.reset();
    limit_.reset();
    windowSize_ = 0;
    blockSize_ = expected != 0 && expected <= largestBlock ? expected : usualBlock;
}

void FileStream::refreshAt(std::int64_t position) {
    refresh();
    position_ = pointer_ = position;
}

std::uint32_t FileStream::read(void* buffer, std::uint32_t count) {
    const std::int64_t start = tell();
    const std::int64_t end = addSaturated(start, count);
    if (!position_ || (limit_ && end > *limit_)) {
        return 0;
    }
    if (count > ahead().size() && count <= usualBlock) {
        fillWindow(count); // in vain where bytes near by cannot be read; these themselves may be
    }
    if (!isWithinLimit(end)) {
        return 0;
    }
    const std::uint32_t copied = copyAhead(buffer, count);
    if (copied == count) {
        return count;
    }
    const auto rest = readAt(*position_, static_cast<std::uint8_t*>(buffer) + copied, count - copied);
    position_ = rest ? *position_ + *rest : start;
    return rest ? copied + *rest : 0;
}

bool FileStream::skip(std::int64_t offset) {
    const std::int64_t target = addSaturated(tell(), offset);
    return target >= 0 && isWithinLimit(target) && seek(target);
}

std::int64_t FileStream::tell() {
    if (!position_) {
        LARGE_INTEGER position{};
        if (!SetFilePointerEx(handle_, LARGE_INTEGER{}, &position, FILE_CURRENT)) {
            return 0;
        }
        position_ = pointer_ = position.QuadPart;
    }
    return *position_;
}

bool FileStream::seek(std::int64_t position) {
    if (!isInWindow(position) && !movePointer(position)) {
        return false;
    }
    position_ = position;
    return true;
}

std::int64_t FileStream::setLimit(std::int64_t offset) {
    limit_ = addSaturated(tell(), offset);
    return *limit_;
}

std::int64_t FileStream::remaining() {
    return size() - tell();
}

std::int64_t FileStream::clearLimit() {
    limit_ = noLimit;
    return noLimit;
}

bool FileStream::hasMoreThan(std::int64_t count) {
    const std::int64_t end = addSaturated(tell(), count);
    return end != std::numeric_limits<std::int64_t>::max() && hasSize(end + 1);
}

/// Whether the file has that many bytes. What the window shows need not be asked for.
bool FileStream::hasSize(std::int64_t bytes) {
    return (!size_ && bytes <= windowEnd()) || bytes <= size();
}

std::int64_t FileStream::size() {
    if (!size_) {
        size_ = sizeOf(handle_);
    }
    return *size_;
}

std::span<const std::uint8_t> FileStream::ahead() const {
    if (!position_ || !isInWindow(*position_)) {
        return {};
    }
    return std::span(window_).first(windowSize_).subspan(static_cast<std::size_t>(*position_ - windowStart_));
}

bool FileStream::isWithinLimit(std::int64_t position) {
    return limit_ ? position <= *limit_ : hasSize(position);
}

/// Fills the window anew so that it shows the next `count` bytes, as far as the file has them.
void FileStream::fillWindow(std::uint32_t count) {
    placeWindow(count);
    windowSize_ = 0; // until it is filled
    window_.resize(std::max<std::size_t>(window_.size(), blockSize_));
    windowSize_ = readAt(windowStart_, window_.data(), blockSize_).value_or(0);
}

/// Whoever reads on close to the window before, forwards or backwards, gets ever larger ones; who jumps, a small one.
void FileStream::placeWindow(std::uint32_t count) {
    const std::int64_t position = *position_;
    const bool readsOn = windowSize_ != 0 && position >= windowStart_ - nearBy && position <= windowEnd() + nearBy;
    if (windowSize_ != 0) {
        blockSize_ = readsOn ? std::min(2 * std::max(blockSize_, usualBlock), largestBlock) : usualBlock;
    }
    blockSize_ = std::max(blockSize_, count);
    const bool readsBack = readsOn && position < windowStart_;
    windowStart_ =
        readsBack ? std::max<std::int64_t>(std::max(windowStart_, position + count) - blockSize_, 0) : position;
}

/// Moves past up to `count` bytes that the window shows.
std::uint32_t FileStream::copyAhead(void* buffer, std::uint32_t count) {
    const auto bytes = ahead().first(std::min<std::size_t>(count, ahead().size()));
    if (!bytes.empty()) {
        std::memcpy(buffer, bytes.data(), bytes.size());
        *position_ += static_cast<std::int64_t>(bytes.size());
    }
    return static_cast<std::uint32_t>(bytes.size());
}

/// How many bytes came; nothing when the system fails.
std::optional<std::uint32_t> FileStream::readAt(std::int64_t position, void* buffer, std::uint32_t count) {
    DWORD done = 0;
    if (!movePointer(position) || !ReadFile(handle_, buffer, count, &done, nullptr)) {
        pointer_.reset();
        return std::nullopt;
    }
    pointer_ = position + done;
    return done;
}

bool FileStream::movePointer(std::int64_t position) {
    if (pointer_ == position) {
        return true;
    }
    LARGE_INTEGER distance;
    distance.QuadPart = position;
    if (!SetFilePointerEx(handle_, distance, nullptr, FILE_BEGIN)) {
        return false;
    }
    pointer_ = position;
    return true;
}

} // namespace JY
