#pragma once

#include "log/Sink.h"
#include "util/Lock.h"

#include <atomic>

namespace JY::Log2 {

/// Base of all sinks: filters by threshold (initially "warn") and serialises under its own lock.
class SinkBase : public Sink {
public:
    void write(const Record& record) final;
    void setThreshold(Severity severity) final;
    bool wants(Severity severity) const final { return severity >= threshold_.load(std::memory_order_relaxed); }
    void abandonIfBusy() final;

protected:
    /// Takes a record that passed the threshold; called under the sink's lock.
    virtual void doWrite(const Record& record) = 0;

    bool isAbandoned() const { return abandoned_; }

    LockImpl lock_;

private:
    bool abandoned_ = false;                          // changes only when a single thread is left
    std::atomic<Severity> threshold_{Severity::warn}; // changed under the lock, also read without it
};

} // namespace JY::Log2
