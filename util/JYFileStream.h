#pragma once

#include "util/Stream.h"

#include <windows.h>

#include <cstdint>
#include <limits>
#include <optional>

namespace JY {

/// A stream over a file handle. While it lives, nothing else may move the handle's file pointer. Never throws after
/// construction: a failing call reads nothing or does not move. Not for use by two threads at once.
class FileStream final : public Stream {
public:
    /// The handle is not owned and must outlive the stream. The limit starts as the file's size, which is asked for
    /// once, here. Throws ApiErrorException "GetFileSizeEx".
    explicit FileStream(HANDLE handle);

    std::uint32_t read(void* buffer, std::uint32_t count) override;
    bool skip(std::int64_t offset) override;
    /// Asks the system; 0 when that fails.
    std::int64_t tell() override;
    bool seek(std::int64_t position) override;
    std::int64_t setLimit(std::int64_t offset) override;
    std::int64_t remaining() override;
    std::int64_t clearLimit() override;

private:
    static constexpr std::int64_t noLimit = std::numeric_limits<std::int64_t>::max();

    std::int64_t position();

    HANDLE handle_;
    std::int64_t size_ = 0;
    std::int64_t limit_ = noLimit;
    /// Where the file pointer is, when that is known: asking costs as much as a read.
    std::optional<std::int64_t> position_;
};

} // namespace JY
