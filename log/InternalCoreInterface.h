#pragma once

#include "log/Record.h"
#include "log/Severity.h"
#include "util/SourcePosition.h"

#include <string_view>

namespace JY::Log2 {

/// The side of the core that loggers see. Any thread.
class InternalCoreInterface {
public:
    virtual void write(const Record& record) = 0;
    /// The end of a logger, which keeps the core alive until then: the core may be gone afterwards.
    virtual void releaseLogger() = 0;
    /// Whether any sink wants a record of this severity; the others need not be built.
    virtual bool wants(Severity severity) const = 0;

    /// Writes a record of this moment. A log that fails must not fail its caller.
    void send(SourcePosition position, Severity severity, std::string_view message) noexcept {
        try {
            write(makeRecord(position, severity, message));
        } catch (...) {
            // There is nowhere to tell of it.
        }
    }

protected:
    ~InternalCoreInterface() = default;
};

} // namespace JY::Log2
