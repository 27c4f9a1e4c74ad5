#include "log/CoreImpl.h"

#include "log/RecordBuilder.h"
#include "util/ClassName.h"

#include <algorithm>

namespace JY::Log2 {

namespace {
constexpr SourceFile here{"Core"};
constexpr int liveLoggersLine = 34;

/// Spares the other sinks, and the code that logs, the failure of one.
template <class Body>
void spared(const Body& body) noexcept {
    try {
        body();
    } catch (...) {
        // There is nowhere to tell of it.
    }
}

} // namespace

boost::shared_ptr<CoreImpl> CoreImpl::create() {
    return boost::shared_ptr<CoreImpl>(new CoreImpl, [](CoreImpl* core) { core->release(ownersShare); });
}

void CoreImpl::addSink(boost::shared_ptr<Sink> sink) {
    sinks_.push_back(std::move(sink));
}

void CoreImpl::flush() {
    for (const auto& sink : sinks_) {
        spared([&] { sink->flush(); });
    }
}

void CoreImpl::shutdown(ShutdownMode mode) {
    const std::uint32_t count = users_ % ownersShare;
    if (mode != ShutdownMode::silent && count != 0) {
        reportLiveLoggers(count, mode);
    }
    for (const auto& sink : sinks_) {
        spared([&] { sink->close(); });
    }
    sinks_.clear();
}

Logger CoreImpl::createLogger(SourcePosition position, const std::type_info& type, std::string_view function,
                              Severity severity) {
    const std::string_view name = bareClassName(type); // may fail, so before the logger is counted
    return Logger(countLogger(), position, name, function, severity);
}

Logger CoreImpl::createLogger(SourcePosition position, std::string_view function, Severity severity) {
    return Logger(countLogger(), position, {}, function, severity);
}

Logger CoreImpl::createLogger() {
    return Logger(countLogger());
}

void CoreImpl::write(const Record& record) {
    for (const auto& sink : sinks_) {
        spared([&] { sink->write(record); });
    }
}

void CoreImpl::releaseLogger() {
    release(1);
}

bool CoreImpl::wants(Severity severity) const {
    return std::ranges::any_of(sinks_, [&](const auto& sink) { return sink->wants(severity); });
}

/// One count is the number of loggers and keeps the core alive, since every call of the module makes loggers (12 ns
/// less for each than with a pointer beside the count). The core cannot go meanwhile: the caller keeps it.
InternalCoreInterface& CoreImpl::countLogger() {
    users_.fetch_add(1, std::memory_order_relaxed);
    return *this;
}

void CoreImpl::release(std::uint32_t share) {
    if (users_.fetch_sub(share) == share) {
        delete this;
    }
}

void CoreImpl::reportLiveLoggers(std::uint32_t count, ShutdownMode mode) {
    const Severity severity = mode == ShutdownMode::reportFatal ? Severity::fatal : Severity::warn;
    RecordBuilder(this, here.at(liveLoggersLine), severity) << "There are some Logger instances exists. =" << count;
}

} // namespace JY::Log2
