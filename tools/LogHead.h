#pragma once

#include "tools/LogSeverity.h"
#include "tools/LogTime.h"

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>

namespace JY::Tools {

/// The most characters of a source file's name that a log shows.
constexpr std::size_t logSourceLength = 20;

/// What stands in front of a record's message.
struct LogHead {
    LogTime time;
    DWORD thread = 0;
    LogSeverity severity = LogSeverity::unknown;
    /// Cut to `logSourceLength` by the log, here without the blanks that fill it up.
    std::string source;
    /// Bytes up to the message.
    std::size_t length = 0;
};

/// @param text begins with the head.
/// @returns none when it begins with anything that the log does not write just so.
std::optional<LogHead> readLogHead(std::string_view text);

} // namespace JY::Tools
