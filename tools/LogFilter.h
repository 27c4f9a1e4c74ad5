#pragma once

#include "tools/LogRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace JY::Tools {

/// Which records are wanted. Every condition that is given must hold; of several values in one, any will do.
struct LogFilter {
    /// That and above.
    LogSeverity severity = LogSeverity::trace;
    std::vector<DWORD> threads;
    /// Names of source files, of which no more counts than the log shows; capital and small letters are the same.
    std::vector<std::string> sources;
    /// Both times belong to the span.
    std::optional<LogTime> since;
    std::optional<LogTime> until;
    /// In the message, in the log's encoding; capital and small letters of ASCII are the same.
    std::string text;

    bool accepts(const LogRecord& record) const;
};

} // namespace JY::Tools
