#include "log/DebugOutSink.h"

#include "log/LineFormat.h"

#include <windows.h>

namespace JY::Log2 {

void DebugOutSink::doWrite(const Record& record) {
    static SourceColumn column;
    TextBuffer line;
    appendLineHead(line, record, column);
    line << record.message << '\n' << '\0';
    OutputDebugStringA(line.view().data());
}

} // namespace JY::Log2
