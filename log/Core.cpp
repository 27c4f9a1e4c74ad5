#include "log/Core.h"

#include "log/NullCore.h"
#include "util/SharedLock.h"

#include <mutex>
#include <shared_mutex>

namespace JY::Log2 {

namespace {

SharedLock coreLock; // guards the pointer below, not the core
boost::shared_ptr<Core> installedCore;

boost::shared_ptr<Core> currentCore() {
    const std::shared_lock guard(coreLock);
    return installedCore;
}

boost::shared_ptr<InternalCoreInterface> nullCore() {
    static NullCore core;
    return boost::shared_ptr<InternalCoreInterface>(boost::shared_ptr<void>(), &core); // static, not counted
}

} // namespace

void setCore(boost::shared_ptr<Core> core) {
    {
        const std::lock_guard guard(coreLock);
        installedCore.swap(core);
    }
    // The previous core goes here, outside the lock.
}

Logger traceMember(SourcePosition position, const std::type_info& type, const char* function) {
    const auto core = currentCore();
    return core != nullptr ? core->createLogger(position, type, function, Severity::trace) : Logger(nullCore());
}

Logger traceFunction(SourcePosition position, const char* function) {
    const auto core = currentCore();
    return core != nullptr ? core->createLogger(position, function, Severity::trace) : Logger(nullCore());
}

Logger untraced() {
    const auto core = currentCore();
    return core != nullptr ? core->createLogger() : Logger(nullCore());
}

void flushCore() {
    if (const auto core = currentCore()) {
        core->flush();
    }
}

} // namespace JY::Log2
