#pragma once

#include "tools/LogRecord.h"

#include <ostream>
#include <vector>

namespace JY::Tools {

/// Writes records as they stand in the log. For a terminal they are turned into UTF-8, and control characters become
/// dots: names of files that someone else chose must not control the user's terminal.
class LogPrinter {
public:
    LogPrinter(std::ostream& out, bool terminal) : out_(out), terminal_(terminal) {}

    void print(const std::vector<LogRecord>& records);

private:
    std::ostream& out_;
    bool terminal_;
};

} // namespace JY::Tools
