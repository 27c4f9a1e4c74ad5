#pragma once

#include "log/LocalClock.h"
#include "log/Severity.h"
#include "util/SourcePosition.h"

#include <windows.h>

#include <string_view>

namespace JY::Log2 {

/// One log record on its way to the sinks. Owned by the code that sends it; a sink that keeps it must copy the message.
struct Record {
    SYSTEMTIME time; ///< local time, taken when the record is sent
    DWORD threadId;
    Severity severity;
    SourcePosition position;
    std::string_view message;
};

/// A record of this moment and this thread. `message` is not copied.
inline Record makeRecord(SourcePosition position, Severity severity, std::string_view message) {
    return {localTime(), GetCurrentThreadId(), severity, position, message};
}

} // namespace JY::Log2
