#include "log/DebugOutSink.h"

namespace JY::Log2 {

void DebugOutSink::doWrite(const Record& record) {
    sendToDebugger(record, column_);
}

} // namespace JY::Log2
