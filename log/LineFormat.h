#pragma once

#include "log/Record.h"
#include "util/TextBuffer.h"

#include <array>
#include <cstddef>

namespace JY::Log2 {

/// The 20 columns of the source file's name in a line, and room for the terminator. A sink uses the one that it renders
/// with under its own lock, so no two locks may stand for one of them.
using SourceColumn = std::array<char, 21>;

/// Appends the head of a record's line, up to and including the blank before the message: local time, thread, severity,
/// source file (padded or cut to 20 columns) and line.
void appendLineHead(TextBuffer& out, const Record& record, SourceColumn& column);

/// Sends a record's line, its message up to the first NUL, to the debugger's output.
void sendToDebugger(const Record& record, SourceColumn& column);

} // namespace JY::Log2
