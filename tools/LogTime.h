#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace JY::Tools {

/// A time as the log writes it: local time of the machine that wrote it, in milliseconds.
using LogTime = std::chrono::local_time<std::chrono::milliseconds>;

/// The characters of a time in a log, "2026/11/21 10:00:00.123".
constexpr std::size_t logTimeLength = 23;

/// @param text the time and nothing else.
/// @returns none when it is no such time, or none that there is (a 13th month).
std::optional<LogTime> readLogTime(std::string_view text);

/// A time as a person gives it: like the log's, with or without milliseconds, with "-" in the date and "T" behind it as
/// in ISO 8601, or without a date, for today.
/// @param now which day is today.
/// @returns none when it is no time.
std::optional<LogTime> parseLogTime(const std::wstring& text, LogTime now);

/// As the log writes it.
std::string logTimeText(LogTime time);

LogTime currentLogTime();

} // namespace JY::Tools
