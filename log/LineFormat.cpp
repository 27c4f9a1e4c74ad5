#include "log/LineFormat.h"

#include <cstdio>
#include <string_view>

namespace JY::Log2 {

void appendLineHead(TextBuffer& out, const Record& record, SourceColumn& column) {
    std::snprintf(column.data(), column.size(), "%-20s", record.position.file);
    char head[128];
    const SYSTEMTIME& time = record.time;
    const int length =
        std::snprintf(head, sizeof head, "%04d/%02d/%02d %02d:%02d:%02d.%03d %08lx %-6s %s(%5d) ", time.wYear,
                      time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds,
                      record.threadId, severityName(record.severity), column.data(), record.position.line);
    out << std::string_view(head, static_cast<std::size_t>(length));
}

void sendToDebugger(const Record& record, SourceColumn& column) {
    TextBuffer line;
    appendLineHead(line, record, column);
    line << record.message << '\n' << '\0';
    OutputDebugStringA(line.view().data());
}

} // namespace JY::Log2
