#pragma once

#include "log/Logger.h"
#include "log/Severity.h"
#include "log/Sink.h"
#include "util/SourcePosition.h"

#include <boost/shared_ptr.hpp>

#include <string_view>
#include <typeinfo>

namespace JY::Log2 {

/// What happens at shutdown to loggers that are still alive.
enum class ShutdownMode { reportFatal = 0, reportWarning = 1, silent = 2 };

/// The log core: fans every record out to its sinks. Any thread may log; sinks are added and the core is shut down
/// while no other thread logs.
class Core {
public:
    /// Appends a sink; sinks receive records in the order in which they were added.
    virtual void addSink(boost::shared_ptr<Sink> sink) = 0;
    virtual void flush() = 0;
    /// Reports live loggers by the mode, closes every sink and forgets them.
    virtual void shutdown(ShutdownMode mode) = 0;
    /// A logger that writes "ENTER: " and, when it goes, "EXIT: " with "class::function" at the given severity.
    /// `function` is not copied and must live for ever, here and below; a string literal is meant.
    virtual Logger createLogger(SourcePosition position, const std::type_info& type, std::string_view function,
                                Severity severity) = 0;
    /// The same for a function without a class.
    virtual Logger createLogger(SourcePosition position, std::string_view function, Severity severity) = 0;
    /// A logger without a trace.
    virtual Logger createLogger() = 0;
    virtual ~Core() = default;
};

/// Installs the process-wide core (null for none) and releases the one before it after the exchange. Waits for the
/// loggers that are being made at that moment, so a sink must not call it.
void setCore(boost::shared_ptr<Core> core);

/// Loggers from the process-wide core; while none is installed they discard everything.
Logger traceMember(SourcePosition position, const std::type_info& type, std::string_view function);
Logger traceFunction(SourcePosition position, std::string_view function);
Logger untraced();

} // namespace JY::Log2
