#pragma once

#include "tools/LogFile.h"
#include "tools/LogRecord.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace JY::Tools {

/// What has come in a log file since it was read last.
struct LogGrowth {
    /// Complete ones, in the file's order.
    std::vector<LogRecord> records;
    /// Bytes at the file's beginning that belong to no record.
    std::size_t leadIn = 0;
    /// What stands behind the last line end: a record that is being written. It is read again the next time.
    std::string unfinished;
};

/// Reads a log file as it grows. A file that was emptied and is filled anew, or deleted and made anew, is read from its
/// beginning. Nothing is kept open between two readings.
class LogTail {
public:
    explicit LogTail(std::wstring path) : path_(std::move(path)) {}

    /// @throws Failure
    LogGrowth read();

private:
    bool goesOn(const LogFile& file) const;
    void startAnew();
    LogGrowth take(const std::string& content);
    void remember(std::string_view taken);

    std::wstring path_;
    /// Up to where the records have been read.
    std::uint64_t offset_ = 0;
    /// The bytes at the file's beginning and those in front of `offset_`: they tell whether it still is the same log.
    std::string beginning_;
    std::string latest_;
    std::optional<LogHead> last_;
};

} // namespace JY::Tools
