#pragma once

#include "log/Record.h"

#include <string_view>

namespace JY::Test {

/// A record of 2026-03-04 05:06:07.008, thread 0xabc.
inline Log2::Record recordOf(Log2::Severity severity, const char* file, int line, std::string_view message) {
    const SYSTEMTIME time{2026, 3, 0, 4, 5, 6, 7, 8};
    return Log2::Record{time, 0xabc, severity, {file, line}, message};
}

/// An error of "Test" line 1, whose head in a line is `testHead`.
inline Log2::Record errorOf(std::string_view message) {
    return recordOf(Log2::Severity::error, "Test", 1, message);
}
inline constexpr std::string_view testHead = "2026/03/04 05:06:07.008 00000abc error  Test                (    1) ";

} // namespace JY::Test
