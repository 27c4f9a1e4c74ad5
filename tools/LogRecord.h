#pragma once

#include "tools/LogHead.h"

#include <string>

namespace JY::Tools {

/// A record of a log.
struct LogRecord {
    LogHead head;
    /// From the head to the line end, as it stands in the file.
    std::string text;
    /// The text is more of the record before it in the same file, which looked complete when it was read. The head is
    /// that record's and stands not in the text.
    bool more = false;
};

} // namespace JY::Tools
