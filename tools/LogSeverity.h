#pragma once

#include <optional>
#include <string_view>

namespace JY::Tools {

/// How much a record matters, in the log's order: "warn" ranks below "notice". A number that the log has no name for
/// ("Unknown") ranks above all, so that no filter hides it.
enum class LogSeverity { trace, debug, info, warn, notice, error, fatal, unknown };

/// @param name as the log writes it.
std::optional<LogSeverity> severityNamed(std::string_view name);

} // namespace JY::Tools
