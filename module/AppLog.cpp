#include "module/AppLog.h"

#include "log/Core.h"
#include "log/CoreImpl.h"
#include "log/DebugOutSink.h"
#include "log/FileEraserImpl.h"
#include "log/SinkSnapshot.h"
#include "log/Snapshot.h"
#include "log/SnapshotTextFileSink.h"
#include "log/TextFileSink.h"
#include "module/EarlyFailures.h"
#include "module/LogHeader.h"
#include "util/NeverDestroyed.h"

#include <windows.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"AppLog"};

struct Parts {
    boost::shared_ptr<Log2::Core> core;
    boost::shared_ptr<Log2::Sink> normalSink;
    boost::shared_ptr<Log2::Sink> snapshotSink;
};

constinit NeverDestroyed<Parts> parts;

/// Adds the sink to the core and keeps it.
void install(boost::shared_ptr<Log2::Sink>& place, boost::shared_ptr<Log2::Sink> sink) {
    parts->core->addSink(sink);
    place = std::move(sink);
}

/// Tells of the end and closes every sink.
void closeSinks() {
    Log2::untraced().notice(here()) << "AppLog finalizing";
    Log2::setSnapshotWriter(nullptr);
    parts->core->shutdown(Log2::ShutdownMode::reportWarning);
}

} // namespace

void AppLog::initialize(const std::wstring& name, const std::wstring& directory, std::uint32_t maxEachSize,
                        std::uint32_t maxWrap, std::uint32_t snapshotSize) {
    const std::wstring prefix = name + L"-" + std::to_wstring(static_cast<std::int32_t>(GetCurrentProcessId())) + L"-";
    const std::uint32_t budget = 2 * maxEachSize * maxWrap;
    EarlyFailures failures;
    parts->core = Log2::CoreImpl::create();
    Log2::setCore(parts->core);
    boost::shared_ptr<Log2::FileEraser> eraser;
    failures.attempt([&] { eraser = boost::make_shared<Log2::FileEraserImpl>(directory, name + L"-*.log", budget); });
    failures.attempt([&] {
        const auto sink = boost::make_shared<Log2::TextFileSink>(directory, prefix, maxEachSize, maxWrap, eraser);
        sink->start();
        install(parts->normalSink, sink);
    });
    if (parts->normalSink == nullptr) {
        install(parts->normalSink, boost::make_shared<Log2::DebugOutSink>());
    }
    failures.attempt([&] {
        install(parts->snapshotSink, boost::make_shared<Log2::SnapshotTextFileSink>(
                                         directory, prefix + L"s-", maxEachSize, maxWrap, eraser, snapshotSize));
    });
    Log2::setSnapshotWriter(&AppLog::snapshot);
    failures.record();
    recordLogHeader(directory);
}

void AppLog::setNormalLevel(Log2::Severity severity) {
    if (parts->normalSink != nullptr) {
        parts->normalSink->setThreshold(severity);
    }
    Log2::untraced().notice(here()) << "NormalLogSeverityThreshold=" << Log2::severityName(severity);
}

void AppLog::setSnapshotLevel(Log2::Severity severity) {
    if (parts->snapshotSink != nullptr) {
        parts->snapshotSink->setThreshold(severity);
    }
}

void AppLog::snapshot() {
    if (const auto sink = boost::dynamic_pointer_cast<Log2::SinkSnapshot>(parts->snapshotSink)) {
        sink->snapshot();
    } else {
        Log2::untraced().fatal(here()) << "Invalid snapshot instance.";
    }
}

void AppLog::finalize() {
    if (parts->core == nullptr) {
        return;
    }
    closeSinks();
    parts->normalSink.reset();
    parts->snapshotSink.reset();
    Log2::setCore(nullptr);
    parts->core.reset();
}

void AppLog::leaveOutBusySinks() {
    for (const auto& sink : {parts->normalSink, parts->snapshotSink}) {
        if (sink != nullptr) {
            sink->abandonIfBusy();
        }
    }
}

void AppLog::finalizeAtProcessEnd() {
    if (parts->core != nullptr) {
        closeSinks();
    }
}

} // namespace JY::Pictaro
