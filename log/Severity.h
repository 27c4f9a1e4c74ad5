#pragma once

#include <cstdint>

namespace JY::Log2 {

/// How much a record matters. "warn" ranks below "notice".
enum class Severity : std::int32_t { trace = 0, debug = 1, info = 2, warn = 3, notice = 4, error = 5, fatal = 6 };

/// The name written into every line; "Unknown" for a number without one.
const char* severityName(Severity severity);

} // namespace JY::Log2
