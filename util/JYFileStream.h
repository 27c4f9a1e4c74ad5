#pragma once

#include "util/Stream.h"

#include <windows.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <vector>

namespace JY {

/// A stream over a file handle. While it lives, nothing else may move the handle's file pointer. Not for use by two
/// threads at once.
///
/// What small reads need is read in one piece: a window onto the file, from which reads and moves near by are served
/// without the system. The window shows the file as it was when it was filled; whoever keeps a stream for longer than
/// one task calls `refresh` before the next, and then sees what others have written since.
///
/// A failing call reads nothing or does not move. Nothing is thrown but std::bad_alloc for want of memory for the
/// window and, where the file's size is needed for the first time after `refresh`, ApiErrorException "GetFileSizeEx".
class FileStream final : public Stream {
public:
    /// The handle is not owned and must outlive the stream. The limit starts as the file's size, which is asked for
    /// here. Throws ApiErrorException "GetFileSizeEx".
    explicit FileStream(HANDLE handle);

    /// Forgets what is known of the file's bytes and size; the limit is the file's size again. The position stays. The
    /// next window is of about the `expected` bytes when that is given and not too much.
    void refresh(std::uint32_t expected = 0);
    /// Tells the stream that the file pointer was moved to `position` by somebody else; otherwise as `refresh`.
    void refreshAt(std::int64_t position);

    std::uint32_t read(void* buffer, std::uint32_t count) override;
    bool skip(std::int64_t offset) override;
    /// Asks the system when the position is not known yet; 0 when that fails.
    std::int64_t tell() override;
    bool seek(std::int64_t position) override;
    std::int64_t setLimit(std::int64_t offset) override;
    std::int64_t remaining() override;
    std::int64_t clearLimit() override;
    bool hasMoreThan(std::int64_t count) override;
    /// The bytes from the position on that are at hand, without asking the system; until the next call.
    std::span<const std::uint8_t> ahead() const;

private:
    static constexpr std::int64_t noLimit = std::numeric_limits<std::int64_t>::max();

    bool hasSize(std::int64_t bytes);
    std::int64_t size();
    /// 0 for an empty window: every file has that many bytes.
    std::int64_t windowEnd() const { return windowSize_ != 0 ? windowStart_ + windowSize_ : 0; }
    bool isInWindow(std::int64_t position) const {
        return windowSize_ != 0 && position >= windowStart_ && position <= windowEnd();
    }
    bool isWithinLimit(std::int64_t position);
    void fillWindow(std::uint32_t count);
    void placeWindow(std::uint32_t count);
    std::uint32_t copyAhead(void* buffer, std::uint32_t count);
    std::optional<std::uint32_t> readAt(std::int64_t position, void* buffer, std::uint32_t count);
    bool movePointer(std::int64_t position);

    HANDLE handle_;
    std::optional<std::int64_t> size_;
    /// Nothing: the file's size, which need not be known.
    std::optional<std::int64_t> limit_;
    /// Where the stream is and where the file pointer is, when that is known.
    std::optional<std::int64_t> position_;
    std::optional<std::int64_t> pointer_;
    std::vector<std::uint8_t> window_;
    std::int64_t windowStart_ = 0;
    std::uint32_t windowSize_ = 0;
    /// Bytes of the next window.
    std::uint32_t blockSize_;
};

} // namespace JY
