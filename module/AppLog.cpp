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

#include <windows.h>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

namespace JY::Pictaro {

namespace {

constexpr SourceFile here{"AppLog"};

boost::shared_ptr<Log2::Core> core;
boost::shared_ptr<Log2::Sink> normalSink;
boost::shared_ptr<Log2::Sink> snapshotSink;

/// Adds the sink to the core and keeps it.
void install(boost::shared_ptr<Log2::Sink>& place, boost::shared_ptr<Log2::Sink> sink) {
    core->addSink(sink);
    place = std::move(sink);
}

/// Tells of the end and closes every sink.
void closeSinks() {
    Log2::untraced().notice(here()) << "AppLog finalizing";
    Log2::setSnapshotWriter(nullptr);
    core->shutdown(Log2::ShutdownMode::reportWarning);
}

} // namespace

void AppLog::initialize(const std::wstring& name, const std::wstring& directory, std::uint32_t maxEachSize,
                        std::uint32_t maxWrap, std::uint32_t snapshotSize) {
    const std::wstring prefix = name + L"-" + std::to_wstring(GetCurrentProcessId()) + L"-";
    const std::uint32_t budget = 2 * maxEachSize * maxWrap;
    EarlyFailures failures;
    core = boost::make_shared<Log2::CoreImpl>();
    Log2::setCore(core);
    boost::shared_ptr<Log2::FileEraser> eraser;
    failures.attempt([&] { eraser = boost::make_shared<Log2::FileEraserImpl>(directory, name + L"-*.log", budget); });
    failures.attempt([&] {
        const auto sink = boost::make_shared<Log2::TextFileSink>(directory, prefix, maxEachSize, maxWrap, eraser);
        sink->start();
        install(normalSink, sink);
    });
    if (normalSink == nullptr) {
        install(normalSink, boost::make_shared<Log2::DebugOutSink>());
    }
    failures.attempt([&] {
        install(snapshotSink, boost::make_shared<Log2::SnapshotTextFileSink>(directory, prefix + L"s-", maxEachSize,
                                                                             maxWrap, eraser, snapshotSize));
    });
    Log2::setSnapshotWriter(&AppLog::snapshot);
    failures.record();
    recordLogHeader(directory);
}

void AppLog::setNormalLevel(Log2::Severity severity) {
    if (normalSink != nullptr) {
        normalSink->setThreshold(severity);
    }
    Log2::untraced().notice(here()) << "NormalLogSeverityThreshold=" << Log2::severityName(severity);
}

void AppLog::setSnapshotLevel(Log2::Severity severity) {
    if (snapshotSink != nullptr) {
        snapshotSink->setThreshold(severity);
    }
}

void AppLog::snapshot() {
    if (const auto sink = boost::dynamic_pointer_cast<Log2::SinkSnapshot>(snapshotSink)) {
        sink->snapshot();
    } else {
        Log2::untraced().fatal(here()) << "Invalid snapshot instance.";
    }
}

void AppLog::finalize() {
    if (core == nullptr) {
        return;
    }
    closeSinks();
    normalSink.reset();
    snapshotSink.reset();
    Log2::setCore(nullptr);
    core.reset();
}

void AppLog::finalizeAtProcessEnd() {
    if (core != nullptr) {
        closeSinks();
    }
}

} // namespace JY::Pictaro
