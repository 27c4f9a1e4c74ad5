#include "log/SinkBase.h"

#include <mutex>

namespace JY::Log2 {

void SinkBase::write(const Record& record) {
    if (abandoned_ || !wants(record.severity)) {
        return;
    }
    const std::lock_guard guard(lock_);
    if (wants(record.severity)) {
        doWrite(record);
    }
}

void SinkBase::setThreshold(Severity severity) {
    const std::lock_guard guard(lock_);
    threshold_ = severity;
}

void SinkBase::abandonIfBusy() {
    if (lock_.tryLock()) {
        lock_.unlock();
    } else {
        abandoned_ = true;
    }
}

} // namespace JY::Log2
