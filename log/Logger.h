#pragma once

#include "log/InternalCoreInterface.h"
#include "log/RecordBuilder.h"
#include "log/Severity.h"
#include "util/SourcePosition.h"
#include "util/TextBuffer.h"

#include <string_view>

namespace JY::Log2 {

/// Handle through which code logs; unique owner of one live-logger count of its core, and the count keeps the core
/// alive. A tracing logger wrote "ENTER: " when it was made and writes "EXIT: " when it is destroyed. One thread.
class Logger {
public:
    /// An untraced logger. The core's live count must have been raised for it.
    explicit Logger(InternalCoreInterface& core) : core_(&core) {}
    /// A tracing logger, which writes its "ENTER: " record here. `className` (empty for a free function) and
    /// `function` are not copied and must live for ever.
    Logger(InternalCoreInterface& core, SourcePosition position, std::string_view className, std::string_view function,
           Severity severity);
    Logger(Logger&& other) noexcept;
    Logger& operator=(Logger&&) = delete;
    ~Logger();

    /// A record under construction; it is sent at the end of the full expression.
    RecordBuilder record(SourcePosition position, Severity severity) const {
        return RecordBuilder(core_, position, severity);
    }
    RecordBuilder trace(SourcePosition position) const { return record(position, Severity::trace); }
    RecordBuilder debug(SourcePosition position) const { return record(position, Severity::debug); }
    RecordBuilder info(SourcePosition position) const { return record(position, Severity::info); }
    RecordBuilder warn(SourcePosition position) const { return record(position, Severity::warn); }
    RecordBuilder notice(SourcePosition position) const { return record(position, Severity::notice); }
    RecordBuilder error(SourcePosition position) const { return record(position, Severity::error); }
    RecordBuilder fatal(SourcePosition position) const { return record(position, Severity::fatal); }

private:
    void writeTrace(std::string_view prefix);
    std::string_view traceText(std::string_view prefix);

    InternalCoreInterface* core_; ///< null after a move
    SourcePosition position_{"", 0};
    std::string_view className_;
    std::string_view function_;
    Severity severity_ = Severity::trace;
    bool traces_ = false;
    TextBuffer trace_; ///< a trace record's text, once there has been one
};

} // namespace JY::Log2
