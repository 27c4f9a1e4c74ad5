#pragma once

#include "log/Sink.h"
#include "util/Lock.h"

namespace JY::Log2 {

/// Base of all sinks: filters by threshold (initially "warn") and serialises under its own lock.
class SinkBase : public Sink {
public:
    void write(const Record& record) final;
    void setThreshold(Severity severity) final;
    void abandonIfBusy() final;

protected:
    /// Takes a record that passed the threshold; called under the sink's lock.
    virtual void doWrite(const Record& record) = 0;

    bool isAbandoned() const { return abandoned_; }

    LockImpl lock_;

private:
    bool abandoned_ = false; // changes only when a single thread is left
    Severity threshold_ = Severity::warn;
};

} // namespace JY::Log2
