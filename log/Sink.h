#pragma once

#include "log/Record.h"
#include "log/Severity.h"

namespace JY::Log2 {

/// Where records go. Any thread.
class Sink {
public:
    virtual ~Sink() = default;
    virtual void flush() = 0;
    virtual void close() = 0;
    virtual void write(const Record& record) = 0;
    /// Records below `severity` are dropped from now on.
    virtual void setThreshold(Severity severity) = 0;
    /// Whether a record of this severity is worth making: false where `write` would surely drop it.
    virtual bool wants(Severity) const { return true; }
    /// At the end of the process, when its other threads have been stopped wherever they were: a sink that one of them
    /// was using takes nothing any more, since what it was doing will never be completed.
    virtual void abandonIfBusy() {}
};

} // namespace JY::Log2
