#pragma once

#include "log/Record.h"

namespace JY::Log2 {

/// The side of the core that loggers see. Any thread.
class InternalCoreInterface {
public:
    virtual void write(const Record& record) = 0;
    /// The end of a logger, which keeps the core alive until then.
    virtual void releaseLogger() = 0;
    /// Whether any sink wants a record of this severity; the others need not be built.
    virtual bool wants(Severity severity) const = 0;

protected:
    ~InternalCoreInterface() = default;
};

} // namespace JY::Log2
